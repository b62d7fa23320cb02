#include "linux/photos/FileChanges.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>

#include "linux/foundation/AtomicFile.h"
#include "linux/photos/Digest.h"
#include "platform/Foundation/Log.h"

namespace tessaly::photos {
namespace {

namespace fs = std::filesystem;

bool exists(const std::string& path) {
    std::error_code ignored;
    return fs::exists(path, ignored);
}

std::string fault(const std::string& path) { return path + ": " + std::strerror(errno); }

struct Descriptor {
    int file;
    explicit Descriptor(const std::string& path) : file(::open(path.c_str(), O_RDONLY | O_CLOEXEC)) {}
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() {
        if (file >= 0) ::close(file);
    }
};

/// The bytes of `from` in the place of `to`. An edited file keeps the mode of the file whose place it takes, a
/// reverted one gets its old times back.
std::string place(const std::string& from, const std::string& to, const std::string& manners, bool withTimes,
                  AtomicFile::Existing existing) {
    const Descriptor source(from);
    if (source.file < 0) return fault(from);
    auto target = AtomicFile::create(to);
    if (!target) return fault(to);
    const auto size = static_cast<std::uint64_t>(::lseek(source.file, 0, SEEK_END));
    if (!target->copyFrom(source.file, 0, size)) return fault(to);
    const Descriptor pattern(manners);
    if (pattern.file >= 0) target->adopt(pattern.file, withTimes);
    return target->commit(existing) ? std::string() : fault(to);
}

/// What stands at `path` outlives a loss of power.
std::string sync(const std::string& path) {
    const Descriptor file(path);
    if (file.file < 0 || ::fsync(file.file) != 0) return fault(path);
    const Descriptor folder(fs::path(path).parent_path().string());
    if (folder.file >= 0) ::fsync(folder.file);
    return {};
}

/// Where nothing is replaced a file is not waited for; what another one is about to go for is.
std::string placeSafely(const std::string& from, const std::string& to, const std::string& manners, bool withTimes) {
    std::string why = place(from, to, manners, withTimes, AtomicFile::Existing::kept);
    if (why.empty() && !(why = sync(to)).empty()) ::unlink(to.c_str());
    return why;
}

/// Puts the backup in the place of the file again, by a step that needs no space where that is possible.
bool restore(const std::string& backup, const std::string& path) {
    std::error_code error;
    const fs::path target = fs::exists(path, error) ? fs::canonical(path, error) : fs::path(path);
    if (::rename(backup.c_str(), target.c_str()) == 0) return true;
    const std::string why = copyFile(backup, path, true);
    if (!why.empty()) log("library: %@", why);
    return why.empty();
}

}  // namespace

std::string copyFile(const std::string& from, const std::string& to, bool replaces) {
    return place(from, to, from, true, replaces ? AtomicFile::Existing::replaced : AtomicFile::Existing::kept);
}

std::string holdFile(const std::string& from, const std::string& to) {
    if (::linkat(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), AT_SYMLINK_FOLLOW) == 0) return {};
    return copyFile(from, to, false);
}

std::string stampText(const FileStamp& stamp) {
    return std::to_string(stamp.inode) + ":" + std::to_string(stamp.size) + ":" + std::to_string(stamp.changed);
}

std::string freePath(const std::string& folder, const std::string& name, const std::vector<FileChange>& changes) {
    const fs::path wanted(name);
    for (int number = 1;; ++number) {
        const std::string suffix = number == 1 ? std::string() : " " + std::to_string(number);
        const std::string path = folder + "/" + wanted.stem().string() + suffix + wanted.extension().string();
        const bool isPlanned =
            std::ranges::any_of(changes, [&](const FileChange& change) { return change.result == path; });
        std::error_code ignored;
        if (!isPlanned && !fs::exists(fs::symlink_status(path, ignored))) return path;
    }
}

