#include <string_view>

#include "linux/imageio/blocks/Blocks.h"
#include "linux/imageio/containers/Containers.h"
#include "platform/ImageIO/CGImageProperties.h"

// WebP Container Specification, and RFC 6386 (VP8), 9.1; WebP Lossless Bitstream Specification, 3.
namespace tessaly::imageio {
namespace {

using std::string_view_literals::operator""sv;

constexpr std::uint64_t kFirstChunk = 12;
constexpr std::size_t kMaximumChunks = 10'000;
constexpr std::uint64_t kMaximumXmp = 16 * 1024 * 1024;
constexpr std::uint8_t kAlphaFlag = 0x10;

struct Chunk {
    std::uint64_t position = 0;
    std::uint64_t length = 0;
};

class WebpWalk {
public:
    WebpWalk(ByteSource& source, ImageProperties& properties) : source_(source), properties_(properties) {}

    void read() {
        std::uint64_t position = kFirstChunk;
        std::size_t frames = 0;
        for (std::size_t count = 0; count < kMaximumChunks; ++count) {
            const auto type = source_.bytes(position, 4);
            const auto length = source_.read<std::uint32_t>(position + 4, ByteOrder::little);
            if (!type || !length) break;
            const std::string_view name = asText(*type);
            if (name == "ANMF"sv) ++frames;
            note(name, {position + 8, *length});
            position += 8ULL + *length + (*length & 1U);
        }
        if (frames > 0) properties_.imageCount = frames;
        if (exif_.length > 0) {
            ByteSource block = source_.part(exif_.position, exif_.length);
            const auto head = block.bytes(0, 4);
            readExif(block, head && asText(*head) == "Exif"sv ? 6 : 0, properties_);
        }
        if (xmp_.length > 0)
            if (const auto packet = source_.bytes(xmp_.position, xmp_.length)) readXmp(*packet, properties_);
        Dictionary& top = properties_.top;
        if (top.contains(kCGImagePropertyPixelWidth)) {
            ImageProperties::add(top, kCGImagePropertyDepth, 8);
            ImageProperties::add(top, kCGImagePropertyColorModel, "RGB");
        }
    }

private:
    void note(std::string_view name, const Chunk& chunk) {
        if (name == "VP8X"sv) return readCanvas(chunk);
        if (name == "VP8 "sv) return readLossy(chunk);
        if (name == "VP8L"sv) return readLossless(chunk);
        if (name == "EXIF"sv) exif_ = chunk;
        if (name == "XMP "sv && xmp_.length == 0 && chunk.length <= kMaximumXmp) xmp_ = chunk;
        if (name == "ICCP"sv && chunk.length <= kMaximumXmp)
            if (const auto profile = source_.bytes(chunk.position, chunk.length)) readIccProfile(*profile, properties_);
        if (name == "ANIM"sv)
            if (const auto loops = source_.read<std::uint16_t>(chunk.position + 4, ByteOrder::little))
                ImageProperties::add(properties_.webp, "LoopCount", *loops);
    }

    void setSizeOnce(std::uint64_t width, std::uint64_t height) {
        if (!properties_.top.contains(kCGImagePropertyPixelWidth)) properties_.setPixelSize(width, height);
    }

    void readCanvas(const Chunk& chunk) {
        const auto bytes = source_.bytes(chunk.position, 10);
        if (!bytes) return;
        const auto at = [&](std::size_t i) { return std::to_integer<std::uint32_t>((*bytes)[i]); };
        setSizeOnce(1 + (at(4) | at(5) << 8U | at(6) << 16U), 1 + (at(7) | at(8) << 8U | at(9) << 16U));
        if ((at(0) & kAlphaFlag) != 0) ImageProperties::add(properties_.top, kCGImagePropertyHasAlpha, true);
    }

    void readLossy(const Chunk& chunk) {
        const auto bytes = source_.bytes(chunk.position, 10);
        if (!bytes || asText(bytes->subspan(3, 3)) != "\x9D\x01\x2A"sv) return;
        setSizeOnce(loadInteger<std::uint16_t>(bytes->data() + 6, ByteOrder::little) & 0x3FFFU,
                    loadInteger<std::uint16_t>(bytes->data() + 8, ByteOrder::little) & 0x3FFFU);
    }

    void readLossless(const Chunk& chunk) {
        const auto bytes = source_.bytes(chunk.position, 5);
        if (!bytes || (*bytes)[0] != std::byte{0x2F}) return;
        const auto bits = loadInteger<std::uint32_t>(bytes->data() + 1, ByteOrder::little);
        setSizeOnce(1 + (bits & 0x3FFFU), 1 + (bits >> 14U & 0x3FFFU));
        if ((bits >> 28U & 1U) != 0) ImageProperties::add(properties_.top, kCGImagePropertyHasAlpha, true);
    }

    ByteSource& source_;
    ImageProperties& properties_;
    Chunk exif_, xmp_;
};

}  // namespace

void readWebp(ByteSource& source, ImageProperties& properties) { WebpWalk(source, properties).read(); }

}  // namespace tessaly::imageio
