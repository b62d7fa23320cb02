#include "Model.h"

#include <algorithm>
#include <optional>

#include "Photographs.h"

namespace tessaly::test {
namespace {

using Kind = LibraryTask::Kind;

bool isEdit(Kind kind) {
    return kind == Kind::strip || kind == Kind::stripPlace || kind == Kind::setArtist || kind == Kind::editTwo;
}
bool isRevert(Kind kind) { return kind == Kind::revert || kind == Kind::revertAll; }

bool isUsers(const std::string& name) { return name.starts_with("A/") || name.starts_with("B/"); }

std::set<std::string> contentsOf(const Model::Files& files) {
    std::set<std::string> contents;
    for (const auto& [name, content] : files) contents.insert(content);
    return contents;
}

std::size_t hashOf(const std::string& content) { return std::hash<std::string>()(content); }

std::string numbered(int photo) { return "photo " + std::to_string(photo); }

}  // namespace

void Model::look() {
    files_ = world_.files();
    for (const auto& [name, content] : files_)
        if (const auto photo = photoIn(content); photo && isUsers(name)) photos_[*photo].last = content;
}

void Model::require(const std::string& content) {
    if (!discardable_.contains(hashOf(content)) && !tentative_.contains(hashOf(content))) contents_.insert(content);
}

void Model::broughtBack(int photo, const std::string& content) {
    const bool isThere = std::ranges::any_of(files_, [&](const auto& file) {
        return (isUsers(file.first) || file.first.starts_with("away/")) && photoIn(file.second) == photo;
    });
    if (isThere || photos_[photo].last != content) doubt(photo);
    moved(photo);
}

std::string Model::contentAt(const Files& files, const std::string& path) const {
    const auto file = files.find(world_.nameOf(path));
    return file == files.end() ? std::string() : file->second;
}

void Model::afterPerson() {
    const std::set<std::string> before = contentsOf(files_);
    look();
    const std::set<std::string> now = contentsOf(files_);
    for (const std::string& content : before)
        if (!now.contains(content)) contents_.erase(content);
    for (const std::string& content : now) {
        if (!before.contains(content) && !librarys_.contains(hashOf(content))) persons_.insert(hashOf(content));
        require(content);
    }
}

void Model::afterLibrary(const LibraryTask& task, const LibraryReport& report, bool isKilled) {
    if (report.opening[0] != '\0') throw Loss(std::string("the library does not open: ") + report.opening);
    if (isEdit(task.kind) || isRevert(task.kind)) allowEdits(report);
    if (task.kind == Kind::create) persons_.insert(hashOf(task.content));
    const Files before = files_;
    look();
    requireAll(task);
    const std::set<std::string> known = contentsOf(before);
    for (const auto& [name, content] : files_) {
        if (known.contains(content) || contents_.contains(content)) continue;
        if (!photoIn(content)) throw Loss(name + " holds " + describe(content));
        if (!persons_.contains(hashOf(content))) {
            librarys_.insert(hashOf(content));
            // An edit that was killed may be undone yet.
            if (isKilled) tentative_.insert(hashOf(content));
        }
    }
    for (const auto& [name, content] : files_) {
        if (!isKilled) tentative_.erase(hashOf(content));
        require(content);
    }
    allowInheritance();
    if (task.kind == Kind::create) takeCreated(task, report);
    if (isKilled && task.kind == Kind::scan)
        for (const auto& [name, content] : files_)
            if (const auto photo = photoIn(content); photo && isUsers(name)) perhapsAt_[name].insert(*photo);
    if (!isKilled && !report.isWhole) throw Loss("the database is damaged");
    std::vector<bool> wasEdited;
    for (std::size_t i = 0; i < report.targetCount; ++i)
        wasEdited.push_back(photos_[report.targets[i].photo].edit.isSet);
    for (std::size_t i = 0; i < report.targetCount; ++i) {
        const auto& target = report.targets[i];
        if (const auto asset = behind_.find(target.id); asset != behind_.end()) {
            if (task.kind == Kind::forget) photos_[asset->second].isDoubtful = true;
            if (task.kind == Kind::discard) photos_[asset->second].edit.isSet = false;
        }
        if (target.photo == 0) continue;
        const auto shown = shown_.find(target.id);
        Photo& state = photos_[target.photo];
        const bool isCurrent =
            shown != shown_.end() && shown->second == target.photo && !state.isMoved && !state.isRewritten;
        const bool isDone = !isKilled && target.isDone;
        takeMarks(task, target, isDone && isCurrent);
        takeName(target, isDone);
        // The library does not know yet what it was killed in.
        if (isKilled && (isEdit(task.kind) || isRevert(task.kind))) state.isRewritten = true;
        if (isDone && isRevert(task.kind)) checkRevert(target);
        if (!isKilled && !isDone && isRevert(task.kind) && isCurrent && wasEdited[i] && !state.isDoubtful)
            throw Loss(world_.nameOf(target.before) + " is not reverted: " + target.error + report.error);
        if (isEdit(task.kind)) state.unedited.insert(target.content);
    }
}

void Model::overwritten(int before, int now, bool isNoticed) {
    heirs_[before].insert(now);
    doubt(before);
    Photo& heir = photos_[now];
    doubt(now);
    heir.favorite.everSet |= photos_[before].favorite.everSet;
    heir.album.everSet |= photos_[before].album.everSet;
    if (!isNoticed) heir.edit.everSet |= photos_[before].edit.everSet;
}

/// The library knows of what it made without a scan.
void Model::takeCreated(const LibraryTask& task, const LibraryReport& report) {
    const int photo = photoIn(task.content).value_or(0);
    for (const auto& [name, content] : files_)
        if (content == task.content) {
            perhapsAt_[name].insert(photo);
            shownAt_[name] = photo;
        }
    for (std::size_t i = 0; i < report.assetCount; ++i)
        if (!behind_.contains(report.assets[i].id) && contentAt(files_, report.assets[i].path) == task.content)
            behind_[report.assets[i].id] = photo;
}

void Model::allowInheritance() {
    std::map<std::string, std::set<int>> known = perhapsAt_;
    for (const auto& [name, photo] : shownAt_) known[name].insert(photo);
    for (const auto& [name, photos] : known) {
        const auto file = files_.find(name);
        const auto now = file == files_.end() ? std::nullopt : photoIn(file->second);
        for (const int before : photos) {
            Photo& old = photos_[before];
            if (old.isMoved && old.isRewritten) old.isDoubtful = true;
            if (!now || *now == before || (!old.isDoubtful && !isNowhere(before, file->second))) continue;
            const bool isKnown = std::ranges::any_of(shown_, [&](const auto& each) { return each.second == *now; });
            Photo& heir = photos_[*now];
            if (isKnown && !heir.isDoubtful) continue;
            old.isDoubtful = true;
            heir.favorite.everSet |= old.favorite.everSet;
            heir.album.everSet |= old.album.everSet;
        }
    }
}

bool Model::isNowhere(int photo, const std::string& heir) {
    // What was moved to a folder that went away before any scan is nowhere that the library knows of. Moments tell that
    // the heir is another one, where both say one and not all say the same.
    const Photo& hidden = photos_[photo];
    const bool mayHide = hidden.isMoved && (areAlike_ || !saysMoment(heir) || !saysMoment(hidden.last));
    return std::ranges::none_of(files_, [&](const auto& file) {
        return (isUsers(file.first) || (file.first.starts_with("away/") && !mayHide)) && photoIn(file.second) == photo;
    });
}

/// The result of an edit that is edited again or reverted may go: whoever asked for that named it.
void Model::allowEdits(const LibraryReport& report) {
    for (std::size_t i = 0; i < report.targetCount; ++i)
        if (const std::size_t content = report.targets[i].content; !persons_.contains(content))
            discardable_.insert(content);
    std::erase_if(contents_, [&](const std::string& content) { return discardable_.contains(hashOf(content)); });
}

void Model::requireAll(const LibraryTask& task) const {
    const std::set<std::string> now = contentsOf(files_);
    for (const std::string& content : contents_)
        if (!now.contains(content))
            throw Loss("LOST after '" + std::string(nameOf(task.kind)) + "': " + describe(content));
}

void Model::takeMarks(const LibraryTask& task, const LibraryReport::Target& target, bool isSure) {
    std::vector<int> photos{target.photo};
    if (const auto known = behind_.find(target.id); known != behind_.end() && known->second != target.photo)
        photos.push_back(known->second);
    if (const auto perhaps = perhapsAt_.find(world_.nameOf(target.before)); perhaps != perhapsAt_.end())
        photos.insert(photos.end(), perhaps->second.begin(), perhaps->second.end());
    for (std::size_t i = 0; i < photos.size(); ++i)
        for (const int heir : heirs_[photos[i]])
            if (std::ranges::find(photos, heir) == photos.end()) photos.push_back(heir);
    static const struct {
        Kind kind;
        Mark Photo::*mark;
        bool isSet;
    } effects[] = {{Kind::favorite, &Photo::favorite, true}, {Kind::unfavorite, &Photo::favorite, false},
                   {Kind::intoAlbum, &Photo::album, true},   {Kind::outOfAlbum, &Photo::album, false},
                   {Kind::editTwo, &Photo::favorite, true},  {Kind::editTwo, &Photo::edit, true},
                   {Kind::strip, &Photo::edit, true},        {Kind::stripPlace, &Photo::edit, true},
                   {Kind::setArtist, &Photo::edit, true},    {Kind::revert, &Photo::edit, false},
                   {Kind::revertAll, &Photo::edit, false}};
    for (const int number : photos) {
        Photo& photo = photos_[number];
        photo.isDoubtful |= task.kind == Kind::trash;
        for (const auto& [kind, mark, isSet] : effects) {
            if (kind != task.kind) continue;
            Mark& state = photo.*mark;
            state.everSet |= isSet;
            if (!isSet || (isSure && number == target.photo)) state.isSet = isSet;
        }
    }
}

/// An edit, or a revert, may choose another name.
void Model::takeName(const LibraryReport::Target& target, bool isDone) {
    const std::string after = world_.nameOf(target.after);
    if (!isDone || after.empty() || target.before == std::string_view(target.after)) return;
    shownAt_.erase(world_.nameOf(target.before));
    shownAt_[after] = target.photo;
}

void Model::checkRevert(const LibraryReport::Target& target) const {
    const std::string is = contentAt(files_, target.after);
    const std::string name = world_.nameOf(target.before);
    const Photo& photo = photos_.at(target.photo);
    // A photo that was written over another one may be taken for its edit; its bytes are kept then.
    if (photoIn(is) != target.photo && !photo.isDoubtful)
        throw Loss(name + " was " + numbered(target.photo) + ", and is reverted to " + describe(is));
    if (photoIn(is) == target.photo && !photo.unedited.contains(hashOf(is)))
        throw Loss(name + " is reverted to " + describe(is) + ", which is not what was edited");
}

void Model::afterScan(const LibraryReport& report) {
    if (!report.isScanned) throw Loss("there was no scan");
    if (world_.unmounted().empty()) perhapsAt_.clear();
    shown_.clear();
    // What is unmounted is still known as it was.
    std::erase_if(shownAt_, [&](const auto& each) {
        return std::ranges::none_of(world_.unmounted(),
                                    [&](const std::string& folder) { return each.first.starts_with(folder + "/"); });
    });
    checkPlaces(report);
    std::map<int, int> copies;
    for (const auto& [name, content] : files_)
        if (isUsers(name))
            if (const auto photo = photoIn(content)) ++copies[*photo];
    for (auto& [number, photo] : photos_) {
        // What has two files, or has changed its name and its bytes at once, may be taken for either.
        if (copies[number] > 1 || (photo.isMoved && photo.isRewritten)) photo.isDoubtful = true;
    }
    for (std::size_t i = 0; i < report.assetCount; ++i)
        if (report.assets[i].path[0] != '\0') checkMarks(report.assets[i]);
    for (const auto& [name, content] : files_)
        if (const auto photo = photoIn(content); photo && isUsers(name))
            photos_[*photo].isMoved = photos_[*photo].isRewritten = false;
}

/// Every photo has an asset of its own, at its place.
void Model::checkPlaces(const LibraryReport& report) const {
    std::map<std::string, int> assets;
    for (std::size_t i = 0; i < report.assetCount; ++i)
        if (report.assets[i].path[0] != '\0') ++assets[world_.nameOf(report.assets[i].path)];
    for (const auto& [name, content] : files_)
        if (isUsers(name) && name.find("/.") == std::string::npos && assets[name] != 1)
            throw Loss(name + " has " + std::to_string(assets[name]) + " assets after a scan");
}

void Model::checkMarks(const LibraryReport::Asset& asset) {
    const std::string name = world_.nameOf(asset.path);
    const auto number = photoIn(contentAt(files_, asset.path));
    if (!number) throw Loss(name + " holds " + describe(contentAt(files_, asset.path)));
    behind_[asset.id] = shown_[asset.id] = *number;
    shownAt_[name] = *number;
    Photo& photo = photos_[*number];
    const auto check = [&](const Mark& mark, bool isSet, const std::string& what) {
        if (isSet && !mark.everSet)
            throw Loss(name + ": " + numbered(*number) + " is " + what + ", and never was made so");
        if (!isSet && mark.isSet && !photo.isDoubtful)
            throw Loss(name + ": " + numbered(*number) + " was " + what + ", and is not now");
    };
    check(photo.favorite, asset.favorite, "a favorite");
    check(photo.album, asset.inAlbum, "in the album");
    // What another program has changed is not said to be edited where other photos say the same of themselves.
    if (!asset.edited && photo.isRewritten && (areAlike_ || !saysMoment(contentAt(files_, asset.path))))
        photo.edit.isSet = false;
    check(photo.edit, asset.edited, "edited");
    if (!asset.edited) return;
    const auto original = photoIn(world_.read(world_.nameOf(asset.original)));
    if (original != number && !(original && photo.isDoubtful))
        throw Loss(name + ": " + numbered(*number) + " is edited, and its original is " +
                   (original ? numbered(*original) : std::string("not there")));
}

}  // namespace tessaly::test
