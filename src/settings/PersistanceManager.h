#pragma once
#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "platform/Foundation/NSUserDefaults.h"
#include "settings/OrderedKeyList.h"

namespace tessaly {

/// Suite that every program of Tessaly shares.
inline constexpr std::string_view SharedAppGroupIdentifier = "group.tessaly";

inline constexpr std::string_view ExifDataListNeedRefresh = "ExifDataListNeedRefresh";
inline constexpr std::string_view PersistanceManagerHidePhotosWithoutExifDetailsValueChangedEvent =
    "PersistanceManagerHidePhotosWithoutExifDetailsValueChangedEvent";
inline constexpr std::string_view PersistanceManagerDateFormatOrPreferenceChangedEvent =
    "PersistanceManagerDateFormatOrPreferenceChangedEvent";

/// One stored preference: its name, which is also its key in the suite, and what holds while the key is absent.
struct Setting {
    enum class Kind : std::uint8_t { boolean, integer, text };
    std::string_view name;
    Kind kind;
    bool defaultTruth;
    std::int64_t defaultNumber;
    std::string_view defaultText;
    std::string_view notification;  ///< Posted after it was set; "" for none.

    [[nodiscard]] Value defaultValue() const;
};

/// The store of the user's preferences, in a suite that all programs share. A setter writes at once and then tells the
/// observers of its notification. May be used by several threads; the key lists belong to the main thread.
class PersistanceManager {
public:
    /// Opens the suite of that name and loads the key lists.
    explicit PersistanceManager(std::string_view suiteName);
    [[nodiscard]] static PersistanceManager& sharedInstance();

    [[nodiscard]] NSUserDefaults& userDefaults() const noexcept { return *userDefaults_; }

    /// Every stored preference, in the order of the documentation.
    [[nodiscard]] static std::span<const Setting> settings() noexcept;
    [[nodiscard]] static const Setting* settingNamed(std::string_view name) noexcept;
    /// What the preference's getter answers.
    [[nodiscard]] Value valueOf(const Setting& setting) const;
    /// Stores a value of the setting's kind as its setter does.
    void setValue(const Setting& setting, const Value& value) { store(setting.name, value); }
    /// Forgets the stored value; the default holds again.
    void reset(const Setting& setting) { store(setting.name, {}); }

