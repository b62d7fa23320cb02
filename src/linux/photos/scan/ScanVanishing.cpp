#include <filesystem>

#include "linux/photos/AssetRows.h"
#include "linux/photos/scan/ScanParts.h"
#include "platform/Photos/PHAssetResource.h"

namespace tessaly::photos {
namespace {

/// A row of a file that was not seen.
struct Unseen {
    std::int64_t file = 0;
    std::int64_t folder = 0;
    std::int64_t asset = 0;
    std::int64_t type = 0;
    std::int64_t device = 0;
    std::string path;
    bool isWalked = false;
    bool isRemote = false;
};

/// Whether the folder that held the file is there: something is still in it, on the same disk. One that is missing or
/// empty may be a card that was taken out, and one on another disk may hide what was there.
bool isFolderThere(const Database& database, const Unseen& file) {
    // A server that answers knows what it has.
    if (file.isRemote) return true;
    const std::string parent = std::filesystem::path(file.path).parent_path().string();
    const std::string condition = "SELECT 1 FROM seen WHERE folder = ?1 AND (device = ?2 OR ?2 = 0) ";
    if (parent.empty()) return database.integer(condition + "LIMIT 1", file.folder, file.device).has_value();
    // What is below a folder stands between "folder/" and "folder0".
    return database
        .integer(condition + "AND path > ?3 AND path < ?4 LIMIT 1", file.folder, file.device, parent + "/",
                 parent + "0")
        .has_value();
}

std::vector<Unseen> unseenFiles(const Database& database) {
    Statement rows = database.prepare(
        "SELECT f.id, f.folder, COALESCE(f.asset, 0), f.type, f.device, f.path, f.folder IN (SELECT folder FROM "
        "walked), "
        "folders.path || '/' || f.path, base_url IS NOT NULL FROM files AS f JOIN folders ON folders.id = f.folder "
        "WHERE NOT EXISTS (SELECT 1 FROM seen WHERE seen.folder = f.folder AND seen.path = f.path)");
    std::vector<Unseen> unseen;
    while (rows.step()) {
        const bool isRemote = rows.integer(8) != 0;
        if (!isRemote && !isGone(rows.text(7))) continue;
        unseen.push_back({rows.integer(0), rows.integer(1), rows.integer(2), rows.integer(3), rows.integer(4),
                          rows.text(5), rows.integer(6) != 0, isRemote});
    }
    return unseen;
}

}  // namespace

bool settleVanished(LibraryStore& store, ScanResult& result) {
    const FileLock lock = store.lockFiles();
    return store.write([&](const Database& database) {
        Transaction transaction(database);
        bool hasOrphans = false;
        database.run(
            "UPDATE assets SET presence = 0 WHERE presence = 1 AND id IN (SELECT f.asset FROM files AS f JOIN seen ON "
            "seen.folder = f.folder AND seen.path = f.path WHERE f.type <> 9)");
        result.returned += static_cast<std::size_t>(database.integer("SELECT changes()").value_or(0));
        for (const Unseen& file : unseenFiles(database)) {
            const bool isOwn = file.asset != 0 && file.type != PHAssetResourceTypePairedVideo;
            if (!file.isWalked || !isFolderThere(database, file)) {
                if (!isOwn) continue;
                database.run("UPDATE assets SET presence = 1 WHERE id = ? AND presence = 0", file.asset);
                result.away += static_cast<std::size_t>(database.integer("SELECT changes()").value_or(0));
            } else if (isOwn) {
                hasOrphans |= bury(database, file.asset);
                ++result.removed;
            } else {
                database.run("DELETE FROM files WHERE id = ?", file.file);
                if (file.asset == 0) continue;
                updateLiveness(database, file.asset);
                ++result.changed;
            }
        }
        transaction.commit();
        return hasOrphans;
    });
}

}  // namespace tessaly::photos
