#pragma once
#include "linux/codecs/modules/pixels/TiffLayout.h"
#include "linux/codecs/modules/pixels/TiffSamples.h"

namespace tessaly::codecs {

/// Rows of a page that are unpacked together: a row of tiles, or a strip, in all planes.
class TiffBand {
public:
    TiffBand(TIFF* tiff, const TiffLayout& layout);

    /// Whether its parts are as large as their samples need.
    [[nodiscard]] bool isSound() const noexcept { return isSound_; }
    [[nodiscard]] std::uint32_t height() const noexcept { return height_; }
    /// Of one tile or strip of one plane, unpacked, and how many of them are in memory at once.
    [[nodiscard]] std::uint64_t partBytes() const noexcept { return partBytes_; }
    [[nodiscard]] std::uint64_t parts() const noexcept { return std::uint64_t{across_} * planes_; }

    /// Memory for a band, which is none before something is unpacked into it. False where there is none.
    [[nodiscard]] bool allocate();
    /// The band whose first row is `y`. What cannot be unpacked is black. @return whether anything could.
    [[nodiscard]] bool read(std::uint32_t y);
    /// A row of what was read.
    void spread(std::uint32_t row, TiffSamples& samples, std::byte* pixels) const;

private:
    TIFF* tiff_;
    const TiffLayout& layout_;
    bool isSound_ = false;
    std::uint32_t width_ = 0;  ///< Of a part.
    std::uint32_t height_ = 1;
    std::uint32_t across_ = 1;
    std::size_t planes_ = 1;
    std::uint64_t rowBytes_ = 0;
    std::uint64_t partBytes_ = 0;
    PixelBuffer bytes_;
};

}  // namespace tessaly::codecs
