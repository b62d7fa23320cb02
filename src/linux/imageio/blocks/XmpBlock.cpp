
#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

#include "linux/imageio/blocks/Blocks.h"
#include "linux/imageio/blocks/XmpPacket.h"

namespace tessaly::imageio {
namespace {

enum class Form : std::uint8_t { text, list, number, ratio, numberList, ratioList, date, coordinate };

struct Mapping {
    std::string_view xmp;
    Dictionary ImageProperties::*dictionary;
    std::string_view name;
    Form form;
};

using P = ImageProperties;

/// What the properties take from XMP where Exif and IPTC are silent.
constexpr std::array kMappings{
    Mapping{"dc:subject", &P::iptc, "Keywords", Form::list},
    Mapping{"dc:title", &P::iptc, "ObjectName", Form::text},
    Mapping{"dc:description", &P::iptc, "Caption/Abstract", Form::text},
    Mapping{"dc:creator", &P::iptc, "Byline", Form::list},
    Mapping{"dc:rights", &P::iptc, "CopyrightNotice", Form::text},
    Mapping{"photoshop:Headline", &P::iptc, "Headline", Form::text},
    Mapping{"photoshop:AuthorsPosition", &P::iptc, "BylineTitle", Form::list},
    Mapping{"photoshop:City", &P::iptc, "City", Form::text},
    Mapping{"photoshop:State", &P::iptc, "Province/State", Form::text},
    Mapping{"photoshop:Country", &P::iptc, "Country/PrimaryLocationName", Form::text},
    Mapping{"photoshop:Credit", &P::iptc, "Credit", Form::text},
    Mapping{"photoshop:Source", &P::iptc, "Source", Form::text},
    Mapping{"photoshop:Instructions", &P::iptc, "SpecialInstructions", Form::text},
    Mapping{"photoshop:Category", &P::iptc, "Category", Form::text},
    Mapping{"photoshop:CaptionWriter", &P::iptc, "Writer/Editor", Form::list},
    Mapping{"Iptc4xmpCore:Location", &P::iptc, "SubLocation", Form::text},
    Mapping{"Iptc4xmpCore:CountryCode", &P::iptc, "Country/PrimaryLocationCode", Form::text},
    Mapping{"xmp:Rating", &P::iptc, "StarRating", Form::number},
    Mapping{"aux:Lens", &P::aux, "LensModel", Form::text},
    Mapping{"aux:LensID", &P::aux, "LensID", Form::number},
    Mapping{"aux:LensInfo", &P::aux, "LensInfo", Form::ratioList},
    Mapping{"aux:LensSerialNumber", &P::aux, "LensSerialNumber", Form::text},
    Mapping{"aux:SerialNumber", &P::aux, "SerialNumber", Form::text},
    Mapping{"aux:ImageNumber", &P::aux, "ImageNumber", Form::number},
    Mapping{"aux:OwnerName", &P::aux, "OwnerName", Form::text},
    Mapping{"aux:Firmware", &P::aux, "Firmware", Form::text},
    Mapping{"aux:FlashCompensation", &P::aux, "FlashCompensation", Form::ratio},
    Mapping{"tiff:Make", &P::tiff, "Make", Form::text},
    Mapping{"tiff:Model", &P::tiff, "Model", Form::text},
    Mapping{"tiff:Artist", &P::tiff, "Artist", Form::text},
    Mapping{"tiff:Orientation", &P::tiff, "Orientation", Form::number},
    Mapping{"xmp:CreatorTool", &P::tiff, "Software", Form::text},
    Mapping{"exif:ExposureTime", &P::exif, "ExposureTime", Form::ratio},
    Mapping{"exif:FNumber", &P::exif, "FNumber", Form::ratio},
    Mapping{"exif:ExposureProgram", &P::exif, "ExposureProgram", Form::number},
    Mapping{"exif:ISOSpeedRatings", &P::exif, "ISOSpeedRatings", Form::numberList},
    Mapping{"exifEX:PhotographicSensitivity", &P::exif, "ISOSpeedRatings", Form::numberList},
    Mapping{"exif:DateTimeOriginal", &P::exif, "DateTimeOriginal", Form::date},
    Mapping{"photoshop:DateCreated", &P::exif, "DateTimeOriginal", Form::date},
    Mapping{"exif:DateTimeDigitized", &P::exif, "DateTimeDigitized", Form::date},
    Mapping{"exif:ExposureBiasValue", &P::exif, "ExposureBiasValue", Form::ratio},
    Mapping{"exif:MaxApertureValue", &P::exif, "MaxApertureValue", Form::ratio},
    Mapping{"exif:MeteringMode", &P::exif, "MeteringMode", Form::number},
    Mapping{"exif:FocalLength", &P::exif, "FocalLength", Form::ratio},
    Mapping{"exif:FocalLengthIn35mmFilm", &P::exif, "FocalLenIn35mmFilm", Form::number},
    Mapping{"exif:WhiteBalance", &P::exif, "WhiteBalance", Form::number},
    Mapping{"exif:SceneCaptureType", &P::exif, "SceneCaptureType", Form::number},
    Mapping{"exifEX:LensModel", &P::exif, "LensModel", Form::text},
    Mapping{"exifEX:LensMake", &P::exif, "LensMake", Form::text},
    Mapping{"exifEX:LensSerialNumber", &P::exif, "LensSerialNumber", Form::text},
    Mapping{"exifEX:BodySerialNumber", &P::exif, "BodySerialNumber", Form::text},
    Mapping{"exif:GPSLatitude", &P::gps, "Latitude", Form::coordinate},
    Mapping{"exif:GPSLongitude", &P::gps, "Longitude", Form::coordinate},
    Mapping{"exif:GPSAltitude", &P::gps, "Altitude", Form::ratio},
    Mapping{"exif:GPSAltitudeRef", &P::gps, "AltitudeRef", Form::number},
    Mapping{"exif:GPSImgDirection", &P::gps, "ImgDirection", Form::ratio},
    Mapping{"exif:GPSImgDirectionRef", &P::gps, "ImgDirectionRef", Form::text},
    Mapping{"exif:GPSSpeed", &P::gps, "Speed", Form::ratio},
    Mapping{"exif:GPSSpeedRef", &P::gps, "SpeedRef", Form::text},
};

std::string_view firstText(const Value& value) {
    return value.isArray() ? value.array().first().string() : value.string();
}

/// "1/250", "5.6" or "28".
Value ratioOf(std::string_view text) {
    const auto slash = text.find('/');
    const double numerator = Value(text.substr(0, slash)).doubleValue();
    if (slash == std::string_view::npos) return text.empty() ? Value() : Value(numerator);
    const double denominator = Value(text.substr(slash + 1)).doubleValue();
    return denominator == 0 ? Value() : Value(numerator / denominator);
}

bool beginsAsNumber(std::string_view text) { return !text.empty() && text.find_first_of("0123456789") <= 1; }

Value numbersOf(const Value& value, bool ratios) {
    Array numbers;
    const auto addOne = [&](std::string_view text) {
        if (!beginsAsNumber(text)) return;
        if (ratios) {
            const Value number = ratioOf(text);
            numbers.append(number.isNull() ? Value(0) : number);
        } else {
            numbers.append(Value(text).integerValue());
        }
    };
    if (value.isArray()) {
        for (const Value& element : value.array()) addOne(element.string());
    } else {
        for (std::string_view rest = value.string(); !rest.empty();) {
            const auto blank = std::min(rest.find(' '), rest.size());
            addOne(rest.substr(0, blank));
            rest.remove_prefix(std::min(blank + 1, rest.size()));
        }
    }
    return numbers.empty() ? Value() : Value(std::move(numbers));
}

/// "2015-01-02T03:04:05.67+01:00" as "2015:01:02 03:04:05"; a date alone or without seconds is no Exif date.
Value exifDate(std::string_view text) {
    if (text.size() < 16 || text[4] != '-' || text[7] != '-' || text[10] != 'T') return {};
    std::string date(text.substr(0, std::min<std::size_t>(text.size(), 19)));
    date[4] = date[7] = ':';
    date[10] = ' ';
    if (date.size() < 19 || date[16] != ':') date = date.substr(0, 16) + ":00";
    return date;
}

/// "51,25.014N" or "51,25,0N" as degrees, the hemisphere into `reference`.
Value coordinateOf(std::string_view text, std::string_view& reference) {
    if (text.size() < 2) return {};
    reference = text.substr(text.size() - 1);
    if (std::string_view("NSEW").find(reference) == std::string_view::npos) return {};
    text.remove_suffix(1);
    double degrees = 0;
    double unit = 1;
    for (int part = 0; part < 3 && !text.empty(); ++part, unit *= 60) {
        const auto comma = std::min(text.find(','), text.size());
        degrees += Value(text.substr(0, comma)).doubleValue() / unit;
        text.remove_prefix(std::min(comma + 1, text.size()));
    }
    return std::isfinite(degrees) ? Value(degrees) : Value();
}

void addCoordinate(const Mapping& mapping, std::string_view text, Dictionary& gps) {
    std::string_view reference;
    const Value degrees = coordinateOf(text, reference);
    if (degrees.isNull() || gps.contains(mapping.name)) return;
    gps.setLiteral(mapping.name, degrees);
    gps.setLiteral(mapping.name == "Latitude" ? "LatitudeRef" : "LongitudeRef", reference);
}

Value converted(const Value& value, Form form) {
    switch (form) {
        case Form::text:
            return firstText(value).empty() ? Value() : Value(firstText(value));
        case Form::list:
            return value.isArray() ? value : Value(Array{value});
        case Form::number:
            return beginsAsNumber(firstText(value)) ? Value(Value(firstText(value)).integerValue()) : Value();
        case Form::ratio:
            return beginsAsNumber(firstText(value)) ? ratioOf(firstText(value)) : Value();
        case Form::numberList:
            return numbersOf(value, false);
        case Form::ratioList:
            return numbersOf(value, true);
        case Form::date:
            return exifDate(firstText(value));
        default:
            return {};
    }
}

/// The prefixes that occur in the table above, and that of the mark below.
constexpr std::array<std::string_view, 9> kMappedNamespaces{"dc",   "photoshop", "Iptc4xmpCore", "xmp",    "aux",
                                                            "tiff", "exif",      "exifEX",       "xmpNote"};

constexpr std::string_view kExtendedMark = "xmpNote:HasExtendedXMP";

std::size_t mappingOf(std::string_view qualifiedName) {
    return static_cast<std::size_t>(std::ranges::find(kMappings, qualifiedName, &Mapping::xmp) - kMappings.begin());
}

bool isMappedNamespace(std::string_view prefix) {
    return std::ranges::find(kMappedNamespaces, prefix) != kMappedNamespaces.end();
}

bool isMapped(std::string_view prefix, std::string_view name) {
    const auto isIt = [&](std::string_view qualifiedName) {
        return qualifiedName.size() == prefix.size() + 1 + name.size() && qualifiedName.ends_with(name) &&
               qualifiedName.starts_with(prefix);
    };
    return isIt(kExtendedMark) ||
           std::ranges::any_of(kMappings, [&](const Mapping& mapping) { return isIt(mapping.xmp); });
}

/// What a packet says of the properties that are mapped, in the order of the table.
using Found = std::array<Value, kMappings.size()>;

/// The zone and the fraction of "2015-01-02T03:04:05.67+01:00", which Exif has in fields of their own.
void addBesideDate(std::string_view text, Dictionary& exif) {
    constexpr std::size_t minutes = 16;
    if (exifDate(text).isNull()) return;
    text.remove_prefix(minutes);
    const auto zone = std::min(text.find_first_of("+-Z"), text.size());
    if (const auto point = text.substr(0, zone).find('.'); point != std::string_view::npos)
        ImageProperties::add(exif, "SubsecTimeOriginal", text.substr(point + 1, zone - point - 1));
    if (zone < text.size())
        ImageProperties::add(exif, "OffsetTimeOriginal", text[zone] == 'Z' ? "+00:00" : text.substr(zone));
}

void addMapped(const Found& found, ImageProperties& properties) {
    // Exif that was read from its own block is complete: XMP's copy of it would only mix in other programs' edits.
    const bool exifSpoke = !properties.exif.empty();
    // But for the date, where it stands in XMP alone.
    const bool isDated = properties.exif.contains("DateTimeOriginal") || properties.exif.contains("DateTimeDigitized");
    const bool gpsSpoke = properties.gps.contains("Latitude");
    for (const Mapping& mapping : kMappings) {
        const Value& value = found[static_cast<std::size_t>(&mapping - kMappings.data())];
        const bool isSaid = exifSpoke && (isDated || mapping.form != Form::date);
        if (value.isNull() || (mapping.dictionary == &P::exif && isSaid) || (mapping.dictionary == &P::gps && gpsSpoke))
            continue;
        Dictionary& target = properties.*mapping.dictionary;
        if (mapping.name == "DateTimeOriginal" && !target.contains(mapping.name))
            addBesideDate(firstText(value), target);
        if (mapping.form == Form::coordinate)
            addCoordinate(mapping, firstText(value), target);
        else
            ImageProperties::add(target, mapping.name, converted(value, mapping.form));
    }
}

}  // namespace

void readXmp(Bytes packet, ImageProperties& properties) {
    Found found;
    const XmpSelection selection = properties.keepsAllXmp ? XmpSelection{} : XmpSelection{isMappedNamespace, isMapped};
    visitXmpPacket(packet, selection, [&](std::string_view name, Value value) {
        properties.hasXmp = true;
        if (name == kExtendedMark) properties.extendedXmp = value.string();
        const std::size_t index = mappingOf(name);
        if (index < found.size() && found[index].isNull()) found[index] = value;
        if (properties.keepsAllXmp && !properties.xmp.contains(name)) properties.xmp.set(name, std::move(value));
    });
    addMapped(found, properties);
}

}  // namespace tessaly::imageio
