#pragma once
#include <algorithm>
#include <bit>
#include <cstdint>
#include <optional>

#include "linux/imageio/ByteSource.h"

/// The elements of Matroska (RFC 9559) and how they stand in a file (EBML, RFC 8794).
namespace tessaly::media::matroska {

// RFC 9559, 5: element identifiers.
inline constexpr std::uint32_t kSegment = 0x18538067;
inline constexpr std::uint32_t kSeekHead = 0x114D9B74;
inline constexpr std::uint32_t kSeek = 0x4DBB;
inline constexpr std::uint32_t kSeekId = 0x53AB;
inline constexpr std::uint32_t kSeekPosition = 0x53AC;
inline constexpr std::uint32_t kInformation = 0x1549A966;
inline constexpr std::uint32_t kTimestampScale = 0x2AD7B1;
inline constexpr std::uint32_t kDuration = 0x4489;
inline constexpr std::uint32_t kDate = 0x4461;
inline constexpr std::uint32_t kTitle = 0x7BA9;
inline constexpr std::uint32_t kWritingProgram = 0x5741;
inline constexpr std::uint32_t kTracks = 0x1654AE6B;
inline constexpr std::uint32_t kTrackEntry = 0xAE;
inline constexpr std::uint32_t kTrackType = 0x83;
inline constexpr std::uint32_t kDefaultDuration = 0x23E383;
inline constexpr std::uint32_t kVideo = 0xE0;
inline constexpr std::uint32_t kPixelWidth = 0xB0;
inline constexpr std::uint32_t kPixelHeight = 0xBA;
inline constexpr std::uint32_t kFrameRate = 0x2383E3;
inline constexpr std::uint32_t kTags = 0x1254C367;
inline constexpr std::uint32_t kTag = 0x7373;
inline constexpr std::uint32_t kSimpleTag = 0x67C8;
inline constexpr std::uint32_t kTagName = 0x45A3;
inline constexpr std::uint32_t kTagString = 0x4487;
inline constexpr std::uint32_t kCluster = 0x1F43B675;
inline constexpr std::uint32_t kVoid = 0xEC;
inline constexpr std::uint32_t kChecksum = 0xBF;
inline constexpr std::uint32_t kMuxingProgram = 0x4D80;
inline constexpr std::uint32_t kSegmentFile = 0x7384;
inline constexpr std::uint32_t kTrackName = 0x536E;
inline constexpr std::uint32_t kAttachments = 0x1941A469;

inline constexpr std::size_t kMaximumElements = 4096;

struct Element {
    std::uint32_t id = 0;
    std::uint64_t start = 0;     ///< Of its identifier.
    std::uint64_t position = 0;  ///< Of its content.
    std::uint64_t length = 0;
    [[nodiscard]] std::uint64_t end() const { return position + length; }
};

/// The elements that stand one behind the other in a part of the file (RFC 8794, 4 and 5).
template <typename Source>
class Elements {
public:
    Elements(Source& source, std::uint64_t position, std::uint64_t end)
        : source_(source), position_(position), end_(std::min(end, source.size())) {}
    Elements(Source& source, const Element& parent) : Elements(source, parent.position, parent.end()) {}

    void setLimit(std::size_t elements) noexcept { limit_ = elements; }

    std::optional<Element> next() {
        if (count_++ >= limit_ || position_ >= end_) return std::nullopt;
        const std::uint64_t start = position_;
        const auto id = number(4, /*keepMarker=*/true);
        if (!id) return std::nullopt;
        const auto length = number(8, /*keepMarker=*/false);
        if (!length) return std::nullopt;
        Element element{static_cast<std::uint32_t>(*id), start, position_,
                        std::min(*length, end_ - std::min(end_, position_))};
        position_ = element.end();
        return element;
    }

private:
    /// A number whose leading zeros tell its length. All ones mean "to the end of the parent".
    std::optional<std::uint64_t> number(unsigned most, bool keepMarker) {
        const auto first = source_.template read<std::uint8_t>(position_);
        if (!first || *first == 0) return std::nullopt;
        const auto size = static_cast<unsigned>(std::countl_zero(*first)) + 1;
        const auto bytes = source_.bytes(position_, size);
        if (size > most || !bytes) return std::nullopt;
        const std::uint64_t marker = std::uint64_t{1} << (7 * size);
        std::uint64_t value = 0;
        for (const std::byte byte : *bytes) value = value << 8U | std::to_integer<std::uint64_t>(byte);
        position_ += size;
        if (keepMarker) return value;
        value &= marker - 1;
        return value == marker - 1 ? UINT64_MAX : value;
    }

    Source& source_;
    std::uint64_t position_;
    std::uint64_t end_;
    std::size_t count_ = 0;
    std::size_t limit_ = kMaximumElements;
};

}  // namespace tessaly::media::matroska
