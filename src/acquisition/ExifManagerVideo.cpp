#include <algorithm>
#include <cmath>

#include "acquisition/ExifManager.h"
#include "acquisition/MeasuredFacts.h"
#include "platform/AVFoundation/AVAssetImageGenerator.h"
#include "platform/Foundation/Dispatch.h"
#include "platform/Foundation/Log.h"
#include "platform/ImageIO/CGImageProperties.h"
#include "platform/UIKit/UIScreen.h"

namespace tessaly {
namespace {

// ISO 6709 as cameras write it: "+51.4169-000.0806/". The split is fixed: eight characters, then nine.
constexpr std::size_t kLatitudeLength = 8;
constexpr std::size_t kLongitudeLength = 9;

/// How a camera exposed, as its messages or its stream's data tell; what stands behind this is the name in Exif.
constexpr std::string_view kExifItem = "exif/";

bool isExposure(std::string_view name) {
    return name == kCGImagePropertyExifExposureTime || name == kCGImagePropertyExifFNumber ||
           name == kCGImagePropertyExifFocalLength;
}

void readExif(const AVMetadataItem& item, ExifInformation& record) {
    const std::string name = item.identifier.substr(kExifItem.size());
    if (!record.exifDic) record.exifDic.emplace();
    record.exifDic->set(name, item.value);
    record.exifORTiffInfoAvailable = true;
    if (isExposure(name)) record.exifInfoAvailable = true;
}

void readLocation(std::string_view text, ExifInformation& record) {
    if (text.size() <= kLatitudeLength) return;
    CLLocation location;
    location.coordinate.latitude = Value(text.substr(0, kLatitudeLength)).doubleValue();
    location.coordinate.longitude = Value(text.substr(kLatitudeLength, kLongitudeLength)).doubleValue();
    record.location = location;
}

/// As a picture would have it: the record's location has the first digits only, and no height.
Dictionary gpsOf(const MeasuredPlace& place) {
    Dictionary gps{{kCGImagePropertyGPSLatitude, std::fabs(place.latitude)},
                   {kCGImagePropertyGPSLatitudeRef, place.latitude < 0 ? "S" : "N"},
                   {kCGImagePropertyGPSLongitude, std::fabs(place.longitude)},
                   {kCGImagePropertyGPSLongitudeRef, place.longitude < 0 ? "W" : "E"}};
    if (place.altitude) {
        gps.setLiteral(kCGImagePropertyGPSAltitude, std::fabs(*place.altitude));
        gps.setLiteral(kCGImagePropertyGPSAltitudeRef, *place.altitude < 0 ? 1 : 0);
    }
    return gps;
}

void readItem(const AVMetadataItem& item, ExifInformation& record) {
    Dictionary& tiff = *record.tifDic;
    if (item.commonKey == AVMetadataCommonKeyModel) {
        if (item.value.isString()) record.cameraModel = item.stringValue();
        tiff.setLiteral(kCGImagePropertyTIFFModel, item.value);
        record.exifInfoAvailable = true;
        record.exifORTiffInfoAvailable = true;
    } else if (item.commonKey == AVMetadataCommonKeySoftware) {
        tiff.setLiteral(kCGImagePropertyTIFFSoftware, item.value);
        record.exifORTiffInfoAvailable = true;
    } else if (item.commonKey == AVMetadataCommonKeyMake) {
        tiff.setLiteral(kCGImagePropertyTIFFMake, item.value);
        record.exifORTiffInfoAvailable = true;
    } else if (item.commonKey == AVMetadataCommonKeyLocation) {
        readLocation(item.stringValue(), record);
    } else if (item.identifier.starts_with(kExifItem)) {
        readExif(item, record);
    }
}

/// As large as the generator makes it: turned upright and fitted into the maximum.
CGSize pictureSize(const AVAssetTrack& video, CGSize maximum) {
    CGSize shown = video.naturalSize;
    if (video.rotationDegrees % 180 != 0) std::swap(shown.width, shown.height);
    const double longer = std::max(shown.width, shown.height);
    if (!(shown.width > 0) || !(shown.height > 0)) return {};
    const double factor = std::min({1.0, maximum.width / shown.width, maximum.height / shown.height});
    const double scale = std::max(1.0, std::floor(longer * factor)) / longer;
    return {std::max(1.0, std::round(shown.width * scale)), std::max(1.0, std::round(shown.height * scale))};
}

/// Waits for it, however long it takes.
CGImageRef generatedPicture(const std::shared_ptr<AVAsset>& asset, CGSize maximum) {
    AVAssetImageGenerator generator(asset);
    generator.appliesPreferredTrackTransform = true;
    generator.maximumSize = maximum;
    DispatchSemaphore arrived;
    CGImageRef picture;
    generator.generateCGImageAsynchronouslyForTime(0, [&](const CGImageRef& image, const std::string& error) {
        if (!image) log("couldn't generate thumbnail, error:%@", error);
        picture = image;
        arrived.signal();
    });
    arrived.wait();
    return picture;
}

/// Made when somebody looks: a movie takes long to decode, and a list of records shows few of them.
UIImageRef firstPicture(const std::shared_ptr<AVAsset>& asset) {
    const AVAssetTrack* video = asset->firstVideoTrack();
    if (!video) {
        log("couldn't generate thumbnail, error:%@", "there is no picture track");
        return nullptr;
    }
    const CGSize maximum = UIScreen::mainScreen().bounds;
    return UIImage::imageMadeOnDemand(pictureSize(*video, maximum),
                                      [asset, maximum] { return generatedPicture(asset, maximum); });
}

}  // namespace

ExifInformationRef ExifManager::exifInformationFromAsset(const AVAsset& asset, const NSURL& url) {
    auto record = std::make_shared<ExifInformation>();
    record->imageResultIsInCloud = false;
    record->setMediaType(PHAssetMediaTypeVideo);
    record->tifDic.emplace();
    record->imageFilePathURL = url;
    record->setFileNameCached(record->correctedImageFilePathURL().lastPathComponent());
    for (const AVMetadataItem& item : asset.metadata) readItem(item, *record);
    if (const auto place = measuredFacts(asset).place; place && record->location) record->gpsDic = gpsOf(*place);
    record->duration = asset.durationInSeconds;
    if (asset.creationDate) record->dateTaken = asset.creationDate->startDate;
    // A movie that tells no date was taken when its file was made.
    if (!record->dateTaken) record->dateTaken = asset.fileCreationDate;
    if (const AVAssetTrack* video = asset.firstVideoTrack()) {
        record->dimensions = video->naturalSize;
        record->framesPerSecondValue = video->nominalFrameRate;
    }
    record->fileSizeInBytes = static_cast<std::int64_t>(asset.byteCount);
    return record;
}

ExifInformationRef ExifManager::exifInformationFromVideoURL(const NSURL& url) {
    const auto asset = AVAsset::assetWithURL(url.path());
    auto record = exifInformationFromAsset(*asset, url);
    record->thumbNailImage = firstPicture(asset);
    record->setCachedThumbNailImage(record->thumbNailImage);
    return record;
}

}  // namespace tessaly
