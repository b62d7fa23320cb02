#include <string_view>

#include "linux/imageio/rewrite/PassingReader.h"
#include "linux/imageio/rewrite/Rewriters.h"

// GIF89a; XMP part 3, 1.1.2.
namespace tessaly::imageio {
namespace {

using std::string_view_literals::operator""sv;

constexpr std::uint8_t kExtension = 0x21;
constexpr std::uint8_t kImage = 0x2C;
constexpr std::uint8_t kTrailer = 0x3B;
constexpr std::uint8_t kComment = 0xFE;
constexpr std::uint8_t kApplication = 0xFF;
constexpr std::uint8_t kGraphicControl = 0xF9;
constexpr std::uint8_t kPlainText = 0x01;
constexpr std::uint64_t kHeaderSize = 13;
constexpr std::uint64_t kMaximumPacket = 8 * 1024 * 1024;
constexpr auto kXmpName = "XMP DataXMP"sv;

class GifPlan {
public:
    GifPlan(ByteSource& source, const BlockChange& change) : source_(source), reader_(source), change_(change) {}

    RewriteResult make(RewriteFault& fault) {
        fault = RewriteFault::damaged;
        const auto flags = reader_.read<std::uint8_t>(10);
        if (!flags) return std::nullopt;
        position_ = kHeaderSize + colourTable(*flags);
        const std::uint64_t headEnd = position_;
        while (readBlock()) {
        }
        if (!hasImage_) return std::nullopt;
        RewritePlan plan;
        const auto xmp = change_.xmp(packet_);
        // Extensions exist since GIF89a.
        if (xmp && asText(*reader_.bytes(0, 6)) == "GIF87a"sv) {
            plan.add(asBytes("GIF89a"));
            plan.copy(6, headEnd - 6);
        } else {
            plan.copy(0, headEnd);
        }
        if (xmp) plan.add(xmpExtension(*xmp));
        plan.append(std::move(rest_), 0);
        if (position_ < source_.size() && change_.change().removal == MetadataChange::Removal::nothing)
            plan.copy(position_, source_.size() - position_);
        fault = RewriteFault::none;
        return plan;
    }

private:
    static std::uint64_t colourTable(std::uint8_t flags) {
        return (flags & 0x80U) != 0 ? 3ULL << ((flags & 7U) + 1U) : 0;
    }

    bool readBlock() {
        const std::uint64_t start = position_;
        const auto kind = reader_.read<std::uint8_t>(position_);
        if (!kind) return false;
        if (*kind == kTrailer) {
            rest_.copy(position_++, 1);
            return false;
        }
        if (*kind == kExtension) return readExtension();
        if (*kind != kImage) return false;
        const auto flags = reader_.read<std::uint8_t>(position_ + 9);
        if (!flags) return false;
        position_ += 10 + colourTable(*flags) + 1;  // The last is LZW's code size.
        const bool isWhole = skipSubBlocks();
        hasImage_ = true;
        // A picture that is cut still shows as far as it goes.
        rest_.copy(start, std::min(position_, source_.size()) - start);
        if (change_.change().firstImageOnly) {
            rest_.add(ByteVector{std::byte{kTrailer}});
            position_ = source_.size();
            return false;
        }
        return isWhole;
    }

    bool readExtension() {
        const std::uint64_t start = position_;
        const auto label = reader_.read<std::uint8_t>(position_ + 1);
        const auto size = reader_.read<std::uint8_t>(position_ + 2);
        if (!label || !size) return false;
        const auto name = *label == kApplication && *size == 11 ? reader_.bytes(position_ + 3, 11) : std::nullopt;
        const std::string nameText(name ? asText(*name) : ""sv);
        const std::uint64_t body = position_ + 3 + *size;
        position_ += 2;
        if (!skipSubBlocks()) return false;
        if (nameText == kXmpName) {
            keepPacket(body);
        } else if (stays(*label, nameText)) {
            rest_.copy(start, position_ - start);
        }
        return true;
    }

    [[nodiscard]] bool stays(std::uint8_t label, std::string_view name) const {
        if (!change_.removesEverything()) return true;
        if (label == kApplication) return name == "NETSCAPE2.0"sv || name == "ANIMEXTS1.0"sv || name == "ICCRGBG1012"sv;
        return label == kGraphicControl || label == kPlainText;
    }

    /// The packet stands there as it is; whoever takes it for sub-blocks is led by a trailer of 258 bytes to its end.
    void keepPacket(std::uint64_t start) {
        if (position_ - start > kMaximumPacket) return;
        ByteVector bytes(static_cast<std::size_t>(position_ - start));
        bytes.resize(source_.copyTo(start, bytes));
        const std::string_view text = asText(bytes);
        const auto end = text.substr(0, text.rfind("\x01\xFF\xFE\xFD"sv)).rfind('>');
        bytes.resize(end == std::string_view::npos ? 0 : end + 1);
        if (packet_.empty())
            packet_ = std::move(bytes);
        else if (const auto further = change_.furtherXmp(bytes))
            rest_.add(xmpExtension(*further));
    }

    static ByteVector xmpExtension(const ByteVector& packet) {
        ByteWriter writer;
        writer.write(kExtension).write(kApplication).write(std::uint8_t{11}).text(kXmpName).bytes(packet);
        writer.write(std::uint8_t{1});
        for (int value = 0xFF; value >= 0; --value) writer.write(static_cast<std::uint8_t>(value));
        writer.write(std::uint8_t{0});
        return writer.take();
    }

    bool skipSubBlocks() {
        while (const auto size = reader_.read<std::uint8_t>(position_)) {
            position_ += 1ULL + *size;
            if (*size == 0) return true;
        }
        return false;
    }

    ByteSource& source_;
    PassingReader reader_;
    const BlockChange& change_;
    RewritePlan rest_;
    ByteVector packet_;
    std::uint64_t position_ = 0;
    bool hasImage_ = false;
};

}  // namespace

RewriteResult rewriteGif(ByteSource& source, const BlockChange& change, RewriteFault& fault) {
    return GifPlan(source, change).make(fault);
}

/// A bitmap holds no metadata but an ICC profile; only what follows its declared end can go.
RewriteResult rewriteBmp(ByteSource& source, const BlockChange& change, RewriteFault& fault) {
    if (!change.change().values.empty()) {
        fault = RewriteFault::unsupported;
        return std::nullopt;
    }
    const std::uint64_t declared = source.read<std::uint32_t>(2, ByteOrder::little).value_or(0);
    // Some writers declare too little: whatever may still be pixels stays.
    const std::uint64_t pixels = source.read<std::uint32_t>(10, ByteOrder::little).value_or(0);
    const auto width = static_cast<std::int32_t>(source.read<std::uint32_t>(18, ByteOrder::little).value_or(0));
    const auto height = static_cast<std::int32_t>(source.read<std::uint32_t>(22, ByteOrder::little).value_or(0));
    const std::uint64_t depth = source.read<std::uint16_t>(28, ByteOrder::little).value_or(32);
    const auto across = static_cast<std::uint64_t>(width < 0 ? 0 : width);
    const auto down = static_cast<std::uint64_t>(height < 0 ? -static_cast<std::int64_t>(height) : height);
    const std::uint64_t pixelEnd = pixels + (across * depth + 31) / 32 * 4 * down;
    const bool cuts = change.removesEverything() && declared >= pixelEnd && declared < source.size();
    RewritePlan plan;
    plan.copy(0, cuts ? declared : source.size());
    fault = RewriteFault::none;
    return plan;
}

}  // namespace tessaly::imageio
