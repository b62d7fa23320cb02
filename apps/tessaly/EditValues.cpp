#include "EditValues.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <cmath>
#include <optional>
#include <utility>
#include <vector>

#include "EditForms.h"
#include "Suggestion.h"
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

std::string refusal(std::string_view key, std::string_view text, const std::string& form) {
    return "'" + std::string(text) + "' is no value for " + std::string(key) + ", which is " + form;
}

/// Fields of a date, and those that stand beside it. Without zone or fraction in the text both go, unless they were
/// given already: what stands in the file belongs to another date.
struct DateFields {
    std::string_view dictionary, name, subsecond, zone;
};
constexpr std::array kDates{
    DateFields{kTiff, "DateTime", "SubsecTime", "OffsetTime"},
    DateFields{kExif, "DateTimeOriginal", "SubsecTimeOriginal", "OffsetTimeOriginal"},
    DateFields{kExif, "DateTimeDigitized", "SubsecTimeDigitized", "OffsetTimeDigitized"},
};

void putDateFields(const DateFields& fields, const EditDate& date, Dictionary& values) {
    put(values, fields.dictionary, fields.name, date.local);
    for (const auto& [name, text] : {std::pair(fields.subsecond, date.subsecond), std::pair(fields.zone, date.zone)})
        if (!text.empty() || !values[kExif].dictionary().contains(name)) put(values, kExif, name, text);
}

/// Latitude, longitude or another angle with its reference. A reference that was given already stays, where the text
/// tells none.
void putDegrees(const WritableProperty& property, const EditDegrees& degrees, Dictionary& values) {
    const std::string reference = std::string(property.name) + "Ref";
    put(values, property.dictionary, property.name, degrees.value);
    if (degrees.reference != '\0' || !values[property.dictionary].dictionary().contains(reference)) {
        const char letter = property.name.ends_with("Latitude") ? 'N' : 'E';
        put(values, property.dictionary, reference, std::string(1, degrees.reference ? degrees.reference : letter));
    }
}

std::string putDate(std::string_view text, Dictionary& values) {
    const auto date = text.empty() ? EditDate() : dateOf(text);
    if (!date) return refusal("date", text, formOf({.dictionary = {}, .name = {}, .kind = WritableKind::date}));
    for (const DateFields& fields : kDates) putDateFields(fields, *date, values);
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
    put(values, kIptc, "Keywords", text.empty() ? Value("") : *valueOf({kIptc, "Keywords", WritableKind::texts}, text));
    return {};
}

std::string putRatingAs(std::string_view key, std::string_view text, Dictionary& values) {
    const auto rating = numberOf(text);
    if (!text.empty() && (!rating || *rating < -1 || *rating > 5 || *rating != std::floor(*rating)))
        return refusal(key, text, "a whole number from 0 to 5 such as 4, or -1 for rejected");
    put(values, kIptc, "StarRating", rating ? Value(static_cast<std::int64_t>(*rating)) : Value(""));
    return {};
}

std::string putRating(std::string_view text, Dictionary& values) { return putRatingAs("rating", text, values); }

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
    const auto latitude = degreesOf(text.substr(0, comma), "NS");
    const auto longitude = comma == std::string_view::npos ? std::nullopt : degreesOf(text.substr(comma + 1), "EW");
    if (!latitude || !longitude) return refusal("gps", text, "latitude and longitude such as 53.14,-8.21");
    put(values, kGps, "GPSVersion", Array{2, 3, 0, 0});
    putDegrees({kGps, "Latitude"}, *latitude, values);
    putDegrees({kGps, "Longitude"}, *longitude, values);
    return {};
}

constexpr double kHighest = 1e8;  ///< Metres.

std::string putAltitude(std::string_view text, Dictionary& values) {
    std::string_view number = trimmed(text);
    if (number.ends_with('m')) number.remove_suffix(1);
    const auto metres = numberOf(number);
    if (!text.empty() && (!metres || std::abs(*metres) > kHighest))
        return refusal("altitude", text, "a number of metres such as 120 or -3.5 m");
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
    ShortKey{"date", "when it was taken: 2024-05-01 12:30:00+02:00", putDate},
    ShortKey{"title", "a short name", putTitle},
    ShortKey{"caption", "a description", putCaption},
    ShortKey{"keywords", "words, with commas between", putKeywords},
    ShortKey{"rating", "0 to 5, or -1 for rejected", putRating},
    ShortKey{"artist", "who took it", putArtist},
    ShortKey{"copyright", "who owns it", putCopyright},
    ShortKey{"gps", "latitude and longitude in degrees: 53.14,-8.21", putPlace},
    ShortKey{"altitude", "in metres above the sea", putAltitude},
};

void putEmpty(const WritableProperty& property, Dictionary& values) {
    put(values, property.dictionary, property.name, "");
    if (property.kind == WritableKind::degrees)
        put(values, property.dictionary, std::string(property.name) + "Ref", "");
}

bool putValue(const WritableProperty& property, std::string_view text, Dictionary& values) {
    if (text.empty()) {
        putEmpty(property, values);
    } else if (property.kind == WritableKind::degrees) {
        const auto degrees = degreesOf(text, property.name.ends_with("Latitude") ? "NS" : "EW");
        if (!degrees) return false;
        putDegrees(property, *degrees, values);
    } else if (property.kind == WritableKind::date) {
        const auto date = dateOf(text);
        const auto fields = std::ranges::find(kDates, property.name, &DateFields::name);
        if (!date || fields == kDates.end()) return false;
        putDateFields(*fields, *date, values);
    } else {
        auto value = valueOf(property, text);
        if (!value) return false;
        put(values, property.dictionary, property.name, std::move(*value));
    }
    return true;
}

std::string putProperty(std::string_view key, std::string_view text, Dictionary& values) {
    if (equalsWithoutCase(key, kCGImagePropertyIPTCStarRating))
        return putRatingAs(kCGImagePropertyIPTCStarRating, text, values);
    std::vector<WritableProperty> properties = writableProperties(key);
    std::erase_if(properties, [&](const WritableProperty& property) { return !equalsWithoutCase(property.name, key); });
    if (properties.empty()) {
        std::vector<std::string_view> names;
        for (const ShortKey& known : kShortKeys) names.push_back(known.name);
        for (const std::string_view name : writablePropertyNames()) names.push_back(name);
        return "'" + std::string(key) + "' is not the name of a property" + suggestion(key, names);
    }
    for (const WritableProperty& property : properties)
        if (!putValue(property, text, values)) return refusal(property.name, text, formOf(property));
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