namespace {

void fillIn(FileChange& change) {
    if (change.kind == FileChange::Kind::trash) {
        const auto stamp = FileStamp::of(change.current);
        if (change.before.empty() && stamp) change.before = stampText(*stamp);
        return;
    }
    if (change.before.empty() && !change.current.empty()) {
        change.stamp = FileStamp::of(change.current);
        change.before = digestOf(change.current);
        if (FileStamp::of(change.current) != change.stamp) change.stamp.reset();
    }
    if (change.after.empty()) change.after = digestOf(change.content);
}

}  // namespace

std::int64_t writeJournal(const Database& database, std::vector<FileChange>& changes) {
    for (FileChange& change : changes) fillIn(change);
    Transaction transaction(database);
    const std::int64_t number = database.integer("SELECT COALESCE(MAX(change), 0) + 1 FROM journal").value_or(1);
    for (const FileChange& change : changes)
        database.run(
            "INSERT INTO journal (change, kind, asset, current, result, content, original, format_identifier, "
            "format_version, data, before, after) VALUES (?,?,?,?,?,?,?,?,?,?,?,?)",
            number, static_cast<std::int64_t>(change.kind), change.asset, change.current, change.result, change.content,
            change.original, change.adjustment.formatIdentifier, change.adjustment.formatVersion,
            change.adjustment.data ? Value(change.adjustment.data) : Value(), change.before, change.after);
    transaction.commit();
    return number;
}

std::string FileChangeRun::run(const std::vector<FileChange>& changes) {
    for (const FileChange& change : changes)
        if (std::string why = apply(change); !why.empty()) {
            isUndone_ = undo();
            return why;
        }
    return {};
}

bool FileChangeRun::undo() {
    while (!undos_.empty() && isUndone_) {
        isUndone_ = undos_.back()();
        undos_.pop_back();
    }
    undos_.clear();
    finish();
    return isUndone_;
}

void FileChangeRun::finish() {
    for (const std::string& path : leftovers_) ::unlink(path.c_str());
    leftovers_.clear();
}

std::string FileChangeRun::apply(const FileChange& change) {
    if (replays_) {
        switch (replayOf(change)) {
            case Replay::begin:
                break;
            case Replay::done:
                // An edit that changes nothing looks done before it began.
                return change.kind == FileChange::Kind::edit && change.before == change.after ? keepOriginal(change)
                                                                                              : std::string();
            case Replay::moot:
                return change.current + ": is another file now";
        }
    }
    switch (change.kind) {
        case FileChange::Kind::create:
            return create(change);
        case FileChange::Kind::edit:
            if (std::string why = keepOriginal(change); !why.empty()) return why;
            return replace(change);
        case FileChange::Kind::revert:
            return replace(change);
        case FileChange::Kind::trash:
            return trash(change);
    }
    return {};
}

Replay replayOf(const FileChange& change) {
    const auto contains = [](const std::string& path, const std::string& digest) {
        return !digest.empty() && exists(path) && digestOf(path) == digest;
    };
    if (change.kind == FileChange::Kind::trash) {
        const auto stamp = FileStamp::of(change.current);
        if (!stamp) return Replay::done;
        // A journal of an earlier version says nothing of the file: it stays.
        return stampText(*stamp) == change.before ? Replay::begin : Replay::moot;
    }
    const bool isPlaced = contains(change.result, change.after);
    if (change.kind == FileChange::Kind::create) {
        if (isPlaced) return Replay::done;
        return exists(change.result) ? Replay::moot : Replay::begin;
    }
    const bool isSame = change.current == change.result;
    const bool isBefore = contains(change.current, change.before);
    // What was placed is done once the file under the old name is gone.
    if (isPlaced) return isSame || !isBefore ? Replay::done : Replay::begin;
    if (!isSame && exists(change.result)) return Replay::moot;
    if (!exists(change.current)) {
        // Its disk is not there: this waits.
        if (!exists(fs::path(change.current).parent_path().string())) return Replay::begin;
        // What is neither the library's own nor kept went to the trash first; else somebody has removed the file.
        const bool wentToTrash =
            !change.before.empty() && change.before != change.own && exists(change.original) &&
            (change.kind == FileChange::Kind::revert || digestOf(change.original) != change.before);
        return wentToTrash ? Replay::begin : Replay::moot;
    }
    return isBefore || change.before.empty() ? Replay::begin : Replay::moot;
}

