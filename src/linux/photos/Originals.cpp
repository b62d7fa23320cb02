#include "linux/photos/Originals.h"

#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <filesystem>

#include "linux/foundation/Trash.h"
#include "linux/photos/AssetRows.h"
#include "linux/photos/FileChanges.h"

namespace tessaly::photos {
namespace {

namespace fs = std::filesystem;
using KeptOriginal = PHPhotoLibrary::KeptOriginal;

constexpr std::size_t kIdentifierLength = 36;

/// Originals that belong to an edit. The library's folder may have been known by another path when they were kept.
std::vector<KeptOriginal> namedOriginals(const LibraryStore& store) {
    return store.read([&](const Database& database) {
        std::vector<KeptOriginal> kept;
        Statement rows = database.prepare(
            "SELECT original, local_identifier, presence, COALESCE((SELECT folders.path || '/' || files.path FROM "
            "files "
            "JOIN folders ON folders.id = folder WHERE files.asset = assets.id AND type <> 9), (SELECT place FROM "
            "gone_files WHERE gone_files.asset = assets.id AND type <> 9), '') FROM edits JOIN assets ON assets.id = "
            "edits.asset");
        while (rows.step()) {
            KeptOriginal each;
            each.path = ownOriginal(store, rows.text(0));
            each.asset = rows.text(1);
            each.presence = static_cast<PHAssetPresence>(rows.integer(2));
            each.photo = rows.text(3);
            kept.push_back(std::move(each));
        }
        return kept;
    });
}

}  // namespace

std::string ownOriginal(const LibraryStore& store, const std::string& original) {
    const fs::path path(original);
    return store.originalsFolder() + "/" + (path.parent_path().filename() / path.filename()).string();
}

std::vector<KeptOriginal> keptOriginals(const LibraryStore& store) {
    std::vector<KeptOriginal> kept = namedOriginals(store);
    const std::size_t named = kept.size();
    std::error_code error;
    for (fs::recursive_directory_iterator entry(store.originalsFolder(), error);
         !error && entry != fs::recursive_directory_iterator(); entry.increment(error)) {
        const std::string path = entry->path().string();
        std::error_code ignored;
        if (!entry->is_regular_file(ignored) || entry->path().filename().string().starts_with('.') ||
            std::any_of(kept.begin(), kept.begin() + static_cast<std::ptrdiff_t>(named),
                        [&](const KeptOriginal& each) { return each.path == path; }))
            continue;
        KeptOriginal stray;
        stray.path = path;
        stray.asset = entry->path().parent_path().filename().string().substr(0, kIdentifierLength).append(kAssetSuffix);
        stray.presence = PHAssetPresence::gone;
        stray.isRemembered = false;
        kept.push_back(std::move(stray));
    }
    std::erase_if(kept, [](KeptOriginal& each) {
        const auto stamp = FileStamp::of(each.path);
        if (stamp) each.size = stamp->size;
        return !stamp;
    });
    std::ranges::sort(kept, {}, &KeptOriginal::path);
    return kept;
}

namespace {

bool isKept(const LibraryStore& store, const std::string& original) {
    return std::ranges::any_of(keptOriginals(store), [&](const KeptOriginal& each) { return each.path == original; });
}

}  // namespace

std::string exportOriginal(const LibraryStore& store, const std::string& original, const std::string& target) {
    if (!isKept(store, original)) return original + ": is no original that the library keeps";
    std::error_code ignored;
    fs::path file(target);
    if (fs::is_directory(file, ignored)) file /= fs::path(original).filename();
    if (fs::exists(fs::symlink_status(file, ignored))) return file.string() + ": is there already";
    return copyFile(original, file.string());
}

namespace {

/// The edits that the original belongs to, taken out of their table and put back again.
class ReleasedEdits {
public:
    ReleasedEdits(const LibraryStore& store, const Database& database, const std::string& original)
        : database_(database) {
        std::vector<std::int64_t> assets;
        Statement rows = database.prepare("SELECT asset, original FROM edits");
        while (rows.step())
            if (ownOriginal(store, rows.text(1)) == original) assets.push_back(rows.integer(0));
        rows.reset();
        database.execute("CREATE TEMP TABLE IF NOT EXISTS released AS SELECT * FROM edits; DELETE FROM temp.released");
        Transaction transaction(database);
        for (const std::int64_t asset : assets) {
            database.run("INSERT INTO temp.released SELECT * FROM edits WHERE asset = ?", asset);
            database.run("DELETE FROM edits WHERE asset = ?", asset);
        }
        transaction.commit();
    }
    void putBack() const { database_.execute("INSERT INTO edits SELECT * FROM temp.released"); }

private:
    const Database& database_;
};

}  // namespace

std::string discardOriginal(LibraryStore& store, const std::string& original) {
    const FileLock lock = store.lockFiles();
    if (!isKept(store, original)) return original + ": is no original that the library keeps";
    return store.write([&](const Database& database) -> std::string {
        Statement waiting = database.prepare("SELECT original FROM journal WHERE original <> ''");
        while (waiting.step())
            if (ownOriginal(store, waiting.text(0)) == original)
                return original + ": belongs to a change that is finished once its folder is there again";
        waiting.reset();
        // The edit first: whoever is killed after it leaves an original without one, which is kept and can be discarded
        // again. An edit without its original could neither be reverted nor made again.
        const ReleasedEdits edits(store, database, original);
        int error = 0;
        if (!moveToTrash(original, error)) {
            edits.putBack();
            return original + ": cannot be moved to the trash: " + std::strerror(error);
        }
        ::rmdir(fs::path(original).parent_path().c_str());
        return {};
    });
}

std::string forgetAssets(LibraryStore& store, std::span<const std::string> identifiers) {
    const FileLock lock = store.lockFiles();
    return store.write([&](const Database& database) -> std::string {
        Transaction transaction(database);
        for (const std::string& identifier : identifiers) {
            Statement row = database.prepare("SELECT id, presence FROM assets WHERE local_identifier = ?");
            row.bind(identifier);
            if (!row.step()) return identifier + ": there is no such photo";
            const std::int64_t asset = row.integer(0);
            const auto presence = static_cast<PHAssetPresence>(row.integer(1));
            row.reset();
            if (presence == PHAssetPresence::here)
                return identifier + ": the photo is there; only one that is away or gone can be forgotten";
            database.run("DELETE FROM assets WHERE id = ?", asset);
        }
        transaction.commit();
        return {};
    });
}

}  // namespace tessaly::photos
