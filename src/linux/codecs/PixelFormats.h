#pragma once
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <span>

#include "platform/CoreGraphics/CGImage.h"

/// Pixels of one arrangement as another, row by row. Header only: the modules and the program both use it.
namespace tessaly::codecs {

/// 16 bits to 8, rounded.
[[nodiscard]] constexpr std::uint8_t narrowed(std::uint16_t value) noexcept {
    return static_cast<std::uint8_t>((value * 255U + 32895U) >> 16);
}

/// value * alpha / 255, rounded.
[[nodiscard]] constexpr std::uint8_t multiplied(unsigned value, unsigned alpha) noexcept {
    const unsigned product = value * alpha + 128;
    return static_cast<std::uint8_t>((product + (product >> 8)) >> 8);
}

[[nodiscard]] constexpr std::uint8_t divided(unsigned value, unsigned alpha) noexcept {
    return alpha == 0 ? 0 : static_cast<std::uint8_t>(std::min(255U, (value * 255 + alpha / 2) / alpha));
}

/// One row as red, green, blue, alpha of 8 bits each: alpha is 255 in an opaque image, and colours are multiplied by
/// it when `premultiplied` says so.
inline void copyRowAsRgba8(const CGImage& image, std::size_t y, bool premultiplied, std::span<std::uint8_t> target) {
    const std::byte* row = image.row(y);
    const std::size_t first = image.isAlphaFirst() ? 1 : 0;
    const std::size_t alphaAt = image.isAlphaFirst() ? 0 : 3;
    const auto component = [&](std::size_t index) -> std::uint8_t {
        if (image.bitsPerComponent == 8) return std::to_integer<std::uint8_t>(row[index]);
        std::uint16_t wide = 0;
        std::memcpy(&wide, row + index * 2, sizeof wide);
        return narrowed(wide);
    };
    const bool multiplies = premultiplied && image.hasAlpha() && !image.isPremultiplied();
    const bool divides = !premultiplied && image.isPremultiplied();
    if (image.bitsPerComponent == 8 && first == 0 && !multiplies && !divides) {
        std::memcpy(target.data(), row, image.width * 4);
        if (!image.hasAlpha())
            for (std::size_t x = 0; x < image.width; ++x) target[x * 4 + 3] = 255;
        return;
    }
    for (std::size_t x = 0; x < image.width; ++x) {
        const unsigned alpha = image.hasAlpha() ? component(x * 4 + alphaAt) : 255;
        for (std::size_t c = 0; c < 3; ++c) {
            const std::uint8_t value = component(x * 4 + first + c);
            target[x * 4 + c] = multiplies ? multiplied(value, alpha) : divides ? divided(value, alpha) : value;
        }
        target[x * 4 + 3] = static_cast<std::uint8_t>(alpha);
    }
}

}  // namespace tessaly::codecs
