#include "linux/photos/AssetFacts.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <vector>

#include "linux/imageio/Text.h"
#include "linux/photos/MotionPhoto.h"
#include "platform/AVFoundation/AVAsset.h"
#include "platform/Foundation/NSDateFormatter.h"
#include "platform/ImageIO/CGImageProperties.h"
#include "platform/ImageIO/CGImageSource.h"
#include "platform/Photos/PHAsset.h"

namespace tessaly::photos {
namespace {

using std::string_view_literals::operator""sv;

constexpr std::int64_t kNanoseconds = 1'000'000'000;

/// What the camera's clock showed, whatever zone it tells: a record reads its date the same way.
std::optional<NSDate> dateOf(std::string_view text, std::string_view fraction) {
    auto date = dateFromExifString(text);
    if (!date) return std::nullopt;
    if (!fraction.empty() && std::ranges::all_of(fraction, [](char c) { return c >= '0' && c <= '9'; }))
        date->timeIntervalSince1970 += Value("0." + std::string(fraction.substr(0, 9))).doubleValue();
    return date;
}

std::optional<NSDate> creationOf(const Dictionary& properties) {
    const Dictionary& exif = properties[kCGImagePropertyExifDictionary].dictionary();
    if (auto date = dateOf(exif["DateTimeOriginal"].string(), exif["SubsecTimeOriginal"].string())) return date;
    if (auto date = dateOf(exif["DateTimeDigitized"].string(), {})) return date;
    return dateOf(properties[kCGImagePropertyTIFFDictionary].dictionary()["DateTime"].string(), {});
}

std::optional<CLLocation> placeOf(const Dictionary& gps) {
    if (gps[kCGImagePropertyGPSLatitude].isNull() || gps[kCGImagePropertyGPSLongitude].isNull()) return std::nullopt;
    const auto is = [&](std::string_view key, char letter) {
        const std::string_view text = gps[key].string();
        return text.size() == 1 && (text[0] | 0x20) == letter;
    };
    CLLocation place;
    place.coordinate.latitude =
        gps[kCGImagePropertyGPSLatitude].doubleValue() * (is(kCGImagePropertyGPSLatitudeRef, 's') ? -1 : 1);
    place.coordinate.longitude =
        gps[kCGImagePropertyGPSLongitude].doubleValue() * (is(kCGImagePropertyGPSLongitudeRef, 'w') ? -1 : 1);
    if (!CLLocationCoordinate2DIsValid(place.coordinate)) return std::nullopt;
    // Of the reference 1 it is a depth below the sea.
    place.altitude = gps[kCGImagePropertyGPSAltitude].doubleValue() *
                     (gps[kCGImagePropertyGPSAltitudeRef].integerValue() == 1 ? -1 : 1);
    if (!gps[kCGImagePropertyGPSImgDirection].isNull())
        place.course = gps[kCGImagePropertyGPSImgDirection].doubleValue();
    return place;
}

/// ISO 6709, annex H: "+48.8577+002.295+035/"; signs part the numbers.
std::optional<CLLocation> placeOf(std::string_view text) {
    std::vector<double> numbers;
    for (std::size_t at = 0; at < text.size() && (text[at] == '+' || text[at] == '-');) {
        const std::size_t end = std::min(text.find_first_of("+-/C", at + 1), text.size());
        numbers.push_back(
            Value(text.substr(text[at] == '+' ? at + 1 : at, end - at - (text[at] == '+' ? 1 : 0))).doubleValue());
        at = end;
    }
    if (numbers.size() < 2) return std::nullopt;
    CLLocation place;
    place.coordinate = {numbers[0], numbers[1]};
    if (numbers.size() > 2) place.altitude = numbers[2];
    return CLLocationCoordinate2DIsValid(place.coordinate) ? std::optional(place) : std::nullopt;
}

/// Made by no camera, and called so by whoever made it.
bool isScreenshot(const Dictionary& properties, const std::string& path) {
    if (!properties[kCGImagePropertyTIFFDictionary].dictionary()[kCGImagePropertyTIFFMake].isNull()) return false;
    const std::string_view comment = properties[kCGImagePropertyExifDictionary].dictionary()["UserComment"].string();
    if (comment == "Screenshot") return true;
    const std::filesystem::path file(path);
    const std::string name = imageio::lowerCase(file.filename().string());
    const std::string folder = imageio::lowerCase(file.parent_path().filename().string());
    static constexpr std::array kMarks{"screenshot"sv, "screen shot"sv, "bildschirmfoto"sv, "screen_shot"sv};
    return folder == "screenshots" ||
           std::ranges::any_of(kMarks, [&](std::string_view mark) { return name.starts_with(mark); });
}

void readImage(const CGImageSourceRef& source, const std::string& path, AssetFacts& facts) {
    const Dictionary properties = CGImageSourceCopyPropertiesAtIndex(source, 0, {}).value_or(Dictionary());
    facts.mediaType = PHAssetMediaTypeImage;
    facts.typeIdentifier = CGImageSourceGetType(source);
    facts.created = creationOf(properties);
    facts.location = placeOf(properties[kCGImagePropertyGPSDictionary].dictionary());
    facts.width =
        static_cast<std::uint64_t>(std::max<std::int64_t>(0, properties[kCGImagePropertyPixelWidth].integerValue()));
    facts.height =
        static_cast<std::uint64_t>(std::max<std::int64_t>(0, properties[kCGImagePropertyPixelHeight].integerValue()));
    if (properties[kCGImagePropertyOrientation].integerValue() >= 5) std::swap(facts.width, facts.height);
    facts.contentIdentifier = properties[kCGImagePropertyMakerAppleDictionary].dictionary()["17"].string();
    if (isScreenshot(properties, path)) facts.subtypes |= PHAssetMediaSubtypePhotoScreenshot;
    facts.embeddedVideoAt = embeddedMovie(path, CGImageSourceCopyMetadataAtIndex(source, 0, {}).value_or(Dictionary()),
                                          properties[kCGImagePropertyTIFFDictionary].dictionary()["Make"].string());
    if (facts.embeddedVideoAt) facts.subtypes |= PHAssetMediaSubtypePhotoLive;
}

void readMovie(const AVAsset& movie, AssetFacts& facts) {
    facts.mediaType = PHAssetMediaTypeVideo;
    facts.typeIdentifier = movie.typeIdentifier;
    facts.duration = movie.durationInSeconds;
    if (movie.creationDate) facts.created = movie.creationDate->startDate;
    for (const AVMetadataItem& item : movie.metadata) {
        if (item.commonKey == AVMetadataCommonKeyLocation && !facts.location)
            facts.location = placeOf(item.stringValue());
        if (item.identifier.ends_with("content.identifier")) facts.contentIdentifier = item.stringValue();
    }
    if (const AVAssetTrack* video = movie.firstVideoTrack()) {
        facts.width = static_cast<std::uint64_t>(std::max(0.0, video->naturalSize.width));
        facts.height = static_cast<std::uint64_t>(std::max(0.0, video->naturalSize.height));
        if (video->rotationDegrees % 180 != 0) std::swap(facts.width, facts.height);
    }
}

}  // namespace

std::optional<FileStamp> FileStamp::of(const std::string& path) {
    struct statx status {};
    constexpr unsigned kWanted = STATX_TYPE | STATX_SIZE | STATX_MTIME | STATX_INO | STATX_BTIME;
    if (::statx(AT_FDCWD, path.c_str(), 0, kWanted, &status) != 0 || !S_ISREG(status.stx_mode)) return std::nullopt;
    const auto nanoseconds = [](const statx_timestamp& time) { return time.tv_sec * kNanoseconds + time.tv_nsec; };
    return FileStamp{status.stx_size, nanoseconds(status.stx_mtime), status.stx_ino,
                     makedev(status.stx_dev_major, status.stx_dev_minor),
                     (status.stx_mask & STATX_BTIME) != 0 ? nanoseconds(status.stx_btime) : 0};
}

AssetFacts AssetFacts::read(const std::string& path, const FileStamp& stamp) {
    AssetFacts facts;
    if (const auto source = CGImageSourceCreateWithURL(path)) {
        readImage(source, path, facts);
    } else if (const auto movie = AVAsset::assetWithURL(path); movie->fault == AVAssetFault::none) {
        readMovie(*movie, facts);
    }
    facts.isDated = facts.created.has_value();
    if (!facts.created) facts.created = NSDate{static_cast<double>(stamp.changed) / static_cast<double>(kNanoseconds)};
    return facts;
}

}  // namespace tessaly::photos
