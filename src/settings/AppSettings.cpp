#include "settings/AppSettings.h"

#include <array>

#include "settings/PersistanceManager.h"

namespace tessaly {

AppSettings::AppSettings(std::string_view suiteName, const std::shared_ptr<NSUserDefaults>& standard)
    : suite_(std::make_unique<NSUserDefaults>(suiteName)) {
    load(photoList_, *standard, false);
    load(videoList_, *standard, true);
    // The suite first: whoever is interrupted between the two still has the list.
    if (suite_->synchronize()) standard->synchronize();
}

AppSettings& AppSettings::sharedInstance() {
    static AppSettings instance(SharedAppGroupIdentifier, NSUserDefaults::standardUserDefaults());
    return instance;
}

void AppSettings::load(OrderedKeyList& list, NSUserDefaults& standard, bool forVideo) {
    const ExifKeys defaults = forVideo ? exifKeysDefaultOrderedArrayForVideos() : exifKeysDefaultOrderedArray();
    auto stored = list.stored(*suite_);
    // A value that only the standard defaults have is from before there was a suite; it is not asked any more.
    if (!stored) return list.set(defaults, *suite_, false);
    if (auto older = list.stored(standard)) {
        stored = std::move(older);
        standard.removeObjectForKey(list.storedUnder());
    }
    list.set(mergedKeys(std::move(*stored), defaults), *suite_, false);
}

ExifKeys AppSettings::missingExifOrderedKeysIn(const ExifKeys& stored, bool forVideo) {
    return missingKeys(stored, forVideo ? exifKeysDefaultOrderedArrayForVideos() : exifKeysDefaultOrderedArray());
}

ExifKeys AppSettings::exifKeysDefaultOrderedArray() {
    static constexpr std::array<std::string_view, 62> names{"ApertureValue",
                                                            "ISOSpeedRatings",
                                                            "FocalLength",
                                                            "FocalLenIn35mmFilm",
                                                            "StarRating",
                                                            "Flash",
                                                            "ApertureMax",
                                                            "DateTaken",
                                                            "EditedDate",
                                                            "GPSSpeed",
                                                            "GPSAltitude",
                                                            "FlashPixVersion",
                                                            "DigitalZoomRatio",
                                                            "ExposureBiasValue",
                                                            "ExposureMode",
                                                            "ExposureProgram",
                                                            "ExposureTime",
                                                            "WhiteBalance",
                                                            "MeteringMode",
                                                            "SceneCaptureType",
                                                            "SceneType",
                                                            "SensingMethod",
                                                            "SensitivityType",
                                                            "Sharpness",
                                                            "ResolutionInMegaPixel",
                                                            "AspectRatioFraction",
                                                            "SubjectDistRange",
                                                            "ColorModel",
                                                            "DPIHeight",
                                                            "DPIWidth",
                                                            "FileSize",
                                                            "Depth",
                                                            "Orientation",
                                                            "ColorSpace",
                                                            "ColorProfile",
                                                            "CompressedBitsPerPixel",
                                                            "Contrast",
                                                            "CustomRendered",
                                                            "GainControl",
                                                            "LightSource",
                                                            "Saturation",
                                                            "Artist",
                                                            "Copyright",
                                                            "Make",
                                                            "Model",
                                                            "MakerNote",
                                                            "FilmMode",
                                                            "Software",
                                                            "FileSource",
                                                            "shutterCount",
                                                            "LensMake",
                                                            "LensModel",
                                                            "LensSerialNumber",
                                                            "CameraSerialNumber",
                                                            "UserComment",
                                                            "Keywords",
                                                            "Title",
                                                            "Headline",
                                                            "Caption",
                                                            "GPS",
                                                            "GPSDirection",
                                                            "MapView"};
    return keysNamed(names);
}

ExifKeys AppSettings::exifKeysDefaultOrderedArrayForVideos() {
    static constexpr std::array<std::string_view, 13> names{
        "DateTaken", "FramesPerSecond", "GPSSpeed", "GPSAltitude", "GPS",      "Duration", "FileSize",
        "Artist",    "Copyright",       "Make",     "Model",       "Software", "MapView"};
    return keysNamed(names);
}

}  // namespace tessaly
