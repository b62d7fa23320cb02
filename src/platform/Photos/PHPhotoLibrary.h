#pragma once
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "platform/Photos/PHAssetCollection.h"
#include "platform/Photos/PHAssetResource.h"
#include "platform/Photos/PHContentEditing.h"
#include "platform/Photos/PHFetchOptions.h"

namespace tessaly {

enum class PHAuthorizationStatus : std::uint8_t { notDetermined = 0, restricted = 1, denied = 2, authorized = 3 };

/// One wish of a change block. What names something that the same block creates uses its placeholder's identifier.
namespace change {

struct CreateAsset {
    std::string identifier;
    NSURL file;  ///< Copied into the library's first folder...
    Data data;   ///< ...or these bytes,
    std::string fileName;
    std::optional<NSDate> creationDate;
    std::optional<CLLocation> location;
    bool favorite = false;
};
struct EditAsset {
    std::string identifier;
    PHContentEditingOutput output;
};
struct RevertAsset {
    std::string identifier;
};
struct SetAsset {
    std::string identifier;
    std::optional<bool> favorite;
    std::optional<NSDate> creationDate;
    std::optional<CLLocation> location;
    bool removesLocation = false;
};
struct DeleteAssets {
    std::vector<std::string> identifiers;
};
struct CreateAlbum {
    std::string identifier;
    std::string title;
};
struct RenameAlbum {
    std::string identifier;
    std::string title;
};
struct DeleteAlbum {
    std::string identifier;
};
struct AddToAlbum {
    std::string album;
    std::vector<std::string> assets;
};
struct RemoveFromAlbum {
    std::string album;
    std::vector<std::string> assets;
};

}  // namespace change

using PHChange = std::variant<change::CreateAsset, change::EditAsset, change::RevertAsset, change::SetAsset,
                              change::DeleteAssets, change::CreateAlbum, change::RenameAlbum, change::DeleteAlbum,
                              change::AddToAlbum, change::RemoveFromAlbum>;

/// Where an asset's own file is, and what it takes to have it.
struct PHAssetContent {
    std::string path;  ///< A local file; "" while it is elsewhere or gone.
    bool isInCloud = false;
    std::string typeIdentifier;
    std::uint64_t offset = 0;  ///< The resource's part of the file, to its end.
    std::string error;         ///< Why there is no path.
};

/// The user's photos: rows about files that stay in the user's own folders. May be used by several threads.
class PHPhotoLibrary : public std::enable_shared_from_this<PHPhotoLibrary> {
public:
    PHPhotoLibrary() = default;
    PHPhotoLibrary(const PHPhotoLibrary&) = delete;
    PHPhotoLibrary& operator=(const PHPhotoLibrary&) = delete;
    virtual ~PHPhotoLibrary() = default;

    /// The user's library, opened on first use, or what a test set. Never null: one that cannot be opened is denied.
    [[nodiscard]] static std::shared_ptr<PHPhotoLibrary> sharedPhotoLibrary();
    static void setSharedPhotoLibrary(std::shared_ptr<PHPhotoLibrary> library);

    [[nodiscard]] static PHAuthorizationStatus authorizationStatus() { return sharedPhotoLibrary()->authorization(); }
    /// Asks the person where that was not done yet; the handler comes on another thread.
    static void requestAuthorization(std::function<void(PHAuthorizationStatus)> handler);

    /// Runs the block, in which change requests are made, then does all of them or none. The completion comes on
    /// another thread.
    void performChanges(std::function<void()> block,
                        std::function<void(bool success, const std::string& error)> completion);
    /// The same, waiting. False with what went wrong in `error`.
    bool performChangesAndWait(const std::function<void()>& block, std::string* error = nullptr);
    /// Adds a wish to the block that runs on this thread; outside of one it is dropped.
    static void add(PHChange change);

    /// Called on another thread after every change, also one that a scan found. @return a number for removing it.
    virtual int registerChangeObserver(std::function<void()> observer) = 0;
    virtual void unregisterChangeObserver(int number) = 0;

    /// Asked before assets are deleted; without one nothing is.
    std::function<bool(const std::vector<PHAssetRef>&)> confirmsDeletion;

