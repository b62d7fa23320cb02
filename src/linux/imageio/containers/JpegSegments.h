#pragma once
#include <cstdint>
#include <optional>
#include <string_view>

#include "linux/imageio/ByteSource.h"

/// Markers and segments of JPEG (ITU-T T.81, annex B), and how the segments of each kind begin.
namespace tessaly::imageio::jpeg {

using std::string_view_literals::operator""sv;

// ITU-T T.81, table B.1.
inline constexpr std::uint8_t kStartOfImage = 0xD8;
inline constexpr std::uint8_t kEndOfImage = 0xD9;
inline constexpr std::uint8_t kStartOfScan = 0xDA;
inline constexpr std::uint8_t kApp0 = 0xE0;
inline constexpr std::uint8_t kApp1 = 0xE1;
inline constexpr std::uint8_t kApp2 = 0xE2;
inline constexpr std::uint8_t kApp11 = 0xEB;
inline constexpr std::uint8_t kApp13 = 0xED;
inline constexpr std::uint8_t kApp14 = 0xEE;
inline constexpr std::uint8_t kApp15 = 0xEF;
inline constexpr std::uint8_t kComment = 0xFE;

inline constexpr std::size_t kMaximumSegments = 4096;
inline constexpr std::uint64_t kMaximumFill = 64 * 1024;

inline constexpr auto kJfifMark = "JFIF\0"sv;
inline constexpr auto kExifMark = "Exif\0"sv;
inline constexpr auto kXmpMark = "http://ns.adobe.com/xap/1.0/\0"sv;
inline constexpr auto kExtendedXmpMark = "http://ns.adobe.com/xmp/extension/\0"sv;
inline constexpr auto kIccMark = "ICC_PROFILE\0"sv;
inline constexpr auto kMpfMark = "MPF\0"sv;
inline constexpr auto kPhotoshopMark = "Photoshop 3.0\0"sv;

[[nodiscard]] constexpr bool standsAlone(std::uint8_t marker) {
    return marker == 0x01 || (marker >= 0xD0 && marker <= 0xD7);
}

/// The marker at or after `position`, which then stands behind it. Stray bytes between segments are skipped.
[[nodiscard]] std::optional<std::uint8_t> nextMarker(ByteSource& source, std::uint64_t& position);

}  // namespace tessaly::imageio::jpeg
