#include "linux/photos/FileChanges.h"

#include <fcntl.h>
#include <unistd.h>

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

}  // namespace

std::string copyFile(const std::string& from, const std::string& to, bool replaces) {
    return place(from, to, from, true, replaces ? AtomicFile::Existing::replaced : AtomicFile::Existing::kept);
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
            undo();
            return why;
        }
    return {};
}

void FileChangeRun::undo() {
    for (auto undo = undos_.rbegin(); undo != undos_.rend(); ++undo) (*undo)();
    undos_.clear();
    finish();
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
            std::string why = place(change.content, change.result, {}, false, AtomicFile::Existing::kept);
            if (why.empty()) undos_.emplace_back([path = change.result] { ::unlink(path.c_str()); });
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
    std::error_code error;
    fs::create_directories(fs::path(change.original).parent_path(), error);
    std::string why = copyFile(change.current, change.original, false);
    if (why.empty()) undos_.emplace_back([path = change.original] { ::unlink(path.c_str()); });
    return why;
}

std::string FileChangeRun::replace(const FileChange& change) {
    // Done before the crash, under another name.
    if (replays_ && !exists(change.current) && exists(change.result)) return {};
    const std::string backup = store_.pendingFolder() + "/undo-" + newIdentifier({});
    if (std::string why = copyFile(change.current, backup, false); !why.empty()) return why;
    leftovers_.push_back(backup);
    const bool isSame = change.current == change.result;
    std::string why =
        place(change.content, change.result, change.kind == FileChange::Kind::revert ? change.content : change.current,
              change.kind == FileChange::Kind::revert, AtomicFile::Existing::replaced);
    if (!why.empty()) return why;
    undos_.emplace_back([backup, change, isSame] {
        if (const std::string failed = copyFile(backup, change.current, true); !failed.empty())
            return log("library: %@", failed);
        if (!isSame) ::unlink(change.result.c_str());
    });
    if (!isSame) ::unlink(change.current.c_str());
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
        if (!restoreFromTrash(trashed, path, ignored)) log("library: %@ stays in the trash", path);
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
    if (assetNamed(database, change.asset)) return;
    const std::int64_t asset = insertAsset(database, change.asset, facts, *stamp);
    putFile(database, change, asset, facts, *stamp);
    updateLiveness(database, asset);
}

void recover(LibraryStore& store) {
    std::vector<FileChange> changes;
    store.write([&](const Database& database) {
        Statement rows = database.prepare(
            "SELECT kind, asset, current, result, content, original, format_identifier, format_version, data FROM "
            "journal ORDER BY id");
        while (rows.step())
            changes.push_back({static_cast<FileChange::Kind>(rows.integer(0)),
                               rows.text(1),
                               rows.text(2),
                               rows.text(3),
                               rows.text(4),
                               rows.text(5),
                               {rows.text(6), rows.text(7), rows.data(8)}});
    });
    if (changes.empty()) return;
    // What cannot be finished now, for want of space or of the disk, waits for a later open.
    FileChangeRun files(store, true);
    for (const FileChange& change : changes) {
        // A deletion is not played on: the person can ask again, a file that is gone cannot.
        const bool waits = change.kind == FileChange::Kind::trash && exists(change.current);
        if (!waits)
            if (const std::string why = files.run({change}); !why.empty()) return log("library: %@", why);
    }
    store.write([&](const Database& database) {
        Transaction transaction(database);
        for (const FileChange& change : changes)
            if (change.kind != FileChange::Kind::trash || !exists(change.current)) applyToDatabase(database, change);
        database.execute("DELETE FROM journal");
        transaction.commit();
    });
    files.finish();
    for (const FileChange& change : changes) ::unlink(change.content.c_str());
}

}  // namespace tessaly::photos