    [[nodiscard]] virtual PHAuthorizationStatus authorization() const = 0;
    virtual void setAuthorization(PHAuthorizationStatus status) = 0;
    [[nodiscard]] virtual PHFetchResult<PHAsset> assets(const PHFetchOptions& options) const = 0;
    [[nodiscard]] virtual PHFetchResult<PHAsset> assets(const PHAssetCollection& collection,
                                                        const PHFetchOptions& options) const = 0;
    [[nodiscard]] virtual PHFetchResult<PHAsset> assets(std::span<const std::string> identifiers,
                                                        const PHFetchOptions& options) const = 0;
    [[nodiscard]] virtual PHFetchResult<PHAssetCollection> collections(std::int64_t type, std::int64_t subtype,
                                                                       const PHFetchOptions& options) const = 0;
    [[nodiscard]] virtual PHFetchResult<PHAssetCollection> collections(std::span<const std::string> identifiers,
                                                                       const PHFetchOptions& options) const = 0;
    [[nodiscard]] virtual std::vector<PHAssetResource> resources(const std::string& identifier) const = 0;
    /// The resource's file. With `mayFetch` it is fetched when it is elsewhere, which blocks; the progress function
    /// answers false to stop.
    [[nodiscard]] virtual PHAssetContent content(const std::string& identifier, std::int64_t resourceType,
                                                 bool mayFetch, const std::function<bool(double)>& progress) const = 0;
    /// A small picture, in a file, of an asset whose own file may be elsewhere; "" for none.
    [[nodiscard]] virtual std::string rendition(const std::string&) const { return {}; }
    /// The unedited file of an edited asset, and what its editor noted.
    struct Original {
        std::string path;
        PHAdjustmentData adjustmentData;
    };
    [[nodiscard]] virtual std::optional<Original> original(const std::string& identifier) const = 0;
    /// An unedited file that the library keeps, also after its photo was deleted or forgotten.
    struct KeptOriginal {
        std::string path;   ///< In the library. By it the original is named below.
        std::string asset;  ///< Local identifier of the photo; of one that was forgotten, what it was.
        std::string photo;  ///< Where the edited photo is, or was; "" when that is not known any more.
        std::uint64_t size = 0;
        PHAssetPresence presence = PHAssetPresence::here;  ///< Of the photo.
        bool isRemembered = true;  ///< Whether the library still has the photo, and could revert it.
    };
    [[nodiscard]] virtual std::vector<KeptOriginal> keptOriginals() const { return {}; }
    /// Copies a kept original to `target`, a new file or a folder, where it gets its own name, with its times. Nothing
    /// is replaced. "" or what is wrong.
    [[nodiscard]] virtual std::string exportOriginal(const std::string& /*original*/,
                                                     const std::string& /*target*/) const {
        return "the library keeps no such original";
    }
    /// Moves a kept original to the trash. Its photo, where it is still there, stays as it was edited, for good. "" or
    /// what is wrong.
    [[nodiscard]] virtual std::string discardOriginal(const std::string& /*original*/) {
        return "the library keeps no such original";
    }
    /// Removes what the library remembers of photos that are away or gone, all of them or none. No file is touched; an
    /// original that is kept for one stays among the kept originals. "" or what is wrong.
    [[nodiscard]] virtual std::string forgetAssets(std::span<const std::string> /*identifiers*/) {
        return "there is no such photo";
    }
    /// The asset behind a file of the library, by a path that may be relative or lead through symbolic links; also of
    /// one that is away. Null for none.
    [[nodiscard]] virtual PHAssetRef assetAtPath(const std::string& /*path*/) const { return nullptr; }
    /// Whether deleting that asset is worth a try.
    [[nodiscard]] virtual bool canDelete(const std::string& /*identifier*/) const { return true; }
    /// A new file for an editor's result, on the library's own disk.
    [[nodiscard]] virtual std::string newPendingFile(const std::string& extension) const = 0;

protected:
    /// All of the changes or none; "" or what went wrong.
    virtual std::string perform(const std::vector<PHChange>& changes) = 0;
};

}  // namespace tessaly
