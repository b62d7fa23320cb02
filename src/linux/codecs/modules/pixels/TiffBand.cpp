#include "linux/codecs/modules/pixels/TiffBand.h"

#include <algorithm>

namespace tessaly::codecs {
namespace {

std::uint64_t sizeOf(tmsize_t size) { return size > 0 ? static_cast<std::uint64_t>(size) : 0; }

}  // namespace

TiffBand::TiffBand(TIFF* tiff, const TiffLayout& layout)
    : tiff_(tiff), layout_(layout), width_(layout.width), height_(layout.height), planes_(layout.planes()) {
    if (layout.isTiled) {
        TIFFGetField(tiff, TIFFTAG_TILEWIDTH, &width_);
        TIFFGetField(tiff, TIFFTAG_TILELENGTH, &height_);
    } else {
        TIFFGetFieldDefaulted(tiff, TIFFTAG_ROWSPERSTRIP, &height_);
        height_ = std::min(height_, layout.height);
    }
    if (width_ == 0 || height_ == 0) return;
    across_ = (layout.width - 1) / width_ + 1;
    rowBytes_ = sizeOf(layout.isTiled ? TIFFTileRowSize(tiff) : TIFFScanlineSize(tiff));
    partBytes_ = sizeOf(layout.isTiled ? TIFFTileSize(tiff) : TIFFStripSize(tiff));
    const std::uint64_t samples = layout.isInPlanes() ? 1 : layout.samples;
    isSound_ =
        rowBytes_ >= (std::uint64_t{width_} * samples * layout.bits + 7) / 8 && partBytes_ / height_ >= rowBytes_;
}

bool TiffBand::allocate() {
    std::uint64_t size = 0;
    if (__builtin_mul_overflow(partBytes_, parts(), &size)) return false;
    bytes_ = PixelBuffer::allocate(static_cast<std::size_t>(size));
    return static_cast<bool>(bytes_);
}

bool TiffBand::read(std::uint32_t y) {
    const auto size = static_cast<std::size_t>(partBytes_);
    bool isThere = false;
    std::byte* target = bytes_.get();
    for (std::size_t plane = 0; plane < planes_; ++plane) {
        const auto sample = static_cast<std::uint16_t>(plane);
        for (std::uint32_t i = 0; i < across_; ++i, target += size) {
            const tmsize_t count = layout_.isTiled
                                       ? TIFFReadEncodedTile(tiff_, TIFFComputeTile(tiff_, i * width_, y, 0, sample),
                                                             target, static_cast<tmsize_t>(size))
                                       : TIFFReadEncodedStrip(tiff_, TIFFComputeStrip(tiff_, y, sample), target,
                                                              static_cast<tmsize_t>(size));
            // In the first band it is black as it is.
            if (count <= 0 && y > 0) std::fill_n(target, size, std::byte{0});
            isThere |= count > 0;
        }
    }
    return isThere;
}

void TiffBand::spread(std::uint32_t row, TiffSamples& samples, std::byte* pixels) const {
    const std::size_t pixelBytes = CGImage::kComponents * layout_.componentBits() / 8;
    const std::byte* part = bytes_.get() + row * rowBytes_;
    for (std::size_t plane = 0; plane < planes_; ++plane) {
        for (std::uint32_t i = 0; i < across_; ++i, part += partBytes_) {
            const std::size_t x = std::size_t{i} * width_;
            const std::size_t count = std::min<std::size_t>(width_, layout_.width - x);
            if (layout_.isInPlanes())
                samples.spreadPlane(plane, part, count, pixels + x * pixelBytes);
            else
                samples.spread(part, count, pixels + x * pixelBytes);
        }
    }
}

}  // namespace tessaly::codecs
