#include "linux/media/SequenceHeader.h"

#include <algorithm>
#include <array>

namespace tessaly::media {
namespace {

using imageio::Bytes;

constexpr std::size_t kLongestHead = 1024;

/// Bits from the highest on. Beyond the end all are 0, and isWhole() is false.
class Bits {
public:
    explicit Bits(Bytes bytes) : bytes_(bytes) {}

    std::uint32_t take(unsigned count) {
        std::uint32_t value = 0;
        for (unsigned i = 0; i < count; ++i, ++at_) {
            value <<= 1U;
            if (at_ / 8 < bytes_.size()) value |= std::to_integer<std::uint32_t>(bytes_[at_ / 8]) >> (7 - at_ % 8) & 1U;
        }
        return value;
    }
    bool flag() { return take(1) != 0; }
    /// H.264, 9.1.
    std::uint32_t number() {
        unsigned zeros = 0;
        while (isWhole() && zeros < 32 && !flag()) ++zeros;
        return zeros >= 32 ? 0 : (std::uint32_t{1} << zeros) - 1 + take(zeros);
    }
    /// Signed, as H.264 9.1.1 maps it.
    std::int64_t difference() {
        const std::int64_t code = number();
        return code % 2 != 0 ? (code + 1) / 2 : -(code / 2);
    }
    [[nodiscard]] bool isWhole() const { return at_ <= bytes_.size() * 8; }

private:
    Bytes bytes_;
    std::size_t at_ = 0;
};

/// 7.3.2.1.1.1.
void skipScalingList(Bits& bits, std::size_t size) {
    std::int64_t last = 8;
    std::int64_t next = 8;
    for (std::size_t i = 0; i < size; ++i) {
        if (next != 0) next = (last + bits.difference() + 256) % 256;
        if (next != 0) last = next;
    }
}

struct Chroma {
    std::uint32_t format = 1;
    bool isSeparate = false;
};

/// Profiles that tell more of their colours.
Chroma readProfile(Bits& bits, std::uint32_t profile) {
    static constexpr std::array<std::uint32_t, 12> high{100, 110, 122, 244, 44, 83, 86, 118, 128, 138, 139, 134};
    Chroma chroma;
    if (std::ranges::find(high, profile) == high.end()) return chroma;
    chroma.format = bits.number();
    if (chroma.format == 3) chroma.isSeparate = bits.flag();
    bits.number();
    bits.number();
    bits.flag();
    if (bits.flag())
        for (std::size_t i = 0; i < (chroma.format == 3 ? 12U : 8U); ++i)
            if (bits.flag()) skipScalingList(bits, i < 6 ? 16 : 64);
    return chroma;
}

void skipOrderCounts(Bits& bits) {
    bits.number();
    const std::uint32_t type = bits.number();
    if (type == 0) bits.number();
    if (type != 1) return;
    bits.flag();
    bits.difference();
    bits.difference();
    const std::uint32_t count = std::min(bits.number(), 255U);
    for (std::uint32_t i = 0; i < count; ++i) bits.difference();
}

/// E.1.1. Two fields are a frame.
double readRate(Bits& bits) {
    if (bits.flag() && bits.take(8) == 255) bits.take(32);
    if (bits.flag()) bits.flag();
    if (bits.flag()) {
        bits.take(4);
        if (bits.flag()) bits.take(24);
    }
    if (bits.flag()) {
        bits.number();
        bits.number();
    }
    if (!bits.flag()) return 0;
    const double units = bits.take(32);
    const double scale = bits.take(32);
    return bits.isWhole() && units > 0 ? scale / units / 2 : 0;
}

std::optional<VideoSequence> sequenceOf(Bytes unit) {
    Bits bits(unit);
    bits.take(8);
    const std::uint32_t profile = bits.take(8);
    bits.take(16);
    bits.number();
    const Chroma chroma = readProfile(bits, profile);
    skipOrderCounts(bits);
    bits.number();
    bits.flag();
    const std::uint64_t across = bits.number() + std::uint64_t{1};
    const std::uint64_t down = bits.number() + std::uint64_t{1};
    const bool isOfFrames = bits.flag();
    if (!isOfFrames) bits.flag();
    bits.flag();
    std::array<std::uint64_t, 4> cropped{};
    if (bits.flag())
        for (std::uint64_t& side : cropped) side = bits.number();
    constexpr std::uint64_t kMacroblock = 16;
    const bool isSubsampled = !chroma.isSeparate && (chroma.format == 1 || chroma.format == 2);
    const std::uint64_t unitX = isSubsampled ? 2 : 1;
    const std::uint64_t unitY = (isSubsampled && chroma.format == 1 ? 2U : 1U) * (isOfFrames ? 1U : 2U);
    const std::uint64_t width = across * kMacroblock;
    const std::uint64_t height = down * kMacroblock * (isOfFrames ? 1 : 2);
    const std::uint64_t lostX = (cropped[0] + cropped[1]) * unitX;
    const std::uint64_t lostY = (cropped[2] + cropped[3]) * unitY;
    constexpr std::uint64_t kLargest = 65'536;
    if (!bits.isWhole() || width > kLargest || height > kLargest || lostX >= width || lostY >= height)
        return std::nullopt;
    VideoSequence sequence{static_cast<std::uint32_t>(width - lostX), static_cast<std::uint32_t>(height - lostY), 0};
    if (bits.flag()) sequence.framesPerSecond = readRate(bits);
    return sequence;
}

}  // namespace

void forEachUnit(Bytes stream, const std::function<void(Bytes unit)>& each) {
    const std::string_view text = imageio::asText(stream);
    constexpr std::string_view kStart{"\0\0\1", 3};
    for (std::size_t at = text.find(kStart); at != std::string_view::npos;) {
        const std::size_t start = at + kStart.size();
        at = text.find(kStart, start);
        const std::size_t end = at == std::string_view::npos ? text.size() : at;
        if (end > start) each(stream.subspan(start, end - start));
    }
}

std::vector<std::byte> unescaped(Bytes unit, std::size_t most) {
    std::vector<std::byte> made;
    std::size_t zeros = 0;
    for (const std::byte byte : unit) {
        if (made.size() == most) break;
        const bool isEscape = zeros >= 2 && byte == std::byte{3};
        zeros = byte == std::byte{0} ? zeros + 1 : 0;
        if (!isEscape) made.push_back(byte);
    }
    return made;
}

std::optional<VideoSequence> readH264Sequence(Bytes stream) {
    std::optional<VideoSequence> found;
    forEachUnit(stream, [&](Bytes unit) {
        constexpr unsigned kSequence = 7;
        if (!found && (std::to_integer<unsigned>(unit[0]) & 0x1FU) == kSequence)
            found = sequenceOf(unescaped(unit, kLongestHead));
    });
    return found;
}

std::optional<VideoSequence> readMpegSequence(Bytes stream) {
    static constexpr std::array<double, 9> rates{0, 24000 / 1001.0, 24, 25, 30000 / 1001.0, 30, 50, 60000 / 1001.0, 60};
    std::optional<VideoSequence> found;
    forEachUnit(stream, [&](Bytes unit) {
        if (found || unit[0] != std::byte{0xB3} || unit.size() < 5) return;
        Bits bits(unit.subspan(1));
        VideoSequence sequence;
        sequence.width = bits.take(12);
        sequence.height = bits.take(12);
        bits.take(4);
        const std::uint32_t rate = bits.take(4);
        if (rate < rates.size()) sequence.framesPerSecond = rates[rate];
        if (sequence.width > 0 && sequence.height > 0) found = sequence;
    });
    return found;
}

}  // namespace tessaly::media
