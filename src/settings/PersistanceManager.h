#pragma once
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "metadata/ExifKey.h"
#include "settings/OrderedKeys.h"
#include "settings/Setting.h"

namespace tessaly {

class NSUserDefaults;

/// The suite that every program of this system shares.
inline constexpr std::string_view SharedAppGroupIdentifier = "group.tessaly";
/// Where the containing app is to be had; the promotion line of shared texts ends with it.
inline constexpr std::string_view AppStoreShareLink = "https://tessaly.example/app?ct=SharedContent";

/// The user's preferences and the ordered key lists of sharing and editing, in a suite of user defaults.
///
/// A getter gives the stored value or the default; a setter stores, writes the suite at once, and posts the setting's
/// notification, if it has one, with this store as its object. The suite itself is safe to use from any thread; the
/// key lists belong to the main thread.
class PersistanceManager {
public:
    static PersistanceManager& sharedInstance();
    /// Puts another store in the place of the shared one, which must outlive its use; null puts it back.
    /// Returns what was in its place before, or null.
    static PersistanceManager* setSharedInstance(PersistanceManager* store);

    explicit PersistanceManager(std::shared_ptr<NSUserDefaults> suite);
    PersistanceManager(const PersistanceManager&) = delete;
    PersistanceManager& operator=(const PersistanceManager&) = delete;

    [[nodiscard]] const std::shared_ptr<NSUserDefaults>& userDefaults() const { return userDefaults_; }

    // Any setting, by its description.
    [[nodiscard]] Value valueOf(const Setting& setting);
    void setValue(const Setting& setting, const Value& value);
    /// Forgets the stored value, so that the default holds; writes and posts as setValue does.
    void resetValue(const Setting& setting);

    // Where photos come from and go to.
    [[nodiscard]] bool automaticallyDownloadCloudPhotos();
    void setAutomaticallyDownloadCloudPhotos(bool value);
    [[nodiscard]] bool allowNetworkAccessToDownloadPhotos();  ///< Always false: downloads are forced or not made.
    void setAllowNetworkAccessToDownloadPhotos(bool value);
    [[nodiscard]] bool overwriteImageForExifChange();
    void setOverwriteImageForExifChange(bool value);
    [[nodiscard]] bool addToAlbumAfterEditingEXIF();
    void setAddToAlbumAfterEditingEXIF(bool value);
    [[nodiscard]] bool addToAlbumAfterRemovingEXIF();
    void setAddToAlbumAfterRemovingEXIF(bool value);
    [[nodiscard]] std::string albumNameAfterEditingEXIF();
    void setAlbumNameAfterEditingEXIF(std::string_view value);
    [[nodiscard]] std::string albumNameAfterRemovingEXIF();
    void setAlbumNameAfterRemovingEXIF(std::string_view value);
    [[nodiscard]] bool deleteOriginalPhotoAfterCreatingImageWithoutExif();
    void setDeleteOriginalPhotoAfterCreatingImageWithoutExif(bool value);

    // What is listed, and how.
    [[nodiscard]] std::uint64_t locationFilter();  ///< 0 all, 1 with a location, 2 without.
    void setLocationFilter(std::uint64_t value);
    [[nodiscard]] bool shouldHidePhotosWithoutExifDetails();
    void setShouldHidePhotosWithoutExifDetails(bool value);
    [[nodiscard]] std::uint64_t sortByKeyValue();
    void setSortByKeyValue(std::uint64_t value);
    [[nodiscard]] bool sortOrderAscending();
    void setSortOrderAscending(bool value);
    [[nodiscard]] std::uint64_t previousTessalyViewType();
    void setPreviousTessalyViewType(std::uint64_t value);
    [[nodiscard]] std::uint64_t tessalyViewType();
    void setTessalyViewType(std::uint64_t value);
    [[nodiscard]] std::uint64_t selectedTabIndex();
    void setSelectedTabIndex(std::uint64_t value);

    // Look.
    [[nodiscard]] std::int64_t imageViewContentMode();
    void setImageViewContentMode(std::int64_t value);
    [[nodiscard]] bool shouldUseDeviceLanguage();
    void setShouldUseDeviceLanguage(bool value);
    [[nodiscard]] bool shouldHideDeleteAndRemveExifBarOnDetailScreen();
    void setShouldHideDeleteAndRemveExifBarOnDetailScreen(bool value);
    [[nodiscard]] bool isUsingLightFontOnExifDetailsScreen();
    void setIsUsingLightFontOnExifDetailsScreen(bool value);
    [[nodiscard]] bool isDarkModeOn();  ///< Never while the system inverts colours.
    void setIsDarkModeOn(bool value);
    [[nodiscard]] bool shouldShowZoomPercentageInFullScreen();
    void setShouldShowZoomPercentageInFullScreen(bool value);
    [[nodiscard]] bool shouldShowExtraInformationOnEXIFCards();
    void setShouldShowExtraInformationOnEXIFCards(bool value);
    [[nodiscard]] bool shouldShowExifDetailsOnGridView();
    void setShouldShowExifDetailsOnGridView(bool value);
    [[nodiscard]] bool showUserCurrentLocationOnMapView();
    void setShowUserCurrentLocationOnMapView(bool value);
    [[nodiscard]] std::uint64_t mapType();
    void setMapType(std::uint64_t value);
    [[nodiscard]] std::uint64_t mkMapType();  ///< 0 standard, 1 satellite, 2 hybrid, whatever mapType holds.

