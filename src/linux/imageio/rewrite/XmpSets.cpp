#include "linux/imageio/rewrite/XmpSets.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string>
#include <tuple>

#include "linux/imageio/blocks/IptcDataSets.h"
#include "linux/imageio/rewrite/ExifFields.h"
#include "linux/imageio/rewrite/ValueCopies.h"
#include "platform/ImageIO/CGImageProperties.h"

namespace tessaly::imageio {
namespace {

enum class Writing : std::uint8_t { text, number, ratio, ratios, date, coordinate, texts };

struct Mapping {
    std::string_view dictionary;
    std::string_view name;
    std::string_view prefix;
    std::string_view property;
    XmpForm form = XmpForm::simple;
    Writing writing = Writing::text;
};

constexpr std::string_view kTiff = kCGImagePropertyTIFFDictionary;
constexpr std::string_view kExif = kCGImagePropertyExifDictionary;
constexpr std::string_view kGps = kCGImagePropertyGPSDictionary;
constexpr std::string_view kIptc = kCGImagePropertyIPTCDictionary;
constexpr std::string_view kAux = kCGImagePropertyExifAuxDictionary;

constexpr std::array kMappings{
    Mapping{kTiff, "Make", "tiff", "Make"},
    Mapping{kTiff, "Model", "tiff", "Model"},
    Mapping{kTiff, "Software", "xmp", "CreatorTool"},
    Mapping{kTiff, "DateTime", "xmp", "ModifyDate", XmpForm::simple, Writing::date},
    Mapping{kTiff, "Artist", "dc", "creator", XmpForm::seq, Writing::texts},
    Mapping{kTiff, "Copyright", "dc", "rights", XmpForm::alternative},
    Mapping{kTiff, "ImageDescription", "dc", "description", XmpForm::alternative},
    Mapping{kTiff, "Orientation", "tiff", "Orientation", XmpForm::simple, Writing::number},
    Mapping{kExif, "DateTimeOriginal", "exif", "DateTimeOriginal", XmpForm::simple, Writing::date},
    Mapping{kExif, "DateTimeOriginal", "photoshop", "DateCreated", XmpForm::simple, Writing::date},
    Mapping{kExif, "DateTimeDigitized", "xmp", "CreateDate", XmpForm::simple, Writing::date},
    Mapping{kExif, "ExposureTime", "exif", "ExposureTime", XmpForm::simple, Writing::ratio},
    Mapping{kExif, "FNumber", "exif", "FNumber", XmpForm::simple, Writing::ratio},
    Mapping{kExif, "FocalLength", "exif", "FocalLength", XmpForm::simple, Writing::ratio},
    Mapping{kExif, "ISOSpeedRatings", "exif", "ISOSpeedRatings", XmpForm::seq, Writing::texts},
    Mapping{kExif, "UserComment", "exif", "UserComment", XmpForm::alternative},
    Mapping{kExif, "LensModel", "exifEX", "LensModel"},
    Mapping{kExif, "LensMake", "exifEX", "LensMake"},
    Mapping{kExif, "BodySerialNumber", "exifEX", "BodySerialNumber"},
    Mapping{kExif, "LensSerialNumber", "exifEX", "LensSerialNumber"},
    Mapping{kExif, "CameraOwnerName", "exifEX", "CameraOwnerName"},
    Mapping{kGps, "Latitude", "exif", "GPSLatitude", XmpForm::simple, Writing::coordinate},
    Mapping{kGps, "Longitude", "exif", "GPSLongitude", XmpForm::simple, Writing::coordinate},
    Mapping{kGps, "Altitude", "exif", "GPSAltitude", XmpForm::simple, Writing::ratio},
    Mapping{kGps, "AltitudeRef", "exif", "GPSAltitudeRef", XmpForm::simple, Writing::number},
    Mapping{kGps, "ImgDirection", "exif", "GPSImgDirection", XmpForm::simple, Writing::ratio},
    Mapping{kGps, "ImgDirectionRef", "exif", "GPSImgDirectionRef"},
    Mapping{kGps, "Speed", "exif", "GPSSpeed", XmpForm::simple, Writing::ratio},
    Mapping{kGps, "SpeedRef", "exif", "GPSSpeedRef"},
    Mapping{kIptc, "ObjectName", "dc", "title", XmpForm::alternative},
    Mapping{kIptc, "Caption/Abstract", "dc", "description", XmpForm::alternative},
    Mapping{kIptc, "Keywords", "dc", "subject", XmpForm::bag, Writing::texts},
    Mapping{kIptc, "Byline", "dc", "creator", XmpForm::seq, Writing::texts},
    Mapping{kIptc, "CopyrightNotice", "dc", "rights", XmpForm::alternative},
    Mapping{kIptc, "Headline", "photoshop", "Headline"},
    Mapping{kIptc, "BylineTitle", "photoshop", "AuthorsPosition"},
    Mapping{kIptc, "City", "photoshop", "City"},
    Mapping{kIptc, "Province/State", "photoshop", "State"},
    Mapping{kIptc, "Country/PrimaryLocationName", "photoshop", "Country"},
    Mapping{kIptc, "Country/PrimaryLocationCode", "Iptc4xmpCore", "CountryCode"},
    Mapping{kIptc, "SubLocation", "Iptc4xmpCore", "Location"},
    Mapping{kIptc, "Credit", "photoshop", "Credit"},
    Mapping{kIptc, "Source", "photoshop", "Source"},
    Mapping{kIptc, "SpecialInstructions", "photoshop", "Instructions"},
    Mapping{kIptc, "Category", "photoshop", "Category"},
    Mapping{kIptc, "Writer/Editor", "photoshop", "CaptionWriter"},
    Mapping{kAux, "LensModel", "aux", "Lens"},
    Mapping{kAux, "LensID", "aux", "LensID", XmpForm::simple, Writing::number},
    Mapping{kAux, "LensInfo", "aux", "LensInfo", XmpForm::simple, Writing::ratios},
    Mapping{kAux, "LensSerialNumber", "aux", "LensSerialNumber"},
    Mapping{kAux, "SerialNumber", "aux", "SerialNumber"},
    Mapping{kAux, "ImageNumber", "aux", "ImageNumber", XmpForm::simple, Writing::number},
    Mapping{kAux, "OwnerName", "aux", "OwnerName"},
    Mapping{kAux, "Firmware", "aux", "Firmware"},
    Mapping{kAux, "FlashCompensation", "aux", "FlashCompensation", XmpForm::simple, Writing::ratio},
    Mapping{kIptc, "StarRating", "xmp", "Rating", XmpForm::simple, Writing::number},
};

/// "DateTimeOriginal" has its zone in "OffsetTimeOriginal" and its fraction in "SubsecTimeOriginal".
std::string besideDate(const Dictionary& values, std::string_view field, std::string_view date) {
    constexpr std::string_view start = "DateTime";
    return std::string(
        values[kExif].dictionary()[std::string(field) + std::string(date.substr(start.size()))].string());
}

/// "2015:01:02 03:04:05" as "2015-01-02T03:04:05", with the fraction and the zone that are written along with it.
std::string xmpDate(std::string_view text, std::string_view name, const Dictionary& values) {
    std::string date(text);
    if (date.size() < 10) return date;
    if (date[4] == ':') date[4] = '-';
    if (date[7] == ':') date[7] = '-';
    if (date.size() > 10) date[10] = 'T';
    const std::string fraction = besideDate(values, "SubsecTime", name);
    if (!fraction.empty()) date += "." + fraction;
    return date + besideDate(values, "OffsetTime", name);
}

std::string ratioText(double value) {
    const Ratio ratio = ratioOf(value);
    return std::to_string(ratio.numerator) + "/" + std::to_string(ratio.denominator);
}

/// XMP part 2, 1.2.7.4: "DDD,MM.mmmmmmK".
std::string coordinateText(double degrees, std::string_view reference) {
    degrees = std::abs(degrees);
    constexpr std::int64_t unit = 100'000'000;
    const auto minutes = static_cast<std::int64_t>(std::llround(degrees * 60 * unit));
    std::string fraction = std::to_string(minutes % unit);
    fraction.insert(0, 8 - fraction.size(), '0');
    return std::to_string(minutes / (60 * unit)) + "," + std::to_string(minutes / unit % 60) + "." + fraction +
           std::string(reference.substr(0, 1));
}

std::vector<std::string> written(const Mapping& mapping, const Dictionary& values) {
    const Dictionary& dictionary = values[mapping.dictionary].dictionary();
    const Value& value = dictionary[mapping.name];
    std::vector<std::string> texts;
    if (value.isArray() && mapping.writing == Writing::texts) {
        for (const Value& one : value.array()) texts.push_back(one.description());
    } else if (value.isArray() && mapping.writing == Writing::ratios) {
        std::string all;
        for (const Value& one : value.array()) all += (all.empty() ? "" : " ") + ratioText(one.doubleValue());
        texts.push_back(std::move(all));
    } else if (value.isArray() && mapping.form == XmpForm::simple) {
        texts.push_back(value.array().first().description());
    } else if (mapping.writing == Writing::date) {
        texts.push_back(xmpDate(value.string(), mapping.name, values));
    } else if (mapping.writing == Writing::ratio) {
        texts.push_back(value.isString() && value.string().empty() ? std::string() : ratioText(value.doubleValue()));
    } else if (mapping.writing == Writing::coordinate) {
        const std::string reference(dictionary[std::string(mapping.name) + "Ref"].string());
        texts.push_back(value.isString() && value.string().empty() ? std::string()
                                                                   : coordinateText(value.doubleValue(), reference));
    } else {
        texts.push_back(value.description());
    }
    std::erase(texts, std::string());
    return texts;
}

}  // namespace

std::vector<XmpProperty> xmpProperties(const Dictionary& values) {
    std::vector<XmpProperty> properties;
    for (const Mapping& mapping : kMappings) {
        const Dictionary& dictionary = values[mapping.dictionary].dictionary();
        if (!dictionary.contains(mapping.name)) continue;
        // Two names of one property: the first that is given holds.
        if (std::ranges::any_of(properties, [&](const XmpProperty& other) {
                return other.prefix == mapping.prefix && other.name == mapping.property;
            }))
            continue;
        properties.push_back({mapping.prefix, mapping.property, mapping.form, written(mapping, values)});
    }
    for (const XmpName& copy : repeatingProperties(values)) properties.push_back({copy.prefix, copy.name, {}, {}});
    return properties;
}

namespace {

/// IIM has Exif's dates of its own, in two data sets each: "20240501" and "123000+0200".
void addDates(const Dictionary& values, std::vector<IptcDataSet>& sets) {
    struct Date {
        std::string_view name;
        std::uint8_t day, time;
    };
    for (const auto& [name, day, time] : {Date{"DateTimeOriginal", 55, 60}, Date{"DateTimeDigitized", 62, 63}}) {
        const Dictionary& exif = values[kExif].dictionary();
        if (!exif.contains(name)) continue;
        std::string digits(exif[name].string());
        std::erase_if(digits, [](char c) { return c < '0' || c > '9'; });
        std::string zone = besideDate(values, "OffsetTime", name);
        std::erase(zone, ':');
        for (const auto& [number, start, length] : {std::tuple{day, 0U, 8U}, std::tuple{time, 8U, 6U}}) {
            if (std::ranges::find(sets, number, &IptcDataSet::number) != sets.end()) continue;
            IptcDataSet set{number, {}, true};
            if (digits.size() >= start + length) {
                set.values.push_back(digits.substr(start, length));
                if (number == time) set.values.back() += zone;
            }
            sets.push_back(std::move(set));
        }
    }
}

}  // namespace

std::vector<IptcDataSet> iptcDataSets(const Dictionary& values) {
    std::vector<IptcDataSet> sets;
    const Dictionary& iptc = values[kIptc].dictionary();
    for (const IptcDataSetRule& set : kIptcDataSets) {
        if (!iptc.contains(set.name)) continue;
        IptcDataSet made{set.number, {}};
        const Value& value = iptc[set.name];
        if (value.isArray())
            for (const Value& one : value.array()) made.values.push_back(one.description());
        else
            made.values.push_back(value.description());
        std::erase(made.values, std::string());
        sets.push_back(std::move(made));
    }
    addDates(values, sets);
    return sets;
}

std::vector<std::string_view> iptcNames() {
    std::vector<std::string_view> names;
    for (const IptcDataSetRule& set : kIptcDataSets) names.push_back(set.name);
    for (const Mapping& mapping : kMappings)
        if (mapping.dictionary == kIptc && std::ranges::find(names, mapping.name) == names.end())
            names.push_back(mapping.name);
    return names;
}

}  // namespace tessaly::imageio
