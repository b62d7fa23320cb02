#include <algorithm>
#include <array>
#include <optional>
#include <string_view>
#include <vector>

#include "linux/imageio/Inflate.h"
#include "linux/imageio/Text.h"
#include "linux/imageio/blocks/Blocks.h"
#include "linux/imageio/blocks/RawProfile.h"
#include "linux/imageio/containers/Containers.h"
#include "linux/imageio/containers/PngText.h"
#include "platform/ImageIO/CGImageProperties.h"

// PNG, third edition (W3C).
namespace tessaly::imageio {
namespace {

using std::string_view_literals::operator""sv;

constexpr std::uint64_t kSignatureSize = 8;
constexpr std::uint64_t kChunkOverhead = 12;  // Length, type, CRC.
constexpr std::size_t kMaximumChunks = 10'000;
constexpr std::uint64_t kMaximumText = 16 * 1024 * 1024;
constexpr std::size_t kMaximumProfiles = 16;
constexpr std::size_t kMaximumPlainText = 64 * 1024;
constexpr double kMetresPerInch = 0.0254;

struct Chunk {
    std::uint64_t position = 0;  ///< Of the data.
    std::uint32_t length = 0;
};

/// Texts that the platform reports, by the keyword that the PNG standard gives them.
constexpr std::array kTexts{
    std::pair{"Title"sv, "Title"sv},
    std::pair{"Author"sv, "Author"sv},
    std::pair{"Description"sv, "Description"sv},
    std::pair{"Copyright"sv, "Copyright"sv},
    std::pair{"Creation Time"sv, "CreationTime"sv},
    std::pair{"Software"sv, "Software"sv},
    std::pair{"Disclaimer"sv, "Disclaimer"sv},
    std::pair{"Warning"sv, "Warning"sv},
    std::pair{"Source"sv, "Source"sv},
    std::pair{"Comment"sv, "Comment"sv},
};

Bytes behindTerminator(Bytes text) {
    const auto end = asText(text).find('\0');
    return end == std::string_view::npos ? Bytes{} : text.subspan(end + 1);
}

class PngWalk {
public:
    PngWalk(ByteSource& source, ImageProperties& properties) : source_(source), properties_(properties) {}

    void read() {
        std::uint64_t position = kSignatureSize;
        for (std::size_t count = 0; count < kMaximumChunks; ++count) {
            const auto length = source_.read<std::uint32_t>(position);
            const auto type = source_.bytes(position + 4, 4);
            if (!length || !type || *length > INT32_MAX) break;
            const Chunk chunk{position + 8, *length};
            const std::string_view name = asText(*type);
            if (name == "IEND"sv) break;
            if (name == "IDAT"sv)
                position = behindImageData(position, *length);
            else {
                note(name, chunk);
                position += kChunkOverhead + *length;
            }
        }
        readBlocks();
    }

private:
    bool isImageData(std::uint64_t position, std::uint32_t length) {
        const auto type = source_.bytes(position + 4, 4);
        return type && asText(*type) == "IDAT"sv && source_.read<std::uint32_t>(position) == length;
    }

    /// Writers cut the image data into chunks of one size. Eight bytes that repeat at such a distance are no accident,
    /// so a long run is crossed in strides that double instead of chunk by chunk.
    std::uint64_t behindImageData(std::uint64_t position, std::uint32_t length) {
        const std::uint64_t stride = kChunkOverhead + length;
        std::uint64_t known = 0;
        for (std::uint64_t step = 1; step > 0;) {
            if (isImageData(position + (known + step) * stride, length)) {
                known += step;
                step *= 2;
            } else {
                step /= 2;
            }
        }
        return position + (known + 1) * stride;
    }

    std::optional<Bytes> bytesOf(const Chunk& chunk, std::uint32_t least) {
        if (chunk.length < least || chunk.length > kMaximumText) return std::nullopt;
        return source_.bytes(chunk.position, chunk.length);
    }

