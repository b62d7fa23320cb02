#include "acquisition/MeasuredFacts.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <ctime>

#include "platform/CoreLocation/CLLocation.h"
#include "platform/Foundation/Format.h"
#include "platform/Foundation/NSTimeZone.h"
#include "platform/ImageIO/CGImageProperties.h"

namespace tessaly {
namespace {

bool isDigit(char c) { return c >= '0' && c <= '9'; }

/// Whether `text` begins as `shape` says, where 0 stands for a digit.
bool hasShape(std::string_view text, std::string_view shape) {
    return text.size() >= shape.size() && std::ranges::equal(text.substr(0, shape.size()), shape, [](char c, char s) {
               return s == '0' ? isDigit(c) : c == s;
           });
}

/// "+02:00", "+0200", "+02" or "Z" at the end of a text, as "+02:00"; "" for none.
std::string offsetOf(std::string_view text) {
    while (text.ends_with(' ') || text.ends_with('\0')) text.remove_suffix(1);
    if (text.ends_with('Z') || text.ends_with('z')) return "+00:00";
    const auto sign = text.find_last_of("+-");
    if (sign == std::string_view::npos) return {};
    text.remove_prefix(sign);
    std::string offset(text);
    if (hasShape(text.substr(1), "0000") && text.size() == 5)
        offset = std::string(text.substr(0, 3)).append(":").append(text.substr(3));
    if (hasShape(text.substr(1), "00") && text.size() == 3) offset.append(":00");
    return offset.size() == 6 && hasShape(std::string_view(offset).substr(1), "00:00") ? offset : std::string();
}

int secondsOf(std::string_view offset) {
    if (offset.size() != 6) return 0;
    const auto number = [&](std::size_t at) { return (offset[at] - '0') * 10 + (offset[at + 1] - '0'); };
    return (offset.front() == '-' ? -1 : 1) * (number(1) * 3600 + number(4) * 60);
}

std::string clockTime(NSDate date, int offset) {
    const auto seconds = static_cast<std::time_t>(std::floor(date.timeIntervalSince1970)) + offset;
    std::tm civil{};
    ::gmtime_r(&seconds, &civil);
    return formatted("%04d-%02d-%02dT%02d:%02d:%02d", civil.tm_year + 1900, civil.tm_mon + 1, civil.tm_mday,
                     civil.tm_hour, civil.tm_min, civil.tm_sec);
}

/// "2024:09:14 18:52:07" of Exif; "" of a date that has unknown parts.
std::string dateOf(const Dictionary& exif) {
    constexpr std::size_t length = 19;
    const std::string_view text = exif[kCGImagePropertyExifDateTimeOriginal].string();
    if (!hasShape(text, "0000:00:00 00:00:00") || text.starts_with("0000") || text.substr(5, 2) == "00" ||
        text.substr(8, 2) == "00")
        return {};
    std::string date(text.substr(0, length));
    date[4] = date[7] = '-';
    date[10] = 'T';
    return date + offsetOf(exif["OffsetTimeOriginal"].string());
}

std::optional<double> numberOf(const Value& value) {
    if (!value.isNumber() || !std::isfinite(value.doubleValue())) return std::nullopt;
    return value.doubleValue();
}

/// Degrees that are told with their hemisphere; some writers give them a sign instead.
std::optional<double> degreesOf(const Value& degrees, const Value& reference, std::string_view negative) {
    const auto number = numberOf(degrees);
    const std::string_view letter = reference.string();
    const bool isNegative = letter.size() == 1 && negative.find(letter.front()) != std::string_view::npos;
    return number && isNegative ? std::optional(-*number) : number;
}

std::optional<MeasuredPlace> placeOf(const Dictionary& gps) {
    const auto latitude = degreesOf(gps[kCGImagePropertyGPSLatitude], gps[kCGImagePropertyGPSLatitudeRef], "Ss");
    const auto longitude = degreesOf(gps[kCGImagePropertyGPSLongitude], gps[kCGImagePropertyGPSLongitudeRef], "Ww");
    if (!latitude || !longitude || !CLLocationCoordinate2DIsValid({*latitude, *longitude})) return std::nullopt;
    MeasuredPlace place{*latitude, *longitude, numberOf(gps[kCGImagePropertyGPSAltitude]),
                        numberOf(gps[kCGImagePropertyGPSImgDirection]), numberOf(gps[kCGImagePropertyGPSSpeed])};
    // 1 is below the sea, 3 below the ellipsoid (Exif 3.0, 4.6.7.1.6).
    const auto reference = gps[kCGImagePropertyGPSAltitudeRef].integerValue();
    if (place.altitude && (reference == 1 || reference == 3)) place.altitude = -std::abs(*place.altitude);
    return place;
}

/// ISO 6709, annex H: "+51.4169-000.0806+012.3/". Degrees, or degrees and minutes, or seconds too, by the digits before
/// the point; the height in metres.
std::optional<MeasuredPlace> placeOf(std::string_view text) {
    std::array<std::optional<double>, 3> parts;
    for (std::size_t i = 0; i < parts.size() && (text.starts_with('+') || text.starts_with('-')); ++i) {
        const double sign = text.starts_with('-') ? -1 : 1;
        text.remove_prefix(1);
        double number = 0;
        const auto [end, error] =
            std::from_chars(text.data(), text.data() + text.size(), number, std::chars_format::fixed);
        if (error != std::errc{} || !isDigit(text.front())) return std::nullopt;
        const auto digits = static_cast<std::size_t>(std::ranges::find_if_not(text, isDigit) - text.begin());
        if (i < 2 && digits >= 4 + i) {
            const bool hasSeconds = digits >= 6 + i;
            const double seconds = hasSeconds ? std::fmod(number, 100) : 0;
            const double rest = hasSeconds ? std::floor(number / 100) : number;
            number = std::floor(rest / 100) + std::fmod(rest, 100) / 60 + seconds / 3600;
        }
        parts.at(i) = sign * number;
        text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    }
    if (!parts[0] || !parts[1] || !CLLocationCoordinate2DIsValid({*parts[0], *parts[1]})) return std::nullopt;
    return MeasuredPlace{*parts[0], *parts[1], parts[2], std::nullopt, std::nullopt};
}

}  // namespace

MeasuredFacts measuredFacts(const Dictionary& properties) {
    return {dateOf(properties[kCGImagePropertyExifDictionary].dictionary()),
            placeOf(properties[kCGImagePropertyGPSDictionary].dictionary())};
}

MeasuredFacts measuredFacts(const AVAsset& asset) {
    MeasuredFacts facts;
    for (const AVMetadataItem& item : asset.metadata)
        if (item.commonKey == AVMetadataCommonKeyLocation && !facts.place) facts.place = placeOf(item.stringValue());
    if (!asset.creationDate || !asset.creationDate->startDate) return facts;
    const NSDate date = *asset.creationDate->startDate;
    // The movie's header counts in UTC; a text has an offset behind its time, or a camera's clock showed it.
    const std::string_view text = asset.creationDate->stringValue();
    const auto time = text.find_first_of("T ");
    const std::string offset = !asset.creationDate->value.isString() ? "+00:00"
                               : time == std::string_view::npos      ? std::string()
                                                                     : offsetOf(text.substr(time));
    facts.dateTaken = clockTime(date, offset.empty() ? NSTimeZone::secondsFromGMT(date) : secondsOf(offset)) + offset;
    return facts;
}

}  // namespace tessaly
