#pragma once
#include <atomic>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "linux/photos/LibraryScan.h"
#include "linux/photos/LibraryStore.h"
#include "platform/Photos/PHPhotoLibrary.h"

namespace tessaly::photos {

class FolderWatcher;

/// The photo library over the user's own folders: a database beside them, the files where they are.
class PhotoLibrary final : public PHPhotoLibrary {
public:
    /// Opens or makes the library in `folder`, and finishes what an earlier program was killed in. Null with what is
    /// wrong in `error`.
    [[nodiscard]] static std::shared_ptr<PhotoLibrary> open(const std::string& folder, std::string& error);
    /// $XDG_DATA_HOME/tessaly/library, else ~/.local/share/tessaly/library; "" without a home.
    [[nodiscard]] static std::string userFolder();
    ~PhotoLibrary() override;

    struct Folder {
        std::string path;
        std::string baseURL;  ///< "" of a local one.
        std::size_t assetCount = 0;
    };
    [[nodiscard]] std::vector<Folder> folders() const;
    /// Adds a folder; with a base URL the photos are on that server, and the folder keeps what is fetched. It is read
    /// by the next scan. "" or what is wrong.
    [[nodiscard]] std::string addFolder(const std::string& path, const std::string& baseURL = {});
    /// Forgets a folder with its assets; no file is touched. "" or what is wrong.
    [[nodiscard]] std::string removeFolder(const std::string& path);

    /// The asset behind a file of the library; nullopt for none.
    [[nodiscard]] std::optional<std::string> identifierOfFile(const std::string& path) const;

    /// Removes the local copy of a photo that was fetched from a server, as long as it is what the server still has. ""
    /// or what is wrong.
    [[nodiscard]] std::string evict(const std::string& identifier);

    ScanResult scan(const std::function<bool(const ScanProgress&)>& progress = {});
    /// Scans by itself, as soon as something changes in the folders, until the library is destroyed.
    void startWatching();

    int registerChangeObserver(std::function<void()> observer) override;
    void unregisterChangeObserver(int number) override;
    [[nodiscard]] PHAuthorizationStatus authorization() const override;
    void setAuthorization(PHAuthorizationStatus status) override;
    [[nodiscard]] PHFetchResult<PHAsset> assets(const PHFetchOptions& options) const override;
    [[nodiscard]] PHFetchResult<PHAsset> assets(const PHAssetCollection& collection,
                                                const PHFetchOptions& options) const override;
    [[nodiscard]] PHFetchResult<PHAsset> assets(std::span<const std::string> identifiers,
                                                const PHFetchOptions& options) const override;
    [[nodiscard]] PHFetchResult<PHAssetCollection> collections(std::int64_t type, std::int64_t subtype,
                                                               const PHFetchOptions& options) const override;
    [[nodiscard]] PHFetchResult<PHAssetCollection> collections(std::span<const std::string> identifiers,
                                                               const PHFetchOptions& options) const override;
    [[nodiscard]] std::vector<PHAssetResource> resources(const std::string& identifier) const override;
    [[nodiscard]] PHAssetContent content(const std::string& identifier, std::int64_t resourceType, bool mayFetch,
                                         const std::function<bool(double)>& progress) const override;
    [[nodiscard]] std::string rendition(const std::string& identifier) const override;
    [[nodiscard]] std::optional<Original> original(const std::string& identifier) const override;
    [[nodiscard]] std::vector<KeptOriginal> keptOriginals() const override;
    [[nodiscard]] std::string exportOriginal(const std::string& original, const std::string& target) const override;
    [[nodiscard]] std::string discardOriginal(const std::string& original) override;
    [[nodiscard]] std::string forgetAssets(std::span<const std::string> identifiers) override;
    [[nodiscard]] PHAssetRef assetAtPath(const std::string& path) const override;
    [[nodiscard]] bool canDelete(const std::string& identifier) const override;
    [[nodiscard]] std::string newPendingFile(const std::string& extension) const override;

protected:
    std::string perform(const std::vector<PHChange>& changes) override;

private:
    explicit PhotoLibrary(std::string folder);
    void tellObservers();

    std::shared_ptr<LibraryStore> store_;
    std::mutex changing_;  ///< One change or scan at a time.
    mutable std::mutex observing_;
    std::map<int, std::function<void()>> observers_;
    int lastObserver_ = 0;
    std::unique_ptr<FolderWatcher> watcher_;
};

}  // namespace tessaly::photos
