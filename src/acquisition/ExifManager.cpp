#include "acquisition/ExifManager.h"

#include <filesystem>

#include "acquisition/UIImage+Resize.h"
#include "platform/Foundation/Log.h"
#include "platform/Foundation/NSLocale.h"
#include "platform/ImageIO/CGImageProperties.h"
#include "settings/PersistanceManager.h"

namespace tessaly {
namespace {

double sign(const Value& reference, std::string_view negative) {
    const std::string_view text = reference.string();
    return text.size() == 1 && negative.find(text) != std::string_view::npos ? -1 : 1;
}

/// Altitude and speed are taken as they are stored: neither below sea level nor the speed's unit is applied.
CLLocation locationOf(const Dictionary& gps) {
    CLLocation location;
    location.coordinate.latitude =
        sign(gps[kCGImagePropertyGPSLatitudeRef], "Ss") * gps[kCGImagePropertyGPSLatitude].doubleValue();
    location.coordinate.longitude =
        sign(gps[kCGImagePropertyGPSLongitudeRef], "Ww") * gps[kCGImagePropertyGPSLongitude].doubleValue();
    location.altitude = gps[kCGImagePropertyGPSAltitude].doubleValue();
    location.course = gps[kCGImagePropertyGPSImgDirection].doubleValue();
    location.speed = gps[kCGImagePropertyGPSSpeed].doubleValue();
    return location;
}

/// 65535 says that the sensitivity is too large for its field; others tell it then (Exif 2.32, 4.6.5,
/// PhotographicSensitivity). The properties stay as the file has them.
void tellSensitivity(ExifInformation& record) {
    constexpr std::int64_t tooLarge = 65535;
    if (!record.exifDic) return;
    const Value& told = (*record.exifDic)[kCGImagePropertyExifISOSpeedRatings];
    if ((told.isArray() ? told.array().first() : told).integerValue() != tooLarge) return;
    for (const std::string_view name : {std::string_view("RecommendedExposureIndex"),
                                        std::string_view("StandardOutputSensitivity"), kCGImagePropertyExifISOSpeed}) {
        const auto sensitivity = (*record.exifDic)[name].integerValue();
        if (sensitivity <= 0) continue;
        record.exifDic->set(kCGImagePropertyExifISOSpeedRatings, Array{sensitivity});
        record.iSOSpeed = sensitivity;
        return;
    }
}

}  // namespace

ExifManager::ExifManager() : dateFormatter_("yyyy:MM:dd HH:mm:ss", NSLocale::systemLocale()) {}

const ExifManager& ExifManager::sharedInstance() {
    static const ExifManager instance;
    return instance;
}

std::optional<Dictionary> ExifManager::metadataFromImageSource(const CGImageSourceRef& source) {
    if (!source) return std::nullopt;
    if (isLogging()) log("ImageSource Count %ld", CGImageSourceGetCount(source));
    const Dictionary options{{kCGImageSourceShouldCache, false}};
    if (auto properties = CGImageSourceCopyPropertiesAtIndex(source, 0, options)) return properties;
    return CGImageSourceCopyMetadataAtIndex(source, 0, options);
}

std::optional<Dictionary> ExifManager::metadataFromImageURL(const NSURL& url) {
    if (url.empty()) return std::nullopt;
    return metadataFromImageSource(CGImageSourceCreateWithURL(url.path()));
}

std::optional<Dictionary> ExifManager::metadataFromImageData(const Data& data) {
    if (!data) return std::nullopt;
    return metadataFromImageSource(CGImageSourceCreateWithData(data));
}

ExifInformationRef ExifManager::exifInformationWithMetadataDict(const std::optional<Dictionary>& properties) {
    auto record = ExifInformation::exifInformationFromMetaDataDictionary(properties ? Value(*properties) : Value());
    tellSensitivity(*record);
    if (record->gpsDic) record->location = locationOf(*record->gpsDic);
    return record;
}

ExifInformationRef ExifManager::exifInformationFromNSData(const Data& data) {
    auto record = exifInformationWithMetadataDict(metadataFromImageData(data));
    record->thumbNailImage = UIImage::imageWithData(data);
    record->imageData = data;
    record->fileSizeInBytes = data ? static_cast<std::int64_t>(data->size()) : 0;
    return record;
}

ExifInformationRef ExifManager::exifInformationFromSource(const CGImageSourceRef& source, const NSURL& url) {
    auto record = exifInformationWithMetadataDict(metadataFromImageSource(source));
    record->imageResultIsInCloud = false;
    record->fileSizeInBytes = static_cast<std::int64_t>(CGImageSourceGetByteCount(source));
    record->imageFilePathURL = url;
    return record;
}

ExifInformationRef ExifManager::exifinformationFromNSURL(const NSURL& url) {
    log("exifinformationFromNSURL %@", url.absoluteString());
    const auto source = CGImageSourceCreateWithURL(url.path());
    auto record = exifInformationFromSource(source, url);
    // What is no picture has a size all the same.
    std::error_code error;
    const auto size = source ? 0 : std::filesystem::file_size(url.path(), error);
    if (!source && !error) record->fileSizeInBytes = static_cast<std::int64_t>(size);
    if (!record->thumbNailImage) record->thumbNailImage = UIImageResize::thumbNailImageFromImageSource(source);
    return record;
}

ExifInformationRef ExifManager::exifInformationFromImage(const UIImageRef& image) {
    const auto properties = metadataFromImageData(UIImagePNGRepresentation(image));
    auto record = ExifInformation::exifInformationFromMetaDataDictionary(properties ? Value(*properties) : Value());
    record->imageResultIsInCloud = false;
    record->thumbNailImage = image;
    return record;
}

ExifInformationRef ExifManager::exifInformationForImageFileAtPath(const std::string& path) {
    const auto properties = CGImageSourceCopyPropertiesAtIndex(CGImageSourceCreateWithURL(path), 0, {});
    auto record = ExifInformation::exifInformationFromMetaDataDictionary(properties ? Value(*properties) : Value());
    record->imageFilePath = path;
    record->imageFilePathURL = NSURL::URLWithString(path);
    return record;
}

std::vector<ExifInformationRef> ExifManager::exifDataItemsArrayAndFilterFromExifArray(
    std::span<const ExifInformationRef> records) {
    const PersistanceManager& settings = PersistanceManager::sharedInstance();
    const std::uint64_t filter = settings.locationFilter();
    const bool hidesBare = settings.shouldHidePhotosWithoutExifDetails();
    std::vector<ExifInformationRef> kept;
    for (const ExifInformationRef& record : records) {
        const bool located = record->gpsInfoAvailable();
        if ((filter == 1 && !located) || (filter == 2 && located)) continue;
        if (hidesBare && !record->exifInfoAvailable && !record->imageResultIsInCloud) continue;
        kept.push_back(record);
    }
    return kept;
}

}  // namespace tessaly
