#include "linux/imageio/blocks/ExifValues.h"

#include <iconv.h>

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstdlib>

#include "linux/imageio/Text.h"

namespace tessaly::imageio {
namespace {

constexpr std::uint64_t kMaximumText = 256 * 1024;
constexpr std::uint64_t kMaximumElements = 64;

Value finite(double value) { return std::isfinite(value) ? Value(value) : Value(); }

template <class Signed, class Unsigned>
Value ratio(const std::byte* at, ByteOrder order) {
    const auto numerator = std::bit_cast<Signed>(loadInteger<Unsigned>(at, order));
    const auto denominator = std::bit_cast<Signed>(loadInteger<Unsigned>(at + sizeof(Unsigned), order));
    if (denominator == 0) return {};
    return finite(static_cast<double>(numerator) / static_cast<double>(denominator));
}

template <class Signed, class Unsigned>
Value integer(const std::byte* at, ByteOrder order) {
    return static_cast<std::int64_t>(std::bit_cast<Signed>(loadInteger<Unsigned>(at, order)));
}

Value numberAt(TiffType type, const std::byte* at, ByteOrder order) {
    switch (type) {
        case TiffType::byte:
        case TiffType::undefined:
            return integer<std::uint8_t, std::uint8_t>(at, order);
        case TiffType::signedByte:
            return integer<std::int8_t, std::uint8_t>(at, order);
        case TiffType::shortInteger:
            return integer<std::uint16_t, std::uint16_t>(at, order);
        case TiffType::signedShort:
            return integer<std::int16_t, std::uint16_t>(at, order);
        case TiffType::longInteger:
        case TiffType::directory:
            return integer<std::uint32_t, std::uint32_t>(at, order);
        case TiffType::signedLong:
            return integer<std::int32_t, std::uint32_t>(at, order);
        case TiffType::long8:
        case TiffType::directory8:
        case TiffType::signedLong8:
            return integer<std::int64_t, std::uint64_t>(at, order);
        case TiffType::rational:
            return ratio<std::uint32_t, std::uint32_t>(at, order);
        case TiffType::signedRational:
            return ratio<std::int32_t, std::uint32_t>(at, order);
        case TiffType::singleReal:
            return finite(std::bit_cast<float>(loadInteger<std::uint32_t>(at, order)));
        case TiffType::doubleReal:
            return finite(std::bit_cast<double>(loadInteger<std::uint64_t>(at, order)));
        default:
            return {};
    }
}

bool isTextType(TiffType type) {
    return type == TiffType::ascii || type == TiffType::byte || type == TiffType::undefined ||
           type == TiffType::signedByte;
}

Bytes textBytes(TiffContext& tiff, const TiffEntry& entry) {
    const std::uint64_t length = entry.byteLength();
    if (length > kMaximumText) return tiff.source.bytesUpTo(entry.position, kMaximumText);
    return entry.bytes(tiff).value_or(Bytes{});
}

Array allNumbers(TiffContext& tiff, const TiffEntry& entry) {
    std::vector<Value> values;
    const std::uint32_t size = sizeOf(entry.type);
    const std::uint64_t count = std::min(entry.count, kMaximumElements);
    const Bytes bytes = tiff.source.bytesUpTo(entry.position, count * size);
    if (size == 0 || bytes.empty()) return {};
    values.reserve(bytes.size() / size);
    for (std::size_t at = 0; at + size <= bytes.size(); at += size) {
        Value value = numberAt(entry.type, bytes.data() + at, tiff.order);
        values.push_back(value.isNull() ? Value(0) : std::move(value));
    }
    return Array(std::move(values));
}

/// "52,00000,50,00000,34,01180": three numbers from a locale whose decimal point is a comma, between commas.
bool hasDecimalCommas(std::string_view text) {
    return std::ranges::count(text, ',') == 5 && text.find_first_not_of("0123456789, ") == std::string_view::npos;
}

/// Numbers written as text, in the order in which they stand: "51,30,12.5" or "51 deg 30'".
std::array<std::optional<double>, 3> numbersIn(std::string_view written) {
    std::string text(written);
    if (hasDecimalCommas(text))
        for (std::size_t at = 0, count = 0; at < text.size(); ++at)
            if (text[at] == ',' && count++ % 2 == 0) text[at] = '.';
    std::array<std::optional<double>, 3> found;
    std::size_t count = 0;
    const char* at = text.data();
    const char* const end = at + text.size();
    while (at < end && count < found.size()) {
        double number = 0;
        const auto result = std::from_chars(at, end, number, std::chars_format::fixed);
        if (result.ec == std::errc{} && std::isfinite(number)) {
            found[count++] = number;
            at = result.ptr;
        } else {
            ++at;
        }
    }
    return found;
}

/// Up to three numbers: hours or degrees, minutes, seconds.
std::array<std::optional<double>, 3> sexagesimal(TiffContext& tiff, const TiffEntry& entry) {
    if (entry.type == TiffType::ascii) return numbersIn(trimmed(asText(textBytes(tiff, entry))));
    std::array<std::optional<double>, 3> parts;
    for (std::uint64_t i = 0; i < std::min<std::uint64_t>(entry.count, parts.size()); ++i)
        if (const Value value = tiffNumber(tiff, entry, i); value.isNumber()) parts[i] = value.doubleValue();
    return parts;
}

Value degreesValue(TiffContext& tiff, const TiffEntry& entry) {
    const auto parts = sexagesimal(tiff, entry);
    if (!parts[0]) return {};
    const double value = *parts[0] + parts[1].value_or(0) / 60 + parts[2].value_or(0) / 3600;
    return finite(std::fabs(value));
}

void appendTwoDigits(std::string& text, std::int64_t number) {
    if (number < 10) text += '0';
    text += std::to_string(number);
}

Value timeValue(TiffContext& tiff, const TiffEntry& entry) {
    const auto parts = sexagesimal(tiff, entry);
    if (!parts[0]) return {};
    // Some writers put the whole time into one part as fractional hours: carry it down.
    double seconds = *parts[0] * 3600 + parts[1].value_or(0) * 60 + parts[2].value_or(0);
    if (seconds < 0 || seconds > 1e6) return {};
    const auto micros = static_cast<std::int64_t>(std::llround(seconds * 1e6));
    std::string text;
    appendTwoDigits(text, micros / 3'600'000'000);
    text += ':';
    appendTwoDigits(text, micros / 60'000'000 % 60);
    text += ':';
    appendTwoDigits(text, micros / 1'000'000 % 60);
    if (const auto rest = micros % 1'000'000; rest != 0) {
        std::string digits = std::to_string(1'000'000 + rest);
        digits[0] = '.';
        digits.erase(digits.find_last_not_of('0') + 1);
        text += digits;
    }
    return text;
}

Value dateValue(Bytes bytes) {
    std::string text(trimmed(asText(bytes)));
    if (text.size() == 8 && text.find_first_not_of("0123456789") == std::string::npos) {
        text.insert(6, ":").insert(4, ":");
    } else {
        for (std::size_t i = 0; i < text.size() && i < 10; ++i)
            if (text[i] == '-' || text[i] == '/' || text[i] == '.') text[i] = ':';
    }
    return textValue(text);
}

Value versionValue(Bytes bytes) {
    std::array<Value, 4> digits;
    std::size_t count = 0;
    for (std::size_t i = 0; i < std::min(bytes.size(), digits.size()); ++i) {
        const auto value = std::to_integer<int>(bytes[i]);
        const int digit = value >= '0' && value <= '9' ? value - '0' : value;
        if (digit > 9) return {};
        // "0231" is 2.31: the first digit counts only when it is one.
        if (i > 0 || digit != 0 || bytes.size() < digits.size()) digits[count++] = digit;
    }
    while (count > 2 && digits[count - 1] == Value(0)) --count;
    return count == 0 ? Value() : Value(Array(std::vector<Value>(digits.begin(), digits.begin() + count)));
}

/// UTF-16 without a byte order mark: the order in which more of the high halves are zero.
ByteOrder guessedOrder(Bytes text, ByteOrder fallback) {
    std::size_t zeroFirst = 0;
    std::size_t zeroSecond = 0;
    for (std::size_t at = 0; at + 1 < text.size(); at += 2) {
        if (text[at] == std::byte{0} && text[at + 1] != std::byte{0}) ++zeroFirst;
        if (text[at + 1] == std::byte{0} && text[at] != std::byte{0}) ++zeroSecond;
    }
    if (zeroFirst == zeroSecond) return fallback;
    return zeroFirst > zeroSecond ? ByteOrder::big : ByteOrder::little;
}

std::string utf8FromJis(std::string_view text) {
    const iconv_t converter = ::iconv_open("UTF-8", "ISO-2022-JP");
    if (converter == reinterpret_cast<iconv_t>(-1)) return {};
    std::string input(text);
    std::string output(text.size() * 4, '\0');
    char* from = input.data();
    char* to = output.data();
    std::size_t fromLeft = input.size();
    std::size_t toLeft = output.size();
    ::iconv(converter, &from, &fromLeft, &to, &toLeft);
    ::iconv_close(converter);
    output.resize(output.size() - toLeft);
    return output;
}

Value textOf(TiffContext& tiff, const TiffEntry& entry) {
    if (isTextType(entry.type)) return textValue(textBytes(tiff, entry));
    if (entry.type == TiffType::shortInteger && entry.count > 8) return {};
    std::string joined;
    for (const Value& number : allNumbers(tiff, entry)) joined += (joined.empty() ? "" : " ") + number.description();
    return textValue(joined);
}

Value numberOf(TiffContext& tiff, const TiffEntry& entry) {
    if (entry.type != TiffType::ascii) return tiffNumber(tiff, entry);
    const auto parsed = numbersIn(trimmed(asText(textBytes(tiff, entry))))[0];
    if (!parsed) return {};
    const std::int64_t whole = Value(*parsed).integerValue();
    return static_cast<double>(whole) == *parsed ? Value(whole) : Value(*parsed);
}

}  // namespace

Value tiffNumber(TiffContext& tiff, const TiffEntry& entry, std::uint64_t index) {
    const std::uint32_t size = sizeOf(entry.type);
    if (index >= entry.count || size == 0 || index > kMaximumElements) return {};
    const auto bytes = tiff.source.bytes(entry.position + index * size, size);
    return bytes ? numberAt(entry.type, bytes->data(), tiff.order) : Value();
}

Value commentValue(Bytes bytes, ByteOrder order) {
    if (bytes.size() < 8) return textValue(bytes);
    const std::string_view code = asText(bytes.first(8));
    const Bytes body = bytes.subspan(8);
    if (code.starts_with("UNICODE")) return textValue(utf8FromUtf16(body, guessedOrder(body, order)));
    if (code.starts_with("JIS")) return textValue(utf8FromJis(trimmed(asText(body))));
    if (code.starts_with("ASCII") || code == std::string_view("\0\0\0\0\0\0\0\0", 8)) {
        // Cameras blank the field out with NULs or blanks in front.
        std::string_view text = asText(body);
        text.remove_prefix(std::min(text.find_first_not_of('\0'), text.size()));
        return textValue(text);
    }
    return textValue(bytes);
}

Value tiffValue(TiffContext& tiff, const TiffEntry& entry, TagForm form) {
    if (entry.count == 0) return {};
    switch (form) {
        case TagForm::text:
            return textOf(tiff, entry);
        case TagForm::number:
            return numberOf(tiff, entry);
        case TagForm::numbers: {
            Array values = allNumbers(tiff, entry);
            return values.empty() ? Value() : Value(std::move(values));
        }
        case TagForm::numberOrAll:
            return entry.count == 1 ? numberOf(tiff, entry) : Value(allNumbers(tiff, entry));
        case TagForm::flagByte:
            return numberOf(tiff, entry);
        case TagForm::version:
            return versionValue(textBytes(tiff, entry));
        case TagForm::comment:
            return commentValue(textBytes(tiff, entry), tiff.order);
        case TagForm::utf16:
            return textValue(utf8FromUtf16(textBytes(tiff, entry), ByteOrder::little));
        case TagForm::degrees:
            return degreesValue(tiff, entry);
        case TagForm::timeOfDay:
            return timeValue(tiff, entry);
        case TagForm::dateStamp:
            return dateValue(textBytes(tiff, entry));
    }
    return {};
}

}  // namespace tessaly::imageio
