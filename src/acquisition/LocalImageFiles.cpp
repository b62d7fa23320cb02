#include "acquisition/LocalImageFiles.h"

#include <algorithm>

#include "acquisition/ExifManager.h"
#include "acquisition/PHAssetResource+Extension.h"
#include "platform/Foundation/Log.h"
#include "platform/Photos/PHChangeRequests.h"
#include "platform/Photos/PHImageManager.h"
#include "platform/UIKit/UIDevice.h"
#include "settings/PersistanceManager.h"

namespace tessaly {
namespace {

constexpr std::uint64_t kSourcesOfAssets = 5;  // The user's own library, and what was synced to it.
constexpr std::uint64_t kSortByModification = 1;
constexpr double kSecondsAround = 1;
// A fragment that is shorter, or has fewer pieces, would find some asset or other.
constexpr std::size_t kShortestFragment = 11;
constexpr std::ptrdiff_t kPiecesOfIdentifier = 5;

using Completion = std::function<void(bool, const std::string&)>;

std::optional<NSPredicate> predicateForPhotosAndVideos(std::string_view format) {
    return NSPredicate::predicateWithFormat(format, {PHAssetMediaTypeImage, PHAssetMediaTypeVideo});
}

template <class Object>
std::vector<std::shared_ptr<Object>> objectsOf(const PHFetchResult<Object>& fetched) {
    std::vector<std::shared_ptr<Object>> objects;
    fetched.enumerateObjectsInRange({0, fetched.count()}, [&](const std::shared_ptr<Object>& object, std::size_t) {
        if (object) objects.push_back(object);
    });
    return objects;
}

PHFetchResult<PHAsset> assetsAround(NSDate date) {
    PHFetchOptions options;
    options.sortDescriptors = {{"creationDate", true}};
    options.predicate = NSPredicate::predicateWithFormat(
        "(creationDate > %@) AND (creationDate < %@)",
        {NSDate{date.timeIntervalSince1970 - kSecondsAround}, NSDate{date.timeIntervalSince1970 + kSecondsAround}});
    return PHAsset::fetchAssetsWithOptions(options);
}

std::string lastComponentOf(std::string_view url) {
    while (url.ends_with('/')) url.remove_suffix(1);
    return std::string(url.substr(url.rfind('/') + 1));
}

/// Does nothing but complete when there is no album any more.
void addAssets(const std::vector<PHAssetRef>& assets, const PHAssetCollectionRef& album, const Completion& completion) {
    if (!album) return completion(false, "the album is not there any more");
    const auto add = [=] {
        const auto current = PHAsset::fetchAssetsInAssetCollection(*album, {});
        PHAssetCollectionChangeRequest::changeRequestForAssetCollection(*album, current).addAssets(assets);
    };
    PHPhotoLibrary::sharedPhotoLibrary()->performChanges(add, completion);
}

PHAssetCollectionRef albumOfTitle(const std::string& title) {
    PHFetchOptions options;
    options.predicate = NSPredicate::predicateWithFormat("title = %@", {title});
    return PHAssetCollection::fetchAssetCollectionsWithType(PHAssetCollectionTypeAlbum, PHAssetCollectionSubtypeAny,
                                                            options)
        .firstObject();
}

}  // namespace

const LocalImageFiles& LocalImageFiles::sharedInstance() {
    static const LocalImageFiles instance;
    return instance;
}

std::optional<NSPredicate> LocalImageFiles::predicateWithFavoritesOnly(bool favoritesOnly) {
    switch (PersistanceManager::sharedInstance().locationFilter()) {
        case 2:
            return predicateForPhotosAndVideos(
                favoritesOnly ? "location == NULL && favorite = YES && (mediaType == %d || mediaType == %d)"
                              : "location == NULL && (mediaType == %d || mediaType == %d) ");
        case 1:
            return predicateForPhotosAndVideos(
                favoritesOnly ? "location != NULL && favorite = YES && (mediaType == %d || mediaType == %d)"
                              : "location != NULL && (mediaType == %d || mediaType == %d) ");
        case 0:
            if (favoritesOnly)
                return predicateForPhotosAndVideos("favorite = YES && (mediaType == %d || mediaType == %d)");
            return std::nullopt;
        default:
            return std::nullopt;
    }
}

void LocalImageFiles::getPHFetchResultFromPhotosSource(std::int64_t, std::int64_t, bool favoritesOnly,
                                                       std::uint64_t sortBy, bool ascending,
                                                       const AssetsBlock& completionBlock) {
    PHFetchOptions options;
    options.sortDescriptors = {{"creationDate", ascending}, {"modificationDate", ascending}};
    if (sortBy == kSortByModification) std::ranges::reverse(options.sortDescriptors);
    options.includeAssetSourceTypes = kSourcesOfAssets;
    if (favoritesOnly)
        options.predicate = predicateForPhotosAndVideos("favorite = YES && (mediaType == %d || mediaType == %d)");
    completionBlock(PHAsset::fetchAssetsWithOptions(options));
}

void LocalImageFiles::getPHFetchResultFromPHAssetCollection(const PHAssetCollection& collection, bool favoritesOnly,
                                                            bool ascending, const AssetsBlock& completionBlock) {
    PHFetchOptions options;
    options.sortDescriptors = {{"creationDate", ascending}, {"modificationDate", ascending}};
    if (favoritesOnly) options.predicate = NSPredicate::predicateWithFormat("favorite = YES");
    completionBlock(PHAsset::fetchAssetsInAssetCollection(collection, options));
}

void LocalImageFiles::allAlbumsFromPhotosSource(
    std::int64_t sourceType, std::int64_t sourceSubType,
    const std::function<void(const std::vector<PHAssetCollectionRef>&)>& completionBlock) {
    const auto albums =
        objectsOf(PHAssetCollection::fetchAssetCollectionsWithType(sourceType, sourceSubType, PHFetchOptions()));
    log("Returning %lu objects", albums.size());
    completionBlock(albums);
}

std::vector<PHAssetCollectionRef> LocalImageFiles::getCameraRollAssetCollection() {
    const auto roll = PHAssetCollection::fetchAssetCollectionsWithType(
                          PHAssetCollectionTypeSmartAlbum, PHAssetCollectionSubtypeSmartAlbumUserLibrary, {})
                          .firstObject();
    if (!roll) return {};
    return {roll};
}

ExifInformationRef LocalImageFiles::exifInfoOfPHAssetWithID(const std::string& identifier) {
    const auto asset = PHAsset::fetchAssetsWithLocalIdentifiers({&identifier, 1}, {}).firstObject();
    return asset ? ExifManager::exifInformationFromPHAssett(asset) : nullptr;
}

std::string LocalImageFiles::fileNameForPHAsset(const PHAssetRef& asset, const Dictionary& orFromInfo) {
    using PHAssetResourceExtension::assetResourcesForAsset;
    if (asset && UIDevice::currentDevice().hasSystemVersion("9.0")) {
        if (const auto photo = assetResourcesForAsset(asset, PHAssetResourceTypePhoto)) return photo->originalFilename;
        if (const auto video = assetResourcesForAsset(asset, PHAssetResourceTypeVideo)) return video->originalFilename;
    }
    return lastComponentOf(orFromInfo[PHImageFileURLKey].string());
}

void LocalImageFiles::createPhotosAlbum(const std::string& title, std::span<const PHAssetRef> andAddAssets,
                                        std::function<void(bool, const std::string&)> withCompletion) {
    const std::vector<PHAssetRef> assets(andAddAssets.begin(), andAddAssets.end());
    const Completion completion = withCompletion ? std::move(withCompletion) : [](bool, const std::string&) {};
    if (const auto album = albumOfTitle(title)) return addAssets(assets, album, completion);
    const auto placeholder = std::make_shared<PHObjectPlaceholder>();
    const auto create = [=] {
        *placeholder = PHAssetCollectionChangeRequest::creationRequestForAssetCollectionWithTitle(title)
                           .placeholderForCreatedAssetCollection();
    };
    PHPhotoLibrary::sharedPhotoLibrary()->performChanges(create, [=](bool success, const std::string& error) {
        if (!success) return completion(false, error);
        const std::string& identifier = placeholder->localIdentifier;
        addAssets(assets,
                  PHAssetCollection::fetchAssetCollectionsWithLocalIdentifiers({&identifier, 1}, {}).firstObject(),
                  completion);
    });
}

PHAssetRef LocalImageFiles::assetWithPartialLocalIdentifier(const std::string& fragment) {
    if (fragment.size() < kShortestFragment || std::ranges::count(fragment, '-') + 1 < kPiecesOfIdentifier)
        return nullptr;
    PHFetchOptions options;
    options.sortDescriptors = {{"creationDate", true}};
    options.predicate = NSPredicate::predicateWithFormat("(localIdentifier contains %@)", {fragment});
    return PHAsset::fetchAssetsWithOptions(options).lastObject();
}

PHAssetRef LocalImageFiles::assetWithCreationDate(const std::optional<NSDate>& date) {
    if (!date) return nullptr;
    const auto assets = objectsOf(assetsAround(*date));
    for (const PHAssetRef& asset : assets) log("ASSET_LOCAL_ID %@", asset->localIdentifier);
    return assets.empty() ? nullptr : assets.back();
}

std::vector<PHAssetRef> LocalImageFiles::assetsWithCreationDate(const std::optional<NSDate>& date) {
    if (!date) return {};
    auto assets = objectsOf(assetsAround(*date));
    log("__ %@ and %ld", Value(*date), assets.size());
    for (const PHAssetRef& asset : assets)
        log("%@ and %@", asset->localIdentifier, asset->creationDate ? Value(*asset->creationDate) : Value());
    return assets;
}

}  // namespace tessaly
