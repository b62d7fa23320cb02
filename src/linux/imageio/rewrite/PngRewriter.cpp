#include <zlib.h>

#include <algorithm>
#include <array>
#include <string>
#include <string_view>

#include "linux/imageio/Inflate.h"
#include "linux/imageio/blocks/RawProfile.h"
#include "linux/imageio/containers/PngText.h"
#include "linux/imageio/rewrite/PassingReader.h"
#include "linux/imageio/rewrite/PngTextChange.h"
#include "linux/imageio/rewrite/Rewriters.h"

// PNG, third edition (W3C).
namespace tessaly::imageio {
namespace {

using std::string_view_literals::operator""sv;

constexpr std::uint64_t kSignatureSize = 8;
constexpr std::uint64_t kChunkOverhead = 12;  // Length, type, CRC.
constexpr std::uint64_t kMaximumText = 16 * 1024 * 1024;
constexpr auto kXmpKeyword = "XML:com.adobe.xmp"sv;
constexpr auto kProfilePrefix = "Raw profile type "sv;

/// Ancillary chunks that decide how the picture shows.
constexpr std::array kShown{"tRNS"sv, "gAMA"sv, "cHRM"sv, "sRGB"sv, "iCCP"sv, "sBIT"sv, "bKGD"sv, "pHYs"sv,
                            "acTL"sv, "fcTL"sv, "fdAT"sv, "cICP"sv, "mDCv"sv, "mDCV"sv, "cLLi"sv, "cLLI"sv};

ByteVector chunkBytes(std::string_view type, Bytes data) {
    ByteWriter writer;
    writer.write(static_cast<std::uint32_t>(data.size())).text(type).bytes(data);
    const Bytes summed = writer.view().subspan(4);
    const auto* at = reinterpret_cast<const Bytef*>(summed.data());
    writer.write(static_cast<std::uint32_t>(crc32(0, at, static_cast<uInt>(summed.size()))));
    return writer.take();
}

/// A text of UTF-8: not compressed; no language, no translated keyword.
ByteVector textBytes(std::string_view keyword, std::string_view text) {
    ByteWriter writer;
    writer.text(keyword).zeros(5).text(text);
    return chunkBytes("iTXt", writer.view());
}

ByteVector packetBytes(Bytes packet) { return textBytes(kXmpKeyword, asText(packet)); }

struct Chunk {
    std::string type;
    std::uint64_t start = 0;
    std::uint32_t length = 0;
};

class PngPlan {
public:
    PngPlan(ByteSource& source, const BlockChange& change) : source_(source), reader_(source), change_(change) {}

    RewriteResult make(RewriteFault& fault) {
        fault = RewriteFault::damaged;
        rest_.copy(0, kSignatureSize);
        std::uint64_t position = kSignatureSize;
        while (const auto chunk = chunkAt(position)) {
            const std::uint64_t start = position;
            position += kChunkOverhead + chunk->length;
            if (position > source_.size()) {
                // Without its end a picture still shows as far as it goes.
                if (chunk->type == "IDAT" || chunk->type == "fdAT") rest_.copy(start, source_.size() - start);
                break;
            }
            if (chunk->type == "IHDR") {
                head_ = std::move(rest_);
                head_.copy(start, position - start);
                rest_ = {};
                hasHeader_ = true;
                continue;
            }
            place(*chunk);
            if (chunk->type != "IEND") continue;
            end_ = position;
            break;
        }
        if (!hasHeader_) return std::nullopt;
        fault = RewriteFault::none;
        return joined();
    }

private:
    std::optional<Chunk> chunkAt(std::uint64_t position) {
        const auto length = reader_.read<std::uint32_t>(position);
        const auto type = reader_.bytes(position + 4, 4);
        if (!length || !type || *length > INT32_MAX) return std::nullopt;
        return Chunk{std::string(asText(*type)), position, *length};
    }

    void place(const Chunk& chunk) {
        if (chunk.type == "eXIf" || chunk.type == "zxIf") {
            if (exif_.empty() && chunk.type == "eXIf") exif_ = dataOf(chunk);
            return;
        }
        if (chunk.type == "tEXt" || chunk.type == "zTXt" || chunk.type == "iTXt") return placeText(chunk);
        // Without its animation an APNG is the picture that every PNG has.
        if (change_.change().firstImageOnly && (chunk.type == "acTL" || chunk.type == "fcTL" || chunk.type == "fdAT"))
            return;
        const bool isCritical = (static_cast<unsigned char>(chunk.type[0]) & 0x20U) == 0;
        const bool isShown = isCritical || std::ranges::find(kShown, chunk.type) != kShown.end();
        if (chunk.type == "pHYs") hasDensity_ = true;
        if (isShown || !change_.removesEverything()) copy(chunk);
    }

