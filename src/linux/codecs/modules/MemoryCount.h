#pragma once
#include <cstdint>
#include <limits>

#include "linux/codecs/ImageCodec.h"

namespace tessaly::codecs {

/// The bytes that a decode is going to take, counted before it asks for the first of them. What is beyond 64 bits is
/// counted as their largest number. The factors beside the codecs were measured with bench/decoding.
class MemoryCount {
public:
    /// The picture that is answered. It may lie in a file, and counts against the file's limit then.
    MemoryCount& picture(std::uint64_t width, std::uint64_t height, unsigned bitsPerComponent) noexcept {
        picture_ = product(product(width, height), CGImage::kComponents * bitsPerComponent / 8);
        return *this;
    }

    /// What the codec has in memory beside it, in bytes.
    MemoryCount& beside(std::uint64_t count, std::uint64_t size = 1) noexcept {
        beside_ = sum(beside_, product(count, size));
        return *this;
    }

    /// The same, as bytes a pixel.
    MemoryCount& besideEachPixel(std::uint64_t width, std::uint64_t height, double bytes) noexcept {
        const double total = static_cast<double>(width) * static_cast<double>(height) * bytes;
        return beside(total < kLargest ? static_cast<std::uint64_t>(total) : kNone);
    }

    [[nodiscard]] DecodeFault fault(const DecodeRequest& request) const noexcept {
        if (request.memoryLimit == 0) return DecodeFault::none;
        const bool isInFile = request.fileLimit != 0;
        if (isInFile && picture_ > request.fileLimit) return DecodeFault::tooLarge;
        return sum(beside_, isInFile ? 0 : picture_) > request.memoryLimit ? DecodeFault::tooLarge : DecodeFault::none;
    }

private:
    static constexpr std::uint64_t kNone = std::numeric_limits<std::uint64_t>::max();
    static constexpr double kLargest = 1e19;

    [[nodiscard]] static std::uint64_t sum(std::uint64_t a, std::uint64_t b) noexcept {
        std::uint64_t result = 0;
        return __builtin_add_overflow(a, b, &result) ? kNone : result;
    }
    [[nodiscard]] static std::uint64_t product(std::uint64_t a, std::uint64_t b) noexcept {
        std::uint64_t result = 0;
        return __builtin_mul_overflow(a, b, &result) ? kNone : result;
    }

    std::uint64_t picture_ = 0;
    std::uint64_t beside_ = 0;
};

/// Whether bytes that unpack to `most` times their number can hold a part of a picture that is worth memory. A file
/// that was cut off shows what it has, but nobody is helped by a thousandth of it.
[[nodiscard]] constexpr bool isPlausible(std::uint64_t held, std::uint64_t most, std::uint64_t claimed) noexcept {
    constexpr std::uint64_t kWorthShowing = 16;  // a sixteenth
    return held >= claimed / (most * kWorthShowing);
}

}  // namespace tessaly::codecs
