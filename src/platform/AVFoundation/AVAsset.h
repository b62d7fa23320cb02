#pragma once
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/CoreGraphics/CGGeometry.h"
#include "platform/Foundation/FileFault.h"
#include "platform/Foundation/Value.h"

namespace tessaly {

inline constexpr std::string_view AVMetadataCommonKeyMake = "make";
inline constexpr std::string_view AVMetadataCommonKeyModel = "model";
inline constexpr std::string_view AVMetadataCommonKeySoftware = "software";
inline constexpr std::string_view AVMetadataCommonKeyLocation = "location";
inline constexpr std::string_view AVMetadataCommonKeyCreationDate = "creationDate";
inline constexpr std::string_view AVMetadataCommonKeyTitle = "title";
inline constexpr std::string_view AVMetadataCommonKeyArtist = "artist";
inline constexpr std::string_view AVMetadataCommonKeyDescription = "description";
inline constexpr std::string_view AVMetadataCommonKeyCopyrights = "copyrights";

/// One metadata item of a movie. `commonKey` is "" where the item has no common meaning.
struct AVMetadataItem {
    std::string commonKey;
    std::string
        identifier;  ///< Where it stood: "mdta/com.apple.quicktime.make", "udta/\u00a9xyz", "mkv/DATE_RECORDED".
    Value value;     ///< A location is the ISO 6709 text.
    std::optional<NSDate> startDate;  ///< Of a creation date.

    [[nodiscard]] std::string_view stringValue() const noexcept { return value.string(); }
};

enum class AVMediaType : std::uint8_t { other, video, audio };

struct AVAssetTrack {
    AVMediaType mediaType = AVMediaType::other;
    CGSize naturalSize;          ///< Pixels before the preferred transform.
    float nominalFrameRate = 0;  ///< Frames per second; 0 unknown.
    int rotationDegrees = 0;     ///< Clockwise, from the track's matrix: 0, 90, 180, 270.
};

/// Why a movie could not be opened.
using AVAssetFault = FileFault;

/// A movie (QuickTime, MP4, 3GP, Matroska, WebM, AVI, MPEG transport stream), read from its boxes without decoding
/// anything.
class AVAsset {
public:
    /// Never null: what cannot be read yields an asset without tracks, metadata or duration, and a fault.
    static std::shared_ptr<AVAsset> assetWithURL(const std::string& path);
    static std::shared_ptr<AVAsset> assetWithData(const Data& data);

    std::string path;  ///< Of the file; "" of bytes in memory, which then are `data`.
    Data data;
    AVAssetFault fault = AVAssetFault::none;
    std::string
        typeIdentifier;  ///< "com.apple.quicktime-movie", "public.mpeg-4", "public.3gpp", "org.matroska.mkv", ...
    std::uint64_t byteCount = 0;
    double durationInSeconds = 0;
    std::vector<AVMetadataItem> metadata;
    std::optional<AVMetadataItem> creationDate;
    std::optional<NSDate> fileCreationDate;  ///< Of the file itself, as the file system tells it.
    std::vector<AVAssetTrack> tracks;

    [[nodiscard]] const AVAssetTrack* firstVideoTrack() const noexcept;
};

}  // namespace tessaly
