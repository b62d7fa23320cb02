#include <string_view>
#include <vector>

#include "linux/imageio/blocks/Blocks.h"
#include "linux/imageio/containers/Containers.h"
#include "platform/ImageIO/CGImageProperties.h"

// GIF89a; XMP specification, part 3, 1.1.2.
namespace tessaly::imageio {
namespace {

using std::string_view_literals::operator""sv;

constexpr std::uint8_t kExtension = 0x21;
constexpr std::uint8_t kImage = 0x2C;
constexpr std::uint8_t kGraphicControl = 0xF9;
constexpr std::uint8_t kApplication = 0xFF;
constexpr std::uint64_t kHeaderSize = 13;
/// Blocks have no directory: frames are counted by walking them, and no further than this.
constexpr std::uint64_t kWalked = 16 * 1024 * 1024;

class GifWalk {
public:
    GifWalk(ByteSource& source, ImageProperties& properties) : source_(source), properties_(properties) {}

    void read() {
        const auto header = source_.bytes(0, kHeaderSize);
        if (!header) return;
        properties_.setPixelSize(loadInteger<std::uint16_t>(header->data() + 6, ByteOrder::little),
                                 loadInteger<std::uint16_t>(header->data() + 8, ByteOrder::little));
        ImageProperties::add(properties_.top, kCGImagePropertyDepth, 8);
        ImageProperties::add(properties_.top, kCGImagePropertyColorModel, "RGB");
        const auto flags = std::to_integer<std::uint8_t>((*header)[10]);
        ImageProperties::add(properties_.gif, "HasGlobalColorMap", (flags & 0x80U) != 0);
        position_ = kHeaderSize + colourTable(flags);
        while (position_ < kWalked && readBlock()) {
        }
        if (frames_ > 0) properties_.imageCount = frames_;
    }

private:
    static std::uint64_t colourTable(std::uint8_t flags) {
        return (flags & 0x80U) != 0 ? 3ULL << ((flags & 7U) + 1U) : 0;
    }

    bool readBlock() {
        const auto kind = source_.read<std::uint8_t>(position_);
        if (kind == kExtension) return readExtension();
        if (kind != kImage) return false;
        ++frames_;
        const auto flags = source_.read<std::uint8_t>(position_ + 9);
        if (!flags) return false;
        position_ += 10 + colourTable(*flags) + 1;  // The last is LZW's code size.
        return skipSubBlocks();
    }

    bool readExtension() {
        const auto label = source_.read<std::uint8_t>(position_ + 1);
        const auto size = source_.read<std::uint8_t>(position_ + 2);
        if (!label || !size) return false;
        const std::uint64_t body = position_ + 3;
        position_ += 2;
        if (label == kGraphicControl) readGraphicControl(body);
        if (label != kApplication || *size != 11) return skipSubBlocks();
        const auto name = source_.bytes(body, 11);
        if (!name) return false;
        const bool isXmp = asText(*name) == "XMP DataXMP"sv;
        const bool isProfile = asText(*name) == "ICCRGBG1012"sv;
        const bool isLoop = asText(*name) == "NETSCAPE2.0"sv;
        position_ = body + 11;
        const std::uint64_t start = position_;
        const bool more = skipSubBlocks();
        if (isLoop)
            if (const auto loops = source_.read<std::uint16_t>(start + 2, ByteOrder::little))
                ImageProperties::add(properties_.gif, "LoopCount", *loops);
        if (isXmp && !properties_.hasXmp) readPacket(start);
        if (isProfile) readIccProfile(joinedSubBlocks(start), properties_);
        return more;
    }

    void readGraphicControl(std::uint64_t body) {
        const auto flags = source_.read<std::uint8_t>(body);
        const auto delay = source_.read<std::uint16_t>(body + 1, ByteOrder::little);
        if (!flags || !delay) return;
        ImageProperties::add(properties_.gif, "DelayTime", *delay / 100.0);
        if ((*flags & 1U) != 0) ImageProperties::add(properties_.top, kCGImagePropertyHasAlpha, true);
    }

    /// The packet stands there as it is; whoever takes it for sub-blocks is led by a trailer of 258 bytes to its end.
    void readPacket(std::uint64_t start) {
        const Bytes bytes = source_.bytesUpTo(start, position_ - start);
        const auto end = asText(bytes).rfind('>');
        if (end != std::string_view::npos) readXmp(bytes.first(end + 1), properties_);
    }

    std::vector<std::byte> joinedSubBlocks(std::uint64_t start) {
        std::vector<std::byte> whole;
        for (std::uint64_t at = start; at < position_;) {
            const auto size = source_.read<std::uint8_t>(at);
            const auto bytes = size ? source_.bytes(at + 1, *size) : std::nullopt;
            if (!bytes || bytes->empty()) break;
            whole.insert(whole.end(), bytes->begin(), bytes->end());
            at += 1ULL + *size;
        }
        return whole;
    }

    bool skipSubBlocks() {
        while (position_ < kWalked) {
            const auto size = source_.read<std::uint8_t>(position_);
            if (!size) return false;
            position_ += 1ULL + *size;
            if (*size == 0) return true;
        }
        return false;
    }

    ByteSource& source_;
    ImageProperties& properties_;
    std::uint64_t position_ = 0;
    std::size_t frames_ = 0;
};

}  // namespace

void readGif(ByteSource& source, ImageProperties& properties) { GifWalk(source, properties).read(); }

}  // namespace tessaly::imageio
