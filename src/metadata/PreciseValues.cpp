#include "metadata/PreciseValues.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>

#include "metadata/Formatting.h"
#include "platform/Foundation/Format.h"
#include "platform/Foundation/NSDateFormatter.h"
#include "platform/Foundation/NSLocale.h"
#include "platform/Foundation/NSTimeZone.h"
#include "platform/ImageIO/CGImageProperties.h"
#include "settings/PersistanceManager.h"

namespace tessaly {
namespace {

constexpr double kFeetPerMetre = 3.28084;
constexpr double kKilometresPerMile = 1.609344;
constexpr double kKilometresPerNauticalMile = 1.852;
constexpr int kBelowSeaLevel = 1;  // GPSAltitudeRef (Exif 2.32, 4.6.6).

/// With so many decimals at most, and no zeros behind them. What is added makes a zero of the negative one.
std::string decimals(double number, int count) {
    const double scale = std::pow(10, count);
    return Value(std::round(number * scale) / scale + 0.0).description();
}

/// Up to nine digits, as many as a quotient of two stored numbers is worth.
std::string digits(double number) {
    if (number == 0 || !std::isfinite(number)) return "0";
    return decimals(number, std::clamp(8 - static_cast<int>(std::floor(std::log10(std::fabs(number)))), 0, 15));
}

const Value& first(const Value& value) { return value.isArray() ? value.array().first() : value; }

const Value& valueIn(const std::optional<Dictionary>& dictionary, std::string_view name) {
    return dictionary ? (*dictionary)[name] : Value::null();
}

/// Where a key's value stands; "" is the top of the properties.
struct Place {
    std::string_view dictionary, name;
};

const Value& valueAt(const ExifInformation& record, Place place) {
    if (place.dictionary == kCGImagePropertyExifDictionary) return valueIn(record.exifDic, place.name);
    if (place.dictionary == kCGImagePropertyTIFFDictionary) return valueIn(record.tifDic, place.name);
    if (place.dictionary == kCGImagePropertyGPSDictionary) return valueIn(record.gpsDic, place.name);
    if (place.dictionary == kCGImagePropertyIPTCDictionary) return valueIn(record.iptcDic, place.name);
    if (place.dictionary.empty()) return record.metaDataDictionary[place.name];
    return record.metaDataDictionary[place.dictionary].dictionary()[place.name];
}

Value positive(double number) { return number > 0 ? Value(number) : Value(); }

Value megaPixels(const ExifInformation& record) {
    return positive(record.dimensions.width * record.dimensions.height / 1'000'000);
}

Value aspectRatio(const ExifInformation& record) {
    return record.dimensions.height > 0 ? positive(record.dimensions.width / record.dimensions.height) : Value();
}

Value fileSize(const ExifInformation& record) {
    return record.fileSizeInBytes > 0 ? Value(record.fileSizeInBytes) : Value();
}

Value duration(const ExifInformation& record) { return positive(record.duration); }

/// Single precision holds a thousandth of a frame.
Value frameRate(const ExifInformation& record) {
    return positive(std::round(static_cast<double>(record.framesPerSecondValue) * 1000) / 1000);
}

/// Degrees of a hemisphere; nullopt without.
std::optional<double> degrees(const ExifInformation& record, std::string_view name, std::string_view reference,
                              std::string_view negative) {
    const Value& stored = valueIn(record.gpsDic, name);
    if (!stored.isNumber()) return std::nullopt;
    const std::string_view letter = valueIn(record.gpsDic, reference).string();
    return letter == negative ? -stored.doubleValue() : stored.doubleValue();
}

/// The file's own degrees where the record is there: it may have the first digits of a movie's only, a person may have
/// given the photo another place, and where there are GPS tags but no degrees the record is at zero.
Value coordinate(const ExifInformation& record) {
    if (!record.location) return {};
    constexpr double kNear = 0.01;
    const auto& [north, east] = record.location->coordinate;
    const auto latitude = degrees(record, kCGImagePropertyGPSLatitude, kCGImagePropertyGPSLatitudeRef, "S");
    const auto longitude = degrees(record, kCGImagePropertyGPSLongitude, kCGImagePropertyGPSLongitudeRef, "W");
    if (record.gpsDic && !(latitude && longitude) && north == 0 && east == 0) return {};
    const bool isThere =
        latitude && longitude && std::fabs(*latitude - north) < kNear && std::fabs(*longitude - east) < kNear;
    return isThere ? Array{*latitude, *longitude} : Array{north, east};
}

/// Metres. A place that came without the tag has 0 where no height is known.
Value altitude(const ExifInformation& record) {
    const Value& stored = valueIn(record.gpsDic, kCGImagePropertyGPSAltitude);
    if (stored.isNull())
        return record.location && record.location->altitude != 0 ? Value(record.location->altitude) : Value();
    const bool isBelow = valueIn(record.gpsDic, kCGImagePropertyGPSAltitudeRef).integerValue() == kBelowSeaLevel;
    return isBelow ? -std::fabs(stored.doubleValue()) : stored.doubleValue();
}

/// Seconds east of Greenwich of "+02:00" or "Z"; nullopt for what is no zone.
std::optional<int> secondsOfOffset(std::string_view text) {
    if (text == "Z") return 0;
    if (text.size() != 6 || (text[0] != '+' && text[0] != '-') || text[3] != ':') return std::nullopt;
    constexpr std::array<std::size_t, 4> kDigits{1, 2, 4, 5};
    if (!std::ranges::all_of(kDigits, [text](std::size_t at) { return text[at] >= '0' && text[at] <= '9'; }))
        return std::nullopt;
    const auto two = [text](std::size_t at) { return (text[at] - '0') * 10 + (text[at + 1] - '0'); };
    return (text[0] == '-' ? -1 : 1) * (two(1) * 60 + two(4)) * 60;
}

/// What the camera's clock showed when the picture was taken.
struct ClockTime {
    NSDate date;           ///< Shows that time in the default zone.
    std::string fraction;  ///< Digits behind the second; "" where the file has none.
    std::string zone;      ///< "+02:00"; "" where the file names none.
};

/// Nullopt where the record's date is not the file's: a person gave the photo another one.
std::optional<ClockTime> clockTime(const ExifInformation& record) {
    const auto date = dateFromExifString(valueIn(record.exifDic, kCGImagePropertyExifDateTimeOriginal).string());
    if (!date || !record.dateTaken) return std::nullopt;
    ClockTime time{*date, {}, {}};
    const std::string_view zone = valueIn(record.exifDic, "OffsetTimeOriginal").string();
    const auto offset = secondsOfOffset(zone);
    if (offset) time.zone = zone == "Z" ? "+00:00" : std::string(zone);
    const double apart = record.dateTaken->timeIntervalSince1970 - date->timeIntervalSince1970;
    const double shift = offset ? NSTimeZone::secondsFromGMT(*date) - *offset : 0;
    if (std::fabs(apart) > 1 && std::fabs(apart - shift) > 1) return std::nullopt;
    const Value& stored = valueIn(record.exifDic, "SubsecTimeOriginal");
    const std::string part = stored.description();
    if (!part.empty() && std::ranges::all_of(part, [](char c) { return c >= '0' && c <= '9'; })) time.fraction = part;
    return time;
}

std::string civilText(NSDate date, std::string_view pattern) {
    return NSDateFormatter(pattern, NSLocale::systemLocale()).stringFromDate(date);
}

Value dateTaken(const ExifInformation& record) {
    if (!record.dateTaken) return {};
    const auto time = clockTime(record);
    if (!time) return civilText(*record.dateTaken, "yyyy-MM-dd'T'HH:mm:ssxxx");
    return civilText(time->date, "yyyy-MM-dd'T'HH:mm:ss") + (time->fraction.empty() ? "" : "." + time->fraction) +
           time->zone;
}

Value editedDate(const ExifInformation& record) {
    if (!record.phAsset || !record.phAsset->modificationDate) return {};
    return civilText(*record.phAsset->modificationDate, "yyyy-MM-dd'T'HH:mm:ssxxx");
}

/// Where the value of a key is to be found: at either of two places, or by a function.
struct Source {
    std::string_view key;
    Place place, other{};
    Value (*found)(const ExifInformation& record) = nullptr;
};

constexpr Place exif(std::string_view name) { return {kCGImagePropertyExifDictionary, name}; }
constexpr Place tiff(std::string_view name) { return {kCGImagePropertyTIFFDictionary, name}; }
constexpr Place iptc(std::string_view name) { return {kCGImagePropertyIPTCDictionary, name}; }
constexpr Place aux(std::string_view name) { return {kCGImagePropertyExifAuxDictionary, name}; }
constexpr Place style(std::string_view name) { return {kCGImagePropertyPictureStyleDictionary, name}; }

constexpr std::array kSources{
    Source{"Make", tiff("Make")},
    Source{"Model", tiff("Model")},
    Source{"CameraSerialNumber", exif("BodySerialNumber"), aux("SerialNumber")},
    Source{"LensMake", exif("LensMake")},
    Source{"LensModel", exif("LensModel"), aux("LensModel")},
    Source{"LensSerialNumber", exif("LensSerialNumber"), aux("LensSerialNumber")},
    Source{"Software", tiff("Software")},
    Source{"MakerNote", exif("MakerNote")},
    Source{"FilmMode", style("FilmSimulation"), style("Saturation")},
    Source{"shutterCount", aux("ImageNumber")},
    Source{"ApertureValue", exif("FNumber")},
    Source{"ApertureMax", exif("MaxApertureValue")},
    Source{"ExposureTime", exif("ExposureTime")},
    Source{"ShutterSpeedStringValue", exif("ExposureTime")},
    Source{"ISOSpeedRatings", exif("ISOSpeedRatings"), exif("ISOSpeed")},
    Source{"ISOSpeedValue", exif("ISOSpeedRatings"), exif("ISOSpeed")},
    Source{"ExposureBiasValue", exif("ExposureBiasValue")},
    Source{"ExposureMode", exif("ExposureMode")},
    Source{"ExposureProgram", exif("ExposureProgram")},
    Source{"MeteringMode", exif("MeteringMode")},
    Source{"Flash", exif("Flash")},
    Source{"FlashPixVersion", exif("FlashPixVersion")},
    Source{"WhiteBalance", exif("WhiteBalance")},
    Source{"LightSource", exif("LightSource")},
    Source{"SceneType", exif("SceneType")},
    Source{"SceneCaptureType", exif("SceneCaptureType")},
    Source{"SensingMethod", exif("SensingMethod")},
    Source{"SensitivityType", exif("SensitivityType")},
    Source{"Sharpness", exif("Sharpness")},
    Source{"Contrast", exif("Contrast")},
    Source{"Saturation", exif("Saturation")},
    Source{"GainControl", exif("GainControl")},
    Source{"CustomRendered", exif("CustomRendered")},
    Source{"SubjectDistRange", exif("SubjectDistRange")},
    Source{"FocalLength", exif("FocalLength")},
    Source{"FocalLenIn35mmFilm", exif("FocalLenIn35mmFilm")},
    Source{"DigitalZoomRatio", exif("DigitalZoomRatio")},
    Source{"ResolutionInMegaPixel", {}, {}, megaPixels},
    Source{"AspectRatioFraction", {}, {}, aspectRatio},
    Source{"DPIWidth", {"", kCGImagePropertyDPIWidth}},
    Source{"DPIHeight", {"", kCGImagePropertyDPIHeight}},
    Source{"Depth", {"", kCGImagePropertyDepth}},
    Source{"Orientation", {"", kCGImagePropertyOrientation}},
    Source{"ColorModel", {"", kCGImagePropertyColorModel}},
    Source{"ColorSpace", exif("ColorSpace")},
    Source{"ColorProfile", {"", kCGImagePropertyProfileName}},
    Source{"CompressedBitsPerPixel", exif("CompressedBitsPerPixel")},
    Source{"FileSize", {}, {}, fileSize},
    Source{"FileSource", exif("FileSource")},
    Source{"Duration", {}, {}, duration},
    Source{"FramesPerSecond", {}, {}, frameRate},
    Source{"DateTaken", {}, {}, dateTaken},
    Source{"EditedDate", {}, {}, editedDate},
    Source{"GPS", {}, {}, coordinate},
    Source{"GPSAltitude", {}, {}, altitude},
    Source{"GPSSpeed", {kCGImagePropertyGPSDictionary, kCGImagePropertyGPSSpeed}},
    Source{"GPSDirection", {kCGImagePropertyGPSDictionary, kCGImagePropertyGPSImgDirection}},
    Source{"MapView", {}, {}, coordinate},
    Source{"Map", {}, {}, coordinate},
    Source{"Artist", tiff("Artist")},
    Source{"Copyright", tiff("Copyright")},
    Source{"Headline", iptc("Headline")},
    Source{"Title", iptc("ObjectName")},
    Source{"Caption", iptc("Caption/Abstract"), tiff("ImageDescription")},
    Source{"CaptionAbstract", iptc("Caption/Abstract"), tiff("ImageDescription")},
    Source{"UserComment", exif("UserComment")},
    Source{"Keywords", iptc("Keywords")},
    Source{"StarRating", iptc("StarRating")},
    Source{"City", iptc("City")},
    Source{"Country", iptc("Country/PrimaryLocationName")},
    Source{"Creator", iptc("Byline")},
    Source{"Credit", iptc("Credit")},
};

const Source* sourceOf(std::string_view key) {
    const auto found = std::ranges::find(kSources, key, &Source::key);
    return found == kSources.end() ? nullptr : &*found;
}

bool saysNothing(const Value& value) { return value.isNull() || value.description().empty(); }

std::string shutterSpeed(double seconds) {
    const double reciprocal = std::round(1 / seconds);
    if (seconds < 1 && std::fabs(1 / seconds - reciprocal) < 1e-6 * reciprocal)
        return formatted(localized("1/%0.0f seconds"), reciprocal);
    if (seconds == 1) return formatted(localized("%ld second"), 1);
    return formatted(localized("%@ seconds"), digits(seconds));
}

/// "-1/3", "+1 2/3", "+0.7": cameras count in thirds, which no decimal number says exactly.
std::string exposureBias(double stops) {
    const double thirds = std::round(stops * 3);
    const double magnitude = std::fabs(thirds);
    const std::string sign = stops > 0 ? "+" : stops < 0 ? "-" : "";
    if (std::fabs(stops * 3 - thirds) > 0.02 || std::fmod(magnitude, 3) == 0) return sign + digits(std::fabs(stops));
    const double whole = std::floor(magnitude / 3);
    return sign + (whole > 0 ? formatted("%0.0f ", whole) : std::string()) +
           formatted("%0.0f/3", std::fmod(magnitude, 3));
}

/// 46°33'33.48"N: rounded to a thousandth of a second, about three centimetres.
std::string sexagesimal(double degrees, const char* positiveMark, const char* negativeMark) {
    const double thousandths = std::round(std::fabs(degrees) * 3'600'000);
    return formatted("%0.0f°%0.0f'%@\"%@", std::floor(thousandths / 3'600'000),
                     std::floor(std::fmod(thousandths, 3'600'000) / 60'000),
                     decimals(std::fmod(thousandths, 60'000) / 1000, 3), degrees >= 0 ? positiveMark : negativeMark);
}

std::string coordinateText(const Array& place) {
    const double north = place[0].doubleValue();
    const double east = place[1].doubleValue();
    if (PersistanceManager::sharedInstance().shouldShowGPSInDecimalValues())
        return formatted("%@° %@°", decimals(north, 7), decimals(east, 7));
    return sexagesimal(north, "N", "S") + " " + sexagesimal(east, "E", "W");
}

std::string altitudeText(double metres) {
    const bool metric = PersistanceManager::sharedInstance().isUsingMetricUnits();
    return formatted(localized(metric ? "%@ m" : "%@ ft"), decimals(metric ? metres : metres * kFeetPerMetre, 3));
}

/// GPSSpeedRef says what was counted: kilometres, which hold where it is missing, miles or knots.
std::string speedText(const ExifInformation& record, double speed) {
    const std::string_view unit = valueIn(record.gpsDic, kCGImagePropertyGPSSpeedRef).string();
    const double kilometres = unit == "M"   ? speed * kKilometresPerMile
                              : unit == "N" ? speed * kKilometresPerNauticalMile
                                            : speed;
    const bool metric = PersistanceManager::sharedInstance().isUsingMetricUnits();
    return formatted(localized(metric ? "%@ km/h" : "%@ mph"),
                     decimals(metric ? kilometres : kilometres / kKilometresPerMile, 3));
}

std::string dateText(const ExifInformation& record, const std::string& asFormatted) {
    const auto time = clockTime(record);
    if (!time) return asFormatted;
    NSDate date = time->date;
    if (!time->fraction.empty()) date.timeIntervalSince1970 += std::strtod(("0." + time->fraction).c_str(), nullptr);
    std::string text = stampedDate(date);
    if (!time->zone.empty()) text += (text.ends_with(' ') ? "" : " ") + time->zone;
    return text;
}

std::string durationText(double seconds) {
    const double thousandths = std::round(seconds * 1000);
    const auto whole = static_cast<std::int64_t>(thousandths / 1000);
    std::string text = formatted("%02ld:%02ld:%02ld", whole / 3600, whole / 60 % 60, whole % 60);
    if (const std::string part = decimals(std::fmod(thousandths, 1000) / 1000, 3); part != "0") text += part.substr(1);
    return text;
}

/// The text of a key whose formatter rounds; "" for the others, whose texts hold.
std::string exactText(const ExifInformation& record, std::string_view key, const Value& stated,
                      const std::string& asFormatted) {
    const double number = first(stated).doubleValue();
    if (key == "FocalLength" || key == "FocalLenIn35mmFilm") return formatted(localized("%@ mm"), digits(number));
    if (key == "ExposureTime" || key == "ShutterSpeedStringValue")
        return number > 0 ? shutterSpeed(number) : std::string();
    if (key == "ApertureValue") return formatted("f/%@", digits(number));
    if (key == "ExposureBiasValue") return exposureBias(number);
    if (key == "DigitalZoomRatio" || key == "DPIWidth" || key == "DPIHeight" || key == "CompressedBitsPerPixel")
        return digits(number);
    if (key == "ResolutionInMegaPixel") return formatted(localized("%@ MegaPixels"), digits(number));
    if (key == "FramesPerSecond") return formatted(localized("%@ FPS"), digits(number));
    if (key == "Duration") return durationText(number);
    if (key == "DateTaken") return dateText(record, asFormatted);
    if (key == "GPS") return coordinateText(stated.array());
    if (key == "GPSAltitude") return altitudeText(number);
    if (key == "GPSSpeed") return speedText(record, number);
    return {};
}

}  // namespace

Value statedValue(const ExifInformation& record, std::string_view key) {
    const Source* const source = sourceOf(key);
    if (!source) return {};
    if (source->found) return source->found(record);
    const Value& value = valueAt(record, source->place);
    const Value& chosen = saysNothing(value) && !source->other.name.empty() ? valueAt(record, source->other) : value;
    if (saysNothing(chosen)) return {};
    return key.starts_with("ISOSpeed") ? first(chosen) : chosen;
}

ExifValue preciseValue(const ExifInformation& record, ExifValue item) {
    if (!sourceOf(item.uniqueID) || item.uniqueID == "MapView") return item;
    std::string& text = item.exifValueReadableFormat;
    const Value stated = statedValue(record, item.uniqueID);
    // Exif writes 0 for an unknown equivalent.
    const bool isUnknown = item.uniqueID == "FocalLenIn35mmFilm" && stated.doubleValue() <= 0;
    if (stated.isNull() || isUnknown) {
        if (text != ExifInformation::GPSDataNotAvailableString()) text = ExifInformation::exifNotAvailableString();
        item.exifRAWValue.clear();
        item.exifValueIconFileName.clear();
        return item;
    }
    if (std::string exact = exactText(record, item.uniqueID, stated, text); !exact.empty()) text = std::move(exact);
    // A code that the standard does not list is a fact all the same.
    if (text.empty()) text = stated.description();
    if (!item.exifRAWValue.empty())
        item.exifRAWValue = stated.isNumber() ? digits(stated.doubleValue()) : item.exifRAWValue;
    return item;
}

bool isEmptyRow(ExifInformation& record, std::string_view key) {
    const KeyResult result = record.performCustomSelector(key);
    const auto* const item = std::get_if<ExifValue>(&result);
    if (!item) return true;
    if (item->uniqueID == "MapView") return !record.location;
    const std::string& text = item->exifValueReadableFormat;
    return text.empty() || text == ExifInformation::exifNotAvailableString() ||
           text == ExifInformation::GPSDataNotAvailableString();
}

}  // namespace tessaly
