#include "linux/imageio/rewrite/ExifFields.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>
#include <string>

#include "linux/imageio/Text.h"
#include "linux/imageio/blocks/ExifTags.h"
#include "linux/imageio/rewrite/TiffTags.h"
#include "platform/ImageIO/CGImageProperties.h"

namespace tessaly::imageio {
namespace {

constexpr std::array<std::uint16_t, 23> kRationals{0x011A, 0x011B, 0x011E, 0x011F, 0x013E, 0x013F, 0x829A, 0x829D,
                                                   0x9102, 0x9202, 0x9205, 0x9206, 0x920A, 0x9401, 0x9402, 0x9404,
                                                   0xA20B, 0xA20E, 0xA20F, 0xA215, 0xA404, 0xA432, 0xA500};
constexpr std::array<std::uint16_t, 6> kSignedRationals{0x9201, 0x9203, 0x9204, 0x9400, 0x9403, 0x9405};
constexpr std::array<std::uint16_t, 7> kLongs{0x8831, 0x8832, 0x8833, 0x8834, 0x8835, 0xA002, 0xA003};

void writeRatio(ByteWriter& writer, double value) {
    const Ratio ratio = ratioOf(value);
    writer.write(static_cast<std::uint32_t>(ratio.numerator)).write(static_cast<std::uint32_t>(ratio.denominator));
}

TiffField textField(std::uint16_t tag, std::string_view text) {
    ByteVector value = copyOf(asBytes(text));
    value.push_back(std::byte{0});
    const std::uint64_t count = value.size();
    return {tag, TiffType::ascii, count, std::move(value)};
}

bool isAscii(std::string_view text) {
    return std::ranges::all_of(text, [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

/// Exif 2.32, 4.6.5, UserComment: a character code, then the text. UTF-8 has none, so "UNICODE" (UTF-16) serves.
TiffField commentField(std::uint16_t tag, std::string_view text, ByteOrder order) {
    ByteWriter writer(order);
    if (isAscii(text)) {
        writer.text(std::string_view("ASCII\0\0\0", 8)).text(text);
    } else {
        writer.text(std::string_view("UNICODE\0", 8));
        for (const char16_t unit : utf16Of(text)) writer.write(static_cast<std::uint16_t>(unit));
    }
    const std::uint64_t count = writer.size();
    return {tag, TiffType::undefined, count, writer.take()};
}

TiffField degreesField(std::uint16_t tag, double degrees, ByteOrder order) {
    degrees = std::abs(degrees);
    // Seconds to a millionth: 30 micrometres on the ground. Rounded first, so that 60 seconds never stand there.
    constexpr std::int64_t unit = 1'000'000;
    const auto all = static_cast<std::int64_t>(std::llround(degrees * 3600 * unit));
    ByteWriter writer(order);
    const auto part = [&](std::int64_t numerator, std::int64_t denominator) {
        writer.write(static_cast<std::uint32_t>(numerator)).write(static_cast<std::uint32_t>(denominator));
    };
    part(all / (3600 * unit), 1);
    part(all / (60 * unit) % 60, 1);
    part(all % (60 * unit), unit);
    return {tag, TiffType::rational, 3, writer.take()};
}

/// "12:34:56" or "12:34:56.5".
std::optional<TiffField> timeField(std::uint16_t tag, std::string_view text, ByteOrder order) {
    ByteWriter writer(order);
    for (int i = 0; i < 3; ++i) {
        const auto colon = std::min(text.find(':'), text.size());
        if (colon == 0) return std::nullopt;
        writeRatio(writer, Value(text.substr(0, colon)).doubleValue());
        text.remove_prefix(std::min(colon + 1, text.size()));
    }
    return TiffField{tag, TiffType::rational, 3, writer.take()};
}

std::optional<TiffField> numbersField(TiffKind kind, std::uint16_t tag, const Value& value, ByteOrder order) {
    const Array numbers = value.isArray() ? value.array() : Array{value};
    const TiffType type = numberType(kind, tag);
    ByteWriter writer(order);
    for (const Value& number : numbers) {
        if (!number.isNumber() && !number.isString()) return std::nullopt;
        if (type == TiffType::rational || type == TiffType::signedRational)
            writeRatio(writer, number.doubleValue());
        else
            writer.writeSized(static_cast<std::uint64_t>(number.integerValue()), sizeOf(type));
    }
    if (numbers.empty()) return std::nullopt;
    return TiffField{tag, type, numbers.size(), writer.take()};
}

/// [2, 3, 1] is "0231", [1, 0] is "0100".
TiffField versionField(std::uint16_t tag, const Array& digits) {
    std::string text = "0";
    for (const Value& digit : digits) text += std::to_string(std::clamp<std::int64_t>(digit.integerValue(), 0, 9));
    text.resize(4, '0');
    return {tag, TiffType::undefined, 4, copyOf(asBytes(text))};
}

std::optional<TiffField> fieldOf(TiffKind kind, const TagRule& rule, const Value& value, ByteOrder order) {
    if (value.isString() && value.string().empty()) return std::nullopt;
    switch (rule.form) {
        case TagForm::text:
        case TagForm::dateStamp:
            return value.isArray() || value.isDictionary() ? std::nullopt
                                                           : std::optional(textField(rule.tag, value.description()));
        case TagForm::comment:
            return commentField(rule.tag, value.description(), order);
        case TagForm::degrees:
            return degreesField(rule.tag, value.doubleValue(), order);
        case TagForm::timeOfDay:
            return timeField(rule.tag, value.string(), order);
        case TagForm::version:
            return versionField(rule.tag, value.array());
        case TagForm::flagByte:
            return TiffField{rule.tag, TiffType::undefined, 1, {static_cast<std::byte>(value.integerValue())}};
        default:
            return numbersField(kind, rule.tag, value, order);
    }
}

struct Section {
    std::string_view dictionary;
    TiffKind kind;
    std::span<const TagRule> rules;
};

std::array<Section, 3> sections() {
    return {Section{kCGImagePropertyTIFFDictionary, TiffKind::first, tiffTags()},
            Section{kCGImagePropertyExifDictionary, TiffKind::exif, exifTags()},
            Section{kCGImagePropertyGPSDictionary, TiffKind::gps, gpsTags()}};
}

template <typename Visit>
void forEachNamed(const Dictionary& values, const Visit& visit) {
    for (const Section& section : sections())
        for (const Dictionary::Entry& entry : values[section.dictionary].dictionary()) {
            const auto rule = std::ranges::find(section.rules, entry.key(), &TagRule::name);
            if (rule != section.rules.end()) visit(section.kind, *rule, entry.value);
        }
}

}  // namespace

TiffType numberType(TiffKind kind, std::uint16_t tag) noexcept {
    if (kind == TiffKind::gps) {
        if (tag == 0x0000 || tag == 0x0005) return TiffType::byte;
        return tag == 0x001E ? TiffType::shortInteger : TiffType::rational;
    }
    if (tag == 0x9101) return TiffType::undefined;  // ComponentsConfiguration: four bytes.
    if (std::ranges::find(kRationals, tag) != kRationals.end()) return TiffType::rational;
    if (std::ranges::find(kSignedRationals, tag) != kSignedRationals.end()) return TiffType::signedRational;
    if (std::ranges::find(kLongs, tag) != kLongs.end()) return TiffType::longInteger;
    return TiffType::shortInteger;
}

/// By continued fractions.
Ratio ratioOf(double value) noexcept {
    constexpr double largest = 2147483647.0;
    if (!std::isfinite(value)) return {0, 1};
    const double sign = value < 0 ? -1 : 1;
    double rest = std::min(std::abs(value), largest);
    const double target = rest;
    double n0 = 0, d0 = 1, n1 = 1, d1 = 0;
    for (int step = 0; step < 24; ++step) {
        const double whole = std::floor(rest);
        const double n2 = whole * n1 + n0;
        const double d2 = whole * d1 + d0;
        if (n2 > largest || d2 > largest) break;
        n0 = n1, d0 = d1, n1 = n2, d1 = d2;
        if (rest - whole < 1e-9 || std::abs(n1 / d1 - target) <= target * 1e-12) break;
        rest = 1 / (rest - whole);
    }
    return {static_cast<std::int64_t>(sign * n1), static_cast<std::int64_t>(d1 == 0 ? 1 : d1)};
}

TiffField shortField(std::uint16_t tag, std::uint16_t value, ByteOrder order) {
    return {tag, TiffType::shortInteger, 1, ByteWriter(order).write(value).take()};
}

std::vector<std::pair<TiffKind, TiffField>> exifFields(const Dictionary& values, ByteOrder order) {
    std::vector<std::pair<TiffKind, TiffField>> fields;
    forEachNamed(values, [&](TiffKind kind, const TagRule& rule, const Value& value) {
        if (auto field = fieldOf(kind, rule, value, order)) fields.emplace_back(kind, std::move(*field));
    });
    return fields;
}

std::vector<std::pair<TiffKind, std::uint16_t>> namedTags(const Dictionary& values) {
    std::vector<std::pair<TiffKind, std::uint16_t>> tags;
    forEachNamed(values, [&](TiffKind kind, const TagRule& rule, const Value&) { tags.emplace_back(kind, rule.tag); });
    return tags;
}

}  // namespace tessaly::imageio
