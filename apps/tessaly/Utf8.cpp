#include "Utf8.h"

#include <algorithm>
#include <array>

namespace tessaly::cli {
namespace {

struct Range {
    char32_t from, to;
};

// Unicode 15: the ranges that matter on a terminal.
constexpr std::array kCombining{
    Range{0x0300, 0x036F}, Range{0x0483, 0x0489}, Range{0x0591, 0x05BD}, Range{0x0610, 0x061A}, Range{0x064B, 0x065F},
    Range{0x0900, 0x0902}, Range{0x093C, 0x093C}, Range{0x0941, 0x0948}, Range{0x094D, 0x094D}, Range{0x0D41, 0x0D44},
    Range{0x0D4D, 0x0D4D}, Range{0x0E31, 0x0E31}, Range{0x0E34, 0x0E3A}, Range{0x0E47, 0x0E4E}, Range{0x1AB0, 0x1AFF},
    Range{0x1DC0, 0x1DFF}, Range{0x200B, 0x200F}, Range{0x20D0, 0x20FF}, Range{0xFE00, 0xFE0F}, Range{0xFE20, 0xFE2F},
};
constexpr std::array kWide{
    Range{0x1100, 0x115F},   Range{0x2E80, 0x303E},   Range{0x3041, 0xA4CF},   Range{0xAC00, 0xD7A3},
    Range{0xF900, 0xFAFF},   Range{0xFE30, 0xFE6F},   Range{0xFF00, 0xFF60},   Range{0xFFE0, 0xFFE6},
    Range{0x1F300, 0x1F64F}, Range{0x1F680, 0x1F6FF}, Range{0x1F900, 0x1F9FF}, Range{0x20000, 0x3FFFD},
};

template <std::size_t Count>
bool contains(const std::array<Range, Count>& ranges, char32_t point) {
    return std::ranges::any_of(ranges,
                               [point](const Range& range) { return point >= range.from && point <= range.to; });
}

char32_t decode(std::string_view sequence) {
    const auto byte = [&](std::size_t i) { return static_cast<char32_t>(static_cast<unsigned char>(sequence[i])); };
    switch (sequence.size()) {
        case 2:
            return (byte(0) & 0x1F) << 6 | (byte(1) & 0x3F);
        case 3:
            return (byte(0) & 0x0F) << 12 | (byte(1) & 0x3F) << 6 | (byte(2) & 0x3F);
        case 4:
            return (byte(0) & 0x07) << 18 | (byte(1) & 0x3F) << 12 | (byte(2) & 0x3F) << 6 | (byte(3) & 0x3F);
        default:
            return byte(0);
    }
}

std::size_t widthOf(char32_t point) {
    if (point < 0x20 || contains(kCombining, point)) return 0;
    return contains(kWide, point) ? 2 : 1;
}

/// Calls `visit(sequence, width)` for each character.
template <class Visit>
void eachCharacter(std::string_view text, Visit visit) {
    while (!text.empty()) {
        const std::size_t length = std::max<std::size_t>(utf8SequenceLength(text), 1);
        visit(text.substr(0, length), widthOf(decode(text.substr(0, length))));
        text.remove_prefix(length);
    }
}

/// Of ASCII or, in two bytes, of Latin-1.
bool isControl(std::string_view sequence) {
    const auto first = static_cast<unsigned char>(sequence.front());
    return first < 0x20 || first == 0x7F ||
           (sequence.size() == 2 && first == 0xC2 && static_cast<unsigned char>(sequence[1]) < 0xA0);
}

}  // namespace

std::size_t displayWidth(std::string_view text) noexcept {
    std::size_t width = 0;
    eachCharacter(text, [&](std::string_view, std::size_t columns) { width += columns; });
    return width;
}

std::string escaped(std::string_view name) {
    constexpr std::string_view kDigits = "0123456789abcdef";
    std::string safe;
    eachCharacter(name, [&](std::string_view sequence, std::size_t) {
        const bool isNoText = sequence.size() == 1 && static_cast<unsigned char>(sequence.front()) >= 0x80;
        if (!isNoText && !isControl(sequence)) {
            safe += sequence;
        } else if (sequence == "\n" || sequence == "\t" || sequence == "\r") {
            safe += sequence == "\n" ? "\\n" : sequence == "\t" ? "\\t" : "\\r";
        } else {
            for (const char byte : sequence) {
                const auto number = static_cast<unsigned char>(byte);
                safe.append("\\x").append(1, kDigits[number >> 4U]).append(1, kDigits[number & 15U]);
            }
        }
    });
    return safe;
}

std::string printable(std::string_view text) {
    std::string clean;
    eachCharacter(text, [&](std::string_view sequence, std::size_t) {
        const auto first = static_cast<unsigned char>(sequence.front());
        if (isControl(sequence))
            clean += ' ';
        else if (first >= 0x80 && sequence.size() == 1)
            clean += "\xEF\xBF\xBD";
        else
            clean += sequence;
    });
    return clean;
}

std::vector<std::string> wrapped(std::string_view text, std::size_t width) {
    const std::string clean = printable(text);
    std::vector<std::string> lines(1);
    std::size_t columns = 0;
    std::size_t lastBlank = std::string::npos;
    eachCharacter(clean, [&](std::string_view sequence, std::size_t wide) {
        if (columns + wide > width && !lines.back().empty()) {
            std::string rest;
            if (lastBlank != std::string::npos) {
                rest = lines.back().substr(lastBlank + 1);
                lines.back().resize(lastBlank);
            }
            columns = displayWidth(rest);
            lines.push_back(std::move(rest));
            lastBlank = std::string::npos;
        }
        if (sequence == " ") lastBlank = lines.back().size();
        lines.back() += sequence;
        columns += wide;
    });
    return lines;
}

}  // namespace tessaly::cli
