#pragma once
#include <array>
#include <cstdint>
#include <optional>
#include <span>

#include "linux/imageio/ByteReader.h"

/// Layered pictures (PSD, and PSB for large ones): a header, then four parts one behind the other, each with its length
/// before it: the palette, the image resources, the layers, and the picture that all layers add up to. Big-endian.
/// In a header alone, because the reader, the rewriter and the decoder's module share it.
namespace tessaly::imageio {

enum class PsdMode : std::uint16_t {
    bitmap = 0,
    gray = 1,
    indexed = 2,
    rgb = 3,
    cmyk = 4,
    multichannel = 7,
    duotone = 8,
    lab = 9,
};

struct PsdSections {
    struct Part {
        std::uint64_t position = 0;
        std::uint64_t length = 0;
    };
    bool isLarge = false;  ///< PSB.
    std::uint16_t channels = 0;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::uint16_t depth = 0;  ///< Bits a sample: 1, 8, 16, or 32 for floating-point numbers.
    PsdMode mode = PsdMode::rgb;
    Part palette;
    Part resources;
    Part layers;
    std::uint64_t pixels = 0;  ///< Where the picture starts, with the two bytes that tell how it is packed.
    /// The first channel beyond the colours is how opaque the picture is, not a selection that was saved.
    bool hasAlpha = false;

    [[nodiscard]] std::size_t colors() const noexcept {
        if (mode == PsdMode::rgb || mode == PsdMode::lab) return 3;
        if (mode == PsdMode::cmyk) return 4;
        // Channels without a meaning in common are inks, the usual ones first.
        return mode == PsdMode::multichannel && channels >= 3 ? std::min<std::size_t>(channels, 4) : 1;
    }
    [[nodiscard]] std::uint64_t rowBytes() const noexcept { return (std::uint64_t{width} * depth + 7) / 8; }
};

/// `Read` is bool(std::uint64_t offset, std::span<std::byte> target): fills the whole target, or is false.
template <class Read>
class PsdSectionsReader {
public:
    PsdSectionsReader(std::uint64_t size, Read read) : size_(size), read_(read) {}

    /// Nullopt where the parts contradict the file's size. The resources may be cut there: they are the last then.
    [[nodiscard]] std::optional<PsdSections> sections() {
        std::array<std::byte, kHeader> head{};
        if (!read_(0, std::span(head)) || asText(head).substr(0, 4) != "8BPS") return std::nullopt;
        const auto version = loadInteger<std::uint16_t>(head.data() + 4, ByteOrder::big);
        if (version != 1 && version != 2) return std::nullopt;
        PsdSections found;
        found.isLarge = version == 2;
        found.channels = loadInteger<std::uint16_t>(head.data() + 12, ByteOrder::big);
        found.height = loadInteger<std::uint32_t>(head.data() + 14, ByteOrder::big);
        found.width = loadInteger<std::uint32_t>(head.data() + 18, ByteOrder::big);
        found.depth = loadInteger<std::uint16_t>(head.data() + 22, ByteOrder::big);
        found.mode = static_cast<PsdMode>(loadInteger<std::uint16_t>(head.data() + 24, ByteOrder::big));
        std::uint64_t position = kHeader;
        if (!part(position, false, found.palette) || !part(position, false, found.resources)) return std::nullopt;
        if (!part(position, found.isLarge, found.layers)) {
            found.layers = {size_, 0};
            position = size_;
        }
        found.pixels = position;
        found.hasAlpha = found.channels > found.colors() && hasTransparency(found);
        return found;
    }

private:
    static constexpr std::size_t kHeader = 26;
    static constexpr std::size_t kMaximumBlocks = 64;

    template <std::unsigned_integral T>
    std::optional<T> number(std::uint64_t offset) {
        std::array<std::byte, sizeof(T)> bytes{};
        if (!read_(offset, std::span(bytes))) return std::nullopt;
        return loadInteger<T>(bytes.data(), ByteOrder::big);
    }

    std::optional<std::uint64_t> length(std::uint64_t offset, bool isWide) {
        if (isWide) return number<std::uint64_t>(offset);
        return number<std::uint32_t>(offset);
    }

    bool part(std::uint64_t& position, bool isWide, PsdSections::Part& found) {
        const auto count = length(position, isWide);
        if (!count) return false;
        found.position = position + (isWide ? 8 : 4);
        if (*count > size_ - found.position) return false;
        found.length = *count;
        position = found.position + *count;
        return true;
    }

    /// A negative number of layers says so. Of deep pictures the layers stand in a block behind the usual place.
    bool hasTransparency(const PsdSections& found) {
        const std::uint64_t wide = found.isLarge ? 8 : 4;
        const std::uint64_t end = found.layers.position + found.layers.length;
        const auto layers = length(found.layers.position, found.isLarge);
        if (found.layers.length < wide || !layers) return false;
        if (*layers >= 2) return isNegative(found.layers.position + wide);
        const auto masks = number<std::uint32_t>(found.layers.position + wide);
        if (!masks) return false;
        std::uint64_t at = found.layers.position + wide + 4 + *masks;
        for (std::size_t i = 0; i < kMaximumBlocks && at + 12 + wide <= end; ++i) {
            std::array<std::byte, 8> head{};
            if (!read_(at, std::span(head))) return false;
            const std::string_view key = asText(head).substr(4);
            if (key == "Lr16" || key == "Lr32" || key == "Layr") return isNegative(at + 8 + wide);
            const auto size = length(at + 8, found.isLarge && key.substr(0, 2) == "Mt");
            if (!size || *size > end) return false;
            at += 12 + (*size + 3) / 4 * 4;
        }
        return false;
    }

    bool isNegative(std::uint64_t offset) {
        const auto count = number<std::uint16_t>(offset);
        return count && *count > 0x7FFF;
    }

    std::uint64_t size_;
    Read read_;
};

/// One image resource: what follows its name.
struct PsdResource {
    std::uint16_t identifier = 0;
    std::uint64_t position = 0;
    std::uint64_t length = 0;
};

/// Walks the resources, reading their heads alone. `Read` as above; `each` is called with every one.
template <class Read, class Each>
void forEachPsdResource(const PsdSections::Part& resources, Read read, Each each) {
    constexpr std::size_t kMost = 4096;
    const std::uint64_t end = resources.position + resources.length;
    std::uint64_t at = resources.position;
    for (std::size_t i = 0; i < kMost && at + 12 <= end; ++i) {
        std::array<std::byte, 7> head{};
        if (!read(at, std::span(head))) return;
        const std::string_view mark = asText(head).substr(0, 4);
        if (mark != "8BIM" && mark != "PHUT" && mark != "AgHg" && mark != "DCSR" && mark != "MeSa") return;
        // The name is padded so that it and its length byte are even together; so is the data.
        const auto name = std::to_integer<std::uint64_t>(head[6]);
        const std::uint64_t size = at + 6 + (name + 2) / 2 * 2;
        std::array<std::byte, 4> length{};
        if (size + 4 > end || !read(size, std::span(length))) return;
        const PsdResource resource{loadInteger<std::uint16_t>(head.data() + 4, ByteOrder::big), size + 4,
                                   loadInteger<std::uint32_t>(length.data(), ByteOrder::big)};
        if (resource.length > end - resource.position) return;
        each(resource);
        at = resource.position + resource.length + resource.length % 2;
    }
}

}  // namespace tessaly::imageio
