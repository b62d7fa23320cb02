#include "linux/codecs/modules/pixels/TiffExtent.h"

#include <algorithm>
#include <array>
#include <limits>

#include "linux/codecs/modules/MemoryCount.h"

namespace tessaly::codecs {
namespace {

/// What packed bytes below that are is not felt, and not worth a mapping.
constexpr std::uint64_t kLargeStrip = std::uint64_t{8} << 20;

/// How many bytes one byte becomes at best.
struct Ratio {
    std::uint16_t compression;
    std::uint64_t most;
};
constexpr std::array kRatios{
    Ratio{COMPRESSION_NONE, 1},
    Ratio{COMPRESSION_PACKBITS, 64},   // 128 bytes of 2 (TIFF 6.0, section 9)
    Ratio{COMPRESSION_LZW, 2731},      // strings of 4096 bytes by codes of 12 bits (section 13)
    Ratio{COMPRESSION_DEFLATE, 1032},  // 258 bytes of 2 bits (RFC 1951)
    Ratio{COMPRESSION_ADOBE_DEFLATE, 1032},
    Ratio{COMPRESSION_JPEG, 1024},  // a block of 64 pixels, four samples each, of 2 bits
    Ratio{COMPRESSION_OJPEG, 1024},
};
/// Of codes that repeat whole runs or rows, so that a white page is a few bytes. It is their rows that bytes limit.
constexpr std::uint64_t kUnknownRatio = 65536;

std::uint64_t largestRatio(std::uint16_t compression) {
    for (const Ratio& ratio : kRatios)
        if (ratio.compression == compression) return ratio.most;
    return kUnknownRatio;
}

std::uint64_t held(std::uint64_t offset, std::uint64_t count, std::uint64_t fileSize) {
    return offset >= fileSize ? 0 : std::min(count, fileSize - offset);
}

std::uint64_t sizeOf(tmsize_t size) { return size > 0 ? static_cast<std::uint64_t>(size) : 0; }

}  // namespace

TiffExtent::TiffExtent(TIFF* tiff, std::uint64_t fileSize) : isTiled_(TIFFIsTiled(tiff) != 0) {
    std::uint16_t planar = PLANARCONFIG_CONTIG;
    std::uint16_t samples = 1;
    std::uint16_t compression = COMPRESSION_NONE;
    TIFFGetField(tiff, TIFFTAG_IMAGELENGTH, &height_);
    TIFFGetFieldDefaulted(tiff, TIFFTAG_PLANARCONFIG, &planar);
    TIFFGetFieldDefaulted(tiff, TIFFTAG_SAMPLESPERPIXEL, &samples);
    TIFFGetFieldDefaulted(tiff, TIFFTAG_COMPRESSION, &compression);
    bandHeight_ = std::numeric_limits<std::uint32_t>::max();
    if (isTiled_)
        TIFFGetField(tiff, TIFFTAG_TILELENGTH, &bandHeight_);
    else
        TIFFGetFieldDefaulted(tiff, TIFFTAG_ROWSPERSTRIP, &bandHeight_);
    bandHeight_ = std::clamp<std::uint32_t>(bandHeight_, 1, std::max<std::uint32_t>(1, height_));
    // The conversion holds a plane a colour, and a plane of alpha.
    constexpr std::uint64_t kPlanes = 4;
    const std::uint64_t planes = planar == PLANARCONFIG_SEPARATE ? std::min<std::uint64_t>(samples, kPlanes) : 1;
    const std::uint64_t unpacked = sizeOf(isTiled_ ? TIFFTileSize(tiff) : TIFFStripSize(tiff));
    if (unpacked == 0 || unpacked > std::numeric_limits<std::uint64_t>::max() / kPlanes) return;
    bandBytes_ = unpacked * planes;
    readStrips(tiff, fileSize);
    const std::uint64_t row = sizeOf(TIFFScanlineSize(tiff));
    const std::uint64_t rows = std::uint64_t{height_} * planes;
    const bool isCountable = row > 0 && row <= std::numeric_limits<std::uint64_t>::max() / rows;
    isPlausible_ =
        heldBytes_ > 0 && isCountable && codecs::isPlausible(heldBytes_, largestRatio(compression), row * rows);
}

void TiffExtent::readStrips(TIFF* tiff, std::uint64_t fileSize) {
    const std::uint32_t count = isTiled_ ? TIFFNumberOfTiles(tiff) : TIFFNumberOfStrips(tiff);
    for (std::uint32_t i = 0; i < count && heldBytes_ < fileSize; ++i) {
        const std::uint64_t bytes = held(TIFFGetStrileOffset(tiff, i), TIFFGetStrileByteCount(tiff, i), fileSize);
        heldBytes_ += bytes;
        keptBytes_ = std::max(keptBytes_, bytes);
    }
}

bool TiffExtent::isOneLargeStrip() const noexcept { return !isTiled_ && keptBytes_ >= kLargeStrip; }

TiffExtent TiffExtent::mapped() const noexcept {
    TiffExtent same = *this;
    same.keptBytes_ = 0;
    return same;
}

}  // namespace tessaly::codecs
