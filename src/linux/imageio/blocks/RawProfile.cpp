#include "linux/imageio/blocks/RawProfile.h"

#include <algorithm>
#include <array>
#include <charconv>

#include "linux/imageio/blocks/Blocks.h"

namespace tessaly::imageio {
namespace {

constexpr std::string_view kXmpMark{"http://ns.adobe.com/xap/1.0/\0", 29};
constexpr std::string_view kBlanks = " \t\r\n";

std::string_view withoutBlanks(std::string_view text) {
    text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
    return text;
}

/// The value of each hexadecimal digit, -1 for any other character.
constexpr std::array<int, 256> kDigits = [] {
    std::array<int, 256> digits{};
    digits.fill(-1);
    for (int value = 0; value < 16; ++value) {
        digits[static_cast<unsigned char>("0123456789abcdef"[value])] = value;
        digits[static_cast<unsigned char>("0123456789ABCDEF"[value])] = value;
    }
    return digits;
}();

}  // namespace

std::vector<std::byte> decodedRawProfile(std::string_view text) {
    text = withoutBlanks(text);
    text.remove_prefix(std::min(text.find('\n'), text.size()));  // Its name, of one word or two.
    text = withoutBlanks(text);
    std::size_t length = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), length);
    if (error != std::errc{}) return {};
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    std::vector<std::byte> bytes(std::min(length, text.size() / 2));
    if (bytes.empty()) return bytes;
    std::size_t count = 0;
    int high = -1;
    for (const char c : text) {
        const int digit = kDigits[static_cast<unsigned char>(c)];
        if (digit < 0) continue;
        if (high < 0) {
            high = digit;
            continue;
        }
        bytes[count++] = static_cast<std::byte>(high * 16 + digit);
        high = -1;
        if (count == bytes.size()) break;
    }
    bytes.resize(count);
    return bytes;
}

std::string encodedRawProfile(std::string_view type, Bytes profile) {
    constexpr std::size_t perLine = 36;
    std::string length = std::to_string(profile.size());
    length.insert(0, 8 - std::min<std::size_t>(8, length.size()), ' ');
    std::string text = "\n" + std::string(type) + "\n" + length;
    for (std::size_t i = 0; i < profile.size(); ++i) {
        if (i % perLine == 0) text += '\n';
        const auto byte = std::to_integer<unsigned>(profile[i]);
        text += "0123456789abcdef"[byte >> 4U];
        text += "0123456789abcdef"[byte & 15U];
    }
    return text + "\n";
}

void readRawProfile(std::string_view type, Bytes profile, ImageProperties& properties) {
    const std::string_view text = asText(profile);
    if (text.starts_with(kXmpMark)) {
        readXmp(profile.subspan(kXmpMark.size()), properties);
    } else if (type == "exif" || type == "APP1" || type == "app1") {
        readExif(profile, properties);
    } else if (type == "xmp") {
        readXmp(profile, properties);
    } else if (type == "icc" || type == "icm") {
        readIccProfile(profile, properties);
    } else if (text.starts_with("8BIM") || text.starts_with("Photoshop 3.0")) {
        const std::size_t head = text.starts_with("8BIM") ? 0 : std::min<std::size_t>(14, profile.size());
        readPhotoshopResources(profile.subspan(head), properties);
    } else if (type == "iptc" || type == "8bim") {
        readIptc(profile, properties);
    }
}

}  // namespace tessaly::imageio
