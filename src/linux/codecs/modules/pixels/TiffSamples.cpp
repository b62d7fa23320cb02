#include "linux/codecs/modules/pixels/TiffSamples.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <limits>

namespace tessaly::codecs {
namespace {

/// A whole number of bytes in this machine's order.
std::uint64_t wholeBytes(const std::byte* at, std::size_t count) {
    std::uint64_t value = 0;
    auto* target = reinterpret_cast<std::byte*>(&value);
    if constexpr (std::endian::native == std::endian::big) target += sizeof value - count;
    std::memcpy(target, at, count);
    return value;
}

/// Numbers without bytes of their own, the most significant bit first (TIFF 6.0, FillOrder).
std::uint64_t packedBits(const std::byte* from, std::size_t index, unsigned bits) {
    std::uint64_t value = 0;
    for (std::size_t bit = index * bits; bit < (index + 1) * bits; ++bit)
        value = value << 1U | (std::to_integer<unsigned>(from[bit / 8]) >> (7 - bit % 8) & 1U);
    return value;
}

std::uint64_t numberAt(const std::byte* from, std::size_t index, unsigned bits) {
    return bits % 8 == 0 ? wholeBytes(from + index * (bits / 8), bits / 8) : packedBits(from, index, bits);
}

template <class Component>
Component scaled(std::uint64_t value, unsigned bits) {
    constexpr unsigned kBits = sizeof(Component) * 8;
    if (bits >= kBits) return static_cast<Component>(value >> (bits - kBits));
    return static_cast<Component>(value * std::numeric_limits<Component>::max() / ((std::uint64_t{1} << bits) - 1));
}

/// IEEE 754 with fewer bits than a float: half, and the 24 bits of DNG 1.4, "Floating Point Image Data".
struct NarrowFloat {
    unsigned mantissa, exponent;

