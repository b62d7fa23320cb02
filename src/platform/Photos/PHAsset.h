#pragma once
#include <cstdint>
#include <optional>
#include <string>

#include "platform/CoreLocation/CLLocation.h"
#include "platform/Foundation/NSDate.h"

namespace tessaly {

/// Kinds of media, numbered as records store them.
enum PHAssetMediaType : std::int64_t {
    PHAssetMediaTypeUnknown = 0,
    PHAssetMediaTypeImage = 1,
    PHAssetMediaTypeVideo = 2,
    PHAssetMediaTypeAudio = 3,
};

/// Flags of an asset's subtypes.
enum PHAssetMediaSubtype : std::uint64_t {
    PHAssetMediaSubtypePhotoScreenshot = 4,
    PHAssetMediaSubtypePhotoLive = 8,
};

/// One photo or video of the library, as the library knows it without opening the file.
struct PHAsset {
    std::string localIdentifier;
    std::int64_t mediaType = PHAssetMediaTypeUnknown;
    std::uint64_t mediaSubtypes = 0;
    std::int64_t pixelWidth = 0;
    std::int64_t pixelHeight = 0;
    double duration = 0;  ///< Seconds; 0 for photos.
    std::optional<NSDate> creationDate;
    std::optional<NSDate> modificationDate;
    std::optional<CLLocation> location;
};

}  // namespace tessaly
