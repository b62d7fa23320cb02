#pragma once
#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "metadata/AtomicProperty.h"
#include "metadata/ExifKey.h"
#include "metadata/ExifValue.h"
#include "platform/CoreGraphics/CGGeometry.h"
#include "platform/CoreLocation/CLLocation.h"
#include "platform/Foundation/NSURL.h"
#include "platform/Foundation/Value.h"
#include "platform/Photos/PHAsset.h"
#include "platform/UIKit/UIImage.h"

namespace tessaly {

class ExifInformation;
class NSNotificationObservation;
struct CodedItem;
using ExifInformationRef = std::shared_ptr<ExifInformation>;
using UIImageRef = std::shared_ptr<UIImage>;

/// What a key name yields: nothing for a name outside the vocabulary, a displayable item, or the object that a raw
/// accessor found (null when there is none). Only an ExifValue can be shown.
using KeyResult = std::variant<std::monostate, ExifValue, Value>;

/// Everything known about one photo or video: its metadata dictionaries as read, values taken from them, facts of the
/// file, the library asset it came from, the state of fetching and the user's edits. Every displayable item is made
/// from it on demand, by the formatter that bears the item's key name.
///
/// Lives in a shared_ptr. The atomic members may be set and read from any thread, the others from one at a time.
class ExifInformation {
public:
    ExifInformation() = default;
    ~ExifInformation();
    ExifInformation(const ExifInformation&) = delete;
    ExifInformation& operator=(const ExifInformation&) = delete;

    /// A record filled from the properties of an image. Never null: what is no dictionary yields an empty record.
    static ExifInformationRef exifInformationFromMetaDataDictionary(const Value& dictionary);
    /// One record an asset, in the same order, holding nothing but its asset.
    static std::vector<ExifInformationRef> exifInformationsArrayFrom(
        const std::vector<std::shared_ptr<PHAsset>>& assets);

    // Metadata as read. A sub-dictionary is nullopt when the file has none.
    Dictionary metaDataDictionary;
    std::optional<Dictionary> exifDic;
    std::optional<Dictionary> tifDic;
    std::optional<Dictionary> gpsDic;
    std::optional<Dictionary> iptcDic;
    Array keywordsArray;  ///< Texts; see updateKeywordsArray.

    // Values taken from the metadata; a null Value is an absent number.
    std::optional<NSDate> dateTaken;
    std::optional<NSDate> dateCreated;
    std::optional<NSDate> dateModified;
    Value rating;
    CGSize dimensions;  ///< Pixels.
    std::int64_t fileSizeInBytes = 0;
    std::int64_t liveVideoFileSizeInBytes = 0;  ///< Of a live photo's video; 0 when there is none.
    std::string cameraMaker;
    std::string cameraModel;  ///< A device name, never a machine identifier that is known.
    std::string cameraSubject;
    Value aperture_fStop;
    Value shutterSpeedExposureTimeInSeconds;
    Value iSOSpeed;
    Value exposureBias;
    Value focalLengthInmm;
    std::string meteringMode;
    std::string flashMode;
    std::int64_t flashStatusCode = 0;
    std::string locationName;  ///< Name of the place, once someone has looked it up.
    std::optional<CLLocation> location;
    float framesPerSecondValue = 0;  ///< 0 for photos.
    double duration = 0;             ///< Seconds; 0 for photos.
    AtomicProperty<std::string> fileNameCached;

    // Flags.
    bool exifInfoAvailable = false;        ///< There is Exif with a focal length, an f-number or an exposure time.
    bool exifORTiffInfoAvailable = false;  ///< There is an Exif or a TIFF dictionary.
    bool isScreenShot = false;
    bool isRAWFile = false;
    bool isFetchingFullInfo = false;
    bool didFetchedFullInfo = false;
    bool editedChanges = false;
    std::atomic<bool> hasFetchedFromPHAsset{false};
    std::atomic<bool> hasFetchedEXIFInformation{false};
    std::atomic<bool> imageResultIsInCloud{true};  ///< Assumed until a reader says otherwise.
    std::atomic<bool> hasForceDownloadedImageResultFromCloud{false};
    std::atomic<bool> hasFinishedDownloadingImageResultFromCloud{false};

    /// Whether the place is known.
    [[nodiscard]] bool gpsInfoAvailable() const { return location.has_value(); }

    // Asset, files and images.
    std::shared_ptr<PHAsset> phAsset;
    std::string imageFilePath;
    std::optional<NSURL> imageFilePathURL;
    Data imageData;
    UIImageRef fullResolutionTempImage;
    Dictionary cachedPHAssetInfoDictionary;
    float iCloudDownloadProgress = -1.0F;  ///< 0 to 1; negative when nothing is downloading.
    std::int32_t imageRequestID = 0;
    AtomicProperty<ExifInformationRef> photosAppEditedVersion;

    /// The thumbnail. Readers only say how it is made; it is decoded when first asked for.
    [[nodiscard]] UIImageRef thumbNailImage();
    void setThumbNailImage(UIImageRef image);
    void setThumbNailImageProvider(std::function<UIImageRef()> provider);
    /// The prefetched thumbnail, dropped when memory runs short.
    [[nodiscard]] const UIImageRef& cachedThumbNailImage() const { return cachedThumbNailImage_; }
    void setCachedThumbNailImage(UIImageRef image);
    /// Drops what can be made again.
    void handleMemoryWarning();

