#pragma once
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>

#include "platform/CoreLocation/CLLocation.h"
#include "platform/Foundation/NSDate.h"
#include "platform/Photos/PHFetchResult.h"

namespace tessaly {

inline constexpr std::int64_t PHAssetMediaTypeUnknown = 0;
inline constexpr std::int64_t PHAssetMediaTypeImage = 1;
inline constexpr std::int64_t PHAssetMediaTypeVideo = 2;
inline constexpr std::uint64_t PHAssetMediaSubtypePhotoScreenshot = 4;
inline constexpr std::uint64_t PHAssetMediaSubtypePhotoLive = 8;
inline constexpr std::int64_t PHAssetSourceTypeUserLibrary = 1;

struct PHAssetCollection;
struct PHFetchOptions;

/// Whether the file of an asset is where it was.
enum class PHAssetPresence : std::uint8_t {
    here = 0,
    away = 1,  ///< Its folder, disk or server is not there now. Back again, everything is.
    gone = 2,  ///< Its file was removed; what the library remembers of it waits for the same content to come back.
};

/// What the photo library knows of one of its items without opening it. A copy of a row: it does not change when the
/// library does.
struct PHAsset {
    std::string localIdentifier;  ///< "8-4-4-4-12 hexadecimal digits/L0/001"; stays with the item for good.
    std::int64_t mediaType = PHAssetMediaTypeUnknown;
    std::uint64_t mediaSubtypes = 0;
    std::optional<NSDate> creationDate;
    std::optional<NSDate> modificationDate;
    std::optional<CLLocation> location;
    std::uint64_t pixelWidth = 0;  ///< Upright.
    std::uint64_t pixelHeight = 0;
    double duration = 0;  ///< Seconds.
    bool favorite = false;
    bool hasAdjustments = false;  ///< It was edited, and can be reverted.
    PHAssetPresence presence = PHAssetPresence::here;

    /// Whether all its files can be removed from here. Asks the shared library; any thread.
    [[nodiscard]] bool canBeDeleted() const;

    // Of the shared library. Null options mean all, in no particular order.
    [[nodiscard]] static PHFetchResult<PHAsset> fetchAssetsWithOptions(const PHFetchOptions& options);
    [[nodiscard]] static PHFetchResult<PHAsset> fetchAssetsInAssetCollection(const PHAssetCollection& collection,
                                                                             const PHFetchOptions& options);
    [[nodiscard]] static PHFetchResult<PHAsset> fetchAssetsWithLocalIdentifiers(
        std::span<const std::string> identifiers, const PHFetchOptions& options);
};

using PHAssetRef = std::shared_ptr<PHAsset>;

}  // namespace tessaly
