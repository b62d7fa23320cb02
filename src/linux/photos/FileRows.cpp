#include "linux/photos/FileRows.h"

namespace tessaly::photos {

void putFile(const Database& database, const FilePlace& place, std::int64_t asset, std::int64_t type,
             const FileFacts& facts) {
    const FileStamp& stamp = facts.stamp;
    database.run(
        "INSERT INTO files (folder, path, asset, type, type_identifier, size, changed, inode, device, born, etag, "
        "head, "
        "print, embedded_at) VALUES (?,?,?,?,?,?,?,?,?,?,?,?,?,?) ON CONFLICT (folder, path) DO UPDATE SET "
        "asset = excluded.asset, type = excluded.type, type_identifier = excluded.type_identifier, "
        "size = excluded.size, changed = excluded.changed, inode = excluded.inode, device = excluded.device, "
        "born = excluded.born, etag = excluded.etag, head = excluded.head, print = excluded.print, "
        "embedded_at = excluded.embedded_at",
        place.folder, place.path, asset == 0 ? Value() : Value(asset), type, facts.typeIdentifier,
        static_cast<std::int64_t>(stamp.size), stamp.changed, static_cast<std::int64_t>(stamp.inode),
        static_cast<std::int64_t>(stamp.device), stamp.born, facts.etag, facts.prints.head,
        facts.prints.print.empty() ? Value() : Value(facts.prints.print),
        facts.embeddedVideoAt ? Value(static_cast<std::int64_t>(*facts.embeddedVideoAt)) : Value());
}

bool bury(const Database& database, std::int64_t asset) {
    const bool hasVideo = database.integer("SELECT 1 FROM files WHERE asset = ? AND type = 9", asset).has_value();
    const bool isRemembered =
        database
            .integer(
                "SELECT 1 FROM assets WHERE id = ?1 AND (favorite OR own_created OR own_place OR EXISTS (SELECT 1 "
                "FROM album_assets WHERE asset = ?1) OR EXISTS (SELECT 1 FROM edits WHERE asset = ?1))",
                asset)
            .has_value();
    database.run("UPDATE files SET asset = NULL, changed = -1 WHERE asset = ? AND type = 9", asset);
    if (!isRemembered) {
        database.run("DELETE FROM files WHERE asset = ?", asset);
        database.run("DELETE FROM assets WHERE id = ?", asset);
        return hasVideo;
    }
    database.run(
        "INSERT INTO gone_files (folder, place, asset, type, type_identifier, size, changed, inode, device, born, "
        "head, "
        "print, etag, embedded_at) SELECT folder, folders.path || '/' || files.path, asset, type, type_identifier, "
        "size, changed, inode, device, born, head, print, etag, embedded_at FROM files JOIN folders ON folders.id = "
        "folder WHERE asset = ?",
        asset);
    const auto original = database.text("SELECT original_print FROM edits WHERE asset = ?", asset);
    rememberOriginal(database, asset, original.value_or(""));
    database.run("DELETE FROM files WHERE asset = ?", asset);
    database.run("UPDATE assets SET presence = 2 WHERE id = ?", asset);
    return hasVideo;
}

namespace {

/// The size in the row of an unedited file: its print tells that, too, and the file is not there to be asked.
constexpr std::int64_t kUnknownSize = -1;

}  // namespace

void rememberOriginal(const Database& database, std::int64_t asset, const std::string& print) {
    if (print.empty()) return;
    database.run(
        "INSERT INTO gone_files (folder, place, asset, type, type_identifier, size, changed, inode, device, born, "
        "head, print, etag) SELECT folder, place, asset, type, type_identifier, ?1, 0, 0, 0, 0, 0, ?2, '' FROM "
        "gone_files WHERE asset = ?3 AND type <> 9 AND print <> ?2 LIMIT 1",
        kUnknownSize, print, asset);
}

void revive(const Database& database, std::int64_t goneFile, const FilePlace& place) {
    database.run(
        "INSERT INTO files (folder, path, asset, type, type_identifier, size, changed, inode, device, born, head, "
        "print, etag, embedded_at) SELECT ?, ?, asset, type, type_identifier, size, changed, inode, device, born, "
        "head, "
        "print, etag, embedded_at FROM gone_files WHERE id = ?",
        place.folder, place.path, goneFile);
    // As its unedited file it is not edited any more.
    database.run("DELETE FROM edits WHERE asset = (SELECT asset FROM gone_files WHERE id = ? AND size = ?)", goneFile,
                 kUnknownSize);
    database.run("UPDATE assets SET presence = 0 WHERE id = (SELECT asset FROM gone_files WHERE id = ?)", goneFile);
    database.run("DELETE FROM gone_files WHERE asset = (SELECT asset FROM gone_files WHERE id = ?)", goneFile);
}

std::vector<KnownFile> filesOf(const Database& database, const std::string& identifier) {
    Statement rows = database.prepare(
        "SELECT folders.path || '/' || files.path, base_url IS NOT NULL, size, changed, inode, device, born, head, "
        "COALESCE(print, '') FROM files JOIN folders ON folders.id = folder JOIN assets ON assets.id = asset WHERE "
        "local_identifier = ? ORDER BY type");
    rows.bind(identifier);
    std::vector<KnownFile> files;
    while (rows.step())
        files.push_back(
            {rows.text(0),
             rows.integer(1) != 0,
             {static_cast<std::uint64_t>(rows.integer(2)), rows.integer(3), static_cast<std::uint64_t>(rows.integer(4)),
              static_cast<std::uint64_t>(rows.integer(5)), rows.integer(6)},
             {rows.integer(7), rows.text(8)}});
    return files;
}

std::string checkFile(const KnownFile& known) {
    const auto stamp = FileStamp::of(known.path);
    if (!stamp) return known.path + ": is not there";
    if (stamp->isUnchanged(known.stamp) && stamp->isSameFile(known.stamp)) return {};
    if (stamp->size == known.stamp.size) {
        const Prints own = Prints::of(known.path, stamp->size);
        const bool isSame = known.prints.print.empty() ? own.head != 0 && own.head == known.prints.head
                                                       : own.print == known.prints.print;
        if (isSame) return {};
    }
    return known.path +
           ": is not the photo that the library knows there; it was changed or replaced since the last "
           "scan";
}

}  // namespace tessaly::photos