    /// The asset's media type when there is an asset, else the stored one.
    [[nodiscard]] std::int64_t mediaType() const { return phAsset ? phAsset->mediaType : mediaType_; }
    void setMediaType(std::int64_t mediaType) { mediaType_ = mediaType; }
    /// The stored media type: an edited copy has no asset.
    [[nodiscard]] std::int64_t mediaTypeForEditedCase() const { return mediaType_; }

    /// The file before the photo library's own edits: imageFilePathURL without "/Adjustments/FullSizeRender".
    [[nodiscard]] std::optional<NSURL> correctedImageFilePathURL() const;
    void setCorrectedImageFilePathURL(std::optional<NSURL> url) { storedCorrectedURL_ = std::move(url); }

    // Editing.
    std::vector<ExifValue> editedValuesArray;  ///< At most one a uniqueID, in order of first edit.
    /// The copy that the editor changes, made on first use.
    const ExifInformationRef& editedEXIFInfo();
    void setEditedEXIFInfo(ExifInformationRef info) { _editedEXIFInfo = std::move(info); }
    void addToEditedExifValues(ExifValue value);
    /// Takes the keywords from iptcDic anew. Without one they stay as they are.
    void updateKeywordsArray();

    // Copies that share nothing with the record.
    [[nodiscard]] std::optional<Dictionary> copyExifDictionary() const { return exifDic; }
    [[nodiscard]] std::optional<Dictionary> copyTIFFDictionary() const { return tifDic; }
    [[nodiscard]] std::optional<Dictionary> copyGPSDictionary() const { return gpsDic; }
    [[nodiscard]] std::optional<Dictionary> copyIPTCDictionary() const { return iptcDic; }
    [[nodiscard]] Dictionary copyMetadataDictionary() const { return metaDataDictionary; }

    /// Localised "Not available" and "GPS Data not available": lists treat texts equal to them as absent.
    static std::string exifNotAvailableString();
    static std::string GPSDataNotAvailableString();
    /// Mark an empty display text when the record has no usable Exif / no place.
    void setNotAvailableStringIfExifNotAvailable(ExifValue& value) const;
    void setGPSNotAvailableStringIfExifNotAvailable(ExifValue& value) const;

    // Access by key name.

    /// What the operation named `key` yields. Names count character for character.
    [[nodiscard]] KeyResult performCustomSelector(std::string_view key);
    /// The same for an entry of a key list; whether it is hidden is the caller's business.
    [[nodiscard]] KeyResult exifValueFor(const ExifKey& key);
    /// One line for each shared key that has something to tell, two line feeds, and the promotion line if wanted.
    [[nodiscard]] std::string shortExifStringsForShare();

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
    [[nodiscard]] ExifValue Map() const;

    // Descriptive texts.
    [[nodiscard]] ExifValue Artist() const;
    [[nodiscard]] ExifValue Copyright() const;
    [[nodiscard]] ExifValue Headline() const;
    [[nodiscard]] ExifValue Title() const;
    [[nodiscard]] ExifValue Caption() const;
    [[nodiscard]] ExifValue CaptionAbstract() const;
    [[nodiscard]] ExifValue UserComment() const;
    [[nodiscard]] ExifValue Keywords();
    [[nodiscard]] ExifValue StarRating() const;

    // What the formatters are made of.

    /// Exposure time as photographers write it: "1/250 seconds", "0.30000 seconds", "1 second", "30 seconds".
    [[nodiscard]] std::string shutterSpeedString() const;
    /// The f-number of an APEX aperture value, with at most one fraction digit: 1 gives "1.4".
    static std::string FStopsFromApexValue(float value);
    /// Degrees, minutes and whole seconds with hemisphere letters, or decimals when the settings say so.
    static std::string coordinateInReadableFormat(double latitude, double longitude);
    static std::string coordinateInReadableDecimalFormat(double latitude, double longitude);
    /// Greatest common divisor; with (a, 0) it is a.
    static std::int64_t GCD_with(std::int64_t a, std::int64_t b);

private:
    [[nodiscard]] const Value& exif(std::string_view name) const;
    [[nodiscard]] const Value& tiff(std::string_view name) const;
    [[nodiscard]] const Value& iptc(std::string_view name) const;
    [[nodiscard]] const Value& auxiliary(std::string_view name) const;
    [[nodiscard]] ExifValue coded(const CodedItem& item) const;
    [[nodiscard]] ExifValue marked(ExifValue value) const;
    void takeValuesFromDictionaries();
    [[nodiscard]] bool hasSizeOfMainScreen() const;

    std::int64_t mediaType_ = 0;
    std::optional<NSURL> storedCorrectedURL_;
    UIImageRef thumbNailImage_;
    std::function<UIImageRef()> thumbNailImageProvider_;
    UIImageRef cachedThumbNailImage_;
    std::shared_ptr<NSNotificationObservation> memoryWarnings_;
    ExifInformationRef _editedEXIFInfo;
};

}  // namespace tessaly