    // Units, dates and places.
    [[nodiscard]] bool isUsingMetricUnits();  ///< The first reading stores the locale's choice.
    void setIsUsingMetricUnits(bool value);
    bool defaultShouldShowMetricUnits();
    [[nodiscard]] bool datePreference24HourFormat();
    void setDatePreference24HourFormat(bool value);
    [[nodiscard]] bool datePreferenceTimeAgoSinceNow();
    void setDatePreferenceTimeAgoSinceNow(bool value);
    [[nodiscard]] std::string dateFormatString();  ///< A pattern, turned to 24 hours if so preferred.
    void setDateFormatString(std::string_view value);
    [[nodiscard]] bool shouldShowGPSInDecimalValues();
    void setShouldShowGPSInDecimalValues(bool value);

    // Sharing.
    [[nodiscard]] bool shouldShareAPPURLWhileSharing();
    void setShouldShareAPPURLWhileSharing(bool value);
    [[nodiscard]] bool includeExifAsTextOniMessageApp();
    void setIncludeExifAsTextOniMessageApp(bool value);

    // What the user has seen and allowed.
    [[nodiscard]] bool haveSeenShareCrashReportsAlert();
    void setHaveSeenShareCrashReportsAlert(bool value);
    [[nodiscard]] bool userAllowedSharingCrashReports();
    void setUserAllowedSharingCrashReports(bool value);
    [[nodiscard]] bool haveSeenIntroductionScreen();
    void setHaveSeenIntroductionScreen(bool value);
    [[nodiscard]] bool haveSeenYoutubeAppVideo();
    void setHaveSeenYoutubeAppVideo(bool value);
    [[nodiscard]] bool haveSeenYoutubeAppExtensionVideo();
    void setHaveSeenYoutubeAppExtensionVideo(bool value);
    [[nodiscard]] std::int64_t numberOfExifCardFlips();
    void setNumberOfExifCardFlips(std::int64_t value);
    /// Whether one of the two videos is still unseen.
    [[nodiscard]] bool containsNewItemInHelpScreen();
    void setContainsNewItemInHelpScreen(bool value) { containsNewItemInHelpScreen_ = value; }

    // Of this launch only.
    bool didShowFlipExifCardTutorialOnThisLaunch = false;
    bool haveSeenYoutubeiMessageAppVideo = false;
    bool exifCardLocationEnabled = false;
    bool exifCardDateEnabled = false;
    bool exifCardCameraLensEnabled = false;
    bool exifCardArtistsNameEnabled = false;
    bool exifCardTessalyAppPromoTextEnabled = false;

    // Formats of dates inside metadata. The letters of the last are kept as other readers of the suite know them.
    static constexpr std::string_view exifStandardDateFormatString = "yyyy:MM:dd HH:mm:ss";
    static constexpr std::string_view exifGPSStandardDateFormatString = "yyyy:MM:dd";
    static constexpr std::string_view exifGPSStandardTimeFormatString = "HH:MM:SS";

    // Ordered key lists.
    static ExifKeyList sharedExifKeysDefaultOrderedArray();
    static ExifKeyList sharedEDITExifKeysDefaultOrderedArray();
    static ExifKeyList sharedEDITExifKeysDefaultOrderedArrayForVideo();
    /// The items of `comparedTo` that `keys` lacks, in their order. A key counts as present when it is part of a
    /// present one: "Model" is not missing where "LensModel" stands.
    static ExifKeyList missingExifKeysIn(const ExifKeyList& keys, const ExifKeyList& comparedTo);

    // All keys, hidden ones included, whatever the names say.
    [[nodiscard]] const ExifKeyList& sharedExifVisibleKeysOrderedArray() const { return shareKeys_.all(); }
    void setSharedExifVisibleKeysOrderedArray(ExifKeyList keys) { shareKeys_.set(std::move(keys)); }
    [[nodiscard]] const ExifKeyList& sharedEditEXIFVisibleKeysOrderedArray() const { return editKeys_.all(); }
    void setSharedEditEXIFVisibleKeysOrderedArray(ExifKeyList keys) { editKeys_.set(std::move(keys)); }
    [[nodiscard]] const ExifKeyList& sharedEditEXIFVisibleKeysOrderedArrayForVideo() const {
        return videoEditKeys_.all();
    }
    void setSharedEditEXIFVisibleKeysOrderedArrayForVideo(ExifKeyList keys) { videoEditKeys_.set(std::move(keys)); }

    // The keys that are not hidden.
    [[nodiscard]] const ExifKeyList& allSharedExifVisibleKeysOrderedArray() { return shareKeys_.visible(); }
    [[nodiscard]] const ExifKeyList& allSharedEditEXIFVisibleKeysOrderedArray() { return editKeys_.visible(); }
    [[nodiscard]] const ExifKeyList& allSharedEditEXIFVisibleKeysOrderedArrayForVideo() {
        return videoEditKeys_.visible();
    }

private:
    void changed(const Setting& setting);

    std::shared_ptr<NSUserDefaults> userDefaults_;
    OrderedKeys videoEditKeys_;
    OrderedKeys shareKeys_;
    OrderedKeys editKeys_;
    bool containsNewItemInHelpScreen_ = false;
};

}  // namespace tessaly
