#include <algorithm>
#include <array>
#include <utility>

#include "linux/imageio/Text.h"
#include "linux/imageio/blocks/Blocks.h"
#include "platform/ImageIO/CGImageProperties.h"

namespace tessaly::imageio {
namespace {

constexpr std::size_t kHeaderSize = 128;
constexpr std::uint32_t kMaximumTags = 200;

constexpr std::uint32_t code(const char (&text)[5]) {
    return static_cast<std::uint32_t>(static_cast<unsigned char>(text[0])) << 24 |
           static_cast<std::uint32_t>(static_cast<unsigned char>(text[1])) << 16 |
           static_cast<std::uint32_t>(static_cast<unsigned char>(text[2])) << 8 | static_cast<unsigned char>(text[3]);
}

std::uint32_t wordAt(Bytes bytes, std::size_t at) {
    return loadInteger<std::uint32_t>(bytes.data() + at, ByteOrder::big);
}

/// ICC.1:2001, 6.5.17: length of the ASCII text with its NUL, then the text.
Value descriptionText(Bytes tag) {
    ByteReader reader(tag);
    if (!reader.skip(8)) return {};
    const auto length = reader.read<std::uint32_t>();
    if (!length) return {};
    return textValue(reader.rest().first(std::min<std::size_t>(*length, reader.remaining())));
}

/// ICC.1:2022, 10.15: records of language, country, length and offset; English wins, else the first.
Value localisedText(Bytes tag) {
    if (tag.size() < 16) return {};
    const std::uint32_t count = std::min(wordAt(tag, 8), kMaximumTags);
    const std::uint32_t recordSize = wordAt(tag, 12);
    if (recordSize < 12) return {};
    Value best;
    for (std::uint64_t i = 0, at = 16; i < count && at + 12 <= tag.size(); ++i, at += recordSize) {
        const Bytes record = tag.subspan(static_cast<std::size_t>(at), 12);
        ByteReader text(tag);
        if (!text.seek(wordAt(record, 8))) continue;
        const auto bytes = text.take(wordAt(record, 4));
        if (!bytes) continue;
        const bool english = asText(record.first(2)) == "en";
        if (best.isNull() || english) best = textValue(utf8FromUtf16(*bytes, ByteOrder::big));
        if (english) break;
    }
    return best;
}

Value profileName(Bytes profile) {
    const std::uint32_t count = std::min(wordAt(profile, kHeaderSize), kMaximumTags);
    for (std::uint64_t i = 0, at = kHeaderSize + 4; i < count && at + 12 <= profile.size(); ++i, at += 12) {
        const auto entry = static_cast<std::size_t>(at);
        if (wordAt(profile, entry) != code("desc")) continue;
        ByteReader reader(profile);
        if (!reader.seek(wordAt(profile, entry + 4))) return {};
        const Bytes tag = reader.rest().first(std::min<std::size_t>(wordAt(profile, entry + 8), reader.remaining()));
        if (tag.size() < 12) return {};
        if (wordAt(tag, 0) == code("desc")) return descriptionText(tag);
        if (wordAt(tag, 0) == code("mluc")) return localisedText(tag);
        return wordAt(tag, 0) == code("text") ? textValue(tag.subspan(8)) : Value();
    }
    return {};
}

std::string_view colorModelOf(std::uint32_t space) {
    static constexpr std::array models{
        std::pair{code("RGB "), std::string_view("RGB")}, std::pair{code("GRAY"), std::string_view("Gray")},
        std::pair{code("CMYK"), std::string_view("CMYK")}, std::pair{code("Lab "), std::string_view("Lab")}};
    const auto found = std::ranges::find(models, space, &std::pair<std::uint32_t, std::string_view>::first);
    return found == models.end() ? std::string_view{} : found->second;
}

}  // namespace

void readIccProfile(Bytes profile, ImageProperties& properties) {
    if (profile.size() < kHeaderSize + 4 || wordAt(profile, 36) != code("acsp")) return;
    ImageProperties::add(properties.top, kCGImagePropertyProfileName, profileName(profile));
    if (const auto model = colorModelOf(wordAt(profile, 16)); !model.empty())
        ImageProperties::add(properties.top, kCGImagePropertyColorModel, SharedText::literal(model));
}

}  // namespace tessaly::imageio
