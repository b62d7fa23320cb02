#pragma once
#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "metadata/ExifKey.h"
#include "metadata/ExifValue.h"
#include "platform/CoreGraphics/CGGeometry.h"
#include "platform/CoreLocation/CLLocation.h"
#include "platform/Foundation/Dispatch.h"
#include "platform/Foundation/NSNotificationCenter.h"
#include "platform/Foundation/NSURL.h"
#include "platform/Foundation/Value.h"
#include "platform/Photos/PHAsset.h"
#include "platform/UIKit/UIImage.h"

namespace tessaly {

class ExifInformation;
using ExifInformationRef = std::shared_ptr<ExifInformation>;

/// What a key name answers: a displayable item, a stored object (raw accessors), or nothing for a name that is unknown.
using KeyResult = std::variant<std::monostate, ExifValue, Value>;

/// The record of one photo or video: what its metadata says, and what was found out about its file. Items are computed
/// from it on demand, by formatters that bear the names of their keys. It reads nothing itself, but for a thumbnail
/// that is fetched before it is needed.
///
/// Fields are for one thread at a time, but for the atomic ones, which readers set from their queues.
class ExifInformation : public std::enable_shared_from_this<ExifInformation> {
public:
    ExifInformation();
    ExifInformation(const ExifInformation&) = delete;
    ExifInformation& operator=(const ExifInformation&) = delete;
    ~ExifInformation();

    /// From an image's properties. Anything but a dictionary yields a record without metadata; never null.
    [[nodiscard]] static ExifInformationRef exifInformationFromMetaDataDictionary(const Value& dictionary);
    /// A record an asset, in the same order, with nothing else set.
    [[nodiscard]] static std::vector<ExifInformationRef> exifInformationsArrayFrom(
        std::span<const std::shared_ptr<PHAsset>> assets);

    // The properties as the reader delivered them. Absent is nullopt; an absent dictionary reads as an empty one.
    Dictionary metaDataDictionary;
    std::optional<Dictionary> exifDic, tifDic, gpsDic, iptcDic;
    std::optional<Array> keywordsArray;

    std::optional<NSDate> dateTaken, dateCreated, dateModified;
    Value rating;
    CGSize dimensions;  ///< Pixels.
    std::int64_t fileSizeInBytes = 0;
    /// Of the paired video of a live photo; 0 without one. Grows while a reader still counts.
    std::atomic<std::int64_t> liveVideoFileSizeInBytes{0};
    std::string cameraMaker, cameraModel, cameraSubject;
    Value aperture_fStop;
    Value shutterSpeedExposureTimeInSeconds;
    Value iSOSpeed;
    Value exposureBias;
    Value focalLengthInmm;
    std::string meteringMode, flashMode;
    std::int64_t flashStatusCode = 0;
    std::string locationName;
    std::optional<CLLocation> location;
    float framesPerSecondValue = 0;
    double duration = 0;  ///< Seconds.

    bool exifInfoAvailable = false;        ///< Exif with at least one of focal length, F-number and exposure time.
    bool exifORTiffInfoAvailable = false;  ///< An Exif or a TIFF dictionary.
    bool isScreenShot = false;
    bool isRAWFile = false;
    bool isFetchingFullInfo = false, didFetchedFullInfo = false;
    std::atomic<bool> hasFetchedFromPHAsset{false}, hasFetchedEXIFInformation{false};
    /// A new record is taken to be in the cloud until a reader says otherwise.
    std::atomic<bool> imageResultIsInCloud{true};
    std::atomic<bool> hasForceDownloadedImageResultFromCloud{false}, hasFinishedDownloadingImageResultFromCloud{false};
    bool editedChanges = false;

    std::shared_ptr<PHAsset> phAsset;
    std::string imageFilePath;
    NSURL imageFilePathURL;
    Data imageData;
    UIImageRef thumbNailImage, fullResolutionTempImage;
    Dictionary cachedPHAssetInfoDictionary;
    float iCloudDownloadProgress = -1;  ///< 0 to 1; -1 is "not downloading".
    std::int32_t imageRequestID = 0;    ///< Of the request that is under way.
    /// Makes that picture smaller; null for nothing to do.
    std::shared_ptr<BlockOperation> imageScaleDownOperation;
    std::vector<ExifValue> editedValuesArray;  ///< At most one a key, in the order of the first edit.

    /// Whether the place is known. There is nothing to set: `location` decides.
    [[nodiscard]] bool gpsInfoAvailable() const noexcept { return location.has_value(); }
    /// The asset's media type, or the stored one without an asset.
    [[nodiscard]] std::int64_t mediaType() const noexcept { return phAsset ? phAsset->mediaType : storedMediaType_; }
    /// The stored one: an edited copy has no asset.
    [[nodiscard]] std::int64_t mediaTypeForEditedCase() const noexcept { return storedMediaType_; }
    void setMediaType(std::int64_t type) noexcept { storedMediaType_ = type; }
    [[nodiscard]] std::string fileNameCached() const;
    void setFileNameCached(std::string_view name);
    [[nodiscard]] ExifInformationRef photosAppEditedVersion() const { return photosAppEditedVersion_.load(); }
    void setPhotosAppEditedVersion(ExifInformationRef version) { photosAppEditedVersion_ = std::move(version); }

