#include <algorithm>
#include <array>
#include <optional>
#include <string_view>

#include "linux/imageio/Inflate.h"
#include "linux/imageio/IsoBox.h"
#include "linux/imageio/blocks/Blocks.h"
#include "linux/imageio/containers/Containers.h"
#include "platform/ImageIO/CGImageProperties.h"

// JPEG XL: ISO/IEC 18181-1 (codestream), annex D; 18181-2 (file format), 9.
namespace tessaly::imageio {
namespace {

using std::string_view_literals::operator""sv;

constexpr std::uint64_t kHeaderSize = 64;
constexpr std::uint64_t kMaximumBlock = 16 * 1024 * 1024;

/// Bits of a codestream, the least significant first. Behind the end everything is 0, and `failed` says so.
class BitReader {
public:
    explicit BitReader(Bytes bytes) : bytes_(bytes) {}

    std::uint32_t bits(unsigned count) {
        std::uint32_t value = 0;
        for (unsigned i = 0; i < count; ++i, ++position_) {
            if (position_ / 8 >= bytes_.size()) {
                failed_ = true;
                return 0;
            }
            const auto byte = std::to_integer<std::uint32_t>(bytes_[position_ / 8]);
            value |= (byte >> (position_ % 8) & 1U) << i;
        }
        return value;
    }
    bool flag() { return bits(1) != 0; }

    struct Choice {
        std::uint32_t offset;
        unsigned bits;
    };
    /// U32: two bits choose how the number is coded.
    std::uint32_t chosen(const std::array<Choice, 4>& choices) {
        const Choice& choice = choices[bits(2)];
        return choice.offset + bits(choice.bits);
    }
    [[nodiscard]] bool failed() const { return failed_; }

private:
    Bytes bytes_;
    std::size_t position_ = 0;
    bool failed_ = false;
};

struct Size {
    std::uint64_t width = 0;
    std::uint64_t height = 0;
};

// 18181-1, D.2.
Size readSize(BitReader& reader) {
    static constexpr std::array<BitReader::Choice, 4> lengths{{{1, 9}, {1, 13}, {1, 18}, {1, 30}}};
    struct Ratio {
        std::uint64_t across, down;
    };
    static constexpr std::array<Ratio, 8> ratios{{{0, 1}, {1, 1}, {12, 10}, {4, 3}, {3, 2}, {16, 9}, {5, 4}, {2, 1}}};
    const bool small = reader.flag();
    const auto length = [&]() -> std::uint64_t { return small ? (reader.bits(5) + 1ULL) * 8 : reader.chosen(lengths); };
    Size size;
    size.height = length();
    const std::uint32_t ratio = reader.bits(3);
    size.width = ratio == 0 ? length() : size.height * ratios[ratio].across / ratios[ratio].down;
    return size;
}

// D.3.5.
std::uint32_t readDepth(BitReader& reader) {
    if (reader.flag()) return reader.chosen({{{32, 0}, {16, 0}, {24, 0}, {1, 6}}});
    return reader.chosen({{{8, 0}, {10, 0}, {12, 0}, {1, 6}}});
}

/// The head of a codestream: size, orientation, bit depth. Returns the orientation, 0 where it is not known.
std::uint32_t readCodestream(Bytes stream, ImageProperties& properties) {
    if (!asText(stream).starts_with("\xFF\x0A"sv)) return 0;
    BitReader reader(stream.subspan(2));
    const Size size = readSize(reader);
    if (reader.failed()) return 0;
    properties.setPixelSize(size.width, size.height);
    ImageProperties::add(properties.top, kCGImagePropertyColorModel, "RGB");
    std::uint32_t orientation = 1;
    std::uint32_t depth = 8;
    const bool allDefault = reader.flag();
    if (!allDefault) {
        const bool extra = reader.flag();
        if (extra) {
            orientation = 1 + reader.bits(3);
            if (reader.flag()) static_cast<void>(readSize(reader));  // Intrinsic size.
            // A preview and an animation have headers of their own; the depth behind them is not worth theirs.
            const bool preview = reader.flag();
            if (preview || reader.flag()) return reader.failed() ? 0 : orientation;
        }
        depth = readDepth(reader);
    }
    if (reader.failed()) return 0;
    ImageProperties::add(properties.top, kCGImagePropertyDepth, depth);
    return orientation;
}

class JxlWalk {
public:
    JxlWalk(ByteSource& source, ImageProperties& properties) : source_(source), properties_(properties) {}

    void read() {
        IsoBoxes boxes(source_);
        while (const auto box = boxes.next()) note(*box);
        if (exif_) readExifBox(*exif_);
        if (xmp_) readXmp(*xmp_, properties_);
        // The codestream's orientation is the one that holds (18181-2, 9.2).
        if (orientation_ != 0 && (orientation_ != 1 || properties_.top.contains(kCGImagePropertyOrientation)))
            properties_.top.setLiteral(kCGImagePropertyOrientation, orientation_);
    }

private:
    void note(const IsoBox& box) {
        const std::string_view type = box.type();
        if (type == "jxlc"sv) {
            orientation_ =
                readCodestream(source_.bytesUpTo(box.position, std::min(box.length, kHeaderSize)), properties_);
        } else if (type == "jxlp"sv && orientation_ == 0 && box.length > 4) {
            orientation_ =
                readCodestream(source_.bytesUpTo(box.position + 4, std::min(box.length - 4, kHeaderSize)), properties_);
        } else if (type == "Exif"sv && !exif_ && box.length <= kMaximumBlock) {
            exif_ = source_.bytes(box.position, box.length);
        } else if (type == "xml "sv && !xmp_ && box.length <= kMaximumBlock) {
            xmp_ = source_.bytes(box.position, box.length);
        } else if (type == "brob"sv) {
            readCompressed(box);
        }
    }

    /// The type of the box that it was, then its content under Brotli.
    void readCompressed(const IsoBox& box) {
        if (box.length < 5 || box.length > kMaximumBlock) return;
        const auto content = source_.bytes(box.position, box.length);
        if (!content) return;
        const std::string_view type = asText(content->first(4));
        if (type == "Exif"sv && !exif_) {
            exifStorage_ = brotliDecoded(content->subspan(4));
            exif_ = exifStorage_;
        } else if (type == "xml "sv && !xmp_) {
            xmpStorage_ = brotliDecoded(content->subspan(4));
            xmp_ = xmpStorage_;
        }
    }

    // As in HEIF: the offset of the TIFF header, counted from behind itself.
    void readExifBox(Bytes bytes) {
        if (bytes.size() < 4) return;
        const auto offset = loadInteger<std::uint32_t>(bytes.data(), ByteOrder::big);
        const Bytes block = bytes.subspan(4);
        readExif(offset < block.size() ? block.subspan(offset) : block, properties_);
    }

    ByteSource& source_;
    ImageProperties& properties_;
    std::uint32_t orientation_ = 0;
    std::optional<Bytes> exif_, xmp_;
    std::vector<std::byte> exifStorage_, xmpStorage_;
};

}  // namespace

void readJxl(ByteSource& source, ImageProperties& properties) {
    const Bytes head = source.bytesUpTo(0, kHeaderSize);
    if (asText(head).starts_with("\xFF\x0A"sv)) {
        const std::uint32_t orientation = readCodestream(head, properties);
        if (orientation > 1) ImageProperties::add(properties.top, kCGImagePropertyOrientation, orientation);
        return;
    }
    JxlWalk(source, properties).read();
}

}  // namespace tessaly::imageio
