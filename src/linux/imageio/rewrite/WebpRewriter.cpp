#include <array>
#include <string>
#include <string_view>

#include "linux/imageio/rewrite/PassingReader.h"
#include "linux/imageio/rewrite/Rewriters.h"

// WebP Container Specification (RFC 9649, 2).
namespace tessaly::imageio {
namespace {

using std::string_view_literals::operator""sv;

constexpr std::uint64_t kFirstChunk = 12;
constexpr std::uint64_t kMaximumBlock = 16 * 1024 * 1024;
constexpr std::size_t kMaximumChunks = 1'000'000;
constexpr std::uint8_t kProfileFlag = 0x20;
constexpr std::uint8_t kAlphaFlag = 0x10;
constexpr std::uint8_t kExifFlag = 0x08;
constexpr std::uint8_t kXmpFlag = 0x04;

struct Chunk {
    std::string type;
    std::uint64_t start = 0;
    std::uint32_t length = 0;
    [[nodiscard]] std::uint64_t end() const { return start + 8 + length + (length & 1U); }
};

ByteVector chunkBytes(std::string_view type, Bytes data) {
    ByteWriter writer(ByteOrder::little);
    writer.text(type).write(static_cast<std::uint32_t>(data.size())).bytes(data).alignTo(2);
    return writer.take();
}

class WebpPlan {
public:
    WebpPlan(ByteSource& source, const BlockChange& change) : source_(source), reader_(source), change_(change) {}

    RewriteResult make(RewriteFault& fault) {
        fault = RewriteFault::damaged;
        const std::uint64_t declared = 8ULL + reader_.read<std::uint32_t>(4, ByteOrder::little).value_or(0);
        end_ = std::min(declared + (declared & 1U), source_.size());
        std::uint64_t position = kFirstChunk;
        for (std::size_t count = 0; count < kMaximumChunks; ++count) {
            const auto chunk = chunkAt(position);
            if (!chunk) break;
            place(*chunk);
            position = chunk->end();
        }
        if (!hasImage_) return std::nullopt;
        fault = RewriteFault::none;
        return joined();
    }

private:
    std::optional<Chunk> chunkAt(std::uint64_t position) {
        if (position >= end_) return std::nullopt;
        const auto type = reader_.bytes(position, 4);
        if (!type) return std::nullopt;
        const std::string name(asText(*type));
        const auto length = reader_.read<std::uint32_t>(position + 4, ByteOrder::little);
        if (!length) return std::nullopt;
        return Chunk{name, position, *length};
    }

    ByteVector dataOf(const Chunk& chunk) {
        if (chunk.length > kMaximumBlock) return {};
        ByteVector data(chunk.length);
        data.resize(source_.copyTo(chunk.start + 8, data));
        return data;
    }

    void place(const Chunk& chunk) {
        if (chunk.type == "VP8X") {
            canvas_ = dataOf(chunk);
            canvas_.resize(10);
        } else if (chunk.type == "EXIF") {
            if (exif_.empty()) exif_ = dataOf(chunk);
        } else if (chunk.type == "XMP ") {
            placeXmp(dataOf(chunk));
        } else if (chunk.type == "ANMF" && hasImage_ && change_.change().firstImageOnly) {
            return;
        } else if (isShown(chunk.type)) {
            if (chunk.type == "VP8 " || chunk.type == "VP8L") image_ = chunk;
            hasImage_ |= chunk.type == "VP8 " || chunk.type == "VP8L" || chunk.type == "ANMF";
            (chunk.type == "ICCP" ? profile_ : rest_).append(copyOfChunk(chunk), 0);
            hasProfile_ |= chunk.type == "ICCP";
        } else if (!change_.removesEverything()) {
            foreign_.append(copyOfChunk(chunk), 0);
        }
    }

    void placeXmp(ByteVector packet) {
        if (xmp_.empty())
            xmp_ = std::move(packet);
        else if (const auto further = change_.furtherXmp(packet))
            foreign_.add(chunkBytes("XMP ", *further));
    }

