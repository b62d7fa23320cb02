#include <algorithm>

#include "Torture.h"

// What a person does to their files, with other programs.
namespace tessaly::test {
namespace {

constexpr std::size_t kNames = 7;
constexpr std::int64_t kLater = 1'650'000'000;

}  // namespace

std::vector<std::string> Torture::usersFiles() const {
    std::vector<std::string> names;
    for (const auto& [name, content] : world_.files())
        if ((name.starts_with("A/") || name.starts_with("B/")) && name.find("/.") == std::string::npos)
            names.push_back(name);
    return names;
}

std::string Torture::someFile() {
    const auto names = usersFiles();
    return names.empty() ? std::string() : names[random_.below(names.size())];
}

/// "" when there is none.
std::string Torture::freeName() {
    const auto names = usersFiles();
    const auto folders = world_.folders();
    const std::string& folder = folders[random_.below(folders.size())];
    const std::size_t first = random_.below(kNames);
    for (std::size_t i = 0; i < kNames; ++i) {
        const std::string name = folder + "/" + std::to_string(1 + (first + i) % kNames) + ".jpg";
        if (std::ranges::find(names, name) == names.end()) return name;
    }
    return {};
}

int Torture::photoAt(const std::string& name) const { return photoIn(world_.read(name)).value_or(0); }

bool Torture::takePhoto() {
    const std::string name = freeName();
    if (name.empty()) return false;
    world_.write(name, photographs_.take(), someSecond());
    note("a new photo " + std::to_string(photoAt(name)) + " is " + name);
    return true;
}

bool Torture::rename() {
    const std::string from = someFile();
    const std::string to = freeName();
    if (from.empty() || to.empty()) return false;
    model_.moved(photoAt(from));
    world_.move(from, to);
    note("rename " + from + " to " + to);
    return true;
}

bool Torture::swap() {
    const std::string one = someFile();
    const std::string other = someFile();
    if (one == other) return false;
    model_.moved(photoAt(one));
    model_.moved(photoAt(other));
    world_.swap(one, other);
    note("swap " + one + " and " + other);
    return true;
}

/// The last goes to a free name, and each of the others to that of the next.
bool Torture::shift() {
    auto names = usersFiles();
    std::string to = freeName();
    if (names.size() < 3 || to.empty()) return false;
    const std::size_t first = random_.below(names.size() - 1);
    const std::size_t count = 2 + random_.below(names.size() - first - 1);
    for (std::size_t i = std::min(first + count, names.size()); i-- > first;) {
        model_.moved(photoAt(names[i]));
        world_.move(names[i], to);
        note("rename " + names[i] + " to " + to + ", in a chain");
        to = names[i];
    }
    return true;
}

bool Torture::rotate() {
    auto names = usersFiles();
    if (names.size() < 3) return false;
    const std::size_t at = random_.below(names.size() - 2);
    for (std::size_t i = at; i < at + 3; ++i) model_.moved(photoAt(names[i]));
    world_.swap(names[at], names[at + 1]);
    world_.swap(names[at + 1], names[at + 2]);
    note("rotate " + names[at] + ", " + names[at + 1] + ", " + names[at + 2]);
    return true;
}

/// Into the file that is there: the file stays the same, the photo may not.
void Torture::writeOver(const std::string& name, const std::string& content, std::int64_t second) {
    const int before = photoAt(name);
    const bool isNoticed = world_.read(name).size() != content.size() || world_.secondOf(name) != second;
    world_.write(name, content, second);
    if (const int now = photoAt(name); before != 0 && now != before) model_.overwritten(before, now, isNoticed);
}

bool Torture::overwriteWithNew() {
    const std::string name = someFile();
    if (name.empty()) return false;
    writeOver(name, photographs_.take(), random_.percent(30) ? world_.secondOf(name) : someSecond());
    note("overwrite " + name + " with new photo " + std::to_string(photoAt(name)));
    return true;
}

bool Torture::replaceByNew() {
    const std::string name = someFile();
    if (name.empty()) return false;
    model_.doubt(photoAt(name));
    const std::int64_t second = random_.percent(30) ? world_.secondOf(name) : someSecond();
    world_.remove(name);
    world_.write(name, photographs_.take(), second);
    note("delete " + name + ", and put new photo " + std::to_string(photoAt(name)) + " there");
    return true;
}

bool Torture::editElsewhere() {
    const std::string name = someFile();
    if (name.empty()) return false;
    const int photo = photoAt(name);
    model_.rewritten(photo);
    const std::string content = photographs_.version(world_.read(name));
    const bool keepsTime = random_.percent(25);
    const std::int64_t second =
        keepsTime ? world_.secondOf(name) : kLater + static_cast<std::int64_t>(random_.below(3));
    const bool isInPlace = random_.percent(40);
    isInPlace ? world_.write(name, content, second) : world_.replace(name, content, second);
    note("edit " + name + " elsewhere, " + (isInPlace ? "in place" : "atomically") +
         (keepsTime ? ", keeping its time" : ""));
    return true;
}

bool Torture::copy() {
    const std::string from = someFile();
    const std::string to = freeName();
    if (from.empty() || to.empty()) return false;
    model_.doubt(photoAt(from));
    const bool keepsTime = random_.percent(60);
    world_.write(to, world_.read(from), keepsTime ? world_.secondOf(from) : kLater);
    note("copy " + from + " to " + to + (keepsTime ? " with its time" : ""));
    return true;
}

bool Torture::copyOver() {
    const std::string from = someFile();
    const std::string to = someFile();
    if (from == to) return false;
    model_.doubt(photoAt(from));
    model_.doubt(photoAt(to));
    const bool keepsTime = random_.percent(60);
    const std::int64_t second = keepsTime ? world_.secondOf(from) : kLater;
    random_.percent(50) ? writeOver(to, world_.read(from), second) : world_.replace(to, world_.read(from), second);
    note("copy " + from + " over " + to + (keepsTime ? " with its time" : ""));
    return true;
}

bool Torture::remove() {
    const std::string name = someFile();
    if (name.empty()) return false;
    backups_.push_back({name, world_.read(name), world_.secondOf(name)});
    world_.remove(name);
    note("delete " + name);
    return true;
}

/// As a card's copy comes back, or a backup's: other inode, same bytes, same time.
bool Torture::removeAndBringBack() {
    const std::string name = someFile();
    if (name.empty()) return false;
    const std::string content = world_.read(name);
    const std::int64_t second = world_.secondOf(name);
    world_.remove(name);
    std::string to = random_.percent(50) ? name : freeName();
    if (to.empty()) to = name;
    world_.write(to, content, second);
    if (to != name) model_.moved(photoAt(to));
    note("move " + name + " to " + to + " by way of another disk");
    return true;
}

bool Torture::backUp() {
    const std::string name = someFile();
    if (name.empty()) return false;
    backups_.push_back({name, world_.read(name), world_.secondOf(name)});
    note("back up " + name);
    return true;
}

bool Torture::restore() {
    if (backups_.empty()) return false;
    const Copy copy = backups_[random_.below(backups_.size())];
    const auto folders = world_.folders();
    if (std::ranges::find(folders, copy.name.substr(0, copy.name.rfind('/'))) == folders.end()) return false;
    model_.broughtBack(photoIn(copy.content).value_or(0), copy.content);
    if (const auto names = usersFiles(); std::ranges::find(names, copy.name) != names.end())
        model_.doubt(photoAt(copy.name));
    random_.percent(50) ? writeOver(copy.name, copy.content, copy.second)
                        : world_.replace(copy.name, copy.content, copy.second);
    note("restore " + copy.name + " from the backup: " + describe(copy.content));
    return true;
}

bool Torture::takeFromTrash() {
    std::vector<std::string> trashed;
    for (const auto& [name, content] : world_.files())
        if (name.starts_with("data/Trash/files/")) trashed.push_back(name);
    const std::string to = freeName();
    if (trashed.empty() || to.empty()) return false;
    const std::string& from = trashed[random_.below(trashed.size())];
    model_.doubt(photoAt(from));
    world_.move(from, to);
    note("take " + from + " out of the trash, to " + to);
    return true;
}

bool Torture::unmount() {
    const auto folders = world_.folders();
    const std::string& folder = folders[random_.below(folders.size())];
    // What is mounted below would be in the way.
    if (folder == "A" && !world_.unmounted().empty()) return false;
    if (folders.size() < 2) return false;
    const bool leavesEmpty = random_.percent(70);
    world_.unmount(folder, leavesEmpty);
    note("unmount " + folder + (leavesEmpty ? ", which is empty now" : ""));
    return true;
}

bool Torture::mount() {
    if (world_.unmounted().empty()) return false;
    const std::string folder = world_.unmounted().back();
    world_.mount(folder);
    note("mount " + folder);
    return true;
}

}  // namespace tessaly::test
