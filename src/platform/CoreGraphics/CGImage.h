#pragma once
#include <cstddef>
#include <cstdint>
#include <memory>

#include "platform/CoreGraphics/PixelBuffer.h"

namespace tessaly {

/// Where a pixel keeps its alpha, and whether its colours are multiplied by it.
enum class CGImageAlphaInfo : std::uint8_t {
    none = 0,
    premultipliedLast = 1,
    premultipliedFirst = 2,
    last = 3,
    first = 4,
    noneSkipLast = 5,
    noneSkipFirst = 6,
};

/// A bitmap in sRGB: rows from the top, four components a pixel (red, green, blue and alpha or a byte that is skipped;
/// alpha stands before or behind the colours as `alphaInfo` says), each of 8 bits or of 16 in the machine's order.
struct CGImage {
    static constexpr std::size_t kComponents = 4;

    std::size_t width = 0;
    std::size_t height = 0;
    unsigned bitsPerComponent = 8;
    CGImageAlphaInfo alphaInfo = CGImageAlphaInfo::noneSkipLast;
    PixelBuffer pixels;

    [[nodiscard]] std::size_t bytesPerPixel() const noexcept { return kComponents * bitsPerComponent / 8; }
    [[nodiscard]] std::size_t bytesPerRow() const noexcept { return width * bytesPerPixel(); }
    [[nodiscard]] std::byte* row(std::size_t y) noexcept { return pixels.get() + y * bytesPerRow(); }
    [[nodiscard]] const std::byte* row(std::size_t y) const noexcept { return pixels.get() + y * bytesPerRow(); }
    [[nodiscard]] bool hasAlpha() const noexcept {
        return alphaInfo >= CGImageAlphaInfo::premultipliedLast && alphaInfo <= CGImageAlphaInfo::first;
    }
    [[nodiscard]] bool isAlphaFirst() const noexcept {
        return alphaInfo == CGImageAlphaInfo::premultipliedFirst || alphaInfo == CGImageAlphaInfo::first ||
               alphaInfo == CGImageAlphaInfo::noneSkipFirst;
    }
    [[nodiscard]] bool isPremultiplied() const noexcept {
        return alphaInfo == CGImageAlphaInfo::premultipliedLast || alphaInfo == CGImageAlphaInfo::premultipliedFirst;
    }
};

/// Shared, and not changed any more.
using CGImageRef = std::shared_ptr<const CGImage>;

}  // namespace tessaly
