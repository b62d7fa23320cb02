#include "metadata/ExifInformation.h"

#include <algorithm>

#include "platform/Foundation/NSBundle.h"
#include "platform/Foundation/NSDateFormatter.h"
#include "platform/ImageIO/CGImageProperties.h"
#include "platform/UIKit/MemoryWarning.h"
#include "platform/UIKit/UIScreen.h"

namespace tessaly {
namespace {

std::optional<Dictionary> subDictionary(const Dictionary& whole, std::string_view key) {
    const Value& value = whole[key];
    if (!value.isDictionary()) return std::nullopt;
    return value.dictionary();
}

/// The first of ISOSpeedRatings, or where that is absent ISOSpeed.
Value isoOf(const Dictionary& exif) {
    const Value& ratings = exif[kCGImagePropertyExifISOSpeedRatings];
    if (!ratings.isNull()) return ratings.isArray() ? ratings.array().first() : ratings;
    const Value& speed = exif[kCGImagePropertyExifISOSpeed];
    return speed.isNull() ? Value() : Value(speed.integerValue());
}

}  // namespace

ExifInformation::ExifInformation()
    : memoryWarning_(NSNotificationCenter::defaultCenter().addObserver(
          UIApplicationDidReceiveMemoryWarningNotification,
          [cached = cachedThumbNailImage_](const NSNotification&) { cached->store(nullptr); })) {}
ExifInformation::~ExifInformation() = default;

const Dictionary& ExifInformation::orEmpty(const std::optional<Dictionary>& dictionary) noexcept {
    static const Dictionary none;
    return dictionary ? *dictionary : none;
}

const Dictionary& ExifInformation::aux() const noexcept {
    return metaDataDictionary[kCGImagePropertyExifAuxDictionary].dictionary();
}

ExifInformationRef ExifInformation::exifInformationFromMetaDataDictionary(const Value& properties) {
    auto record = std::make_shared<ExifInformation>();
    if (!properties.isDictionary()) return record;
    const Dictionary& whole = properties.dictionary();
    record->metaDataDictionary = whole;
    record->exifDic = subDictionary(whole, kCGImagePropertyExifDictionary);
    record->tifDic = subDictionary(whole, kCGImagePropertyTIFFDictionary);
    record->iptcDic = subDictionary(whole, kCGImagePropertyIPTCDictionary);
    record->gpsDic = subDictionary(whole, kCGImagePropertyGPSDictionary);
    record->exifInfoAvailable = record->exifDic.has_value();
    record->exifORTiffInfoAvailable = record->exifDic || record->tifDic;
    record->dimensions = {static_cast<double>(whole[kCGImagePropertyPixelWidth].floatValue()),
                          static_cast<double>(whole[kCGImagePropertyPixelHeight].floatValue())};
    record->fillCameraValues();
    record->updateKeywordsArray();
    return record;
}

void ExifInformation::fillCameraValues() {
    const Dictionary& e = exif();
    focalLengthInmm = e[kCGImagePropertyExifFocalLength];
    iSOSpeed = isoOf(e).integerValue();
    shutterSpeedExposureTimeInSeconds = static_cast<double>(e[kCGImagePropertyExifExposureTime].floatValue());
    aperture_fStop = e[kCGImagePropertyExifFNumber];
    flashStatusCode = e[kCGImagePropertyExifFlash].integerValue();
    cameraModel = Model().exifValueReadableFormat;
    dateTaken = dateFromExifString(e[kCGImagePropertyExifDateTimeOriginal].string());
    // Colour space and pixel sizes alone, which every editor writes, are not what people call Exif.
    if (!e.contains(kCGImagePropertyExifFocalLength) && !e.contains(kCGImagePropertyExifFNumber) &&
        !e.contains(kCGImagePropertyExifExposureTime))
        exifInfoAvailable = false;
    if (!exifInfoAvailable) isScreenShot = hasScreenSize();
}

bool ExifInformation::hasScreenSize() const {
    const CGSize upright = UIScreen::mainScreen().nativeBounds;
    return dimensions == upright || dimensions == CGSize{upright.height, upright.width};
}

std::vector<ExifInformationRef> ExifInformation::exifInformationsArrayFrom(
    std::span<const std::shared_ptr<PHAsset>> assets) {
    std::vector<ExifInformationRef> records;
    records.reserve(assets.size());
    for (const auto& asset : assets) {
        records.push_back(std::make_shared<ExifInformation>());
        records.back()->phAsset = asset;
    }
    return records;
}

void ExifInformation::updateKeywordsArray() {
    if (!iptcDic) return;
    const Value& keywords = (*iptcDic)[kCGImagePropertyIPTCKeywords];
    keywordsArray = keywords.isArray() ? keywords.array() : Array();
}

std::string ExifInformation::fileNameCached() const {
    const std::lock_guard lock(mutex_);
    return fileNameCached_;
}

void ExifInformation::setFileNameCached(std::string_view name) {
    const std::lock_guard lock(mutex_);
    fileNameCached_ = name;
}

ExifInformation::ImageFetchHandler ExifInformation::imageFetchCompletionHandler() const {
    const std::lock_guard lock(mutex_);
    return imageFetchCompletionHandler_;
}

void ExifInformation::setImageFetchCompletionHandler(ImageFetchHandler handler) {
    const std::lock_guard lock(mutex_);
    std::swap(imageFetchCompletionHandler_, handler);
}

NSURL ExifInformation::correctedImageFilePathURL() const {
    constexpr std::string_view rendered = "/Adjustments/FullSizeRender";
    std::string text = imageFilePathURL.absoluteString();
    auto at = text.find(rendered);
    if (at == std::string::npos) return imageFilePathURL;
    // On from where it was cut: what two halves make when they meet was never a part of the path.
    for (; at != std::string::npos; at = text.find(rendered, at)) text.erase(at, rendered.size());
    return NSURL::URLWithString(text);
}

ExifInformationRef ExifInformation::editedEXIFInfo() {
    if (editedEXIFInfo_) return editedEXIFInfo_;
    auto copy = std::make_shared<ExifInformation>();
    copy->exifInfoAvailable = exifInfoAvailable;
    copy->exifORTiffInfoAvailable = exifORTiffInfoAvailable;
    copy->exifDic = exifDic;
    copy->tifDic = tifDic;
    copy->gpsDic = gpsDic;
    copy->iptcDic = iptcDic;
    copy->keywordsArray = keywordsArray;
    copy->metaDataDictionary = metaDataDictionary;
    copy->location = location;
    copy->dateTaken = dateTaken;
    copy->dateCreated = dateCreated;
    copy->setMediaType(mediaType());
    editedEXIFInfo_ = std::move(copy);
    return editedEXIFInfo_;
}

void ExifInformation::addToEditedExifValues(const ExifValue& value) {
    const auto found = std::ranges::find(editedValuesArray, value.uniqueID, &ExifValue::uniqueID);
    if (found != editedValuesArray.end())
        *found = value;
    else
        editedValuesArray.push_back(value);
}

std::string ExifInformation::exifNotAvailableString() { return localized("Not available"); }
std::string ExifInformation::GPSDataNotAvailableString() { return localized("GPS Data not available"); }

void ExifInformation::setNotAvailableStringIfExifNotAvailable(ExifValue& value) const {
    if (!exifInfoAvailable && value.exifValueReadableFormat.empty())
        value.exifValueReadableFormat = exifNotAvailableString();
}

void ExifInformation::setGPSNotAvailableStringIfExifNotAvailable(ExifValue& value) const {
    if (!gpsInfoAvailable() && value.exifValueReadableFormat.empty())
        value.exifValueReadableFormat = GPSDataNotAvailableString();
}

ExifValue ExifInformation::marked(ExifValue value) const {
    setNotAvailableStringIfExifNotAvailable(value);
    return value;
}

ExifValue ExifInformation::markedForGPS(ExifValue value) const {
    setGPSNotAvailableStringIfExifNotAvailable(value);
    return value;
}

}  // namespace tessaly
