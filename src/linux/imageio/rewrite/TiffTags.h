#pragma once
#include <cstdint>

/// Tags that the writers treat by themselves. TIFF 6.0; Exif 2.32, 4.6.
namespace tessaly::imageio::tag {

inline constexpr std::uint16_t kSubfileType = 0x00FE;
inline constexpr std::uint16_t kCompression = 0x0103;
inline constexpr std::uint16_t kMake = 0x010F;
inline constexpr std::uint16_t kStripOffsets = 0x0111;
inline constexpr std::uint16_t kOrientation = 0x0112;
inline constexpr std::uint16_t kStripByteCounts = 0x0117;
inline constexpr std::uint16_t kXResolution = 0x011A;
inline constexpr std::uint16_t kYResolution = 0x011B;
inline constexpr std::uint16_t kResolutionUnit = 0x0128;
inline constexpr std::uint16_t kTileOffsets = 0x0144;
inline constexpr std::uint16_t kTileByteCounts = 0x0145;
inline constexpr std::uint16_t kSubDirectories = 0x014A;
inline constexpr std::uint16_t kJpegOffset = 0x0201;
inline constexpr std::uint16_t kJpegLength = 0x0202;
inline constexpr std::uint16_t kXmp = 0x02BC;
inline constexpr std::uint16_t kIptc = 0x83BB;
inline constexpr std::uint16_t kPhotoshop = 0x8649;
inline constexpr std::uint16_t kExif = 0x8769;
inline constexpr std::uint16_t kIccProfile = 0x8773;
inline constexpr std::uint16_t kGps = 0x8825;
inline constexpr std::uint16_t kMakerNote = 0x927C;
inline constexpr std::uint16_t kColorSpace = 0xA001;
inline constexpr std::uint16_t kInteroperability = 0xA005;

}  // namespace tessaly::imageio::tag
