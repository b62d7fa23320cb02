#include "platform/CoreGraphics/CGImageTurning.h"

#include <array>
#include <limits>

namespace tessaly {
namespace {

std::shared_ptr<CGImage> canvas(std::size_t width, std::size_t height, unsigned bits, CGImageAlphaInfo alphaInfo) {
    auto image = std::make_shared<CGImage>();
    image->width = width;
    image->height = height;
    image->bitsPerComponent = bits;
    image->alphaInfo = alphaInfo;
    image->pixels = PixelBuffer::allocate(image->bytesPerRow() * height);
    return image->pixels ? image : nullptr;
}

/// Where the pixels of a stored row go: the first one, and the way from one to the next, in bytes.
template <class Pixel>
void turn(const CGImage& stored, CGImage& shown, int orientation) {
    const auto width = static_cast<std::ptrdiff_t>(shown.width);
    const auto height = static_cast<std::ptrdiff_t>(shown.height);
    struct Way {
        std::ptrdiff_t start, alongRow, alongColumn;
    };
    const std::array<Way, 8> ways{{
        {0, 1, width},
        {width - 1, -1, width},
        {width * height - 1, -1, -width},
        {width * (height - 1), 1, -width},
        {0, width, 1},
        {width - 1, width, -1},
        {width * height - 1, -width, -1},
        {width * (height - 1), -width, 1},
    }};
    const Way way = ways[static_cast<std::size_t>(orientation - 1)];
    auto* target = reinterpret_cast<Pixel*>(shown.pixels.get());
    for (std::size_t y = 0; y < stored.height; ++y) {
        const auto* pixel = reinterpret_cast<const Pixel*>(stored.row(y));
        std::ptrdiff_t at = way.start + static_cast<std::ptrdiff_t>(y) * way.alongColumn;
        for (std::size_t x = 0; x < stored.width; ++x, at += way.alongRow) target[at] = pixel[x];
    }
}

/// A pixel's alpha from behind its colours to before them or back, and multiplied in where that is asked for.
template <class Component>
void rearrange(const CGImage& from, CGImage& to) {
    constexpr std::uint64_t kFull = std::numeric_limits<Component>::max();
    const std::size_t firstColor = from.isAlphaFirst() ? 1 : 0;
    const std::size_t targetColor = to.isAlphaFirst() ? 1 : 0;
    const std::size_t alphaAt = from.isAlphaFirst() ? 0 : 3;
    const std::size_t targetAlpha = to.isAlphaFirst() ? 0 : 3;
    const bool multiplies = to.isPremultiplied() && from.hasAlpha() && !from.isPremultiplied();
    for (std::size_t y = 0; y < from.height; ++y) {
        const auto* pixel = reinterpret_cast<const Component*>(from.row(y));
        auto* target = reinterpret_cast<Component*>(to.row(y));
        for (std::size_t x = 0; x < from.width; ++x, pixel += CGImage::kComponents, target += CGImage::kComponents) {
            const std::uint64_t alpha = from.hasAlpha() ? pixel[alphaAt] : kFull;
            for (std::size_t c = 0; c < 3; ++c)
                target[targetColor + c] =
                    multiplies ? static_cast<Component>((pixel[firstColor + c] * alpha + kFull / 2) / kFull)
                               : pixel[firstColor + c];
            target[targetAlpha] = static_cast<Component>(alpha);
        }
    }
}

}  // namespace

CGImageRef CGImageCreateTurned(const CGImageRef& image, int orientation) {
    if (!image || orientation < 2 || orientation > 8) return image;
    const bool isSideways = orientation >= 5;
    const auto shown = canvas(isSideways ? image->height : image->width, isSideways ? image->width : image->height,
                              image->bitsPerComponent, image->alphaInfo);
    if (!shown) return nullptr;
    if (image->bitsPerComponent == 16)
        turn<std::uint64_t>(*image, *shown, orientation);
    else
        turn<std::uint32_t>(*image, *shown, orientation);
    return shown;
}

CGImageRef CGImageCreateRearranged(const CGImageRef& image, CGImageAlphaInfo alphaInfo) {
    if (!image) return nullptr;
    const auto copy = canvas(image->width, image->height, image->bitsPerComponent, alphaInfo);
    if (!copy) return nullptr;
    if (image->bitsPerComponent == 16)
        rearrange<std::uint16_t>(*image, *copy);
    else
        rearrange<std::uint8_t>(*image, *copy);
    return copy;
}

}  // namespace tessaly
