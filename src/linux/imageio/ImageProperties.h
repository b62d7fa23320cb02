#pragma once
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "linux/imageio/ByteSource.h"
#include "platform/Foundation/Value.h"

namespace tessaly::imageio {

/// The properties of one image while its container is read: the top level and every sub-dictionary.
///
/// The block that speaks first wins: a reader adds a property only where it is absent (`add`), and containers call
/// the block readers in order of authority (Exif, then IPTC, then XMP).
struct ImageProperties {
    Dictionary top, exif, tiff, gps, iptc, aux, pictureStyle, png, gif, jfif, heif, webp, dng, makerApple;
    /// What a maker note says of the things in aux: it holds where neither XMP nor the file's own tags say otherwise.
    Dictionary makerAux;
    Value makerIso;  ///< The sensitivity as a maker note tells it; null where it does not.
    /// The size of the whole picture as a maker note tells it, in pixels; zeros where it does not.
    struct MakerSize {
        std::uint64_t width = 0;
        std::uint64_t height = 0;
        [[nodiscard]] bool isInside(std::uint64_t outerWidth, std::uint64_t outerHeight) const noexcept {
            return width > 0 && height > 0 && width <= outerWidth && height <= outerHeight;
        }
    } makerSize;
    bool hasXmp = false;      ///< A packet with properties was read.
    std::string extendedXmp;  ///< Identifier of the extended packet that the main one announces; "" for none.
    /// Set before reading: every XMP property goes into `xmp` by its qualified name, which costs more than all the
    /// rest.
    bool keepsAllXmp = false;
    Dictionary xmp;
    std::size_t imageCount = 1;

    /// Sets `key` (which must live as long as the program) where it is still absent.
    static void add(Dictionary& dictionary, std::string_view key, Value value) {
        if (!value.isNull() && !dictionary.contains(key)) dictionary.appendLiteral(key, std::move(value));
    }
    void setPixelSize(std::uint64_t width, std::uint64_t height);

    /// One dictionary of the platform's shape; sub-dictionaries that stayed empty are left out. Takes what it needs.
    [[nodiscard]] Dictionary assemble() &&;
};

}  // namespace tessaly::imageio