    [[nodiscard]] float value(std::uint32_t number) const noexcept {
        const std::uint32_t infinity = ((1U << exponent) - 1) << mantissa;
        if (number > infinity) return 0;  // Negative, or not a number.
        // With the exponent's own bias; what it lacks to a float's is made up for, in the smallest numbers too.
        constexpr unsigned kMantissa = 23, kBias = 127;
        const unsigned missing = kBias - ((1U << (exponent - 1)) - 1);
        return std::bit_cast<float>(number << (kMantissa - mantissa)) *
               std::bit_cast<float>((kBias + missing) << kMantissa);
    }
};
constexpr NarrowFloat kHalf{10, 5}, kFloat24{16, 7};

double realOf(std::uint64_t number, unsigned bits) {
    switch (bits) {
        case 16:
            return double{kHalf.value(static_cast<std::uint32_t>(number))};
        case 24:
            return double{kFloat24.value(static_cast<std::uint32_t>(number))};
        case 32:
            return double{std::bit_cast<float>(static_cast<std::uint32_t>(number))};
        default:
            return std::bit_cast<double>(number);
    }
}

std::uint16_t wideOf(double value) {
    return std::isnan(value) ? std::uint16_t{0} : static_cast<std::uint16_t>(std::clamp(value, 0.0, 1.0) * 65535 + 0.5);
}

template <class Component>
Component componentOf(std::uint64_t number, const TiffLayout& layout) {
    if constexpr (sizeof(Component) > 1)
        if (layout.format == SAMPLEFORMAT_IEEEFP) return wideOf(realOf(number, layout.bits));
    if (layout.format == SAMPLEFORMAT_INT) number ^= std::uint64_t{1} << (layout.bits - 1U);
    return scaled<Component>(number, layout.bits);
}

/// CIE L*a*b* as colour management numbers it since ICC.1:2001-04, 6.3.4: L* from 0 to 100, a* and b* from -128 to 127
/// over the whole range. TIFF 6.0, section 23, and Adobe's supplements to it give a* and b* a sign, ICC's older numbers
/// a middle, with 16 bits in 256ths of a step; ITU-T T.42 its own ranges.
template <class Component>
Component labOf(const TiffLayout& layout, std::size_t plane, Component sample) {
    constexpr bool isWide = sizeof(Component) > 1;
    constexpr double kFull = std::numeric_limits<Component>::max();
    constexpr double kWiden = isWide ? 257.0 / 256 : 1;  // From 256ths of a step.
    const auto rounded = [&](double value) { return static_cast<Component>(std::clamp(value + 0.5, 0.0, kFull)); };
    if (layout.photometric == PHOTOMETRIC_ICCLAB) return rounded(sample * kWiden);
    if (plane == 0) return sample;
    if (layout.photometric == PHOTOMETRIC_CIELAB)
        return rounded((sample ^ (Component{1} << (sizeof(Component) * 8 - 1))) * kWiden);
    const double zero = plane == 1 ? 128 : 96;
    const double range = plane == 1 ? 170 : 200;
    return rounded(((sample / kFull * 255 - zero) * range / 255 + 128) / 255 * kFull);
}

template <class Component>
void putPixels(const TiffLayout& layout, const Component* sample, std::size_t count, std::byte* target) {
    constexpr Component kFull = std::numeric_limits<Component>::max();
    auto* pixel = reinterpret_cast<Component*>(target);
    const std::size_t colors = layout.colors();
    const bool hasAlpha = layout.hasAlpha();
    const bool inverts = layout.photometric == PHOTOMETRIC_MINISWHITE;
    const bool isLab = layout.isLab();
    for (std::size_t x = 0; x < count; ++x, sample += layout.samples, pixel += CGImage::kComponents) {
        pixel[3] = hasAlpha ? sample[colors] : kFull;
        for (std::size_t c = 0; c < std::min<std::size_t>(colors, 4); ++c)
            pixel[c] = isLab ? labOf(layout, c, sample[c]) : sample[c];
        if (colors > 1) continue;
        if (inverts) pixel[0] = static_cast<Component>(kFull - pixel[0]);
        pixel[1] = pixel[2] = pixel[0];
    }
}

template <class Component>
void putPlane(const TiffLayout& layout, std::size_t plane, const Component* sample, std::size_t count,
              std::byte* target) {
    constexpr Component kFull = std::numeric_limits<Component>::max();
    auto* pixel = reinterpret_cast<Component*>(target);
    const bool inverts = layout.photometric == PHOTOMETRIC_MINISWHITE && plane == 0;
    const bool isGray = layout.colors() == 1 && plane == 0;
    const bool isOpaque = plane == 0 && !layout.hasAlpha() && layout.colors() < 4;
    const std::size_t place = plane == layout.colors() ? 3 : plane;
    const bool isLab = layout.isLab() && place < 3;
    for (std::size_t x = 0; x < count; ++x, pixel += CGImage::kComponents) {
        const Component value = isLab ? labOf(layout, place, sample[x]) : sample[x];
        pixel[place] = inverts ? static_cast<Component>(kFull - value) : value;
        if (isGray) pixel[1] = pixel[2] = pixel[0];
        if (isOpaque) pixel[3] = kFull;
    }
}

}  // namespace

bool TiffSamples::knows(unsigned bits, unsigned format) noexcept {
    switch (format) {
        case SAMPLEFORMAT_UINT:
        case SAMPLEFORMAT_INT:
            return bits > 0 && bits <= 64;
        case SAMPLEFORMAT_IEEEFP:
            return bits == 16 || bits == 24 || bits == 32 || bits == 64;
        default:
            return false;
    }
}

template <class Component>
const Component* TiffSamples::components(const std::byte* samples, std::size_t count) {
    if (layout_.format == SAMPLEFORMAT_UINT && layout_.bits == sizeof(Component) * 8)
        return reinterpret_cast<const Component*>(samples);
    unpacked_.resize(count);
    auto* made = reinterpret_cast<Component*>(unpacked_.data());
    for (std::size_t i = 0; i < count; ++i)
        made[i] = componentOf<Component>(numberAt(samples, i, layout_.bits), layout_);
    return made;
}

void TiffSamples::spread(const std::byte* samples, std::size_t count, std::byte* pixels) {
    if (layout_.componentBits() == 8)
        putPixels(layout_, components<std::uint8_t>(samples, count * layout_.samples), count, pixels);
    else
        putPixels(layout_, components<std::uint16_t>(samples, count * layout_.samples), count, pixels);
}

void TiffSamples::spreadPlane(std::size_t plane, const std::byte* samples, std::size_t count, std::byte* pixels) {
    if (layout_.componentBits() == 8)
        putPlane(layout_, plane, components<std::uint8_t>(samples, count), count, pixels);
    else
        putPlane(layout_, plane, components<std::uint16_t>(samples, count), count, pixels);
}

}  // namespace tessaly::codecs
