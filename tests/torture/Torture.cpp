#include "Torture.h"

#include <sys/mman.h>
#include <sys/wait.h>

#include <algorithm>
#include <array>

#include "KilledChild.h"
#include "linux/photos/PhotoLibrary.h"

namespace tessaly::test {
namespace {

using Kind = LibraryTask::Kind;

constexpr std::size_t kFewestSteps = 6;
constexpr std::size_t kMoreSteps = 18;
constexpr std::size_t kFirstPhotos = 5;
constexpr std::size_t kNames = 7;
/// Most kills shall come while there is something to be killed in, whether a task has ten steps or two hundred.
constexpr std::size_t kKillWithin[] = {12, 40, 90, 160};

}  // namespace

Torture::Torture(const std::string& root, std::uint64_t seed)
    : world_(root), random_(seed), areAlike_(random_.percent(10)), photographs_(areAlike_), model_(world_, areAlike_) {
    void* memory = ::mmap(nullptr, sizeof(LibraryReport), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) throw std::runtime_error("no memory");
    report_ = new (memory) LibraryReport();
}

Torture::~Torture() { ::munmap(report_, sizeof(LibraryReport)); }

std::string Torture::run() {
    try {
        play();
        return {};
    } catch (const Loss& loss) {
        return loss.what();
    }
}

void Torture::play() {
    world_.reset();
    ::setenv("XDG_DATA_HOME", world_.path("data").c_str(), 1);
    const auto setUp = runChild([this] {
        std::string error;
        const auto library = photos::PhotoLibrary::open(world_.library(), error);
        if (!library || !library->addFolder(world_.path("A")).empty() || !library->addFolder(world_.path("B")).empty())
            ::_exit(1);
    });
    if (setUp.status != 0) throw Loss("the library cannot be made");
    for (std::size_t i = 0; i < kFirstPhotos; ++i) takePhoto();
    model_.afterPerson();
    scan();
    const std::size_t count = kFewestSteps + random_.below(kMoreSteps);
    for (std::size_t i = 0; i < count; ++i) random_.percent(50) ? personStep() : libraryStep();
    finish();
}

void Torture::scan() {
    LibraryTask task;
    task.kind = Kind::scan;
    model_.afterScan(doTask(task, false));
}

/// Everything is there again, and nothing is under way.
void Torture::finish() {
    while (!world_.unmounted().empty()) mount();
    fillEmptyFolders();
    model_.afterPerson();
    scan();
    LibraryTask task;
    task.kind = Kind::scan;
    const LibraryReport& again = doTask(task, false);
    if (again.changes > 0) throw Loss("a second scan finds " + std::to_string(again.changes) + " changes");
    const auto left = world_.leftovers();
    if (!left.empty()) throw Loss("left behind: " + left.front());
    task.kind = Kind::revertAll;
    doTask(task, false);
    scan();
}

/// An empty folder may be a card that is out, for which the library waits.
void Torture::fillEmptyFolders() {
    const auto names = usersFiles();
    for (const std::string& folder : world_.folders()) {
        if (std::ranges::any_of(names, [&](const std::string& name) { return name.starts_with(folder + "/"); }))
            continue;
        world_.write(folder + "/last.jpg", photographs_.take(), someSecond());
        note("a new photo " + std::to_string(photoAt(folder + "/last.jpg")) + " is " + folder + "/last.jpg");
    }
}

LibraryReport Torture::doTask(const LibraryTask& task, bool mayBeKilled) {
    std::optional<std::size_t> killAt;
    if (mayBeKilled && random_.percent(35)) killAt = 1 + random_.below(random_.oneOf(kKillWithin));
    *report_ = LibraryReport();
    const ChildEnd end = runChild([&] { work(world_.library(), task, *report_); }, killAt);
    std::string step = std::string("library: ") + nameOf(task.kind);
    for (std::size_t i = 0; i < report_->targetCount; ++i) step += " " + world_.nameOf(report_->targets[i].before);
    if (report_->error[0] != '\0') step += " (" + std::string(report_->error) + ")";
    if (end.isKilled) step += " KILLED at " + std::to_string(*killAt);
    note(step);
    if (!end.isKilled && end.status != 0) throw Loss("the library crashed: " + std::to_string(end.status));
    model_.afterLibrary(task, *report_, end.isKilled);
    if (task.kind == Kind::scan && !end.isKilled && mayBeKilled) model_.afterScan(*report_);
    return *report_;
}

void Torture::libraryStep() {
    static constexpr std::array kKinds{
        Kind::scan,   Kind::scan,      Kind::scan,      Kind::scan,       Kind::scan,      Kind::strip,
        Kind::strip,  Kind::setArtist, Kind::setArtist, Kind::stripPlace, Kind::revert,    Kind::revert,
        Kind::revert, Kind::favorite,  Kind::favorite,  Kind::unfavorite, Kind::intoAlbum, Kind::outOfAlbum,
        Kind::trash,  Kind::create,    Kind::editTwo,   Kind::open,       Kind::discard,   Kind::forget};
    LibraryTask task;
    task.kind = random_.oneOf(kKinds);
    task.choice = random_.below(1000);
    task.number = static_cast<int>(random_.below(3));
    task.closes = random_.percent(50);
    if (task.kind == Kind::create) task.content = photographs_.take();
    doTask(task, true);
}

void Torture::personStep() {
    static constexpr std::array<Act, 29> kActs{&Torture::takePhoto,     &Torture::rename,
                                               &Torture::rename,        &Torture::rename,
                                               &Torture::swap,          &Torture::swap,
                                               &Torture::shift,         &Torture::shift,
                                               &Torture::rotate,        &Torture::overwriteWithNew,
                                               &Torture::replaceByNew,  &Torture::replaceByNew,
                                               &Torture::editElsewhere, &Torture::editElsewhere,
                                               &Torture::editElsewhere, &Torture::copy,
                                               &Torture::copyOver,      &Torture::remove,
                                               &Torture::remove,        &Torture::removeAndBringBack,
                                               &Torture::backUp,        &Torture::restore,
                                               &Torture::unmount,       &Torture::unmount,
                                               &Torture::mount,         &Torture::mount,
                                               &Torture::restore,       &Torture::restore,
                                               &Torture::takeFromTrash};
    // Not everything is possible always.
    constexpr int kAttempts = 8;
    for (int attempt = 0; attempt < kAttempts; ++attempt)
        if ((this->*random_.oneOf(kActs))()) break;
    model_.afterPerson();
}

}  // namespace tessaly::test
