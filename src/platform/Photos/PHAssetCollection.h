#pragma once
#include <cstdint>
#include <limits>
#include <memory>
#include <span>
#include <string>

#include "platform/Photos/PHFetchResult.h"

namespace tessaly {

inline constexpr std::int64_t PHAssetCollectionTypeAlbum = 1;
inline constexpr std::int64_t PHAssetCollectionTypeSmartAlbum = 2;
inline constexpr std::int64_t PHAssetCollectionSubtypeAlbumRegular = 2;
inline constexpr std::int64_t PHAssetCollectionSubtypeSmartAlbumVideos = 202;
inline constexpr std::int64_t PHAssetCollectionSubtypeSmartAlbumFavorites = 203;
inline constexpr std::int64_t PHAssetCollectionSubtypeSmartAlbumUserLibrary = 209;  ///< The camera roll.
inline constexpr std::int64_t PHAssetCollectionSubtypeSmartAlbumScreenshots = 211;
inline constexpr std::int64_t PHAssetCollectionSubtypeSmartAlbumLivePhotos = 213;
inline constexpr std::int64_t PHAssetCollectionSubtypeAny = std::numeric_limits<std::int64_t>::max();

struct PHFetchOptions;

/// An album: one that the user made, or one whose content follows from a rule.
struct PHAssetCollection {
    std::string localIdentifier;
    std::string localizedTitle;
    std::int64_t assetCollectionType = PHAssetCollectionTypeAlbum;
    std::int64_t assetCollectionSubtype = PHAssetCollectionSubtypeAlbumRegular;
    std::size_t estimatedAssetCount = 0;

    [[nodiscard]] static PHFetchResult<PHAssetCollection> fetchAssetCollectionsWithType(std::int64_t type,
                                                                                        std::int64_t subtype,
                                                                                        const PHFetchOptions& options);
    [[nodiscard]] static PHFetchResult<PHAssetCollection> fetchAssetCollectionsWithLocalIdentifiers(
        std::span<const std::string> identifiers, const PHFetchOptions& options);
};

using PHAssetCollectionRef = std::shared_ptr<PHAssetCollection>;

}  // namespace tessaly
