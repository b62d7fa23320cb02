#pragma once
#include <tiffio.h>

#include <cstdint>

namespace tessaly::codecs {

/// What a page says of its strips or tiles, held against the bytes that the file has for them.
class TiffExtent {
public:
    TiffExtent(TIFF* tiff, std::uint64_t fileSize);

    /// Whether as much as a part of the picture that is worth showing can come out of bytes that exist, by what its
    /// compression can do at best.
    [[nodiscard]] bool isPlausible() const noexcept { return isPlausible_; }
    /// One strip so large that its packed bytes in memory would be felt beside the picture.
    [[nodiscard]] bool isOneLargeStrip() const noexcept;
    /// Of the packed bytes that libtiff has in memory at once.
    [[nodiscard]] std::uint64_t keptBytes() const noexcept { return keptBytes_; }
    /// Of the unpacked ones of a strip, or of a tile, in all of its planes.
    [[nodiscard]] std::uint64_t bandBytes() const noexcept { return bandBytes_; }
    /// Rows of a strip, or of a row of tiles; never more than the picture has.
    [[nodiscard]] std::uint32_t bandHeight() const noexcept { return bandHeight_; }
    /// The same where the file is mapped: nothing is kept.
    [[nodiscard]] TiffExtent mapped() const noexcept;

private:
    void readStrips(TIFF* tiff, std::uint64_t fileSize);

    bool isPlausible_ = false;
    bool isTiled_ = false;
    std::uint32_t height_ = 0;
    std::uint32_t bandHeight_ = 1;
    std::uint64_t bandBytes_ = 0;
    std::uint64_t keptBytes_ = 0;
    std::uint64_t heldBytes_ = 0;  ///< Of all strips, as far as they lie in the file.
};

}  // namespace tessaly::codecs
