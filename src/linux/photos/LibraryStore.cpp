#include "linux/photos/LibraryStore.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

#include "linux/photos/AssetRows.h"
#include "linux/photos/WallClock.h"
#include "platform/Foundation/Log.h"

namespace tessaly::photos {
namespace {

/// Photos are private: so is what is known of them.
std::string prepared(std::string folder) {
    std::error_code error;
    for (const char* part : {"", "/originals", "/pending", "/renditions"}) {
        std::filesystem::create_directories(folder + part, error);
        if (error) throw DatabaseError(folder + part + ": " + error.message());
    }
    std::filesystem::permissions(folder, std::filesystem::perms::owner_all, error);
    return folder;
}

constexpr double kDay = 86400;

/// A program that was killed leaves a log behind; so does one that runs now, and then the check is merely early.
bool wasLeftOpen(const std::string& path) {
    std::error_code error;
    const auto size = std::filesystem::file_size(path + "-wal", error);
    return !error && size > 0;
}

/// The whole file is read for it, which a library of 100,000 photos feels: once a day, and after every crash.
void checkNowAndThen(const Database& database, bool isSuspect) {
    const auto last = database.text("SELECT value FROM facts WHERE name = 'checked'");
    const double now = NSDate::date().timeIntervalSince1970;
    const double age = last ? now - Value(*last).doubleValue() : 2 * kDay;
    if (!isSuspect && age >= 0 && age < kDay) return;
    checkWholeness(database);
    try {
        database.run("INSERT OR REPLACE INTO facts VALUES ('checked', ?)", std::to_string(now));
    } catch (const DatabaseError& error) {
        // On a full disk it is checked again next time; it can be read all the same.
        log("library: %@", error.what());
    }
}

Database openedForWriting(const std::string& path) {
    const bool isSuspect = wasLeftOpen(path);
    Database database(path, Database::Mode::readWrite);
    prepareSchema(database);
    checkNowAndThen(database, isSuspect);
    try {
        followTimeZone(database);
    } catch (const DatabaseError& error) {
        // The same as above.
        log("library: %@", error.what());
    }
    return database;
}

}  // namespace

FileLock::FileLock(const std::string& path, Kind kind)
    : file_(::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600)) {
    if (file_ < 0) throw DatabaseError(path + ": " + std::strerror(errno));
    while (::flock(file_, kind == Kind::shared ? LOCK_SH : LOCK_EX) != 0 && errno == EINTR) {
    }
}

FileLock::~FileLock() {
    if (file_ >= 0) ::close(file_);
}

bool FileLock::makeExclusive() { return ::flock(file_, LOCK_EX | LOCK_NB) == 0; }

void FileLock::makeShared() {
    while (::flock(file_, LOCK_SH) != 0 && errno == EINTR) {
    }
}

OwnedFolder::OwnedFolder(const std::string& parent) {
    // Between the making and the lock another program may take the folder for abandoned: then once more.
    constexpr int kTries = 100;
    for (int i = 0; i < kTries; ++i) {
        path_ = parent + "/" + newIdentifier({});
        if (::mkdir(path_.c_str(), 0700) != 0) break;
        file_ = ::open(path_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        if (file_ < 0) continue;
        static_cast<void>(::flock(file_, LOCK_EX | LOCK_NB));
        struct stat status {};
        if (::stat(path_.c_str(), &status) == 0) return;
        ::close(file_);
        file_ = -1;
    }
    throw DatabaseError(path_ + ": " + std::strerror(errno));
}

OwnedFolder::~OwnedFolder() {
    ::rmdir(path_.c_str());
    if (file_ >= 0) ::close(file_);
}

std::optional<FileLock> OwnedFolder::takeAbandoned(const std::string& folder) {
    const int file = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (file < 0) return std::nullopt;
    if (::flock(file, LOCK_EX | LOCK_NB) == 0) return FileLock(file);
    ::close(file);
    return std::nullopt;
}

std::string LibraryStore::newPendingName(std::string_view extension) const {
    const std::lock_guard lock(pending_);
    std::error_code ignored;
    // Whoever clears folders by hand does not keep the program from its work.
    if (ownPending_ && !std::filesystem::exists(ownPending_->path(), ignored)) ownPending_.reset();
    if (!ownPending_) ownPending_.emplace(pendingFolder());
    return ownPending_->path() + "/" + newIdentifier({}).append(extension);
}

LibraryStore::LibraryStore(std::string folder)
    : folder_(prepared(std::move(folder))),
      presence_(folder_ + "/open.lock", FileLock::Kind::shared),
      writer_(openedForWriting(folder_ + "/library.db")),
      reader_(folder_ + "/library.db", Database::Mode::readOnly) {}

}  // namespace tessaly::photos