    [[nodiscard]] bool automaticallyDownloadCloudPhotos() const {
        return stored("automaticallyDownloadCloudPhotos").boolValue();
    }
    void setAutomaticallyDownloadCloudPhotos(bool value) { store("automaticallyDownloadCloudPhotos", value); }
    [[nodiscard]] bool allowNetworkAccessToDownloadPhotos() const;
    void setAllowNetworkAccessToDownloadPhotos(bool value) { store("allowNetworkAccessToDownloadPhotos", value); }
    [[nodiscard]] std::int64_t imageViewContentMode() const {
        return static_cast<std::int64_t>(stored("imageViewContentMode").integerValue());
    }
    void setImageViewContentMode(std::int64_t value) { store("imageViewContentMode", value); }
    [[nodiscard]] bool overwriteImageForExifChange() const { return stored("overwriteImageForExifChange").boolValue(); }
    void setOverwriteImageForExifChange(bool value) { store("overwriteImageForExifChange", value); }
    [[nodiscard]] bool addToAlbumAfterEditingEXIF() const { return stored("addToAlbumAfterEditingEXIF").boolValue(); }
    void setAddToAlbumAfterEditingEXIF(bool value) { store("addToAlbumAfterEditingEXIF", value); }
    [[nodiscard]] bool addToAlbumAfterRemovingEXIF() const { return stored("addToAlbumAfterRemovingEXIF").boolValue(); }
    void setAddToAlbumAfterRemovingEXIF(bool value) { store("addToAlbumAfterRemovingEXIF", value); }
    [[nodiscard]] std::string albumNameAfterEditingEXIF() const;
    void setAlbumNameAfterEditingEXIF(const std::string& value) { store("albumNameAfterEditingEXIF", value); }
    [[nodiscard]] std::string albumNameAfterRemovingEXIF() const;
    void setAlbumNameAfterRemovingEXIF(const std::string& value) { store("albumNameAfterRemovingEXIF", value); }
    [[nodiscard]] bool shouldUseDeviceLanguage() const { return stored("shouldUseDeviceLanguage").boolValue(); }
    void setShouldUseDeviceLanguage(bool value) { store("shouldUseDeviceLanguage", value); }
    [[nodiscard]] bool deleteOriginalPhotoAfterCreatingImageWithoutExif() const {
        return stored("deleteOriginalPhotoAfterCreatingImageWithoutExif").boolValue();
    }
    void setDeleteOriginalPhotoAfterCreatingImageWithoutExif(bool value) {
        store("deleteOriginalPhotoAfterCreatingImageWithoutExif", value);
    }
    [[nodiscard]] std::uint64_t locationFilter() const {
        return static_cast<std::uint64_t>(stored("locationFilter").integerValue());
    }
    void setLocationFilter(std::uint64_t value) { store("locationFilter", value); }
    [[nodiscard]] bool shouldHidePhotosWithoutExifDetails() const;
    void setShouldHidePhotosWithoutExifDetails(bool value);
    [[nodiscard]] bool shouldHideDeleteAndRemveExifBarOnDetailScreen() const {
        return stored("shouldHideDeleteAndRemveExifBarOnDetailScreen").boolValue();
    }
    void setShouldHideDeleteAndRemveExifBarOnDetailScreen(bool value) {
        store("shouldHideDeleteAndRemveExifBarOnDetailScreen", value);
    }
    [[nodiscard]] bool isUsingLightFontOnExifDetailsScreen() const {
        return stored("isUsingLightFontOnExifDetailsScreen").boolValue();
    }
    void setIsUsingLightFontOnExifDetailsScreen(bool value) { store("isUsingLightFontOnExifDetailsScreen", value); }
    [[nodiscard]] std::uint64_t sortByKeyValue() const {
        return static_cast<std::uint64_t>(stored("sortByKeyValue").integerValue());
    }
    void setSortByKeyValue(std::uint64_t value) { store("sortByKeyValue", value); }
    [[nodiscard]] bool sortOrderAscending() const { return stored("sortOrderAscending").boolValue(); }
    void setSortOrderAscending(bool value) { store("sortOrderAscending", value); }
    [[nodiscard]] bool isDarkModeOn() const;
    void setIsDarkModeOn(bool value) { store("isDarkModeOn", value); }
    [[nodiscard]] bool isUsingMetricUnits() const;
    void setIsUsingMetricUnits(bool value) { store("isUsingMetricUnits", value); }
    [[nodiscard]] bool datePreference24HourFormat() const { return stored("datePreference24HourFormat").boolValue(); }
    void setDatePreference24HourFormat(bool value) { store("datePreference24HourFormat", value); }
    [[nodiscard]] bool haveSeenShareCrashReportsAlert() const {
        return stored("haveSeenShareCrashReportsAlert").boolValue();
    }
    void setHaveSeenShareCrashReportsAlert(bool value) { store("haveSeenShareCrashReportsAlert", value); }
    [[nodiscard]] bool userAllowedSharingCrashReports() const {
        return stored("userAllowedSharingCrashReports").boolValue();
    }
    void setUserAllowedSharingCrashReports(bool value) { store("userAllowedSharingCrashReports", value); }
    [[nodiscard]] bool haveSeenIntroductionScreen() const { return stored("haveSeenIntroductionScreen").boolValue(); }
    void setHaveSeenIntroductionScreen(bool value) { store("haveSeenIntroductionScreen", value); }
    [[nodiscard]] bool haveSeenYoutubeAppVideo() const { return stored("haveSeenYoutubeAppVideo").boolValue(); }
    void setHaveSeenYoutubeAppVideo(bool value) { store("haveSeenYoutubeAppVideo", value); }
    [[nodiscard]] bool shouldShowZoomPercentageInFullScreen() const {
        return stored("shouldShowZoomPercentageInFullScreen").boolValue();
    }
    void setShouldShowZoomPercentageInFullScreen(bool value) { store("shouldShowZoomPercentageInFullScreen", value); }
    [[nodiscard]] bool haveSeenYoutubeAppExtensionVideo() const {
        return stored("haveSeenYoutubeAppExtensionVideo").boolValue();
    }
    void setHaveSeenYoutubeAppExtensionVideo(bool value) { store("haveSeenYoutubeAppExtensionVideo", value); }
    [[nodiscard]] bool datePreferenceTimeAgoSinceNow() const {
        return stored("datePreferenceTimeAgoSinceNow").boolValue();
    }
    void setDatePreferenceTimeAgoSinceNow(bool value) { store("datePreferenceTimeAgoSinceNow", value); }
    [[nodiscard]] std::string dateFormatString() const;
    void setDateFormatString(const std::string& value) { store("dateFormatString", value); }
    [[nodiscard]] std::int64_t numberOfExifCardFlips() const {
        return static_cast<std::int64_t>(stored("numberOfExifCardFlips").integerValue());
    }
    void setNumberOfExifCardFlips(std::int64_t value) { store("numberOfExifCardFlips", value); }
    [[nodiscard]] bool shouldShowExtraInformationOnEXIFCards() const {
        return stored("shouldShowExtraInformationOnEXIFCards").boolValue();
    }
    void setShouldShowExtraInformationOnEXIFCards(bool value) { store("shouldShowExtraInformationOnEXIFCards", value); }
    [[nodiscard]] bool shouldShowExifDetailsOnGridView() const {
        return stored("shouldShowExifDetailsOnGridView").boolValue();
    }
    void setShouldShowExifDetailsOnGridView(bool value) { store("shouldShowExifDetailsOnGridView", value); }
    [[nodiscard]] std::uint64_t previousTessalyViewType() const {
        return static_cast<std::uint64_t>(stored("previousTessalyViewType").integerValue());
    }
    void setPreviousTessalyViewType(std::uint64_t value) { store("previousTessalyViewType", value); }
    [[nodiscard]] std::uint64_t tessalyViewType() const {
        return static_cast<std::uint64_t>(stored("tessalyViewType").integerValue());
    }
    void setTessalyViewType(std::uint64_t value) { store("tessalyViewType", value); }
    [[nodiscard]] bool shouldShowGPSInDecimalValues() const {
        return stored("shouldShowGPSInDecimalValues").boolValue();
    }
    void setShouldShowGPSInDecimalValues(bool value) { store("shouldShowGPSInDecimalValues", value); }
    [[nodiscard]] bool shouldShareAPPURLWhileSharing() const {
        return stored("shouldShareAPPURLWhileSharing").boolValue();
    }
    void setShouldShareAPPURLWhileSharing(bool value) { store("shouldShareAPPURLWhileSharing", value); }
    [[nodiscard]] bool includeExifAsTextOniMessageApp() const {
        return stored("includeExifAsTextOniMessageApp").boolValue();
    }
    void setIncludeExifAsTextOniMessageApp(bool value) { store("includeExifAsTextOniMessageApp", value); }
    [[nodiscard]] bool showUserCurrentLocationOnMapView() const {
        return stored("showUserCurrentLocationOnMapView").boolValue();
    }
    void setShowUserCurrentLocationOnMapView(bool value) { store("showUserCurrentLocationOnMapView", value); }
    [[nodiscard]] std::uint64_t mapType() const { return static_cast<std::uint64_t>(stored("mapType").integerValue()); }
    void setMapType(std::uint64_t value) { store("mapType", value); }
    [[nodiscard]] std::uint64_t selectedTabIndex() const {
        return static_cast<std::uint64_t>(stored("selectedTabIndex").integerValue());
    }
    void setSelectedTabIndex(std::uint64_t value) { store("selectedTabIndex", value); }

