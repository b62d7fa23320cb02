#pragma once
#include <cstdint>
#include <optional>
#include <string>

#include "platform/CoreLocation/CLLocation.h"
#include "platform/Foundation/NSDate.h"

namespace tessaly {

inline constexpr std::int64_t PHAssetMediaTypeUnknown = 0;
inline constexpr std::int64_t PHAssetMediaTypeImage = 1;
inline constexpr std::int64_t PHAssetMediaTypeVideo = 2;
inline constexpr std::uint64_t PHAssetMediaSubtypePhotoScreenshot = 4;
inline constexpr std::uint64_t PHAssetMediaSubtypePhotoLive = 8;

/// What the photo library knows of one of its items without opening it.
struct PHAsset {
    std::string localIdentifier;
    std::int64_t mediaType = PHAssetMediaTypeUnknown;
    std::uint64_t mediaSubtypes = 0;
    std::optional<NSDate> creationDate;
    std::optional<NSDate> modificationDate;
    std::optional<CLLocation> location;
    std::uint64_t pixelWidth = 0;
    std::uint64_t pixelHeight = 0;
    double duration = 0;  ///< Seconds.
};

}  // namespace tessaly
