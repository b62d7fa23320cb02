#include "EditValues.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <cmath>
#include <optional>
#include <vector>

#include "Suggestion.h"
#include "platform/Foundation/Format.h"
#include "platform/ImageIO/CGImageProperties.h"
#include "platform/ImageIO/WritableProperties.h"

namespace tessaly::cli {
namespace {

constexpr std::string_view kTiff = kCGImagePropertyTIFFDictionary;
constexpr std::string_view kExif = kCGImagePropertyExifDictionary;
constexpr std::string_view kGps = kCGImagePropertyGPSDictionary;
constexpr std::string_view kIptc = kCGImagePropertyIPTCDictionary;

void put(Dictionary& values, std::string_view dictionary, std::string_view name, Value value) {
    Dictionary inner = values[dictionary].dictionary();
    inner.set(name, std::move(value));
    values.set(dictionary, inner);
}

std::optional<double> numberOf(std::string_view text) {
    while (text.starts_with(' ')) text.remove_prefix(1);
    while (text.ends_with(' ')) text.remove_suffix(1);
    if (text.starts_with('+')) text.remove_prefix(1);
    double value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc{} || end != text.data() + text.size() || !std::isfinite(value)) return std::nullopt;
    return value;
}

/// "2024-05-01 12:30:00", with any separators and at least the day, as Exif writes it (Exif 2.32, 4.6.4, DateTime).
std::optional<std::string> exifDate(std::string_view text) {
    std::array<int, 6> parts{0, 0, 0, 0, 0, 0};
    std::size_t count = 0;
    for (std::size_t at = 0; at < text.size() && count < parts.size();) {
        if (std::isdigit(static_cast<unsigned char>(text[at])) == 0) {
            ++at;
            continue;
        }
        const auto [end, error] = std::from_chars(text.data() + at, text.data() + text.size(), parts[count]);
        if (error != std::errc{}) return std::nullopt;
        ++count;
        at = static_cast<std::size_t>(end - text.data());
    }
    static constexpr std::array<int, 12> days{31, 29, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    const auto& [year, month, day, hour, minute, second] = parts;
    if (count < 3 || year < 1 || year > 9999 || month < 1 || month > 12) return std::nullopt;
    const bool isLeap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
    if (day < 1 || day > days[static_cast<std::size_t>(month) - 1] || (month == 2 && day == 29 && !isLeap))
        return std::nullopt;
    if (hour > 23 || minute > 59 || second > 59) return std::nullopt;
    return formatted("%04ld:%02ld:%02ld %02ld:%02ld:%02ld", year, month, day, hour, minute, second);
}

Array textsOf(std::string_view text) {
    Array texts;
    while (!text.empty()) {
        const auto comma = std::min(text.find(','), text.size());
        std::string_view one = text.substr(0, comma);
        while (one.starts_with(' ')) one.remove_prefix(1);
        while (one.ends_with(' ')) one.remove_suffix(1);
        if (!one.empty()) texts.append(one);
        text.remove_prefix(std::min(comma + 1, text.size()));
    }
    return texts;
}

std::string putDate(std::string_view text, Dictionary& values) {
    const auto date = exifDate(text);
    if (!text.empty() && !date) return "'" + std::string(text) + "' is not a date such as 2024-05-01 12:30:00";
    put(values, kExif, "DateTimeOriginal", date.value_or(""));
    put(values, kExif, "DateTimeDigitized", date.value_or(""));
    return {};
}

std::string putCaption(std::string_view text, Dictionary& values) {
    put(values, kTiff, "ImageDescription", text);
    put(values, kIptc, "Caption/Abstract", text);
    return {};
}

std::string putTitle(std::string_view text, Dictionary& values) {
    put(values, kIptc, "ObjectName", text);
    return {};
}

std::string putKeywords(std::string_view text, Dictionary& values) {
    put(values, kIptc, "Keywords", text.empty() ? Value("") : Value(textsOf(text)));
    return {};
}

std::string putRating(std::string_view text, Dictionary& values) {
    const auto rating = numberOf(text);
    if (!text.empty() && (!rating || *rating < -1 || *rating > 5 || *rating != std::floor(*rating)))
        return "a rating is a whole number from 0 to 5, or -1 for rejected";
    put(values, kIptc, "StarRating", rating ? Value(static_cast<std::int64_t>(*rating)) : Value(""));
    return {};
}

std::string putArtist(std::string_view text, Dictionary& values) {
    put(values, kTiff, "Artist", text);
    put(values, kIptc, "Byline", text);
    return {};
}

std::string putCopyright(std::string_view text, Dictionary& values) {
    put(values, kTiff, "Copyright", text);
    put(values, kIptc, "CopyrightNotice", text);
    return {};
}

std::string putPlace(std::string_view text, Dictionary& values) {
    if (text.empty()) {
        for (const std::string_view name : {"Latitude", "LatitudeRef", "Longitude", "LongitudeRef"})
            put(values, kGps, name, "");
        return {};
    }
    const auto comma = text.find(',');
    const auto latitude = numberOf(text.substr(0, comma));
    const auto longitude = comma == std::string_view::npos ? std::nullopt : numberOf(text.substr(comma + 1));
    if (!latitude || !longitude || std::abs(*latitude) > 90 || std::abs(*longitude) > 180)
        return "'" + std::string(text) + "' is not a place such as 53.14,-8.21 (latitude, longitude)";
    put(values, kGps, "GPSVersion", Array{2, 3, 0, 0});
    put(values, kGps, "Latitude", std::abs(*latitude));
    put(values, kGps, "LatitudeRef", *latitude < 0 ? "S" : "N");
    put(values, kGps, "Longitude", std::abs(*longitude));
    put(values, kGps, "LongitudeRef", *longitude < 0 ? "W" : "E");
    return {};
}

std::string putAltitude(std::string_view text, Dictionary& values) {
    const auto metres = numberOf(text);
    if (!text.empty() && !metres) return "'" + std::string(text) + "' is not an altitude in metres";
    put(values, kGps, "Altitude", metres ? Value(std::abs(*metres)) : Value(""));
    put(values, kGps, "AltitudeRef", metres ? Value(*metres < 0 ? 1 : 0) : Value(""));
    return {};
}

struct ShortKey {
    std::string_view name;
    std::string_view help;
    std::string (*put)(std::string_view, Dictionary&);
};

constexpr std::array kShortKeys{
    ShortKey{"date", "when it was taken: 2024-05-01 12:30:00", putDate},
    ShortKey{"title", "a short name", putTitle},
    ShortKey{"caption", "a description", putCaption},
    ShortKey{"keywords", "words, with commas between", putKeywords},
    ShortKey{"rating", "0 to 5, or -1 for rejected", putRating},
    ShortKey{"artist", "who took it", putArtist},
    ShortKey{"copyright", "who owns it", putCopyright},
    ShortKey{"gps", "latitude and longitude in degrees: 53.14,-8.21", putPlace},
    ShortKey{"altitude", "in metres above the sea", putAltitude},
};

/// A value of the kind that the property takes: a number where the text is one, else the text.
Value valueOf(std::string_view dictionary, std::string_view text) {
    if (dictionary == kIptc) return text;
    const auto number = numberOf(text);
    if (!number) return text;
    if (*number == std::floor(*number) && std::abs(*number) < 1e15) return static_cast<std::int64_t>(*number);
    return *number;
}

bool equalsWithoutCase(std::string_view a, std::string_view b) {
    return std::ranges::equal(a, b,
                              [](unsigned char x, unsigned char y) { return std::tolower(x) == std::tolower(y); });
}

std::string putProperty(std::string_view key, std::string_view text, Dictionary& values) {
    std::vector<WritableProperty> properties = writableProperties(key);
    std::erase_if(properties, [&](const WritableProperty& property) { return !equalsWithoutCase(property.name, key); });
    if (properties.empty()) {
        std::vector<std::string_view> names;
        for (const ShortKey& known : kShortKeys) names.push_back(known.name);
        for (const std::string_view name : writablePropertyNames()) names.push_back(name);
        return "'" + std::string(key) + "' is not the name of a property" + suggestion(key, names);
    }
    for (const WritableProperty& property : properties)
        put(values, property.dictionary, property.name, valueOf(property.dictionary, text));
    return {};
}

}  // namespace

std::string addEditValue(std::string_view key, std::string_view text, Dictionary& values) {
    for (const ShortKey& known : kShortKeys)
        if (equalsWithoutCase(known.name, key)) return known.put(text, values);
    return putProperty(key, text, values);
}

Dictionary editValues(std::span<const std::string> sets) {
    Dictionary values;
    for (const std::string& set : sets) {
        const auto equals = set.find('=');
        if (equals == std::string::npos || equals == 0)
            throw CLI::ValidationError("--set: '" + set + "' is not of the form Key=Value");
        const std::string fault = addEditValue(set.substr(0, equals), set.substr(equals + 1), values);
        if (!fault.empty()) throw CLI::ValidationError("--set: " + fault);
    }
    return values;
}

std::string editKeysHelp() {
    std::string help = "Keys:\n";
    for (const ShortKey& key : kShortKeys) {
        help.append("  ").append(key.name).append(12 - key.name.size(), ' ').append(key.help).append("\n");
    }
    return help +
           "or the name of a property, such as LensModel, City or UserComment.\n"
           "Exif, IPTC and XMP are written alike.";
}

}  // namespace tessaly::cli