    /// Rows to the precision that the file has, and nothing that it does not say. Asked for every row, so that it and
    /// the next are remembered: what another program sets shows at the next start.
    [[nodiscard]] bool showsPreciseValues() const { return showsPreciseValues_ || showsPreciseValuesOnThisLaunch; }
    void setShowsPreciseValues(bool value) { store("showsPreciseValues", value); }
    [[nodiscard]] bool hidesEmptyRows() const { return hidesEmptyRows_; }
    void setHidesEmptyRows(bool value) { store("hidesEmptyRows", value); }

    /// Map type for map views: 2 hybrid, 1 satellite, anything else 0, standard.
    [[nodiscard]] std::int64_t mkMapType() const;
    /// Asks the locale, stores the answer through setIsUsingMetricUnits and returns it.
    bool defaultShouldShowMetricUnits() const;

    static constexpr std::string_view exifStandardDateFormatString = "yyyy:MM:dd HH:mm:ss";
    static constexpr std::string_view exifGPSStandardDateFormatString = "yyyy:MM:dd";
    /// Month and fraction letters as they stand: what is written with it depends on them.
    static constexpr std::string_view exifGPSStandardTimeFormatString = "HH:MM:SS";

    // For the current launch only.
    bool showsPreciseValuesOnThisLaunch = false;  ///< Whatever is stored. Set before rows are asked for.
    bool didShowFlipExifCardTutorialOnThisLaunch = false;
    bool haveSeenYoutubeiMessageAppVideo = false;
    bool exifCardLocationEnabled = false;
    bool exifCardDateEnabled = false;
    bool exifCardCameraLensEnabled = false;
    bool exifCardArtistsNameEnabled = false;
    bool exifCardTessalyAppPromoTextEnabled = false;
    /// Derived from the videos that were seen; the setter's value is kept and asked by nobody.
    [[nodiscard]] bool containsNewItemInHelpScreen() const;
    void setContainsNewItemInHelpScreen(bool value) noexcept { containsNewItemInHelpScreen_ = value; }

