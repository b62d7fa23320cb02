#include "EditForms.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <cmath>

#include "platform/Foundation/Format.h"
#include "platform/ImageIO/CGImageProperties.h"

namespace tessaly::cli {
namespace {

bool isDigit(char c) { return c >= '0' && c <= '9'; }

std::optional<double> plainNumberOf(std::string_view text) {
    double value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc{} || end != text.data() + text.size() || !std::isfinite(value)) return std::nullopt;
    return value;
}

/// A cursor over a date: what does not fit leaves it where it was.
class DateReader {
public:
    explicit DateReader(std::string_view text) : rest_(text) {}

    [[nodiscard]] bool atEnd() const { return rest_.empty(); }
    bool skipOneOf(std::string_view marks) {
        if (rest_.empty() || marks.find(rest_.front()) == std::string_view::npos) return false;
        rest_.remove_prefix(1);
        return true;
    }
    std::optional<int> number(std::size_t fewest, std::size_t most) {
        std::size_t count = 0;
        while (count < most && count < rest_.size() && isDigit(rest_[count])) ++count;
        if (count < fewest) return std::nullopt;
        int value = 0;
        std::from_chars(rest_.data(), rest_.data() + count, value);
        rest_.remove_prefix(count);
        return value;
    }
    std::string digits() {
        const auto end = std::ranges::find_if_not(rest_, isDigit);
        std::string found(rest_.begin(), end);
        rest_.remove_prefix(found.size());
        return found;
    }
    void skipBlanks() { rest_ = trimmed(rest_); }
    [[nodiscard]] std::string_view rest() const { return rest_; }

private:
    std::string_view rest_;
};

bool isDay(int year, int month, int day) {
    static constexpr std::array<int, 12> days{31, 29, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    if (year < 1 || month < 1 || month > 12 || day < 1) return false;
    const bool isLeap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
    return day <= days[static_cast<std::size_t>(month) - 1] && (month != 2 || day != 29 || isLeap);
}

struct Clock {
    int hour = 0, minute = 0, second = 0;
    std::string subsecond;
};

std::optional<Clock> clockOf(DateReader& reader) {
    Clock clock;
    const auto hour = reader.number(1, 2);
    if (!hour || *hour > 23 || !reader.skipOneOf(":")) return std::nullopt;
    const auto minute = reader.number(2, 2);
    if (!minute || *minute > 59) return std::nullopt;
    clock.hour = *hour;
    clock.minute = *minute;
    if (!reader.skipOneOf(":")) return clock;
    const auto second = reader.number(2, 2);
    if (!second || *second > 59) return std::nullopt;
    clock.second = *second;
    if (!reader.skipOneOf(".,")) return clock;
    clock.subsecond = reader.digits();
    if (clock.subsecond.empty() || clock.subsecond.size() > 9) return std::nullopt;
    return clock;
}

/// What may stand around the number of a property; its example is one that shows it.
struct Unit {
    std::string_view property;
    std::string_view before;
    std::string_view after;
    std::string_view example;
};

constexpr std::array kUnits{
    Unit{"ExposureTime", "", "s", "1/125 or 2.5 s"},
    Unit{"FNumber", "f/", "", "5.6 or f/5.6"},
    Unit{"FocalLength", "", "mm", "35 or 35 mm"},
    Unit{"FocalLenIn35mmFilm", "", "mm", "52 or 52 mm"},
    Unit{"ExposureBiasValue", "", "EV", "-1/3 or 0.7 EV"},
    Unit{"ISOSpeedRatings", "ISO", "", "400 or ISO 400"},
    Unit{"ISOSpeed", "ISO", "", "400 or ISO 400"},
    Unit{"StandardOutputSensitivity", "ISO", "", "400 or ISO 400"},
    Unit{"RecommendedExposureIndex", "ISO", "", "400 or ISO 400"},
    Unit{"SubjectDistance", "", "m", "2.5 or 2.5 m"},
    Unit{"AmbientTemperature", "", "°C", "-3.5 or 21 °C"},
    Unit{"Humidity", "", "%", "60 or 60 %"},
    Unit{"Pressure", "", "hPa", "1013 or 1013 hPa"},
    Unit{"WaterDepth", "", "m", "12 or 12 m"},
    Unit{"CameraElevationAngle", "", "°", "-12.5 or 30°"},
    Unit{"Altitude", "", "m", "120 or 120 m"},
    Unit{"ImgDirection", "", "°", "270 or 270°"},
    Unit{"Track", "", "°", "270 or 270°"},
    Unit{"LensSpecification", "", "", "24,70,2.8,4"},
    Unit{"GPSVersion", "", "", "2,3,0,0"},
};

const Unit* unitOf(std::string_view property) {
    const auto found = std::ranges::find(kUnits, property, &Unit::property);
    return found == kUnits.end() ? nullptr : &*found;
}

std::string_view withoutUnit(std::string_view property, std::string_view text) {
    const Unit* unit = unitOf(property);
    if (!unit) return text;
    if (!unit->before.empty() && equalsWithoutCase(text.substr(0, unit->before.size()), unit->before))
        return trimmed(text.substr(unit->before.size()));
    if (!unit->after.empty() && text.size() > unit->after.size() &&
        equalsWithoutCase(text.substr(text.size() - unit->after.size()), unit->after))
        return trimmed(text.substr(0, text.size() - unit->after.size()));
    return text;
}

std::optional<Value> singleOf(const WritableProperty& property, std::string_view text) {
    const auto number = numberOf(text);
    if (!number || std::abs(*number) > static_cast<double>(property.largest)) return std::nullopt;
    if (*number < 0 && property.kind != WritableKind::signedFraction) return std::nullopt;
    if (property.kind != WritableKind::whole) return *number;
    if (text.find('/') != std::string_view::npos || *number != std::floor(*number)) return std::nullopt;
    return static_cast<std::int64_t>(*number);
}

std::optional<Value> numbersOf(const WritableProperty& property, std::string_view text) {
    text = withoutUnit(property.name, text);
    if (property.most == 1) return singleOf(property, text);
    Array numbers;
    while (!text.empty()) {
        const auto comma = std::min(text.find(','), text.size());
        const auto one = singleOf(property, trimmed(text.substr(0, comma)));
        if (!one) return std::nullopt;
        numbers.append(*one);
        text.remove_prefix(comma);
        if (text == ",") return std::nullopt;
        text.remove_prefix(std::min<std::size_t>(1, text.size()));
    }
    if (numbers.size() < property.least || numbers.size() > property.most) return std::nullopt;
    return numbers;
}

/// Texts of which Exif allows few (Exif 2.32, 4.6.6).
struct Choice {
    std::string_view property;
    std::string_view letters;
};
constexpr std::array kChoices{
    Choice{"LatitudeRef", "NS"},      Choice{"LongitudeRef", "EW"},    Choice{"DestLatitudeRef", "NS"},
    Choice{"DestLongitudeRef", "EW"}, Choice{"SpeedRef", "KMN"},       Choice{"DestDistanceRef", "KMN"},
    Choice{"TrackRef", "TM"},         Choice{"ImgDirectionRef", "TM"}, Choice{"DestBearingRef", "TM"},
    Choice{"Status", "AV"},           Choice{"MeasureMode", "23"},
};

std::string_view choicesOf(const WritableProperty& property) {
    if (property.dictionary != kCGImagePropertyGPSDictionary) return {};
    const auto found = std::ranges::find(kChoices, property.name, &Choice::property);
    return found == kChoices.end() ? std::string_view() : found->letters;
}

std::optional<Value> textOf(const WritableProperty& property, std::string_view text) {
    const std::string_view letters = choicesOf(property);
    if (letters.empty()) return text;
    const std::string_view one = trimmed(text);
    if (one.size() != 1) return std::nullopt;
    const char letter = static_cast<char>(std::toupper(static_cast<unsigned char>(one.front())));
    return letters.find(letter) == std::string_view::npos ? std::nullopt : std::optional<Value>(std::string(1, letter));
}

bool isIptc(const WritableProperty& property) { return property.dictionary == kCGImagePropertyIPTCDictionary; }

std::optional<Value> dayOf(const WritableProperty& property, std::string_view text) {
    std::string dashed(text);
    if (text.size() == 8 && std::ranges::all_of(text, isDigit))
        dashed = formatted("%@-%@-%@", text.substr(0, 4), text.substr(4, 2), text.substr(6));
    const auto date = dateOf(dashed);
    if (!date || dashed.find_first_of(" T") != std::string::npos) return std::nullopt;
    std::string day = date->local.substr(0, 10);
    if (isIptc(property)) std::erase(day, ':');
    return day;
}

std::optional<Value> timeOf(const WritableProperty& property, std::string_view text) {
    const auto date = dateOf("2000-01-01 " + std::string(text));
    if (!date || (!isIptc(property) && !date->zone.empty())) return std::nullopt;
    std::string time = date->local.substr(11);
    if (!isIptc(property)) return date->subsecond.empty() ? time : time + "." + date->subsecond;
    time += date->zone;
    std::erase(time, ':');
    return time;
}

std::optional<Value> versionOf(std::string_view text) {
    if (text.size() != 4 || text.front() != '0' || !std::ranges::all_of(text, isDigit)) return std::nullopt;
    Array digits;
    for (const char digit : text.substr(1)) digits.append(static_cast<std::int64_t>(digit - '0'));
    return digits;
}

Array textsOf(std::string_view text) {
    Array texts;
    while (!text.empty()) {
        const auto comma = std::min(text.find(','), text.size());
        if (const std::string_view one = trimmed(text.substr(0, comma)); !one.empty()) texts.append(one);
        text.remove_prefix(std::min(comma + 1, text.size()));
    }
    return texts;
}

}  // namespace

std::string_view trimmed(std::string_view text) noexcept {
    constexpr std::string_view blank = " \t";
    const auto first = text.find_first_not_of(blank);
    return first == std::string_view::npos ? std::string_view()
                                           : text.substr(first, text.find_last_not_of(blank) + 1 - first);
}

bool equalsWithoutCase(std::string_view a, std::string_view b) noexcept {
    return std::ranges::equal(a, b,
                              [](unsigned char x, unsigned char y) { return std::tolower(x) == std::tolower(y); });
}

std::optional<double> numberOf(std::string_view text) {
    text = trimmed(text);
    if (text.starts_with('+') && !text.starts_with("+-")) text.remove_prefix(1);
    const auto slash = text.find('/');
    if (slash == std::string_view::npos) return plainNumberOf(text);
    const auto whole = [](std::string_view part) {
        const auto value = plainNumberOf(part);
        return value && *value == std::floor(*value) ? value : std::nullopt;
    };
    const auto numerator = whole(trimmed(text.substr(0, slash)));
    const auto denominator = whole(trimmed(text.substr(slash + 1)));
    if (!numerator || !denominator || *denominator <= 0) return std::nullopt;
    return *numerator / *denominator;
}

std::optional<std::string> zoneOf(std::string_view text) {
    constexpr int farthest = 14;  // Hours, in the Pacific.
    if (text == "Z" || text == "z") return "+00:00";
    DateReader reader(text);
    if (!reader.skipOneOf("+-")) return std::nullopt;
    const auto hours = reader.number(2, 2);
    reader.skipOneOf(":");
    const auto minutes = reader.atEnd() && text.size() == 3 ? std::optional(0) : reader.number(2, 2);
    if (!hours || !minutes || !reader.atEnd() || *hours > farthest || *minutes > 59) return std::nullopt;
    return formatted("%@%02d:%02d", text.starts_with('-') ? "-" : "+", *hours, *minutes);
}

std::optional<EditDate> dateOf(std::string_view text) {
    DateReader reader(trimmed(text));
    constexpr std::string_view between = "-:/.";
    const auto year = reader.number(4, 4);
    if (!year || !reader.skipOneOf(between)) return std::nullopt;
    const auto month = reader.number(1, 2);
    if (!month || !reader.skipOneOf(between)) return std::nullopt;
    const auto day = reader.number(1, 2);
    if (!day || !isDay(*year, *month, *day)) return std::nullopt;
    Clock clock;
    EditDate date;
    if (!reader.atEnd()) {
        if (!reader.skipOneOf(" T")) return std::nullopt;
        const auto told = clockOf(reader);
        if (!told) return std::nullopt;
        clock = *told;
        reader.skipBlanks();
        const auto zone = reader.atEnd() ? std::optional<std::string>("") : zoneOf(reader.rest());
        if (!zone) return std::nullopt;
        date.zone = *zone;
    }
    date.local =
        formatted("%04d:%02d:%02d %02d:%02d:%02d", *year, *month, *day, clock.hour, clock.minute, clock.second);
    date.subsecond = clock.subsecond;
    return date;
}

std::optional<EditDegrees> degreesOf(std::string_view text, std::string_view letters) {
    text = trimmed(text);
    if (text.empty()) return std::nullopt;
    EditDegrees degrees;
    const char last = static_cast<char>(std::toupper(static_cast<unsigned char>(text.back())));
    if (letters.find(last) != std::string_view::npos) {
        degrees.reference = last;
        text = trimmed(text.substr(0, text.size() - 1));
    }
    static constexpr std::array<std::string_view, 3> marks{"°", "'", "\""};
    double unit = 1, sum = 0;
    if (text.find(marks[0]) == std::string_view::npos) {
        const auto number = numberOf(text);
        if (!number) return std::nullopt;
        sum = *number;
        text = {};
    }
    for (std::size_t i = 0; i < marks.size() && !text.empty(); ++i, unit *= 60) {
        const auto end = text.find(marks.at(i));
        if (end == std::string_view::npos) return std::nullopt;
        const auto part = plainNumberOf(trimmed(text.substr(0, end)));
        if (!part || (i > 0 && (*part < 0 || *part >= 60 || sum < 0))) return std::nullopt;
        sum += *part / unit;
        text = trimmed(text.substr(end + marks.at(i).size()));
    }
    if (!text.empty() || (sum < 0 && degrees.reference != '\0')) return std::nullopt;
    if (sum < 0) degrees.reference = letters[1];
    degrees.value = std::abs(sum);
    if (degrees.value > (letters.starts_with('N') ? 90 : 180)) return std::nullopt;
    return degrees;
}

std::optional<Value> valueOf(const WritableProperty& property, std::string_view text) {
    const auto asValue = [](std::optional<std::string> made) {
        return made ? std::optional<Value>(std::move(*made)) : std::nullopt;
    };
    switch (property.kind) {
        case WritableKind::text:
            return textOf(property, text);
        case WritableKind::texts:
            return textsOf(text);
        case WritableKind::whole:
        case WritableKind::fraction:
        case WritableKind::signedFraction:
            return numbersOf(property, trimmed(text));
        case WritableKind::zone:
            return asValue(zoneOf(trimmed(text)));
        case WritableKind::digits:
            return !text.empty() && std::ranges::all_of(text, isDigit) ? std::optional<Value>(text) : std::nullopt;
        case WritableKind::day:
            return dayOf(property, trimmed(text));
        case WritableKind::time:
            return timeOf(property, trimmed(text));
        case WritableKind::version:
            return versionOf(trimmed(text));
        case WritableKind::date:
        case WritableKind::degrees:
            break;  // They say more than one property holds.
    }
    return std::nullopt;
}

std::string formOf(const WritableProperty& property) {
    const Unit* unit = unitOf(property.name);
    const auto numbers = [&](std::string_view what, std::string_view example) {
        return std::string(what) + " such as " + std::string(unit ? unit->example : example);
    };
    switch (property.kind) {
        case WritableKind::whole:
            if (property.least > 1) return numbers("a list of whole numbers", property.least == 2 ? "1,2" : "1,2,3,4");
            return numbers("a whole number from 0 to " + std::to_string(property.largest), "1");
        case WritableKind::fraction:
            if (property.least > 1)
                return numbers("a list of numbers", property.least == 2 ? "1/2,3/4" : "1,2,3,4,5,6");
            return numbers("a number from 0 on", "5.6 or 1/125");
        case WritableKind::signedFraction:
            return numbers("a number", "-1/3");
        case WritableKind::degrees:
            return property.name.ends_with("Latitude") ? "degrees such as 53.14, -8.5 or 8.5 S"
                                                       : "degrees such as 53.14, -8.21 or 8.21 W";
        case WritableKind::date:
            return "a date such as 2024-05-01 12:30:00 or 2024-05-01 12:30:00.25+02:00";
        case WritableKind::day:
            return "a day such as 2024-05-01";
        case WritableKind::time:
            return isIptc(property) ? "a time such as 12:30:00+02:00" : "a time such as 12:30:00";
        case WritableKind::zone:
            return "a zone such as +02:00 or Z";
        case WritableKind::digits:
            return "digits such as 25";
        case WritableKind::version:
            return "four digits such as 0232";
        case WritableKind::text:
        case WritableKind::texts:
            break;
    }
    std::string form = "one of";
    for (const char letter : choicesOf(property)) form.append(" ").push_back(letter);
    return form;
}

}  // namespace tessaly::cli
