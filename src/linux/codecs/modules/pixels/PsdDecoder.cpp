#include <array>
#include <bit>
#include <cmath>
#include <limits>

#include "linux/codecs/modules/Guarded.h"
#include "linux/codecs/modules/PixelRows.h"
#include "linux/codecs/modules/pixels/Pixels.h"
#include "linux/imageio/containers/PsdSections.h"

/// The picture that the layers of a PSD or PSB add up to: all rows of the first channel, then all of the next. A row of
/// every channel is read when it is its turn, so that a picture of any size is reduced without being in memory.
namespace tessaly::codecs {
namespace {

using imageio::ByteOrder;
using imageio::loadInteger;
using imageio::PsdMode;
using imageio::PsdResource;
using imageio::PsdSections;

constexpr std::uint16_t kIccProfile = 0x040F;
constexpr std::uint64_t kLargestProfile = 16 * 1024 * 1024;
constexpr std::size_t kPalette = 768;

enum class Packing : std::uint16_t { none = 0, runs = 1 };

/// PackBits: a count and that many bytes as they are, or one byte to be repeated. @return whether the row is whole.
bool unpackRuns(std::span<const std::byte> packed, std::span<std::byte> row) {
    std::size_t at = 0;
    std::size_t filled = 0;
    while (at < packed.size() && filled < row.size()) {
        const auto count = std::to_integer<unsigned>(packed[at++]);
        if (count == 128) continue;
        const std::size_t length = std::min<std::size_t>(count < 128 ? count + 1 : 257 - count, row.size() - filled);
        if (count < 128) {
            if (packed.size() - at < length) return false;
            std::ranges::copy(packed.subspan(at, length), row.begin() + static_cast<std::ptrdiff_t>(filled));
            at += length;
        } else {
            if (at == packed.size()) return false;
            std::ranges::fill(row.subspan(filled, length), packed[at++]);
        }
        filled += length;
    }
    return filled == row.size();
}

/// The rows of each channel, whatever they are packed in.
class Channels {
public:
    Channels(PixelInput& input, const PsdSections& sections, std::size_t used)
        : input_(input), sections_(sections), places_(used), rows_(used) {}

    [[nodiscard]] DecodeFault begin() {
        std::array<std::byte, 2> packing{};
        if (input_.read(sections_.pixels, packing) != packing.size()) return DecodeFault::damaged;
        packing_ = static_cast<Packing>(loadInteger<std::uint16_t>(packing.data(), ByteOrder::big));
        if (packing_ != Packing::none && packing_ != Packing::runs) return DecodeFault::unsupported;
        const std::uint64_t start = sections_.pixels + packing.size();
        const std::uint64_t channelBytes = sections_.rowBytes() * sections_.height;
        const std::uint64_t most = packing_ == Packing::none ? 1 : 64;
        if (!isPlausible(input_.size() - start, most, channelBytes * places_.size())) return DecodeFault::damaged;
        for (std::vector<std::byte>& row : rows_) row.resize(static_cast<std::size_t>(sections_.rowBytes()));
        if (packing_ == Packing::runs) return readLengths(start);
        for (std::size_t c = 0; c < places_.size(); ++c) places_[c] = start + c * channelBytes;
        return DecodeFault::none;
    }

    /// What the lengths of packed rows take in memory.
    [[nodiscard]] static std::uint64_t tableBytes(const PsdSections& sections) {
        return std::uint64_t{sections.channels} * sections.height * (sections.isLarge ? 4 : 2);
    }

    /// The next row of every channel; false where none of it is there.
    [[nodiscard]] bool next() {
        bool isThere = false;
        for (std::size_t c = 0; c < places_.size(); ++c) isThere |= nextOf(c);
        ++y_;
        return isThere;
    }

    [[nodiscard]] const std::byte* row(std::size_t channel) const { return rows_[channel].data(); }

private:
    [[nodiscard]] DecodeFault readLengths(std::uint64_t start) {
        if (tableBytes(sections_) > input_.size()) return DecodeFault::damaged;
        lengths_.resize(static_cast<std::size_t>(tableBytes(sections_)));
        if (input_.read(start, lengths_) != lengths_.size()) return DecodeFault::damaged;
        std::uint64_t place = start + lengths_.size();
        for (std::size_t c = 0; c < places_.size(); ++c) {
            places_[c] = place;
            for (std::uint32_t y = 0; y < sections_.height; ++y) place += lengthOf(c, y);
        }
        return DecodeFault::none;
    }

    [[nodiscard]] std::uint64_t lengthOf(std::size_t channel, std::uint32_t y) const {
        const std::size_t index = channel * sections_.height + y;
        if (sections_.isLarge) return loadInteger<std::uint32_t>(lengths_.data() + index * 4, ByteOrder::big);
        return loadInteger<std::uint16_t>(lengths_.data() + index * 2, ByteOrder::big);
    }

