#include "linux/photos/FileChanges.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>

#include "linux/foundation/AtomicFile.h"
#include "linux/photos/AssetRows.h"
#include "linux/photos/LibraryScan.h"
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

std::int64_t writeJournal(const Database& database, const std::vector<FileChange>& changes) {
    Transaction transaction(database);
    const std::int64_t number = database.integer("SELECT COALESCE(MAX(change), 0) + 1 FROM journal").value_or(1);
    for (const FileChange& change : changes)
        database.run(
            "INSERT INTO journal (change, kind, asset, current, result, content, original, format_identifier, "
            "format_version, data) VALUES (?,?,?,?,?,?,?,?,?,?)",
            number, static_cast<std::int64_t>(change.kind), change.asset, change.current, change.result, change.content,
            change.original, change.adjustment.formatIdentifier, change.adjustment.formatVersion,
            change.adjustment.data ? Value(change.adjustment.data) : Value());
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
    switch (change.kind) {
        case FileChange::Kind::create: {
            // The name was free when the journal was written: what is there now was done before the crash.
            if (replays_ && exists(change.result)) return {};
            std::string why = placeSafely(change.content, change.result, {}, false);
            if (why.empty())
                undos_.emplace_back([path = change.result] { return ::unlink(path.c_str()) == 0 || errno == ENOENT; });
            return why;
        }
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
    undos_.emplace_back([path = change.original, folder] {
        ::unlink(path.c_str());
        ::rmdir(folder.c_str());
        return true;
    });
    return {};
}

std::string FileChangeRun::replace(const FileChange& change) {
    // Done before the crash, under another name.
    if (replays_ && !exists(change.current) && exists(change.result)) return {};
    const std::string backup = store_.pendingFolder() + "/undo-" + newIdentifier({});
    if (std::string why = holdFile(change.current, backup); !why.empty()) return why;
    leftovers_.push_back(backup);
    const bool isSame = change.current == change.result;
    const bool isRevert = change.kind == FileChange::Kind::revert;
    const std::string& manners = isRevert ? change.content : change.current;
    std::string why = isSame || replays_
                          ? place(change.content, change.result, manners, isRevert, AtomicFile::Existing::replaced)
                          : placeSafely(change.content, change.result, manners, isRevert);
    if (!why.empty()) return why;
    undos_.emplace_back([backup, change, isSame] {
        if (!restore(backup, change.current)) return false;
        if (!isSame) ::unlink(change.result.c_str());
        return true;
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

FolderPath folderOf(const Database& database, const std::string& path) {
    Statement rows = database.prepare("SELECT id, path FROM folders ORDER BY LENGTH(path) DESC");
    while (rows.step())
        if (const std::string folder = rows.text(1) + "/"; path.starts_with(folder))
            return {rows.integer(0), path.substr(folder.size())};
    return {};
}

namespace {

void putFile(const Database& database, const FileChange& change, std::int64_t asset, const AssetFacts& facts,
             const FileStamp& stamp) {
    const FolderPath place = folderOf(database, change.result);
    // A scan may have taken the file for a new one.
    database.run(
        "DELETE FROM assets WHERE id <> ?1 AND id IN (SELECT asset FROM files WHERE folder = ?2 AND path = ?3 AND type "
        "<> 9)",
        asset, place.folder, place.path);
    database.run(
        "INSERT OR REPLACE INTO files (folder, path, asset, type, type_identifier, size, changed, inode, head, "
        "embedded_at) "
        "VALUES (?,?,?,?,?,?,?,?,?,?)",
        place.folder, place.path, asset, facts.mediaType, facts.typeIdentifier, static_cast<std::int64_t>(stamp.size),
        stamp.changed, static_cast<std::int64_t>(stamp.inode), headHash(change.result, stamp.size),
        facts.embeddedVideoAt ? Value(static_cast<std::int64_t>(*facts.embeddedVideoAt)) : Value());
}

std::optional<std::int64_t> assetNamed(const Database& database, const std::string& identifier) {
    return database.integer("SELECT id FROM assets WHERE local_identifier = ?", identifier);
}

void applyTrash(const Database& database, const FileChange& change) {
    const FolderPath place = folderOf(database, change.current);
    database.run("DELETE FROM files WHERE folder = ? AND path = ?", place.folder, place.path);
    const auto asset = assetNamed(database, change.asset);
    if (asset && !database.integer("SELECT 1 FROM files WHERE asset = ? AND type <> 9 LIMIT 1", *asset))
        database.run("DELETE FROM assets WHERE id = ?", *asset);
}

void applyReplacement(const Database& database, const FileChange& change, const AssetFacts& facts,
                      const FileStamp& stamp) {
    const auto asset = assetNamed(database, change.asset);
    if (!asset) return;
    const FolderPath before = folderOf(database, change.current);
    database.run("DELETE FROM files WHERE folder = ? AND path = ?", before.folder, before.path);
    updateAsset(database, *asset, facts, stamp);
    putFile(database, change, *asset, facts, stamp);
    updateLiveness(database, *asset);
    if (change.kind == FileChange::Kind::revert) {
        database.run("DELETE FROM edits WHERE asset = ?", *asset);
    } else {
        database.run(
            "INSERT INTO edits (asset, original, format_identifier, format_version, data) VALUES (?,?,?,?,?) ON "
            "CONFLICT "
            "(asset) DO UPDATE SET format_identifier = excluded.format_identifier, format_version = "
            "excluded.format_version, data = excluded.data",
            *asset, change.original, change.adjustment.formatIdentifier, change.adjustment.formatVersion,
            change.adjustment.data ? Value(change.adjustment.data) : Value());
    }
}

}  // namespace

void applyToDatabase(const Database& database, const FileChange& change) {
    if (change.kind == FileChange::Kind::trash) return applyTrash(database, change);
    const auto stamp = FileStamp::of(change.result);
    if (!stamp) return;
    const AssetFacts facts = AssetFacts::read(change.result, *stamp);
    if (change.kind != FileChange::Kind::create) return applyReplacement(database, change, facts, *stamp);
    // A scan may have been quicker.
    const FolderPath place = folderOf(database, change.result);
    if (assetNamed(database, change.asset) ||
        database.integer("SELECT 1 FROM files WHERE folder = ? AND path = ? AND asset IS NOT NULL", place.folder,
                         place.path))
        return;
    const std::int64_t asset = insertAsset(database, change.asset, facts, *stamp);
    putFile(database, change, asset, facts, *stamp);
    updateLiveness(database, asset);
}

void removeContent(const LibraryStore& store, const FileChange& change, bool isDone) {
    if (change.content.starts_with(store.pendingFolder() + "/")) ::unlink(change.content.c_str());
    if (!isDone) return;
    if (change.kind == FileChange::Kind::trash && change.current.starts_with(store.originalsFolder() + "/"))
        ::rmdir(fs::path(change.current).parent_path().c_str());
    if (change.kind != FileChange::Kind::revert) return;
    ::unlink(change.original.c_str());
    ::rmdir(fs::path(change.original).parent_path().c_str());
}

namespace {

struct JournalEntry {
    std::int64_t number = 0;
    FileChange change;
};

std::vector<JournalEntry> journalOf(const LibraryStore& store) {
    return store.read([](const Database& database) {
        std::vector<JournalEntry> entries;
        Statement rows = database.prepare(
            "SELECT change, kind, asset, current, result, content, original, format_identifier, format_version, data "
            "FROM journal ORDER BY id");
        while (rows.step())
            entries.push_back({rows.integer(0),
                               {static_cast<FileChange::Kind>(rows.integer(1)),
                                rows.text(2),
                                rows.text(3),
                                rows.text(4),
                                rows.text(5),
                                rows.text(6),
                                {rows.text(7), rows.text(8), rows.data(9)}}});
        return entries;
    });
}

/// Whether the change is not played on: somebody has removed the file since, or its asset.
bool isMoot(const LibraryStore& store, const std::vector<FileChange>& all, const FileChange& change) {
    // A deletion that had not begun is not played on: the person can ask again, a file that is gone cannot.
    if (change.kind == FileChange::Kind::trash)
        return std::ranges::all_of(all, [&](const FileChange& other) {
            return other.kind != FileChange::Kind::trash || other.asset != change.asset || exists(other.current);
        });
    if (change.kind == FileChange::Kind::create) return false;
    if (!store.read([&](const Database& database) { return assetNamed(database, change.asset); })) return true;
    return !exists(change.current) && !exists(change.result) && exists(fs::path(change.current).parent_path().string());
}

/// Plays one change of the journal, all of it. What cannot be finished now, for want of space or of the disk, waits for
/// a later open.
void play(LibraryStore& store, std::int64_t number, const std::vector<FileChange>& all) {
    const bool isGivenUp = std::ranges::any_of(all, [](const FileChange& change) {
        return change.kind != FileChange::Kind::trash && !exists(change.content);
    });
    std::vector<FileChange> changes = all;
    std::erase_if(changes, [&](const FileChange& change) {
        return isMoot(store, all, change) || (isGivenUp && change.kind != FileChange::Kind::trash);
    });
    FileChangeRun files(store, true);
    if (const std::string why = files.run(changes); !why.empty()) return log("library: %@", why);
    store.write([&](const Database& database) {
        Transaction transaction(database);
        for (const FileChange& change : changes) applyToDatabase(database, change);
        database.run("DELETE FROM journal WHERE change = ?", number);
        transaction.commit();
    });
    files.finish();
    for (const FileChange& change : changes) removeContent(store, change, true);
    for (const FileChange& change : all)
        for (const std::string& path : {change.current, change.result})
            if (!path.empty()) removeAbandonedFiles(fs::path(path).parent_path().string());
}

void playJournal(LibraryStore& store) {
    if (journalOf(store).empty()) return;
    // Another program may be at it, which is then not killed, but merely not ready.
    const FileLock lock = store.lockFiles();
    const std::vector<JournalEntry> entries = journalOf(store);
    for (auto entry = entries.begin(); entry != entries.end();) {
        const std::int64_t number = entry->number;
        std::vector<FileChange> changes;
        for (; entry != entries.end() && entry->number == number; ++entry) changes.push_back(entry->change);
        play(store, number, changes);
    }
}

/// Names below the library's folder: it may have been opened by another path at that time.
std::vector<std::string> namedFiles(const LibraryStore& store) {
    return store.read([](const Database& database) {
        std::vector<std::string> names;
        Statement rows = database.prepare("SELECT original FROM edits UNION SELECT original FROM journal");
        while (rows.step()) {
            const fs::path path(rows.text(0));
            names.push_back((path.parent_path().filename() / path.filename()).string());
        }
        rows = database.prepare("SELECT content FROM journal");
        while (rows.step()) names.push_back(fs::path(rows.text(0)).filename().string());
        return names;
    });
}

std::vector<fs::path> entriesOf(const fs::path& folder) {
    std::vector<fs::path> entries;
    std::error_code error;
    for (fs::directory_iterator entry(folder, error); !error && entry != fs::directory_iterator();
         entry.increment(error))
        entries.push_back(entry->path());
    return entries;
}

/// What editors, downloads and changes of a program that was killed have left. An original without an edit goes only if
/// its photo is there, and so was reverted.
void sweep(const LibraryStore& store) {
    const std::vector<std::string> named = namedFiles(store);
    const auto isNamed = [&](const std::string& name) { return std::ranges::find(named, name) != named.end(); };
    std::error_code ignored;
    for (const fs::path& file : entriesOf(store.pendingFolder()))
        if (!isNamed(file.filename().string())) fs::remove(file, ignored);
    constexpr std::size_t kIdentifierLength = 36;
    for (const fs::path& folder : entriesOf(store.originalsFolder())) {
        const std::string name = folder.filename().string();
        const std::string asset = name.substr(0, kIdentifierLength).append(kAssetSuffix);
        if (store.read([&](const Database& database) { return assetNamed(database, asset); }))
            for (const fs::path& file : entriesOf(folder))
                if (!isNamed(name + "/" + file.filename().string())) fs::remove(file, ignored);
        ::rmdir(folder.c_str());
    }
}

}  // namespace

void recover(LibraryStore& store) {
    try {
        playJournal(store);
        store.whenAlone([&] { sweep(store); });
    } catch (const DatabaseError& error) {
        // A library on a full disk can still be looked at.
        log("library: %@", error.what());
    }
}

}  // namespace tessaly::photos
