#include "platform/Photos/PHPhotoLibrary.h"

#include <mutex>

#include "linux/photos/AssetRows.h"
#include "linux/photos/EmptyLibrary.h"
#include "linux/photos/PhotoLibrary.h"
#include "platform/Foundation/Dispatch.h"
#include "platform/Foundation/Log.h"
#include "platform/Photos/PHChangeRequests.h"

namespace tessaly {
namespace {

/// Stands for a library that cannot be opened: it is empty, and says that nobody may look into it.
class ClosedLibrary final : public photos::EmptyLibrary {
public:
    explicit ClosedLibrary(std::string why) : why_(std::move(why)) {}
    [[nodiscard]] PHAuthorizationStatus authorization() const override { return PHAuthorizationStatus::denied; }
    [[nodiscard]] PHAssetContent content(const std::string&, std::int64_t, bool,
                                         const std::function<bool(double)>&) const override {
        PHAssetContent content;
        content.error = why_;
        return content;
    }

protected:
    std::string perform(const std::vector<PHChange>&) override { return why_; }

private:
    std::string why_;
};

struct Shared {
    std::mutex mutex;
    std::shared_ptr<PHPhotoLibrary> library;
};

Shared& shared() {
    static Shared instance;
    return instance;
}

/// The block that runs on this thread, if one does.
thread_local std::vector<PHChange>* currentChanges = nullptr;

std::vector<PHChange> changesOf(const std::function<void()>& block) {
    std::vector<PHChange> changes;
    auto* const outer = std::exchange(currentChanges, &changes);
    block();
    currentChanges = outer;
    return changes;
}

std::vector<std::string> identifiersOf(std::span<const PHAssetRef> assets) {
    std::vector<std::string> identifiers;
    for (const PHAssetRef& asset : assets)
        if (asset) identifiers.push_back(asset->localIdentifier);
    return identifiers;
}

}  // namespace

std::shared_ptr<PHPhotoLibrary> PHPhotoLibrary::sharedPhotoLibrary() {
    Shared& instance = shared();
    const std::lock_guard lock(instance.mutex);
    if (!instance.library) {
        std::string error;
        instance.library = photos::PhotoLibrary::open(photos::PhotoLibrary::userFolder(), error);
        if (!instance.library) {
            log("library: %@", error);
            instance.library = std::make_shared<ClosedLibrary>(error);
        }
    }
    return instance.library;
}

void PHPhotoLibrary::setSharedPhotoLibrary(std::shared_ptr<PHPhotoLibrary> library) {
    Shared& instance = shared();
    const std::lock_guard lock(instance.mutex);
    instance.library = std::move(library);
}

void PHPhotoLibrary::requestAuthorization(std::function<void(PHAuthorizationStatus)> handler) {
    DispatchQueue::global().async([handler = std::move(handler)] {
        const auto library = sharedPhotoLibrary();
        // Everything here is the user's own, on the user's own machine: asking for it is the agreement.
        if (library->authorization() == PHAuthorizationStatus::notDetermined)
            library->setAuthorization(PHAuthorizationStatus::authorized);
        handler(library->authorization());
    });
}

void PHPhotoLibrary::add(PHChange change) {
    if (currentChanges) currentChanges->push_back(std::move(change));
}

bool PHPhotoLibrary::performChangesAndWait(const std::function<void()>& block, std::string* error) {
    const std::string why = perform(changesOf(block));
    if (error) *error = why;
    return why.empty();
}

void PHPhotoLibrary::performChanges(std::function<void()> block,
                                    std::function<void(bool success, const std::string& error)> completion) {
    DispatchQueue::global().async(
        [self = shared_from_this(), block = std::move(block), completion = std::move(completion)] {
            const std::string why = self->perform(changesOf(block));
            if (completion) completion(why.empty(), why);
        });
}

PHFetchResult<PHAsset> PHAsset::fetchAssetsWithOptions(const PHFetchOptions& options) {
    return PHPhotoLibrary::sharedPhotoLibrary()->assets(options);
}

PHFetchResult<PHAsset> PHAsset::fetchAssetsInAssetCollection(const PHAssetCollection& collection,
                                                             const PHFetchOptions& options) {
    return PHPhotoLibrary::sharedPhotoLibrary()->assets(collection, options);
}

PHFetchResult<PHAsset> PHAsset::fetchAssetsWithLocalIdentifiers(std::span<const std::string> identifiers,
                                                                const PHFetchOptions& options) {
    return PHPhotoLibrary::sharedPhotoLibrary()->assets(identifiers, options);
}

bool PHAsset::canBeDeleted() const { return PHPhotoLibrary::sharedPhotoLibrary()->canDelete(localIdentifier); }

PHFetchResult<PHAssetCollection> PHAssetCollection::fetchAssetCollectionsWithType(std::int64_t type,
                                                                                  std::int64_t subtype,
                                                                                  const PHFetchOptions& options) {
    return PHPhotoLibrary::sharedPhotoLibrary()->collections(type, subtype, options);
}

PHFetchResult<PHAssetCollection> PHAssetCollection::fetchAssetCollectionsWithLocalIdentifiers(
    std::span<const std::string> identifiers, const PHFetchOptions& options) {
    return PHPhotoLibrary::sharedPhotoLibrary()->collections(identifiers, options);
}

PHAssetChangeRequest PHAssetChangeRequest::creationRequestForAssetFromImageAtFileURL(const NSURL& url) {
    PHAssetChangeRequest request(photos::newIdentifier(photos::kAssetSuffix));
    change::CreateAsset wish;
    wish.identifier = request.placeholder_.localIdentifier;
    wish.file = url;
    PHPhotoLibrary::add(std::move(wish));
    return request;
}

PHAssetChangeRequest PHAssetChangeRequest::creationRequestForAssetFromVideoAtFileURL(const NSURL& url) {
    return creationRequestForAssetFromImageAtFileURL(url);
}

PHAssetChangeRequest PHAssetChangeRequest::creationRequestForAssetWithData(const Data& data,
                                                                           const std::string& fileName) {
    PHAssetChangeRequest request(photos::newIdentifier(photos::kAssetSuffix));
    change::CreateAsset wish;
    wish.identifier = request.placeholder_.localIdentifier;
    wish.data = data;
    wish.fileName = fileName;
    PHPhotoLibrary::add(std::move(wish));
    return request;
}

PHAssetChangeRequest PHAssetChangeRequest::changeRequestForAsset(const PHAsset& asset) {
    return PHAssetChangeRequest(asset.localIdentifier);
}

void PHAssetChangeRequest::deleteAssets(std::span<const PHAssetRef> assets) {
    PHPhotoLibrary::add(change::DeleteAssets{identifiersOf(assets)});
}

namespace {

change::SetAsset settingOf(const PHObjectPlaceholder& asset) {
    change::SetAsset wish;
    wish.identifier = asset.localIdentifier;
    return wish;
}

}  // namespace

void PHAssetChangeRequest::setFavorite(bool favorite) const {
    auto wish = settingOf(placeholder_);
    wish.favorite = favorite;
    PHPhotoLibrary::add(std::move(wish));
}

void PHAssetChangeRequest::setCreationDate(NSDate date) const {
    auto wish = settingOf(placeholder_);
    wish.creationDate = date;
    PHPhotoLibrary::add(std::move(wish));
}

void PHAssetChangeRequest::setLocation(const std::optional<CLLocation>& location) const {
    auto wish = settingOf(placeholder_);
    wish.location = location;
    wish.removesLocation = !location;
    PHPhotoLibrary::add(std::move(wish));
}

void PHAssetChangeRequest::setContentEditingOutput(const PHContentEditingOutput& output) const {
    PHPhotoLibrary::add(change::EditAsset{placeholder_.localIdentifier, output});
}

void PHAssetChangeRequest::revertAssetContentToOriginal() const {
    PHPhotoLibrary::add(change::RevertAsset{placeholder_.localIdentifier});
}

PHAssetCollectionChangeRequest PHAssetCollectionChangeRequest::creationRequestForAssetCollectionWithTitle(
    const std::string& title) {
    PHAssetCollectionChangeRequest request(photos::newIdentifier(photos::kAlbumSuffix));
    PHPhotoLibrary::add(change::CreateAlbum{request.placeholder_.localIdentifier, title});
    return request;
}

PHAssetCollectionChangeRequest PHAssetCollectionChangeRequest::changeRequestForAssetCollection(
    const PHAssetCollection& collection, const PHFetchResult<PHAsset>&) {
    return PHAssetCollectionChangeRequest(collection.localIdentifier);
}

void PHAssetCollectionChangeRequest::deleteAssetCollections(std::span<const PHAssetCollectionRef> collections) {
    for (const PHAssetCollectionRef& collection : collections)
        if (collection) PHPhotoLibrary::add(change::DeleteAlbum{collection->localIdentifier});
}

void PHAssetCollectionChangeRequest::setTitle(const std::string& title) const {
    PHPhotoLibrary::add(change::RenameAlbum{placeholder_.localIdentifier, title});
}

void PHAssetCollectionChangeRequest::addAssets(std::span<const PHAssetRef> assets) const {
    PHPhotoLibrary::add(change::AddToAlbum{placeholder_.localIdentifier, identifiersOf(assets)});
}

void PHAssetCollectionChangeRequest::addAssets(std::span<const PHObjectPlaceholder> assets) const {
    change::AddToAlbum wish{placeholder_.localIdentifier, {}};
    for (const PHObjectPlaceholder& asset : assets) wish.assets.push_back(asset.localIdentifier);
    PHPhotoLibrary::add(std::move(wish));
}

void PHAssetCollectionChangeRequest::removeAssets(std::span<const PHAssetRef> assets) const {
    PHPhotoLibrary::add(change::RemoveFromAlbum{placeholder_.localIdentifier, identifiersOf(assets)});
}

}  // namespace tessaly