    bool nextOf(std::size_t channel) {
        std::vector<std::byte>& row = rows_[channel];
        if (packing_ == Packing::none) {
            const std::size_t count = input_.read(places_[channel], row);
            places_[channel] += row.size();
            return count == row.size();
        }
        const std::uint64_t length = lengthOf(channel, y_);
        // Not even noise takes more than a byte in 128 beside it.
        if (length > 2 * row.size() + 2) return false;
        packed_.resize(static_cast<std::size_t>(length));
        const std::size_t count = input_.read(places_[channel], packed_);
        places_[channel] += length;
        return unpackRuns(std::span(packed_).first(count), row);
    }

    PixelInput& input_;
    const PsdSections& sections_;
    Packing packing_ = Packing::none;
    std::vector<std::uint64_t> places_;
    std::vector<std::vector<std::byte>> rows_;
    std::vector<std::byte> lengths_;
    std::vector<std::byte> packed_;
    std::uint32_t y_ = 0;
};

/// Floating-point samples are linear light.
std::uint16_t encoded(float linear) {
    if (!(linear > 0)) return 0;
    const float value = linear >= 1            ? 1
                        : linear <= 0.0031308F ? linear * 12.92F
                                               : 1.055F * std::pow(linear, 1 / 2.4F) - 0.055F;
    return static_cast<std::uint16_t>(value * 65535 + 0.5F);
}

template <class Component>
Component sampleAt(const std::byte* row, std::size_t x, std::uint16_t depth, bool isCurved) {
    if constexpr (sizeof(Component) == 1) {
        return std::to_integer<Component>(row[x]);
    } else {
        if (depth == 16) return loadInteger<std::uint16_t>(row + x * 2, ByteOrder::big);
        const auto value = std::bit_cast<float>(loadInteger<std::uint32_t>(row + x * 4, ByteOrder::big));
        if (isCurved) return encoded(value);
        return static_cast<Component>((value > 0 ? std::min(value, 1.0F) : 0.0F) * 65535 + 0.5F);
    }
}

/// The picture lies on white, as a program shows it that knows nothing of alpha: the white is taken out again.
template <class Component>
Component withoutWhite(Component color, Component white, Component alpha) {
    constexpr double kFull = std::numeric_limits<Component>::max();
    if (alpha == 0) return color;
    const double value = white - (double{white} - color) * kFull / alpha;
    return static_cast<Component>(std::clamp(value, 0.0, kFull) + 0.5);
}

/// Told as what is left of the light.
bool hasInks(const PsdSections& sections) {
    return sections.mode == PsdMode::cmyk || (sections.mode == PsdMode::multichannel && sections.colors() > 1);
}

class Rows {
public:
    Rows(PixelInput& input, const PsdSections& sections, bool hasProfile)
        : sections_(sections),
          channels_(input, sections, channelsOf(sections)),
          isCurved_(sections.depth == 32 && !hasProfile) {
        if (sections.mode != PsdMode::indexed) return;
        // All reds, all greens, all blues.
        std::array<std::byte, kPalette> bytes{};
        if (sections.palette.length >= kPalette) input.read(sections.palette.position, bytes);
        palette_ = bytes;
    }

    static std::size_t channelsOf(const PsdSections& sections) {
        const bool hasAlpha = sections.hasAlpha && !hasInks(sections);
        return sections.colors() + (hasAlpha ? 1 : 0);
    }

    [[nodiscard]] DecodeFault read(const DecodeRequest& request, CGImage& image) {
        if (const auto fault = channels_.begin(); fault != DecodeFault::none) return fault;
        const bool isWide = sections_.depth > 8;
        const auto alpha = hasAlpha() ? CGImageAlphaInfo::last : CGImageAlphaInfo::noneSkipLast;
        PixelRows rows;
        if (const auto fault = rows.begin(image, sections_.width, sections_.height, isWide ? 16 : 8, alpha, request);
            fault != DecodeFault::none)
            return fault;
        for (std::uint32_t y = 0; y < sections_.height; ++y) {
            if (!channels_.next()) {
                if (y == 0) return DecodeFault::damaged;
                break;
            }
            if (isWide)
                put<std::uint16_t>(rows.next());
            else
                put<std::uint8_t>(rows.next());
            rows.done();
        }
        rows.end();
        return DecodeFault::none;
    }

private:
    [[nodiscard]] bool hasAlpha() const { return channelsOf(sections_) > sections_.colors(); }

