#include "linux/imageio/Text.h"

#include <array>

#include "platform/Foundation/Utf8.h"

namespace tessaly::imageio {
namespace {

// Windows-1252, 0x80 to 0x9F; 0 where the code page has no character.
constexpr std::array<char16_t, 32> kWindows1252{0x20AC, 0,      0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
                                                0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0,      0x017D, 0,
                                                0,      0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
                                                0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0,      0x017E, 0x0178};

}  // namespace

bool isValidUtf8(std::string_view text) noexcept {
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t length = utf8SequenceLength(text, at);
        if (length == 0) return false;
        at += length;
    }
    return true;
}

void appendUtf8(std::string& text, char32_t point) {
    if (point > 0x10FFFF || (point >= 0xD800 && point < 0xE000)) point = 0xFFFD;
    const auto put = [&text](char32_t byte) { text += static_cast<char>(static_cast<unsigned char>(byte)); };
    if (point < 0x80) return put(point);
    if (point < 0x800) {
        put(0xC0 | point >> 6);
    } else {
        if (point < 0x10000) {
            put(0xE0 | point >> 12);
        } else {
            put(0xF0 | point >> 18);
            put(0x80 | (point >> 12 & 0x3F));
        }
        put(0x80 | (point >> 6 & 0x3F));
    }
    put(0x80 | (point & 0x3F));
}

std::string utf8FromWindows1252(std::string_view text) {
    std::string result;
    result.reserve(text.size() + text.size() / 4);
    for (const char character : text) {
        const auto byte = static_cast<unsigned char>(character);
        const bool special = byte >= 0x80 && byte < 0xA0 && kWindows1252[byte - 0x80U] != 0;
        appendUtf8(result, special ? kWindows1252[byte - 0x80U] : byte);
    }
    return result;
}

std::string toUtf8(std::string_view text) { return isValidUtf8(text) ? std::string(text) : utf8FromWindows1252(text); }

std::string utf8FromUtf16(Bytes text, ByteOrder order) {
    if (text.size() >= 2) {
        const auto mark = loadInteger<std::uint16_t>(text.data(), ByteOrder::big);
        if (mark == 0xFEFF || mark == 0xFFFE) {
            order = mark == 0xFEFF ? ByteOrder::big : ByteOrder::little;
            text = text.subspan(2);
        }
    }
    std::string result;
    for (std::size_t at = 0; at + 1 < text.size(); at += 2) {
        char32_t point = loadInteger<std::uint16_t>(text.data() + at, order);
        if (point == 0) break;
        if (point >= 0xD800 && point < 0xDC00 && at + 3 < text.size()) {
            const char32_t low = loadInteger<std::uint16_t>(text.data() + at + 2, order);
            if (low >= 0xDC00 && low < 0xE000) {
                point = 0x10000 + ((point - 0xD800) << 10) + (low - 0xDC00);
                at += 2;
            }
        }
        appendUtf8(result, point);
    }
    return result;
}

std::u16string utf16Of(std::string_view text) {
    std::u16string result;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t length = utf8SequenceLength(text, at);
        char32_t point = static_cast<unsigned char>(text[at]);
        if (length == 0) point = 0xFFFD;
        if (length > 1) point &= 0xFFU >> (length + 1);
        for (std::size_t i = 1; i < length; ++i)
            point = point << 6 | (static_cast<unsigned char>(text[at + i]) & 0x3FU);
        at += length == 0 ? 1 : length;
        if (point < 0x10000) {
            result += static_cast<char16_t>(point);
        } else {
            result += static_cast<char16_t>(0xD800 + ((point - 0x10000) >> 10));
            result += static_cast<char16_t>(0xDC00 + ((point - 0x10000) & 0x3FF));
        }
    }
    return result;
}

std::string lowerCase(std::string_view text) {
    std::string lower(text);
    for (char& c : lower)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return lower;
}

std::string_view trimmed(std::string_view text) noexcept {
    text = text.substr(0, text.find('\0'));
    const auto last = text.find_last_not_of(" \t\r\n");
    return last == std::string_view::npos ? std::string_view{} : text.substr(0, last + 1);
}

Value textValue(std::string_view text) {
    text = trimmed(text);
    if (text.empty()) return {};
    return isValidUtf8(text) ? Value(text) : Value(utf8FromWindows1252(text));
}

}  // namespace tessaly::imageio
