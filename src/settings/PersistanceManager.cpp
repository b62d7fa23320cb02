#include "settings/PersistanceManager.h"

#include <algorithm>
#include <array>

#include "platform/Foundation/Log.h"
#include "platform/Foundation/NSBundle.h"
#include "platform/Foundation/NSLocale.h"
#include "platform/Foundation/NSNotificationCenter.h"

namespace tessaly {
namespace {

using Kind = Setting::Kind;

constexpr std::string_view kPhotoFilterChanged = PersistanceManagerHidePhotosWithoutExifDetailsValueChangedEvent;
constexpr std::string_view kListNeedsRefresh = ExifDataListNeedRefresh;
constexpr std::string_view kDateDisplayChanged = PersistanceManagerDateFormatOrPreferenceChangedEvent;

constexpr std::array kSettings{
    Setting{"automaticallyDownloadCloudPhotos", Kind::boolean, false, 0, "", ""},
    Setting{"allowNetworkAccessToDownloadPhotos", Kind::boolean, false, 0, "", ""},
    Setting{"imageViewContentMode", Kind::integer, false, 2, "", ""},
    Setting{"overwriteImageForExifChange", Kind::boolean, true, 0, "", ""},
    Setting{"addToAlbumAfterEditingEXIF", Kind::boolean, true, 0, "", ""},
    Setting{"addToAlbumAfterRemovingEXIF", Kind::boolean, true, 0, "", ""},
    Setting{"albumNameAfterEditingEXIF", Kind::text, false, 0, "Exif Edited", ""},
    Setting{"albumNameAfterRemovingEXIF", Kind::text, false, 0, "Exif Removed", ""},
    Setting{"shouldUseDeviceLanguage", Kind::boolean, true, 0, "", ""},
    Setting{"deleteOriginalPhotoAfterCreatingImageWithoutExif", Kind::boolean, false, 0, "", ""},
    Setting{"locationFilter", Kind::integer, false, 0, "", kPhotoFilterChanged},
    Setting{"shouldHidePhotosWithoutExifDetails", Kind::boolean, false, 0, "", kPhotoFilterChanged},
    Setting{"shouldHideDeleteAndRemveExifBarOnDetailScreen", Kind::boolean, false, 0, "", ""},
    Setting{"isUsingLightFontOnExifDetailsScreen", Kind::boolean, true, 0, "", kListNeedsRefresh},
    Setting{"sortByKeyValue", Kind::integer, false, 0, "", ""},
    Setting{"sortOrderAscending", Kind::boolean, false, 0, "", ""},
    Setting{"isDarkModeOn", Kind::boolean, false, 0, "", ""},
    Setting{"isUsingMetricUnits", Kind::boolean, false, 0, "", kListNeedsRefresh},
    Setting{"datePreference24HourFormat", Kind::boolean, false, 0, "", kDateDisplayChanged},
    Setting{"haveSeenShareCrashReportsAlert", Kind::boolean, false, 0, "", ""},
    Setting{"userAllowedSharingCrashReports", Kind::boolean, false, 0, "", ""},
    Setting{"haveSeenIntroductionScreen", Kind::boolean, false, 0, "", ""},
    Setting{"haveSeenYoutubeAppVideo", Kind::boolean, false, 0, "", ""},
    Setting{"shouldShowZoomPercentageInFullScreen", Kind::boolean, true, 0, "", ""},
    Setting{"haveSeenYoutubeAppExtensionVideo", Kind::boolean, false, 0, "", ""},
    Setting{"datePreferenceTimeAgoSinceNow", Kind::boolean, true, 0, "", ""},
    Setting{"dateFormatString", Kind::text, false, 0, "dd-MM-YYYY hh:mm:ss a", kDateDisplayChanged},
    Setting{"numberOfExifCardFlips", Kind::integer, false, 0, "", ""},
    Setting{"shouldShowExtraInformationOnEXIFCards", Kind::boolean, true, 0, "", kListNeedsRefresh},
    Setting{"shouldShowExifDetailsOnGridView", Kind::boolean, false, 0, "", kListNeedsRefresh},
    Setting{"previousTessalyViewType", Kind::integer, false, 0, "", ""},
    Setting{"tessalyViewType", Kind::integer, false, 0, "", kListNeedsRefresh},
    Setting{"shouldShowGPSInDecimalValues", Kind::boolean, true, 0, "", ""},
    Setting{"shouldShareAPPURLWhileSharing", Kind::boolean, false, 0, "", ""},
    Setting{"includeExifAsTextOniMessageApp", Kind::boolean, true, 0, "", ""},
    Setting{"showUserCurrentLocationOnMapView", Kind::boolean, false, 0, "", ""},
    Setting{"mapType", Kind::integer, false, 0, "", ""},
    Setting{"selectedTabIndex", Kind::integer, false, 2, "", ""},
    Setting{"showsPreciseValues", Kind::boolean, false, 0, "", kListNeedsRefresh},
    Setting{"hidesEmptyRows", Kind::boolean, false, 0, "", kListNeedsRefresh},
};

void replaceAll(std::string& text, std::string_view what, std::string_view with) {
    for (auto at = text.find(what); at != std::string::npos; at = text.find(what, at + with.size()))
        text.replace(at, what.size(), with);
}

}  // namespace

Value Setting::defaultValue() const {
    switch (kind) {
        case Kind::boolean:
            return defaultTruth;
        case Kind::integer:
            return defaultNumber;
        case Kind::text:
            return SharedText::literal(defaultText);
    }
    return {};
}

PersistanceManager::PersistanceManager(std::string_view suiteName)
    : userDefaults_(std::make_unique<NSUserDefaults>(suiteName)) {
    log("init userDefaults %@", userDefaults_->path());
    loadMerged(videoEditList_, sharedEDITExifKeysDefaultOrderedArrayForVideo());
    // The share list is the user's own selection: keys of later versions are not pressed upon it.
    auto shared = shareList_.stored(*userDefaults_);
    shareList_.set(shared ? std::move(shared->keys) : sharedExifKeysDefaultOrderedArray(), *userDefaults_, false);
    loadMerged(editList_, sharedEDITExifKeysDefaultOrderedArray());
    rememberRowSettings();
    userDefaults_->synchronize();
}

PersistanceManager& PersistanceManager::sharedInstance() {
    static PersistanceManager instance(SharedAppGroupIdentifier);
    return instance;
}

void PersistanceManager::loadMerged(OrderedKeyList& list, const ExifKeys& defaults) {
    auto stored = list.stored(*userDefaults_);
    if (!stored) return list.set(defaults, *userDefaults_, false);
    log("COUNT___ %ld vs %ld", stored->keys.size(), defaults.size());
    list.set(mergedKeys(std::move(*stored), defaults), *userDefaults_, false);
}

std::span<const Setting> PersistanceManager::settings() noexcept { return kSettings; }

const Setting* PersistanceManager::settingNamed(std::string_view name) noexcept {
    const auto found = std::ranges::find(kSettings, name, &Setting::name);
    return found == kSettings.end() ? nullptr : &*found;
}

Value PersistanceManager::stored(std::string_view name) const {
    Value value = userDefaults_->objectForKey(name);
    if (!value.isNull()) return value;
    const Setting* setting = settingNamed(name);
    return setting ? setting->defaultValue() : Value();
}

void PersistanceManager::store(std::string_view name, const Value& value) const {
    userDefaults_->setObject(value, name);
    userDefaults_->synchronize();
    rememberRowSettings();
    if (const Setting* setting = settingNamed(name); setting && !setting->notification.empty())
        NSNotificationCenter::defaultCenter().postNotificationName(setting->notification, this);
}

void PersistanceManager::rememberRowSettings() const {
    showsPreciseValues_ = stored("showsPreciseValues").boolValue();
    hidesEmptyRows_ = stored("hidesEmptyRows").boolValue();
}

Value PersistanceManager::valueOf(const Setting& setting) const {
    if (setting.name == "allowNetworkAccessToDownloadPhotos") return allowNetworkAccessToDownloadPhotos();
    if (setting.name == "isDarkModeOn") return isDarkModeOn();
    if (setting.name == "isUsingMetricUnits") return isUsingMetricUnits();
    if (setting.name == "dateFormatString") return dateFormatString();
    if (setting.name == "albumNameAfterEditingEXIF") return albumNameAfterEditingEXIF();
    if (setting.name == "albumNameAfterRemovingEXIF") return albumNameAfterRemovingEXIF();
    const Value value = stored(setting.name);
    switch (setting.kind) {
        case Kind::boolean:
            return value.boolValue();
        case Kind::integer:
            return value.integerValue();
        case Kind::text:
            return value.description();
    }
    return {};
}

// The extension never downloads by itself, whatever is stored: only a caller that forces it does.
bool PersistanceManager::allowNetworkAccessToDownloadPhotos() const { return false; }

bool PersistanceManager::isDarkModeOn() const { return !invertColorsEnabled && stored("isDarkModeOn").boolValue(); }

bool PersistanceManager::shouldHidePhotosWithoutExifDetails() const {
    log("_userDefaults___ %@", userDefaults_->path());
    return stored("shouldHidePhotosWithoutExifDetails").boolValue();
}

void PersistanceManager::setShouldHidePhotosWithoutExifDetails(bool value) {
    log("_userDefaults %@", userDefaults_->path());
    store("shouldHidePhotosWithoutExifDetails", value);
}

std::string PersistanceManager::albumNameAfterEditingEXIF() const {
    const Value name = userDefaults_->objectForKey("albumNameAfterEditingEXIF");
    return name.isNull() ? localized("Exif Edited") : name.description();
}

std::string PersistanceManager::albumNameAfterRemovingEXIF() const {
    const Value name = userDefaults_->objectForKey("albumNameAfterRemovingEXIF");
    return name.isNull() ? localized("Exif Removed") : name.description();
}

bool PersistanceManager::isUsingMetricUnits() const {
    const Value value = userDefaults_->objectForKey("isUsingMetricUnits");
    return value.isNull() ? defaultShouldShowMetricUnits() : value.boolValue();
}

bool PersistanceManager::defaultShouldShowMetricUnits() const {
    const bool metric = NSLocale::usesMetricSystem();
    store("isUsingMetricUnits", metric);
    return metric;
}

std::string PersistanceManager::dateFormatString() const {
    std::string pattern = stored("dateFormatString").description();
    // An empty pattern would leave every date out.
    if (pattern.empty()) pattern = settingNamed("dateFormatString")->defaultText;
    if (datePreference24HourFormat()) {
        // Every "a" goes, also one in a literal text; the blank before it stays.
        replaceAll(pattern, "hh", "HH");
        replaceAll(pattern, "a", "");
    }
    return pattern;
}

std::int64_t PersistanceManager::mkMapType() const {
    const std::uint64_t type = mapType();
    return type == 1 || type == 2 ? static_cast<std::int64_t>(type) : 0;
}

bool PersistanceManager::containsNewItemInHelpScreen() const {
    return !haveSeenYoutubeAppVideo() || !haveSeenYoutubeAppExtensionVideo();
}

ExifKeys PersistanceManager::sharedExifKeysDefaultOrderedArray() {
    static constexpr std::array<std::string_view, 25> names{"ApertureValue",
                                                            "ExposureTime",
                                                            "FocalLength",
                                                            "FocalLenIn35mmFilm",
                                                            "ISOSpeedRatings",
                                                            "Flash",
                                                            "DateTaken",
                                                            "GPSSpeed",
                                                            "GPSAltitude",
                                                            "ExposureBiasValue",
                                                            "ExposureMode",
                                                            "ExposureProgram",
                                                            "WhiteBalance",
                                                            "MeteringMode",
                                                            "Artist",
                                                            "Copyright",
                                                            "Make",
                                                            "Model",
                                                            "Software",
                                                            "shutterCount",
                                                            "LensMake",
                                                            "LensModel",
                                                            "LensSerialNumber",
                                                            "CameraSerialNumber",
                                                            "GPS"};
    return keysNamed(names);
}

ExifKeys PersistanceManager::sharedEDITExifKeysDefaultOrderedArray() {
    static constexpr std::array<std::string_view, 21> names{"DateTaken",
                                                            "Caption",
                                                            "Title",
                                                            "FocalLength",
                                                            "Copyright",
                                                            "Artist",
                                                            "Make",
                                                            "Model",
                                                            "Software",
                                                            "LensMake",
                                                            "LensModel",
                                                            "ApertureValue",
                                                            "ISOSpeedValue",
                                                            "ShutterSpeedStringValue",
                                                            "UserComment",
                                                            "Keywords",
                                                            "Headline",
                                                            "StarRating",
                                                            "GPSAltitude",
                                                            "GPSSpeed",
                                                            "GPS"};
    return keysNamed(names);
}

ExifKeys PersistanceManager::sharedEDITExifKeysDefaultOrderedArrayForVideo() {
    static constexpr std::array<std::string_view, 2> names{"DateTaken", "GPS"};
    return keysNamed(names);
}

}  // namespace tessaly
