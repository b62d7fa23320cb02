#include "linux/photos/FileChanges.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <string_view>

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

constexpr std::string_view kIsChanged = ": was changed by another program just now";

struct Descriptor {
    int file;
    explicit Descriptor(const std::string& path) : file(::open(path.c_str(), O_RDONLY | O_CLOEXEC)) {}
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() {
        if (file >= 0) ::close(file);
    }
};

/// The bytes of `from` as a new file `to`, or in the place of the file there that is expected. An edited file keeps the
/// mode of the file whose place it takes, a reverted one gets its old times back.
std::string place(const std::string& from, const std::string& to, const std::string& manners, bool withTimes,
                  const IsExpected& isExpected = {}) {
    const Descriptor source(from);
    if (source.file < 0) return fault(from);
    auto target = AtomicFile::create(to);
    if (!target) return fault(to);
    const auto size = static_cast<std::uint64_t>(::lseek(source.file, 0, SEEK_END));
    if (!target->copyFrom(source.file, 0, size)) return fault(to);
    const Descriptor pattern(manners);
    if (pattern.file >= 0) target->adopt(pattern.file, withTimes);
    if (isExpected ? target->commitInPlaceOf(isExpected) : target->commit(AtomicFile::Existing::kept)) return {};
    return errno == EBUSY ? to + std::string(kIsChanged) : fault(to);
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
    std::string why = place(from, to, manners, withTimes);
    if (why.empty() && !(why = sync(to)).empty()) ::unlink(to.c_str());
    return why;
}

IsExpected isStamped(const std::optional<FileStamp>& stamp) {
    return [stamp](const std::string& path) { return FileStamp::of(path) == stamp; };
}

/// Puts the backup in the place of the file again, by a step that needs no space where that is possible.
bool restore(const std::string& backup, const std::string& path, const IsExpected& isPlaced) {
    std::string why;
    if (!exists(path))
        why = holdFile(backup, path);
    else if (replaceExpected(backup, path, isPlaced))
        return true;
    else
        why = errno == EBUSY ? path + std::string(kIsChanged) : place(backup, path, backup, true, isPlaced);
    if (!why.empty()) log("library: %@", why);
    return why.empty();
}

}  // namespace

std::string copyFile(const std::string& from, const std::string& to) { return place(from, to, from, true); }

std::string holdFile(const std::string& from, const std::string& to) {
    if (::linkat(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), AT_SYMLINK_FOLLOW) == 0) return {};
    return copyFile(from, to);
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
    for (const Held& held : leftovers_) {
        struct stat status {};
        if (::lstat(held.path.c_str(), &status) != 0) continue;
        // Whoever had the file open may have gone on writing.
        int ignored = 0;
        const bool wasWritten = held.stamp && status.st_nlink == 1 && FileStamp::of(held.path) != held.stamp;
        if (!wasWritten || !moveToTrash(held.path, ignored)) ::unlink(held.path.c_str());
    }
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
            return trash(change, [&](const std::string& path) {
                const auto stamp = FileStamp::of(path);
                return change.before.empty() || (stamp && stampText(*stamp) == change.before);
            });
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
        return removeExpected(path, isStamped(placed)) || errno == EBUSY || errno == ENOENT;
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

/// What was taken away from the name is what was held: by its marks, else by all of its bytes.
IsExpected FileChangeRun::is(const Held& held) {
    return [held](const std::string& path) {
        return (held.stamp && FileStamp::of(path) == held.stamp) || digestOf(path) == held.digest;
    };
}

std::string FileChangeRun::hold(const FileChange& change, Held& held) {
    held.path = store_.newPendingName(".undo");
    if (std::string why = holdFile(change.current, held.path); !why.empty()) return why;
    // A second name of the very file need not be read again.
    held.stamp = FileStamp::of(held.path);
    const bool isAsPlanned = !replays_ && change.stamp && held.stamp == change.stamp;
    held.digest = isAsPlanned ? change.before : digestOf(held.path);
    leftovers_.push_back(held);
    if (held.digest.empty()) return fault(held.path);
    const bool isOther = !replays_ && !change.before.empty() && held.digest != change.before;
    return isOther ? change.current + std::string(kIsChanged) : std::string();
}

/// Sees to it that the bytes at the place are somewhere else, too, or are the library's own to throw away.
std::string FileChangeRun::makeWay(const FileChange& change, const Held& held) {
    if (held.digest == change.own) return {};
    const bool isKept = !replays_ && held.stamp == change.stamp && kept_.contains(change.original);
    if (change.kind == FileChange::Kind::edit && (isKept || digestOf(change.original) == held.digest)) return {};
    return trash(change, is(held));
}

std::string FileChangeRun::put(const FileChange& change, const Held& held) const {
    const bool isSame = change.current == change.result;
    const bool isRevert = change.kind == FileChange::Kind::revert;
    if (replays_ && !isSame && exists(change.result)) return {};
    const std::string& manners = isRevert || held.path.empty() ? change.content : held.path;
    return isSame && exists(change.current) ? place(change.content, change.result, manners, isRevert, is(held))
                                            : placeSafely(change.content, change.result, manners, isRevert);
}

std::string FileChangeRun::replace(const FileChange& change) {
    const bool isSame = change.current == change.result;
    Held held;
    bool isTrashed = false;
    if (exists(change.current)) {
        if (std::string why = hold(change, held); !why.empty()) return why;
        if (std::string why = makeWay(change, held); !why.empty()) return why;
        isTrashed = !exists(change.current);
    }
    // A live run plans with the file there; one that is gone by now is on its way elsewhere.
    if (held.path.empty() && !replays_) return change.current + ": is not there any more";
    if (std::string why = put(change, held); !why.empty()) return why;
    undos_.emplace_back([backup = isTrashed ? std::string() : held.path, change, isSame,
                         isPlaced = isStamped(FileStamp::of(change.result))] {
        if ((backup.empty() || !isSame) && !removeExpected(change.result, isPlaced) && errno != ENOENT) return false;
        return backup.empty() || (!isSame && exists(change.current)) || restore(backup, change.current, isPlaced);
    });
    if (isSame || held.path.empty() || removeExpected(change.current, is(held)) || errno == ENOENT) return {};
    return errno == EBUSY ? change.current + std::string(kIsChanged) : fault(change.current);
}

std::string FileChangeRun::trash(const FileChange& change, const IsExpected& isExpected) {
    // Gone already, which is what was wanted.
    if (!exists(change.current)) return {};
    int error = 0;
    const auto trashed = moveToTrash(change.current, error);
    if (!trashed) return change.current + ": cannot be moved to the trash: " + std::strerror(error);
    const auto takeOut = [trashed = *trashed, path = change.current] {
        int ignored = 0;
        if (restoreFromTrash(trashed, path, ignored)) return true;
        log("library: %@ stays in the trash", path);
        return false;
    };
    if (!isExpected(trashed->path)) {
        takeOut();
        return change.current + std::string(kIsChanged);
    }
    undos_.emplace_back(takeOut);
    return {};
}

}  // namespace tessaly::photos