std::string FileChangeRun::create(const FileChange& change) {
    std::string why = placeSafely(change.content, change.result, {}, false);
    if (!why.empty()) return why;
    undos_.emplace_back([path = change.result, placed = FileStamp::of(change.result)] {
        return FileStamp::of(path) != placed || ::unlink(path.c_str()) == 0 || errno == ENOENT;
    });
    return {};
}

std::string FileChangeRun::keepOriginal(const FileChange& change) {
    if (exists(change.original)) return {};
    const fs::path folder = fs::path(change.original).parent_path();
    std::error_code error;
    fs::create_directories(folder, error);
    std::string why = placeSafely(change.current, change.original, change.current, true);
    if (!why.empty()) {
        ::rmdir(folder.c_str());
        return why;
    }
    kept_.insert(change.original);
    undos_.emplace_back([path = change.original, folder] {
        ::unlink(path.c_str());
        ::rmdir(folder.c_str());
        return true;
    });
    return {};
}

/// Sees to it that the bytes at the place are somewhere else, too, or are the library's own to throw away.
std::string FileChangeRun::makeWay(const FileChange& change, const std::string& backup) {
    // A second name of the very file need not be read again.
    const bool isAsPlanned = !replays_ && change.stamp && FileStamp::of(backup) == change.stamp;
    const std::string held = isAsPlanned ? change.before : digestOf(backup);
    if (held.empty()) return fault(backup);
    if (!replays_ && !change.before.empty() && held != change.before)
        return change.current + ": was changed by another program just now";
    if (held == change.own) return {};
    const bool isKept = isAsPlanned && kept_.contains(change.original);
    if (change.kind == FileChange::Kind::edit && (isKept || digestOf(change.original) == held)) return {};
    return trash(change);
}

std::string FileChangeRun::replace(const FileChange& change) {
    const bool isSame = change.current == change.result;
    const bool isRevert = change.kind == FileChange::Kind::revert;
    const bool isPlaced = replays_ && !isSame && exists(change.result);
    std::string backup;
    bool isTrashed = false;
    if (exists(change.current)) {
        backup = store_.newPendingName(".undo");
        if (std::string why = holdFile(change.current, backup); !why.empty()) return why;
        leftovers_.push_back(backup);
        if (std::string why = makeWay(change, backup); !why.empty()) return why;
        isTrashed = !exists(change.current);
    }
    // A live run plans with the file there; one that is gone by now is on its way elsewhere.
    if (backup.empty() && !replays_) return change.current + ": is not there any more";
    if (!isPlaced) {
        const std::string& manners = isRevert || backup.empty() ? change.content : backup;
        const bool replaces = isSame && exists(change.current);
        std::string why = replaces
                              ? place(change.content, change.result, manners, isRevert, AtomicFile::Existing::replaced)
                              : placeSafely(change.content, change.result, manners, isRevert);
        if (!why.empty()) return why;
    }
    undos_.emplace_back(
        [backup = isTrashed ? std::string() : backup, change, isSame, placed = FileStamp::of(change.result)] {
            const auto now = FileStamp::of(change.result);
            if (now && now != placed) return false;
            if (backup.empty() || !isSame) ::unlink(change.result.c_str());
            return backup.empty() || (!isSame && exists(change.current)) || restore(backup, change.current);
        });
    if (!isSame && ::unlink(change.current.c_str()) != 0 && errno != ENOENT) return fault(change.current);
    return {};
}

std::string FileChangeRun::trash(const FileChange& change) {
    // Gone already, which is what was wanted.
    if (!exists(change.current)) return {};
    int error = 0;
    const auto trashed = moveToTrash(change.current, error);
    if (!trashed) return change.current + ": cannot be moved to the trash: " + std::strerror(error);
    undos_.emplace_back([trashed = *trashed, path = change.current] {
        int ignored = 0;
        if (restoreFromTrash(trashed, path, ignored)) return true;
        log("library: %@ stays in the trash", path);
        return false;
    });
    return {};
}

}  // namespace tessaly::photos
