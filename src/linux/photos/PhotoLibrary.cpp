#include "linux/photos/PhotoLibrary.h"

#include <algorithm>
#include <filesystem>

#include "linux/foundation/HomeFolder.h"
#include "linux/photos/AssetRows.h"
#include "linux/photos/FileChanges.h"
#include "linux/photos/FileRows.h"
#include "linux/photos/FolderWatcher.h"
#include "linux/photos/LibraryChanges.h"
#include "linux/photos/Originals.h"
#include "linux/photos/RemoteFolder.h"
#include "linux/photos/Renditions.h"
#include "platform/Foundation/Dispatch.h"
#include "platform/Foundation/Log.h"
#include "platform/Foundation/NSFileManager.h"

namespace tessaly::photos {
namespace {

namespace fs = std::filesystem;

constexpr const char* kAuthorization = "authorization";

/// The name under which a file is known: absolute, links resolved, no slash at the end.
std::string canonical(const std::string& path, bool mustExist, std::string& error) {
    std::error_code code;
    const fs::path resolved = mustExist ? fs::canonical(path, code) : fs::weakly_canonical(path, code);
    if (code) error = path + ": " + code.message();
    return resolved.string();
}

/// Runs `work`; a failure of the database becomes text.
template <class Work>
std::string guarded(const Work& work) {
    try {
        return work();
    } catch (const DatabaseError& error) {
        return error.what();
    }
}

/// A file of an asset that is here, though its original is on a server.
struct LocalCopy {
    std::string local;
    std::string baseURL;
    std::string path;  ///< Below both.
    FileStamp stamp;
};

std::vector<LocalCopy> localCopies(const Database& database, const std::string& identifier) {
    Statement rows = database.prepare(
        "SELECT folders.path || '/' || files.path, base_url, files.path, size, changed FROM files JOIN folders ON "
        "folders.id = folder JOIN assets ON assets.id = asset WHERE local_identifier = ? AND base_url IS NOT NULL");
    rows.bind(identifier);
    std::vector<LocalCopy> copies;
    while (rows.step())
        if (const std::string local = rows.text(0); NSFileManager::fileExistsAtPath(local))
            copies.push_back(
                {local, rows.text(1), rows.text(2), {static_cast<std::uint64_t>(rows.integer(3)), rows.integer(4), 0}});
    return copies;
}

}  // namespace

PhotoLibrary::PhotoLibrary(std::string folder) : store_(std::make_shared<LibraryStore>(std::move(folder))) {
    recover(*store_);
}

PhotoLibrary::~PhotoLibrary() { watcher_ = nullptr; }

std::shared_ptr<PhotoLibrary> PhotoLibrary::open(const std::string& folder, std::string& error) {
    try {
        return std::shared_ptr<PhotoLibrary>(new PhotoLibrary(folder));
    } catch (const DatabaseError& fault) {
        const std::string why = fault.what();
        error = why.starts_with(folder) ? why : folder + ": " + why;
        return nullptr;
    }
}

std::string PhotoLibrary::userFolder() {
    const std::string data = baseFolder("XDG_DATA_HOME", ".local/share");
    return data.empty() ? data : data + "/tessaly/library";
}

std::vector<PhotoLibrary::Folder> PhotoLibrary::folders() const {
    std::vector<Folder> folders;
    static_cast<void>(guarded([&] {
        store_->read([&](const Database& database) {
            Statement rows = database.prepare(
                "SELECT path, COALESCE(base_url, ''), (SELECT COUNT(*) FROM files WHERE folder = folders.id AND asset "
                "IS NOT "
                "NULL AND type <> 9) FROM folders ORDER BY id");
            while (rows.step())
                folders.push_back({rows.text(0), rows.text(1), static_cast<std::size_t>(rows.integer(2))});
        });
        return std::string();
    }));
    return folders;
}

std::string PhotoLibrary::addFolder(const std::string& path, const std::string& baseURL) {
    std::string error;
    if (!baseURL.empty())
        if (std::string why = NSFileManager::createDirectoryAtPath(path); !why.empty()) return path + ": " + why;
    const std::string folder = canonical(path, true, error);
    if (!error.empty()) return error;
    if (!fs::is_directory(folder)) return path + ": is not a folder";
    if (folder == "/") return "/: the whole system is no photo folder";
    for (const Folder& known : folders()) {
        if (known.path == folder) return path + ": is in the library already";
        if ((known.path + "/").starts_with(folder + "/") || (folder + "/").starts_with(known.path + "/"))
            return path + ": overlaps " + known.path + ", which is in the library already";
    }
    return guarded([&] {
        store_->write([&](const Database& database) {
            database.run("INSERT INTO folders (path, base_url) VALUES (?, ?)", folder,
                         baseURL.empty() ? Value() : Value(baseURL));
        });
        return std::string();
    });
}

std::string PhotoLibrary::removeFolder(const std::string& path) {
    std::string ignored;
    std::string folder = canonical(path, false, ignored);
    if (folder.size() > 1 && folder.ends_with('/')) folder.pop_back();
    std::string why = guarded([&] {
        return store_->write([&](const Database& database) -> std::string {
            const auto id = database.integer("SELECT id FROM folders WHERE path = ?", folder);
            if (!id) return path + ": is not in the library";
            Transaction transaction(database);
            const auto edited = database.integer(
                "SELECT COUNT(*) FROM edits WHERE asset IN (SELECT asset FROM files WHERE folder = ? AND type <> 9)",
                *id);
            if (edited.value_or(0) > 0)
                return path + ": holds edited photos, whose originals the library keeps; revert them first";
            database.run("DELETE FROM assets WHERE id IN (SELECT asset FROM files WHERE folder = ? AND type <> 9)",
                         *id);
            database.run("DELETE FROM folders WHERE id = ?", *id);
            transaction.commit();
            return {};
        });
    });
    if (why.empty()) {
        sweepRenditions(*store_);
        tellObservers();
    }
    return why;
}

std::optional<std::string> PhotoLibrary::identifierOfFile(const std::string& path) const {
    const PHAssetRef asset = assetAtPath(path);
    return asset ? std::optional(asset->localIdentifier) : std::nullopt;
}

bool PhotoLibrary::canDelete(const std::string& identifier) const {
    bool can = false;
    static_cast<void>(guarded([&] {
        store_->read([&](const Database& database) {
            const auto files = filesOf(database, identifier);
            can = !files.empty() && std::ranges::all_of(files, [](const KnownFile& file) {
                return !file.isRemote && NSFileManager::isDeletableFileAtPath(file.path);
            });
        });
        return std::string();
    }));
    return can;
}

ScanResult PhotoLibrary::scan(const std::function<bool(const ScanProgress&)>& progress) {
    ScanResult result;
    {
        const std::lock_guard lock(changing_);
        if (const std::string why = guarded([&] {
                result = scanLibrary(*store_, progress);
                return std::string();
            });
            !why.empty())
            result.problems.push_back({store_->folder(), why});
    }
    if (result.changedAnything()) tellObservers();
    return result;
}

void PhotoLibrary::startWatching() {
    std::vector<std::string> local;
    for (const Folder& folder : folders())
        if (folder.baseURL.empty()) local.push_back(folder.path);
    watcher_ = nullptr;
    watcher_ = std::make_unique<FolderWatcher>(std::move(local), [this] { scan(); });
}

int PhotoLibrary::registerChangeObserver(std::function<void()> observer) {
    const std::lock_guard lock(observing_);
    observers_[++lastObserver_] = std::move(observer);
    return lastObserver_;
}

void PhotoLibrary::unregisterChangeObserver(int number) {
    const std::lock_guard lock(observing_);
    observers_.erase(number);
}

void PhotoLibrary::tellObservers() {
    const std::lock_guard lock(observing_);
    for (const auto& [number, observer] : observers_) DispatchQueue::global().async(observer);
}

PHAuthorizationStatus PhotoLibrary::authorization() const {
    std::optional<std::string> stored;
    bool hasFolders = false;
    static_cast<void>(guarded([&] {
        store_->read([&](const Database& database) {
            stored = database.text("SELECT value FROM facts WHERE name = ?", kAuthorization);
            hasFolders = database.integer("SELECT 1 FROM folders LIMIT 1").has_value();
        });
        return std::string();
    }));
    if (stored && stored->size() == 1 && (*stored)[0] >= '0' && (*stored)[0] <= '3')
        return static_cast<PHAuthorizationStatus>((*stored)[0] - '0');
    // Whoever has named folders has agreed to have them read.
    return hasFolders ? PHAuthorizationStatus::authorized : PHAuthorizationStatus::notDetermined;
}

void PhotoLibrary::setAuthorization(PHAuthorizationStatus status) {
    static_cast<void>(guarded([&] {
        store_->write([&](const Database& database) {
            database.run("INSERT OR REPLACE INTO facts VALUES (?, ?)", kAuthorization,
                         std::to_string(static_cast<int>(status)));
        });
        return std::string();
    }));
}

PHFetchResult<PHAsset> PhotoLibrary::assets(const PHFetchOptions& options) const {
    return fetchAssets(store_, options);
}

PHFetchResult<PHAsset> PhotoLibrary::assets(const PHAssetCollection& collection, const PHFetchOptions& options) const {
    return fetchAssets(store_, collection, options);
}

PHFetchResult<PHAsset> PhotoLibrary::assets(std::span<const std::string> identifiers,
                                            const PHFetchOptions& options) const {
    return fetchAssets(store_, identifiers, options);
}

PHFetchResult<PHAssetCollection> PhotoLibrary::collections(std::int64_t type, std::int64_t subtype,
                                                           const PHFetchOptions& options) const {
    return fetchCollections(*store_, type, subtype, options);
}

PHFetchResult<PHAssetCollection> PhotoLibrary::collections(std::span<const std::string> identifiers,
                                                           const PHFetchOptions& options) const {
    return fetchCollections(*store_, identifiers, options);
}

std::vector<PHAssetResource> PhotoLibrary::resources(const std::string& identifier) const {
    std::vector<PHAssetResource> resources;
    static_cast<void>(guarded([&] {
        store_->read([&](const Database& database) {
            Statement rows = database.prepare(
                "SELECT type, files.path, type_identifier, embedded_at IS NOT NULL, files.id FROM files JOIN assets ON "
                "assets.id = asset WHERE local_identifier = ?1 "
                // What is gone and still remembered has the names that it had.
                "UNION ALL SELECT type, place, type_identifier, embedded_at IS NOT NULL, gone_files.id FROM gone_files "
                "JOIN assets ON assets.id = asset AND presence = 2 WHERE local_identifier = ?1 ORDER BY 1, 5");
            rows.bind(identifier);
            while (rows.step()) {
                const std::string name = fs::path(rows.text(1)).filename().string();
                resources.push_back({rows.integer(0), identifier, name, rows.text(2)});
                if (rows.integer(3) != 0)
                    resources.push_back({PHAssetResourceTypePairedVideo, identifier,
                                         fs::path(name).stem().string() + ".mp4", "public.mpeg-4"});
            }
        });
        return std::string();
    }));
    return resources;
}

PHAssetContent PhotoLibrary::content(const std::string& identifier, std::int64_t resourceType, bool mayFetch,
                                     const std::function<bool(double)>& progress) const {
    PHAssetContent content;
    std::string below;
    std::string baseURL;
    FileStamp stamp;
    content.error = guarded([&]() -> std::string {
        return store_->read([&](const Database& database) -> std::string {
            Statement row = database.prepare(
                "SELECT folders.path, files.path, COALESCE(base_url, ''), type, type_identifier, size, "
                "COALESCE(embedded_at, 0), changed FROM files JOIN folders ON folders.id = folder JOIN assets ON "
                "assets.id = "
                "asset "
                "WHERE local_identifier = ?1 AND (type = ?2 OR (?2 = 9 AND embedded_at IS NOT NULL)) ORDER BY type "
                "DESC");
            row.bind(identifier, resourceType);
            if (!row.step()) return "there is no such photo";
            below = row.text(1);
            content.path = row.text(0) + "/" + below;
            baseURL = row.text(2);
            stamp = {static_cast<std::uint64_t>(row.integer(5)), row.integer(7), 0};
            const bool isEmbedded = row.integer(3) != resourceType;
            content.typeIdentifier = isEmbedded ? "public.mpeg-4" : row.text(4);
            content.offset = isEmbedded ? static_cast<std::uint64_t>(row.integer(6)) : 0;
            return {};
        });
    });
    if (!content.error.empty()) return content;
    if (NSFileManager::fileExistsAtPath(content.path)) return content;
    const std::string path = std::exchange(content.path, {});
    if (baseURL.empty()) {
        content.error = path + ": no such file";
        return content;
    }
    content.isInCloud = true;
    if (!mayFetch) return content;
    content.error = fetchRemoteFile(baseURL, below, stamp, path, progress);
    if (content.error.empty()) {
        content.path = path;
        content.isInCloud = false;
    }
    return content;
}

std::string PhotoLibrary::rendition(const std::string& identifier) const {
    std::string path = renditionPath(*store_, identifier);
    return NSFileManager::fileExistsAtPath(path) ? path : std::string();
}

std::string PhotoLibrary::evict(const std::string& identifier) {
    std::vector<LocalCopy> copies;
    std::string why = guarded([&] {
        store_->read([&](const Database& database) { copies = localCopies(database, identifier); });
        return std::string();
    });
    if (!why.empty()) return why;
    if (copies.empty()) return "nothing of the photo was fetched from a server";
    // All of a live photo, or nothing of it.
    for (const LocalCopy& copy : copies) {
        if (!isFetchedCopy(copy.local, copy.stamp)) return copy.local + ": was changed here, and is kept";
        why = checkRemoteFile(copy.baseURL, copy.path, copy.stamp.size);
        if (!why.empty()) return why;
    }
    for (const LocalCopy& copy : copies)
        // The server may have taken its time.
        if (!isFetchedCopy(copy.local, copy.stamp) || !NSFileManager::removeItemAtPath(copy.local))
            return copy.local + ": cannot be removed";
    tellObservers();
    return {};
}

std::optional<PHPhotoLibrary::Original> PhotoLibrary::original(const std::string& identifier) const {
    std::optional<Original> original;
    static_cast<void>(guarded([&] {
        store_->read([&](const Database& database) {
            Statement row = database.prepare(
                "SELECT original, format_identifier, format_version, data FROM edits JOIN assets ON assets.id = asset "
                "WHERE "
                "local_identifier = ?");
            row.bind(identifier);
            if (row.step()) original = Original{row.text(0), {row.text(1), row.text(2), row.data(3)}};
        });
        return std::string();
    }));
    return original;
}

std::vector<PHPhotoLibrary::KeptOriginal> PhotoLibrary::keptOriginals() const {
    std::vector<KeptOriginal> kept;
    static_cast<void>(guarded([&] {
        kept = photos::keptOriginals(*store_);
        return std::string();
    }));
    return kept;
}

std::string PhotoLibrary::exportOriginal(const std::string& original, const std::string& target) const {
    return guarded([&] { return photos::exportOriginal(*store_, original, target); });
}

std::string PhotoLibrary::discardOriginal(const std::string& original) {
    std::string why = guarded([&] { return photos::discardOriginal(*store_, original); });
    if (why.empty()) tellObservers();
    return why;
}

std::string PhotoLibrary::forgetAssets(std::span<const std::string> identifiers) {
    std::string why = guarded([&] { return photos::forgetAssets(*store_, identifiers); });
    if (why.empty()) {
        sweepRenditions(*store_);
        tellObservers();
    }
    return why;
}

PHAssetRef PhotoLibrary::assetAtPath(const std::string& path) const {
    std::error_code error;
    const fs::path absolute = fs::absolute(path, error);
    std::string ignored;
    // A link is a photo of the library by its own name; else by what it leads to.
    const std::string link =
        canonical(absolute.parent_path().string(), false, ignored) + "/" + absolute.filename().string();
    for (const std::string& file : {link, canonical(path, false, ignored)}) {
        std::optional<std::string> identifier;
        static_cast<void>(guarded([&] {
            identifier = store_->read([&](const Database& database) {
                const FilePlace place = folderOf(database, file);
                return database.text(
                    "SELECT local_identifier FROM assets JOIN files ON files.asset = assets.id WHERE folder = ? AND "
                    "path = ?",
                    place.folder, place.path);
            });
            return std::string();
        }));
        if (identifier) return assets(std::span(&*identifier, 1), {}).firstObject();
    }
    return nullptr;
}

std::string PhotoLibrary::newPendingFile(const std::string& extension) const {
    const std::string dot = extension.empty() || extension.starts_with('.') ? "" : ".";
    std::string path;
    if (const std::string why = guarded([&] {
            path = store_->newPendingName(dot + extension);
            return std::string();
        });
        !why.empty())
        log("library: %@", why);
    return path;
}

std::string PhotoLibrary::perform(const std::vector<PHChange>& changes) {
    std::string why;
    {
        const std::lock_guard lock(changing_);
        why = photos::performChanges(*store_, changes, confirmsDeletion);
    }
    if (why.empty()) tellObservers();
    return why;
}

}  // namespace tessaly::photos
