#include <unistd.h>

#include <filesystem>

#include "linux/photos/AssetRows.h"
#include "linux/photos/FileChanges.h"

// What the database has to say after files were changed.
namespace tessaly::photos {

namespace fs = std::filesystem;

FilePlace folderOf(const Database& database, const std::string& path) {
    Statement rows = database.prepare("SELECT id, path FROM folders ORDER BY LENGTH(path) DESC");
    while (rows.step())
        if (const std::string folder = rows.text(1) + "/"; path.starts_with(folder))
            return {rows.integer(0), path.substr(folder.size())};
    return {};
}

std::string ownFile(const Database& database, const std::string& identifier) {
    return database
        .text(
            "SELECT folders.path || '/' || files.path FROM files JOIN folders ON folders.id = folder JOIN assets ON "
            "assets.id = asset WHERE local_identifier = ? AND type <> 9",
            identifier)
        .value_or("");
}

namespace {

void putFile(const Database& database, const FileChange& change, std::int64_t asset, const AssetFacts& facts,
             const FileStamp& stamp) {
    const FilePlace place = folderOf(database, change.result);
    // A scan may have taken the file for a new one.
    const auto other =
        database.integer("SELECT asset FROM files WHERE folder = ? AND path = ? AND asset <> ? AND type <> 9",
                         place.folder, place.path, asset);
    if (other) bury(database, *other);
    photos::putFile(database, place, asset, facts.mediaType,
                    {stamp, {}, Prints::of(change.result, stamp.size), facts.typeIdentifier, facts.embeddedVideoAt});
}

std::optional<std::int64_t> assetNamed(const Database& database, const std::string& identifier) {
    return database.integer("SELECT id FROM assets WHERE local_identifier = ?", identifier);
}

/// The photo is in the trash: whoever takes it out again finds its marks. Its original is there, too.
void applyTrash(const Database& database, const FileChange& change) {
    const auto asset = assetNamed(database, change.asset);
    if (asset && change.current == ownFile(database, change.asset)) {
        const auto original = database.text("SELECT original_print FROM edits WHERE asset = ?", *asset);
        database.run("DELETE FROM edits WHERE asset = ?", *asset);
        static_cast<void>(bury(database, *asset));
        rememberOriginal(database, *asset, original.value_or(""));
    }
    const FilePlace place = folderOf(database, change.current);
    database.run("DELETE FROM files WHERE folder = ? AND path = ?", place.folder, place.path);
}

std::string printOfOriginal(const FileChange& change) {
    const auto stamp = FileStamp::of(change.original);
    return stamp ? printOf(change.original, stamp->size) : std::string();
}

/// What an edit took out of the file it took out of the record, too, and it noted the date that was there: with the
/// unedited file its own words hold again. Another place or date that a person gave the photo stays.
void releaseOwnFacts(const Database& database, std::int64_t asset, const AssetFacts& facts) {
    database.run("UPDATE assets SET own_place = 0 WHERE id = ? AND latitude IS NULL", asset);
    if (facts.created)
        database.run("UPDATE assets SET own_created = 0 WHERE id = ? AND abs(created - ?) < 0.001", asset,
                     *facts.created);
}

void applyReplacement(const Database& database, const FileChange& change, const AssetFacts& facts,
                      const FileStamp& stamp) {
    const auto asset = assetNamed(database, change.asset);
    if (!asset) return;
    if (change.current != change.result) {
        const FilePlace before = folderOf(database, change.current);
        database.run("DELETE FROM files WHERE folder = ? AND path = ?", before.folder, before.path);
    }
    if (change.kind == FileChange::Kind::revert) releaseOwnFacts(database, *asset, facts);
    updateAsset(database, *asset, facts, stamp);
    putFile(database, change, *asset, facts, stamp);
    // It may have been gone in the meantime.
    database.run("DELETE FROM gone_files WHERE asset = ?", *asset);
    database.run("UPDATE assets SET presence = 0 WHERE id = ?", *asset);
    updateLiveness(database, *asset);
    if (change.kind == FileChange::Kind::revert) {
        database.run("DELETE FROM edits WHERE asset = ?", *asset);
    } else {
        database.run(
            "INSERT INTO edits (asset, original, format_identifier, format_version, data, digest, original_print) "
            "VALUES (?,?,?,?,?,?,?) ON CONFLICT (asset) DO UPDATE SET format_identifier = excluded.format_identifier, "
            "format_version = excluded.format_version, data = excluded.data, digest = excluded.digest",
            *asset, change.original, change.adjustment.formatIdentifier, change.adjustment.formatVersion,
            change.adjustment.data ? Value(change.adjustment.data) : Value(), change.after, printOfOriginal(change));
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
    const FilePlace place = folderOf(database, change.result);
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

}  // namespace tessaly::photos