    /// In Lab, the two colours of white are in the middle.
    template <class Component>
    [[nodiscard]] Component whiteOf(std::size_t channel) const {
        constexpr Component kFull = std::numeric_limits<Component>::max();
        return sections_.mode == PsdMode::lab && channel > 0 ? static_cast<Component>(kFull / 2 + 1) : kFull;
    }

    template <class Component>
    void put(std::byte* target) const {
        constexpr Component kFull = std::numeric_limits<Component>::max();
        const std::size_t colors = sections_.colors();
        auto* pixel = reinterpret_cast<Component*>(target);
        for (std::size_t x = 0; x < sections_.width; ++x, pixel += CGImage::kComponents) {
            pixel[3] = kFull;
            if (sections_.depth == 1 || sections_.mode == PsdMode::indexed) {
                putColor(x, pixel);
                continue;
            }
            for (std::size_t c = 0; c < colors; ++c)
                pixel[c] = sampleAt<Component>(channels_.row(c), x, sections_.depth, isCurved_);
            if (hasAlpha()) {
                pixel[3] = sampleAt<Component>(channels_.row(colors), x, sections_.depth, false);
                for (std::size_t c = 0; c < colors; ++c)
                    pixel[c] = withoutWhite(pixel[c], whiteOf<Component>(c), pixel[3]);
            }
            if (colors == 1) pixel[1] = pixel[2] = pixel[0];
        }
    }

    /// Of a bitmap, where a bit is black, or a palette.
    template <class Component>
    void putColor(std::size_t x, Component* pixel) const {
        if (sections_.depth == 1) {
            const auto byte = std::to_integer<unsigned>(channels_.row(0)[x / 8]);
            pixel[0] = pixel[1] = pixel[2] = (byte >> (7 - x % 8) & 1U) != 0 ? 0 : 255;
            return;
        }
        const auto index = std::to_integer<std::size_t>(channels_.row(0)[x]);
        for (std::size_t c = 0; c < 3; ++c) pixel[c] = std::to_integer<Component>(palette_[c * 256 + index]);
    }

    const PsdSections& sections_;
    Channels channels_;
    bool isCurved_;
    std::array<std::byte, kPalette> palette_{};
};

bool isKnown(const PsdSections& sections) {
    switch (sections.mode) {
        case PsdMode::bitmap:
            return sections.depth == 1;
        case PsdMode::indexed:
            return sections.depth == 8;
        case PsdMode::gray:
        case PsdMode::duotone:
        case PsdMode::rgb:
            return sections.depth == 8 || sections.depth == 16 || sections.depth == 32;
        case PsdMode::cmyk:
        case PsdMode::multichannel:
        case PsdMode::lab:
            return sections.depth == 8 || sections.depth == 16;
    }
    return false;
}

PixelModel modelOf(const PsdSections& sections) {
    if (hasInks(sections)) return PixelModel::invertedCmyk;
    if (sections.mode == PsdMode::lab) return PixelModel::lab;
    return sections.colors() == 3 || sections.mode == PsdMode::indexed ? PixelModel::rgb : PixelModel::gray;
}

DecodeFault decodePicture(PixelInput& input, const DecodeRequest& request, DecodedPixels& decoded) {
    const auto read = [&input](std::uint64_t offset, std::span<std::byte> target) {
        return input.read(offset, target) == target.size();
    };
    const auto sections = imageio::PsdSectionsReader(input.size(), read).sections();
    if (!sections || sections->width == 0 || sections->height == 0 || sections->pixels >= input.size())
        return DecodeFault::damaged;
    if (!isKnown(*sections)) return DecodeFault::unsupported;
    if (sections->channels < sections->colors()) return DecodeFault::damaged;
    const std::size_t part = reduction(sections->width, sections->height, request);
    MemoryCount count;
    count.picture(sections->width / part, sections->height / part, sections->depth > 8 ? 16 : 8);
    count.beside(Channels::tableBytes(*sections)).beside(sections->rowBytes(), Rows::channelsOf(*sections) + 3);
    if (const auto fault = count.fault(request); fault != DecodeFault::none) return fault;
    imageio::forEachPsdResource(sections->resources, read, [&](const PsdResource& resource) {
        if (resource.identifier != kIccProfile || resource.length > kLargestProfile || !decoded.profile.empty()) return;
        decoded.profile.resize(static_cast<std::size_t>(resource.length));
        if (!read(resource.position, decoded.profile)) decoded.profile.clear();
    });
    decoded.model = modelOf(*sections);
    return Rows(input, *sections, !decoded.profile.empty()).read(request, decoded.image);
}

}  // namespace

DecodeFault decodePsd(PixelInput& input, const DecodeRequest& request, DecodedPixels& decoded) {
    return guarded([&] { return decodePicture(input, request, decoded); });
}

}  // namespace tessaly::codecs