    /// Fetched early, and dropped when memory is short. Any thread.
    [[nodiscard]] UIImageRef cachedThumbNailImage() const { return cachedThumbNailImage_->load(); }
    void setCachedThumbNailImage(UIImageRef image) { *cachedThumbNailImage_ = std::move(image); }
    /// Takes what the request under way brings: bytes, their type, orientation, info. Any thread.
    using ImageFetchHandler =
        std::function<void(const Data&, const std::string&, UIImageOrientation, const Dictionary&)>;
    [[nodiscard]] ImageFetchHandler imageFetchCompletionHandler() const;
    void setImageFetchCompletionHandler(ImageFetchHandler handler);
    /// Fetches the asset's picture for cachedThumbNailImage, unless that is there. A record that goes meanwhile is not
    /// kept for it. Main thread, like its end.
    void prefetchAsset();
    void cancelPrefetch();

    /// The file's URL with every "/Adjustments/FullSizeRender" taken out: the unedited file of a rendered edit.
    [[nodiscard]] NSURL correctedImageFilePathURL() const;
    void setCorrectedImageFilePathURL(NSURL url) { storedCorrectedURL_ = std::move(url); }

    /// A working copy for the editor, made on first use.
    [[nodiscard]] ExifInformationRef editedEXIFInfo();
    void setEditedEXIFInfo(ExifInformationRef info) { editedEXIFInfo_ = std::move(info); }
    /// Replaces the edited value of the same key, or appends.
    void addToEditedExifValues(const ExifValue& value);
    /// Keywords from the IPTC dictionary, where there is one.
    void updateKeywordsArray();

    [[nodiscard]] Dictionary copyExifDictionary() const { return exif(); }
    [[nodiscard]] Dictionary copyTIFFDictionary() const { return tiff(); }
    [[nodiscard]] Dictionary copyGPSDictionary() const { return gps(); }
    [[nodiscard]] Dictionary copyIPTCDictionary() const { return iptc(); }
    [[nodiscard]] Dictionary copyMetadataDictionary() const { return metaDataDictionary; }

    [[nodiscard]] static std::string exifNotAvailableString();
    [[nodiscard]] static std::string GPSDataNotAvailableString();
    void setNotAvailableStringIfExifNotAvailable(ExifValue& value) const;
    void setGPSNotAvailableStringIfExifNotAvailable(ExifValue& value) const;
    void handleMemoryWarning() { setCachedThumbNailImage(nullptr); }

    /// The item of a key name, which is its formatter's name to the letter. An unknown name answers nothing.
    [[nodiscard]] KeyResult performCustomSelector(std::string_view key);
    [[nodiscard]] KeyResult exifValueFor(const ExifKey& key) { return performCustomSelector(key.key); }
    /// The record in a few lines of text: the visible keys of the share list.
    [[nodiscard]] std::string shortExifStringsForShare();
    /// Every key name that has a formatter, without the raw accessors.
    [[nodiscard]] static std::span<const std::string_view> keyNames() noexcept;

    /// "1/250 seconds".
    [[nodiscard]] std::string shutterSpeedString() const;
    /// The F-number of an APEX aperture value, with one digit.
    [[nodiscard]] static std::string FStopsFromApexValue(float apex);
    /// Degrees, minutes and seconds with hemispheres, or decimal degrees, as the setting says.
    [[nodiscard]] static std::string coordinateInReadableFormat(double latitude, double longitude);
    [[nodiscard]] static std::string coordinateInReadableDecimalFormat(double latitude, double longitude);
    /// Greatest common divisor by Euclid: of (a, 0) it is a.
    [[nodiscard]] static std::int64_t GCD_with(std::int64_t a, std::int64_t b) noexcept;