    /// Whether the desktop inverts colours, which turns the dark style off. Set by the screens.
    static inline bool invertColorsEnabled = false;

    [[nodiscard]] static ExifKeys sharedExifKeysDefaultOrderedArray();
    [[nodiscard]] static ExifKeys sharedEDITExifKeysDefaultOrderedArray();
    [[nodiscard]] static ExifKeys sharedEDITExifKeysDefaultOrderedArrayForVideo();
    [[nodiscard]] static ExifKeys missingExifKeysIn(const ExifKeys& stored, const ExifKeys& comparedTo) {
        return missingKeys(stored, comparedTo);
    }

    // The full lists, hidden keys included, whatever their names say; "all" are the visible ones.
    [[nodiscard]] const ExifKeys& sharedExifVisibleKeysOrderedArray() const { return shareList_.keys(); }
    void setSharedExifVisibleKeysOrderedArray(ExifKeys keys) { shareList_.set(std::move(keys), *userDefaults_); }
    [[nodiscard]] const ExifKeys& allSharedExifVisibleKeysOrderedArray() const { return shareList_.visibleKeys(); }
    [[nodiscard]] const ExifKeys& sharedEditEXIFVisibleKeysOrderedArray() const { return editList_.keys(); }
    void setSharedEditEXIFVisibleKeysOrderedArray(ExifKeys keys) { editList_.set(std::move(keys), *userDefaults_); }
    [[nodiscard]] const ExifKeys& allSharedEditEXIFVisibleKeysOrderedArray() const { return editList_.visibleKeys(); }
    [[nodiscard]] const ExifKeys& sharedEditEXIFVisibleKeysOrderedArrayForVideo() const {
        return videoEditList_.keys();
    }
    void setSharedEditEXIFVisibleKeysOrderedArrayForVideo(ExifKeys keys) {
        videoEditList_.set(std::move(keys), *userDefaults_);
    }
    [[nodiscard]] const ExifKeys& allSharedEditEXIFVisibleKeysOrderedArrayForVideo() const {
        return videoEditList_.visibleKeys();
    }

private:
    [[nodiscard]] Value stored(std::string_view name) const;
    void store(std::string_view name, const Value& value) const;
    void rememberRowSettings() const;
    void loadMerged(OrderedKeyList& list, const ExifKeys& defaults);

    std::unique_ptr<NSUserDefaults> userDefaults_;
    mutable std::atomic<bool> showsPreciseValues_{false}, hidesEmptyRows_{false};
    OrderedKeyList shareList_{"exifKeysOrderedArray_FOR_SHARE"};
    OrderedKeyList editList_{"editExifKeysOrderedArray"};
    OrderedKeyList videoEditList_{"editExifKeysOrderedArrayVideo"};
    bool containsNewItemInHelpScreen_ = false;
};

}  // namespace tessaly