    void copy(const Chunk& chunk) { rest_.copy(chunk.start, kChunkOverhead + chunk.length); }

    ByteVector dataOf(const Chunk& chunk) {
        if (chunk.length > kMaximumText) return {};
        ByteVector data(chunk.length);
        data.resize(source_.copyTo(chunk.start + 8, data));
        return data;
    }

    void placeText(const Chunk& chunk) {
        if (change_.change().removal == MetadataChange::Removal::nothing && change_.change().values.empty())
            return copy(chunk);
        const ByteVector data = dataOf(chunk);
        const auto text = readPngText(chunk.type, data);
        if (!text) {
            if (!change_.removesEverything()) copy(chunk);
            return;
        }
        if (text->keyword == kXmpKeyword) {
            if (xmp_.empty())
                xmp_ = bodyOf(*text);
            else if (const auto further = change_.furtherXmp(bodyOf(*text)))
                texts_.push_back(packetBytes(*further));
        } else if (text->keyword.starts_with(kProfilePrefix)) {
            placeProfile(chunk, *text);
        } else if (!change_.removesEverything() && !tellsPlace(text->keyword)) {
            const auto changed = changedPngText(text->keyword, change_.change());
            if (!changed)
                copy(chunk);
            else if (!changed->empty())
                texts_.push_back(textBytes(text->keyword, *changed));
        }
    }

    static ByteVector bodyOf(const PngText& text) { return text.compressed ? inflated(text.body) : copyOf(text.body); }

    /// Converters write what they found in Exif as texts of their own: "exif:GPSLatitude".
    [[nodiscard]] bool tellsPlace(std::string_view keyword) const {
        if (!change_.removesPlace()) return false;
        const auto colon = keyword.rfind(':');
        return namesPlace(colon == std::string_view::npos ? keyword : keyword.substr(colon + 1));
    }

    /// What a program wrote as hexadecimal text before PNG had a place for it moves to that place.
    void placeProfile(const Chunk& chunk, const PngText& text) {
        const std::string_view type = text.keyword.substr(kProfilePrefix.size());
        const ByteVector profile = decodedRawProfile(asText(bodyOf(text)));
        const std::string_view head = asText(profile);
        if (head.starts_with("http://ns.adobe.com/xap/1.0/"sv) || type == "xmp") {
            if (xmp_.empty()) xmp_ = copyOf(asBytes(head.substr(std::min(head.find('<'), head.size()))));
        } else if (head.starts_with("Exif\0"sv) || type == "exif") {
            if (exif_.empty()) exif_ = copyOf(Bytes(profile).subspan(head.starts_with("Exif") ? 6 : 0));
        } else if (change_.removesEverything()) {
            return;
        } else if (head.starts_with("8BIM"sv)) {
            addProfile(type, change_.photoshop(profile));
        } else if (type == "iptc") {
            addProfile(type, change_.iptc(profile));
        } else {
            copy(chunk);
        }
    }

    void addProfile(std::string_view type, const ByteVector& profile) {
        if (profile.empty()) return;
        const std::string text =
            std::string(kProfilePrefix).append(type).append(1, '\0').append(encodedRawProfile(type, profile));
        texts_.push_back(chunkBytes("tEXt", asBytes(text)));
    }

    RewritePlan joined() {
        RewritePlan plan = std::move(head_);
        if (asText(exif_).starts_with("Exif"))
            exif_.erase(exif_.begin(), exif_.begin() + std::min<std::ptrdiff_t>(6, std::ssize(exif_)));
        if (const auto exif = change_.exif(exif_, hasDensity_)) plan.add(chunkBytes("eXIf", *exif));
        if (const auto xmp = change_.xmp(xmp_)) plan.add(packetBytes(*xmp));
        for (ByteVector& text : texts_) plan.add(std::move(text));
        plan.append(std::move(rest_), 0);
        const bool dropsTrailer = change_.change().removal != MetadataChange::Removal::nothing;
        if (!dropsTrailer && end_ != 0) plan.copy(end_, source_.size() - end_);
        return plan;
    }

    ByteSource& source_;
    PassingReader reader_;
    const BlockChange& change_;
    RewritePlan head_, rest_;
    ByteVector exif_, xmp_;
    std::vector<ByteVector> texts_;
    std::uint64_t end_ = 0;
    bool hasHeader_ = false;
    bool hasDensity_ = false;
};

}  // namespace

RewriteResult rewritePng(ByteSource& source, const BlockChange& change, RewriteFault& fault) {
    return PngPlan(source, change).make(fault);
}

}  // namespace tessaly::imageio