    // Camera and lens.
    [[nodiscard]] ExifValue Make() const;
    [[nodiscard]] ExifValue Model() const;
    [[nodiscard]] ExifValue CameraMakeAndModel() const;
    [[nodiscard]] ExifValue CameraSerialNumber() const;
    [[nodiscard]] ExifValue LensMake() const;
    [[nodiscard]] ExifValue LensModel() const;
    [[nodiscard]] ExifValue LensSerialNumber() const;
    [[nodiscard]] ExifValue Software() const;
    [[nodiscard]] ExifValue MakerNote() const;
    [[nodiscard]] ExifValue FilmMode() const;
    [[nodiscard]] ExifValue shutterCount() const;
    // Exposure.
    [[nodiscard]] ExifValue ApertureValue() const;
    [[nodiscard]] ExifValue ApertureMax() const;
    [[nodiscard]] ExifValue ExposureTime() const;
    [[nodiscard]] ExifValue ShutterSpeedStringValue() const;
    [[nodiscard]] ExifValue ISOSpeedRatings() const;
    [[nodiscard]] ExifValue ISOSpeedValue() const;
    [[nodiscard]] ExifValue ExposureBiasValue() const;
    [[nodiscard]] ExifValue ExposureMode() const;
    [[nodiscard]] ExifValue ExposureProgram() const;
    [[nodiscard]] ExifValue MeteringMode() const;
    [[nodiscard]] ExifValue Flash() const;
    [[nodiscard]] ExifValue FlashPixVersion() const;
    [[nodiscard]] ExifValue WhiteBalance() const;
    [[nodiscard]] ExifValue LightSource() const;
    [[nodiscard]] ExifValue SceneType() const;
    [[nodiscard]] ExifValue SceneCaptureType() const;
    [[nodiscard]] ExifValue SensingMethod() const;
    [[nodiscard]] ExifValue SensitivityType() const;
    [[nodiscard]] ExifValue Sharpness() const;
    [[nodiscard]] ExifValue Contrast() const;
    [[nodiscard]] ExifValue Saturation() const;
    [[nodiscard]] ExifValue GainControl() const;
    [[nodiscard]] ExifValue CustomRendered() const;
    [[nodiscard]] ExifValue SubjectDistRange() const;
    [[nodiscard]] ExifValue FocalLength() const;
    [[nodiscard]] ExifValue FocalLenIn35mmFilm() const;
    [[nodiscard]] ExifValue DigitalZoomRatio() const;
    // Image and file.
    [[nodiscard]] ExifValue ResolutionInMegaPixel() const;
    [[nodiscard]] ExifValue AspectRatioFraction() const;
    [[nodiscard]] ExifValue DPIWidth() const;
    [[nodiscard]] ExifValue DPIHeight() const;
    [[nodiscard]] ExifValue Depth() const;
    [[nodiscard]] ExifValue Orientation() const;
    [[nodiscard]] ExifValue ColorModel() const;
    [[nodiscard]] ExifValue ColorSpace() const;
    [[nodiscard]] ExifValue ColorProfile() const;
    [[nodiscard]] ExifValue CompressedBitsPerPixel() const;
    [[nodiscard]] ExifValue FileSize() const;
    [[nodiscard]] ExifValue FileSource() const;
    [[nodiscard]] ExifValue Duration() const;
    [[nodiscard]] ExifValue FramesPerSecond() const;
    // Dates.
    [[nodiscard]] ExifValue DateTaken() const;
    [[nodiscard]] ExifValue EditedDate() const;
    // Location.
    [[nodiscard]] ExifValue GPS() const;
    [[nodiscard]] ExifValue GPSAltitude() const;
    [[nodiscard]] ExifValue GPSSpeed() const;
    [[nodiscard]] ExifValue GPSDirection() const;
    [[nodiscard]] ExifValue LocationName() const;
    [[nodiscard]] ExifValue MapView() const;
    [[nodiscard]] ExifValue Map() const { return MapView(); }
    // Descriptive.
    [[nodiscard]] ExifValue Artist() const;
    [[nodiscard]] ExifValue Copyright() const;
    [[nodiscard]] ExifValue Headline() const;
    [[nodiscard]] ExifValue Title() const;
    [[nodiscard]] ExifValue Caption() const;
    [[nodiscard]] ExifValue CaptionAbstract() const;
    [[nodiscard]] ExifValue UserComment() const;
    [[nodiscard]] ExifValue Keywords();
    [[nodiscard]] ExifValue StarRating() const;

private:
    static const Dictionary& orEmpty(const std::optional<Dictionary>& dictionary) noexcept;
    [[nodiscard]] const Dictionary& exif() const noexcept { return orEmpty(exifDic); }
    [[nodiscard]] const Dictionary& tiff() const noexcept { return orEmpty(tifDic); }
    [[nodiscard]] const Dictionary& gps() const noexcept { return orEmpty(gpsDic); }
    [[nodiscard]] const Dictionary& iptc() const noexcept { return orEmpty(iptcDic); }
    [[nodiscard]] const Dictionary& aux() const noexcept;
    void fillCameraValues();
    [[nodiscard]] bool hasScreenSize() const;
    /// The value with its "Not available" marking.
    [[nodiscard]] ExifValue marked(ExifValue value) const;
    [[nodiscard]] ExifValue markedForGPS(ExifValue value) const;
    [[nodiscard]] std::string shareLineFor(const ExifKey& key);

    std::int64_t storedMediaType_ = 0;
    mutable std::mutex mutex_;  ///< Of the name and the handler.
    std::string fileNameCached_;
    ImageFetchHandler imageFetchCompletionHandler_;
    std::uint64_t prefetches_ = 0;  ///< Begun and cancelled: what was set up for another one comes too late.
    /// Outlives the record for as long as somebody who announces that memory is short may still reach it.
    std::shared_ptr<std::atomic<UIImageRef>> cachedThumbNailImage_ = std::make_shared<std::atomic<UIImageRef>>();
    NSNotificationCenter::Observer memoryWarning_;
    std::atomic<ExifInformationRef> photosAppEditedVersion_;
    ExifInformationRef editedEXIFInfo_;
    NSURL storedCorrectedURL_;
};

}  // namespace tessaly