    void note(std::string_view name, const Chunk& chunk) {
        if (name == "IHDR"sv) return readHeader(chunk);
        if (name == "eXIf"sv) return exif_.push_back(chunk);
        if (name == "pHYs"sv) return readDensity(chunk);
        if (name == "iCCP"sv) return readProfile(chunk);
        if (name == "tEXt"sv || name == "zTXt"sv || name == "iTXt"sv) return readText(name, chunk);
        if (name == "tRNS"sv) ImageProperties::add(properties_.top, kCGImagePropertyHasAlpha, true);
        if (name == "gAMA"sv) {
            if (const auto bytes = bytesOf(chunk, 4))
                ImageProperties::add(properties_.png, "Gamma",
                                     loadInteger<std::uint32_t>(bytes->data(), ByteOrder::big) / 100'000.0);
        }
        if (name == "sRGB"sv) {
            if (const auto bytes = bytesOf(chunk, 1))
                ImageProperties::add(properties_.png, "sRGBIntent", std::to_integer<int>((*bytes)[0]));
        }
        if (name == "acTL"sv) readAnimation(chunk);
    }

    void readHeader(const Chunk& chunk) {
        const auto bytes = bytesOf(chunk, 13);
        if (!bytes) return;
        properties_.setPixelSize(loadInteger<std::uint32_t>(bytes->data(), ByteOrder::big),
                                 loadInteger<std::uint32_t>(bytes->data() + 4, ByteOrder::big));
        const int colourType = std::to_integer<int>((*bytes)[9]);
        Dictionary& top = properties_.top;
        ImageProperties::add(top, kCGImagePropertyDepth, std::to_integer<int>((*bytes)[8]));
        ImageProperties::add(top, kCGImagePropertyColorModel, (colourType & 2) != 0 ? "RGB" : "Gray");
        if ((colourType & 4) != 0) ImageProperties::add(top, kCGImagePropertyHasAlpha, true);
        ImageProperties::add(properties_.png, "InterlaceType", std::to_integer<int>((*bytes)[12]));
    }

    void readDensity(const Chunk& chunk) {
        const auto bytes = bytesOf(chunk, 9);
        if (!bytes) return;
        const auto x = loadInteger<std::uint32_t>(bytes->data(), ByteOrder::big);
        const auto y = loadInteger<std::uint32_t>(bytes->data() + 4, ByteOrder::big);
        if ((*bytes)[8] != std::byte{1} || x == 0 || y == 0) return;
        ImageProperties::add(properties_.png, "XPixelsPerMeter", x);
        ImageProperties::add(properties_.png, "YPixelsPerMeter", y);
        ImageProperties::add(properties_.top, kCGImagePropertyDPIWidth, x * kMetresPerInch);
        ImageProperties::add(properties_.top, kCGImagePropertyDPIHeight, y * kMetresPerInch);
    }

    void readProfile(const Chunk& chunk) {
        const auto bytes = bytesOf(chunk, 3);
        if (!bytes) return;
        const auto end = asText(*bytes).find('\0');
        if (end == std::string_view::npos || end + 2 > bytes->size()) return;
        readIccProfile(unpacked(bytes->subspan(end + 2), budget_), properties_);
        ImageProperties::add(properties_.top, kCGImagePropertyProfileName, textValue(bytes->first(end)));
    }

    void readAnimation(const Chunk& chunk) {
        const auto bytes = bytesOf(chunk, 8);
        if (!bytes) return;
        if (const auto frames = loadInteger<std::uint32_t>(bytes->data(), ByteOrder::big); frames > 0)
            properties_.imageCount = frames;
        ImageProperties::add(properties_.png, "LoopCount",
                             loadInteger<std::uint32_t>(bytes->data() + 4, ByteOrder::big));
    }

    void readText(std::string_view kind, const Chunk& chunk) {
        const auto bytes = bytesOf(chunk, 2);
        if (!bytes) return;
        const auto text = readPngText(kind, *bytes);
        if (!text) return;
        auto [keyword, body, compressed] = *text;
        std::vector<std::byte> storage;
        if (compressed) {
            if (properties_.png.contains(keyOf(keyword))) return;
            const bool isBlock = keyword.starts_with("XML:"sv) || keyword.starts_with("Raw profile"sv);
            storage = unpacked(body, isBlock ? budget_ : kMaximumPlainText);
            body = storage;
        }
        keep(keyword, body);
    }

    /// Inflated, within what is left of the file's budget.
    std::vector<std::byte> unpacked(Bytes compressed, std::size_t limit) {
        std::vector<std::byte> bytes = inflated(compressed, std::min(limit, budget_));
        budget_ -= bytes.size();
        return bytes;
    }

    void keep(std::string_view keyword, Bytes body) {
        if (keyword == "XML:com.adobe.xmp"sv) {
            xmp_.assign(body.begin(), body.end());
        } else if (keyword.starts_with("Raw profile type "sv) && profiles_.size() < kMaximumProfiles) {
            profiles_.push_back({std::string(keyword.substr(17)), decodedRawProfile(asText(body))});
        } else {
            const std::string_view key = keyOf(keyword);
            if (!key.empty())
                ImageProperties::add(properties_.png, key,
                                     textValue(body.first(std::min(body.size(), kMaximumPlainText))));
        }
    }

    /// The property of a keyword, "" where it has none.
    static std::string_view keyOf(std::string_view keyword) {
        const auto found = std::ranges::find(kTexts, keyword, &std::pair<std::string_view, std::string_view>::first);
        return found == kTexts.end() ? std::string_view{} : found->second;
    }

    void readBlocks() {
        for (const Chunk& chunk : exif_) {
            ByteSource block = source_.part(chunk.position, chunk.length);
            const auto head = block.bytes(0, 4);
            readExif(block, head && asText(*head) == "Exif"sv ? 6 : 0, properties_);
        }
        for (const auto& profile : profiles_) readRawProfile(profile.type, profile.bytes, properties_);
        if (!xmp_.empty()) readXmp(xmp_, properties_);
        adoptTexts();
    }

    /// Texts say what blocks do not.
    void adoptTexts() {
        struct Adoption {
            std::string_view text;
            Dictionary ImageProperties::*dictionary;
            std::string_view name;
            std::string_view inIptc;  ///< The same in {IPTC}.
        };
        static constexpr std::array kAdoptions{
            Adoption{"Title"sv, &ImageProperties::iptc, "ObjectName"sv, "ObjectName"sv},
            Adoption{"Author"sv, &ImageProperties::tiff, "Artist"sv, "Byline"sv},
            Adoption{"Copyright"sv, &ImageProperties::tiff, "Copyright"sv, "CopyrightNotice"sv},
            Adoption{"Description"sv, &ImageProperties::tiff, "ImageDescription"sv, "Caption/Abstract"sv},
        };
        for (const auto& [text, dictionary, name, inIptc] : kAdoptions)
            if (properties_.png.contains(text) && !properties_.iptc.contains(inIptc))
                ImageProperties::add(properties_.*dictionary, name, properties_.png[text]);
    }

    struct Profile {
        std::string type;
        std::vector<std::byte> bytes;
    };

    ByteSource& source_;
    ImageProperties& properties_;
    std::vector<Chunk> exif_;
    std::vector<Profile> profiles_;
    std::vector<std::byte> xmp_;
    std::size_t budget_ = kMaximumInflated;
};

}  // namespace

std::optional<PngText> readPngText(std::string_view type, Bytes chunk) {
    const auto end = asText(chunk).find('\0');
    if (end == std::string_view::npos) return std::nullopt;
    PngText text{asText(chunk.first(end)), chunk.subspan(end + 1), false};
    if (type == "iTXt"sv) {
        if (text.body.size() < 2) return std::nullopt;
        text.compressed = text.body[0] != std::byte{0};
        text.body = behindTerminator(behindTerminator(text.body.subspan(2)));  // Language, translated keyword.
    } else if (type == "zTXt"sv) {
        if (text.body.empty()) return std::nullopt;
        text.compressed = true;
        text.body = text.body.subspan(1);
    }
    return text;
}

void readPng(ByteSource& source, ImageProperties& properties) { PngWalk(source, properties).read(); }

}  // namespace tessaly::imageio
