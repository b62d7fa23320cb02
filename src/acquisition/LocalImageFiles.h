#pragma once
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "metadata/ExifInformation.h"
#include "platform/Foundation/NSPredicate.h"
#include "platform/Photos/PHAssetCollection.h"

namespace tessaly {

/// Every question that the program asks the photo library. Operations hold no state, may run on any thread, and call
/// their completion, where they have one, before they return unless they say otherwise.
class LocalImageFiles {
public:
    using AssetsBlock = std::function<void(const PHFetchResult<PHAsset>&)>;

    [[nodiscard]] static const LocalImageFiles& sharedInstance();

    /// What the user's location filter and the flag ask for; nullopt when that is everything.
    [[nodiscard]] static std::optional<NSPredicate> predicateWithFavoritesOnly(bool favoritesOnly);
    /// All photos and videos; the source type and subtype do not narrow that down. By date of modification for
    /// `sortBy` 1, otherwise by date of creation; the other date decides between equals.
    static void getPHFetchResultFromPhotosSource(std::int64_t sourceType, std::int64_t sourceSubType,
                                                 bool favoritesOnly, std::uint64_t sortBy, bool ascending,
                                                 const AssetsBlock& completionBlock);
    /// The collection's photos and videos, by date of creation.
    static void getPHFetchResultFromPHAssetCollection(const PHAssetCollection& collection, bool favoritesOnly,
                                                      bool ascending, const AssetsBlock& completionBlock);
    static void allAlbumsFromPhotosSource(
        std::int64_t sourceType, std::int64_t sourceSubType,
        const std::function<void(const std::vector<PHAssetCollectionRef>&)>& completionBlock);
    /// The camera roll; empty where the library has none.
    [[nodiscard]] static std::vector<PHAssetCollectionRef> getCameraRollAssetCollection();

    /// The asset's record, null when there is no such asset. Waits for it: not for the main thread.
    [[nodiscard]] static ExifInformationRef exifInfoOfPHAssetWithID(const std::string& identifier);
    /// The name of the asset's photo, or else of its video, or else what the info of an image request tells, as it
    /// stands in the URL. "" for none of them.
    [[nodiscard]] static std::string fileNameForPHAsset(const PHAssetRef& asset, const Dictionary& orFromInfo);

    /// Adds the assets to the album of that title, which is made when there is none. The completion may be null; it
    /// comes on another thread, with "" or what went wrong.
    static void createPhotosAlbum(const std::string& title, std::span<const PHAssetRef> andAddAssets,
                                  std::function<void(bool success, const std::string& error)> withCompletion);

    /// Those made less than one second before or after the date, the oldest first; none without a date.
    [[nodiscard]] static std::vector<PHAssetRef> assetsWithCreationDate(const std::optional<NSDate>& date);
    /// The last of them, or null.
    [[nodiscard]] static PHAssetRef assetWithCreationDate(const std::optional<NSDate>& date);
    /// The youngest asset with that fragment in its identifier, or null. The fragment must look like an identifier.
    [[nodiscard]] static PHAssetRef assetWithPartialLocalIdentifier(const std::string& fragment);

private:
    LocalImageFiles() = default;
};

}  // namespace tessaly
