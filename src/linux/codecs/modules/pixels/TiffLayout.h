#pragma once
#include <tiffio.h>

#include <cstddef>
#include <cstdint>

#include "platform/CoreGraphics/CGImage.h"

namespace tessaly::codecs {

/// What of a directory decides how its samples become pixels (TIFF 6.0, section 8).
struct TiffLayout {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::uint16_t bits = 1;
    std::uint16_t samples = 1;
    std::uint16_t planar = PLANARCONFIG_CONTIG;
    std::uint16_t photometric = PHOTOMETRIC_MINISBLACK;
    std::uint16_t format = SAMPLEFORMAT_UINT;
    std::uint16_t compression = COMPRESSION_NONE;
    std::uint16_t extra = 0;  ///< What the first sample beyond the colours means.
    bool isTiled = false;

    explicit TiffLayout(TIFF* tiff);

    /// CIE L*a*b*, in one of the three ways to number it.
    [[nodiscard]] bool isLab() const noexcept {
        return photometric == PHOTOMETRIC_CIELAB || photometric == PHOTOMETRIC_ICCLAB ||
               photometric == PHOTOMETRIC_ITULAB;
    }
    [[nodiscard]] std::size_t colors() const noexcept {
        if (photometric == PHOTOMETRIC_RGB || isLab()) return 3;
        return photometric == PHOTOMETRIC_SEPARATED ? 4 : 1;
    }
    [[nodiscard]] bool hasAlpha() const noexcept {
        return samples > colors() && colors() != 4 &&
               (extra == EXTRASAMPLE_ASSOCALPHA || extra == EXTRASAMPLE_UNASSALPHA);
    }
    [[nodiscard]] CGImageAlphaInfo alphaInfo() const noexcept {
        if (!hasAlpha()) return CGImageAlphaInfo::noneSkipLast;
        return extra == EXTRASAMPLE_ASSOCALPHA ? CGImageAlphaInfo::premultipliedLast : CGImageAlphaInfo::last;
    }
    [[nodiscard]] bool isInPlanes() const noexcept { return planar == PLANARCONFIG_SEPARATE && samples > 1; }
    /// Planes that make the picture: no more than colours and alpha.
    [[nodiscard]] std::size_t planes() const noexcept {
        return isInPlanes() ? colors() + (hasAlpha() ? 1 : 0) : std::size_t{1};
    }
    [[nodiscard]] unsigned componentBits() const noexcept { return bits <= 8 ? 8 : 16; }
    /// Gray, RGB, Lab or inks in numbers that can be spread into components without a loss that shows.
    [[nodiscard]] bool isPlain() const noexcept;
    /// What libtiff's own conversion to 8 bits takes as well.
    [[nodiscard]] bool isConvertible() const noexcept {
        return format == SAMPLEFORMAT_UINT && (bits == 8 || bits == 16) && !isLab();
    }
    /// Whether a decoder for its compression is there, and one for its depth.
    [[nodiscard]] bool canBeUnpacked() const noexcept;
};

}  // namespace tessaly::codecs