    static bool isShown(std::string_view type) {
        static constexpr std::array shown{"ICCP"sv, "ANIM"sv, "ANMF"sv, "ALPH"sv, "VP8 "sv, "VP8L"sv};
        return std::ranges::find(shown, type) != shown.end();
    }

    /// With its padding, also where the file ends before it.
    RewritePlan copyOfChunk(const Chunk& chunk) const {
        RewritePlan plan;
        const std::uint64_t there = std::min(chunk.end(), source_.size());
        plan.copy(chunk.start, there - chunk.start);
        if (there + 1 == chunk.end()) plan.add(ByteVector(1));
        return plan;
    }

    /// The simple format has no canvas; with metadata it has to become the extended one.
    bool makeCanvas() {
        if (!canvas_.empty()) return true;
        std::uint32_t width = 0;
        std::uint32_t height = 0;
        bool hasAlpha = false;
        if (image_.type == "VP8 ") {  // RFC 6386, 9.1.
            width = reader_.read<std::uint16_t>(image_.start + 14, ByteOrder::little).value_or(0) & 0x3FFFU;
            height = reader_.read<std::uint16_t>(image_.start + 16, ByteOrder::little).value_or(0) & 0x3FFFU;
        } else {  // RFC 9649, 3.4.
            const std::uint32_t bits = reader_.read<std::uint32_t>(image_.start + 9, ByteOrder::little).value_or(0);
            width = (bits & 0x3FFFU) + 1;
            height = (bits >> 14U & 0x3FFFU) + 1;
            hasAlpha = (bits >> 28U & 1U) != 0;
        }
        if (width == 0 || height == 0) return false;
        ByteWriter writer(ByteOrder::little);
        writer.write(static_cast<std::uint32_t>((hasAlpha ? kAlphaFlag : 0U) | (hasProfile_ ? kProfileFlag : 0U)));
        writer.writeSized(width - 1, 3).writeSized(height - 1, 3);
        canvas_ = writer.take();
        return true;
    }

    RewriteResult joined() {
        const Bytes block =
            asText(exif_).starts_with("Exif") && exif_.size() >= 6 ? Bytes(exif_).subspan(6) : Bytes(exif_);
        const auto exif = change_.exif(block);
        const auto xmp = change_.xmp(xmp_);
        if ((exif || xmp) && !makeCanvas()) return std::nullopt;
        RewritePlan body;
        if (!canvas_.empty()) {
            auto flags = std::to_integer<unsigned>(canvas_[0]) & ~unsigned{kExifFlag | kXmpFlag};
            if (exif) flags |= kExifFlag;
            if (xmp) flags |= kXmpFlag;
            canvas_[0] = static_cast<std::byte>(flags);
            body.add(chunkBytes("VP8X", canvas_));
        }
        body.append(std::move(profile_), 0);
        body.append(std::move(rest_), 0);
        if (exif) body.add(chunkBytes("EXIF", *exif));
        if (xmp) body.add(chunkBytes("XMP ", *xmp));
        body.append(std::move(foreign_), 0);
        RewritePlan plan;
        ByteWriter head(ByteOrder::little);
        head.text("RIFF").write(static_cast<std::uint32_t>(4 + body.size())).text("WEBP");
        plan.add(head.take());
        plan.append(std::move(body), 0);
        if (change_.change().removal == MetadataChange::Removal::nothing && end_ < source_.size())
            plan.copy(end_, source_.size() - end_);
        return plan;
    }

    ByteSource& source_;
    PassingReader reader_;
    const BlockChange& change_;
    std::uint64_t end_ = 0;
    Chunk image_;
    ByteVector canvas_, exif_, xmp_;
    RewritePlan profile_, rest_, foreign_;
    bool hasImage_ = false;
    bool hasProfile_ = false;
};

}  // namespace

RewriteResult rewriteWebp(ByteSource& source, const BlockChange& change, RewriteFault& fault) {
    return WebpPlan(source, change).make(fault);
}

}  // namespace tessaly::imageio
