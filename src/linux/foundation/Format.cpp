#include "platform/Foundation/Format.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdlib>

namespace tessaly {
namespace {

constexpr int kMaximumWidth = 256;  // A translation may not ask for a gigabyte of blanks.

struct Specifier {
    int position = 0;  ///< Of "%2$@", counted from 1; 0 is the next argument.
    bool left = false, plus = false, blank = false, alternate = false, zero = false;
    int width = 0;
    int precision = -1;
    char conversion = 0;
    std::size_t length = 0;  ///< Characters, the % included.
};

int numberAt(std::string_view text, std::size_t& at) {
    int number = 0;
    while (at < text.size() && text[at] >= '0' && text[at] <= '9')
        number = std::min(number * 10 + (text[at++] - '0'), 100000);
    return number;
}

Specifier parse(std::string_view text) {
    Specifier specifier;
    std::size_t at = 1;
    const std::size_t start = at;
    if (const int number = numberAt(text, at); number > 0 && at < text.size() && text[at] == '$') {
        specifier.position = number;
        ++at;
    } else {
        at = start;
    }
    for (; at < text.size(); ++at) {
        if (text[at] == '-')
            specifier.left = true;
        else if (text[at] == '+')
            specifier.plus = true;
        else if (text[at] == ' ')
            specifier.blank = true;
        else if (text[at] == '#')
            specifier.alternate = true;
        else if (text[at] == '0')
            specifier.zero = true;
        else
            break;
    }
    specifier.width = std::min(numberAt(text, at), kMaximumWidth);
    if (at < text.size() && text[at] == '.') specifier.precision = std::min(numberAt(text, ++at), 64);
    while (at < text.size() && (text[at] == 'l' || text[at] == 'h' || text[at] == 'q' || text[at] == 'z')) ++at;
    if (at < text.size()) specifier.conversion = text[at++];
    specifier.length = at;
    return specifier;
}

std::string padded(const Specifier& specifier, const std::string& sign, const std::string& digits) {
    const auto width = static_cast<std::size_t>(specifier.width);
    const std::size_t length = sign.size() + digits.size();
    if (length >= width) return sign + digits;
    const std::string fill(width - length, specifier.zero && !specifier.left ? '0' : ' ');
    if (specifier.left) return sign + digits + fill;
    return specifier.zero ? sign + fill + digits : fill + sign + digits;
}

std::string signOf(const Specifier& specifier, bool negative) {
    if (negative) return "-";
    if (specifier.plus) return "+";
    return specifier.blank ? " " : "";
}

std::string integerText(const Specifier& specifier, const FormatArgument& argument) {
    const std::int64_t number = argument.integer();
    const auto magnitude = number < 0 ? 0 - static_cast<std::uint64_t>(number) : static_cast<std::uint64_t>(number);
    char buffer[32];
    const bool hexadecimal = specifier.conversion == 'x' || specifier.conversion == 'X';
    const std::uint64_t shown = hexadecimal ? static_cast<std::uint64_t>(number) : magnitude;
    std::string digits(buffer, std::to_chars(buffer, buffer + sizeof buffer, shown, hexadecimal ? 16 : 10).ptr);
    if (specifier.conversion == 'X')
        for (char& digit : digits)
            if (digit >= 'a') digit = static_cast<char>(digit - 'a' + 'A');
    return padded(specifier, hexadecimal ? "" : signOf(specifier, number < 0), digits);
}

std::string realText(const Specifier& specifier, const FormatArgument& argument) {
    const double number = argument.real();
    if (!std::isfinite(number)) return padded(specifier, "", std::isnan(number) ? "nan" : number < 0 ? "-inf" : "inf");
    const int precision = specifier.precision < 0 ? 6 : specifier.precision;
    char buffer[400];
    const auto form = specifier.conversion == 'e'   ? std::chars_format::scientific
                      : specifier.conversion == 'g' ? std::chars_format::general
                                                    : std::chars_format::fixed;
    const auto end = std::to_chars(buffer, buffer + sizeof buffer, std::fabs(number), form, precision).ptr;
    return padded(specifier, signOf(specifier, std::signbit(number)), std::string(buffer, end));
}

std::string argumentText(const Specifier& specifier, const FormatArgument& argument) {
    switch (specifier.conversion) {
        case 'd':
        case 'i':
        case 'u':
        case 'x':
        case 'X':
            return integerText(specifier, argument);
        case 'f':
        case 'e':
        case 'g':
            return realText(specifier, argument);
        default: {
            Specifier plain = specifier;
            plain.zero = false;
            return padded(plain, "", argument.text());
        }
    }
}

bool isKnown(char conversion) {
    return conversion != 0 && std::string_view("@sdiuxXfeg").find(conversion) != std::string_view::npos;
}

}  // namespace

FormatArgument::FormatArgument(const Value& value) {
    switch (value.kind()) {
        case Value::Kind::boolean:
        case Value::Kind::integer:
            state_ = value.integerValue();
            break;
        case Value::Kind::real:
            state_ = value.doubleValue();
            break;
        case Value::Kind::string:
            state_ = value.string();
            break;
        default:
            state_ = value.description();
    }
}

std::string FormatArgument::text() const {
    if (const auto* number = std::get_if<std::int64_t>(&state_)) return std::to_string(*number);
    if (const auto* number = std::get_if<std::uint64_t>(&state_)) return std::to_string(*number);
    if (const auto* number = std::get_if<double>(&state_)) return Value(*number).description();
    if (const auto* view = std::get_if<std::string_view>(&state_)) return std::string(*view);
    return std::get<std::string>(state_);
}

std::int64_t FormatArgument::integer() const {
    if (const auto* number = std::get_if<std::int64_t>(&state_)) return *number;
    if (const auto* number = std::get_if<std::uint64_t>(&state_)) return static_cast<std::int64_t>(*number);
    if (const auto* number = std::get_if<double>(&state_)) return Value(*number).integerValue();
    return Value(text()).integerValue();
}

double FormatArgument::real() const {
    if (const auto* number = std::get_if<std::int64_t>(&state_)) return static_cast<double>(*number);
    if (const auto* number = std::get_if<std::uint64_t>(&state_)) return static_cast<double>(*number);
    if (const auto* number = std::get_if<double>(&state_)) return *number;
    return Value(text()).doubleValue();
}

std::string format(std::string_view text, std::initializer_list<FormatArgument> arguments) {
    std::string result;
    result.reserve(text.size() + 16 * arguments.size());
    std::size_t next = 0;
    while (!text.empty()) {
        const auto percent = text.find('%');
        result += text.substr(0, percent);
        if (percent == std::string_view::npos) break;
        text.remove_prefix(percent);
        if (text.starts_with("%%")) {
            result += '%';
            text.remove_prefix(2);
            continue;
        }
        const Specifier specifier = parse(text);
        if (!isKnown(specifier.conversion)) {
            result += text.substr(0, specifier.length);
        } else {
            const std::size_t index =
                specifier.position > 0 ? static_cast<std::size_t>(specifier.position) - 1 : next++;
            if (index < arguments.size()) result += argumentText(specifier, arguments.begin()[index]);
        }
        text.remove_prefix(specifier.length);
    }
    return result;
}

}  // namespace tessaly
