#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <sstream>

#include "platform/Foundation/NSBundle.h"
#include "platform/Foundation/NSLocale.h"
#include "platform/Foundation/NSNotificationCenter.h"
#include "settings/AppSettings.h"
#include "settings/LanguageManager.h"
#include "settings/PersistanceManager.h"

namespace tessaly {
namespace {

/// A suite that no other test has touched.
std::string freshSuite() {
    static int count = 0;
    return "group.test" + std::to_string(++count);
}

Data archiveOf(std::initializer_list<std::string_view> names) { return archivedDataWithRootObject(keysNamed(names)); }

/// Settings that have the same default, take the same other value, and tell the same observers.
struct SettingGroup {
    std::string_view names;
    Value standard, other;
    std::string_view notification = {};
};

std::vector<SettingGroup> settingGroups() {
    constexpr std::string_view kFilter = "PersistanceManagerHidePhotosWithoutExifDetailsValueChangedEvent";
    constexpr std::string_view kList = "ExifDataListNeedRefresh";
    constexpr std::string_view kDate = "PersistanceManagerDateFormatOrPreferenceChangedEvent";
    return {
        {"automaticallyDownloadCloudPhotos deleteOriginalPhotoAfterCreatingImageWithoutExif sortOrderAscending "
         "shouldHideDeleteAndRemveExifBarOnDetailScreen isDarkModeOn haveSeenShareCrashReportsAlert "
         "userAllowedSharingCrashReports haveSeenIntroductionScreen haveSeenYoutubeAppVideo "
         "haveSeenYoutubeAppExtensionVideo shouldShareAPPURLWhileSharing showUserCurrentLocationOnMapView",
         false, true},
        {"overwriteImageForExifChange addToAlbumAfterEditingEXIF addToAlbumAfterRemovingEXIF shouldUseDeviceLanguage "
         "shouldShowZoomPercentageInFullScreen datePreferenceTimeAgoSinceNow shouldShowGPSInDecimalValues "
         "includeExifAsTextOniMessageApp",
         true, false},
        {"allowNetworkAccessToDownloadPhotos", false, false},  // Downloads only when asked for.
        {"sortByKeyValue numberOfExifCardFlips previousTessalyViewType mapType", 0, 3},
        {"imageViewContentMode selectedTabIndex", 2, 1},
        {"albumNameAfterEditingEXIF", "Exif Edited", "Mine"},
        {"albumNameAfterRemovingEXIF", "Exif Removed", "Clean"},
        {"locationFilter", 0, 2, kFilter},
        {"shouldHidePhotosWithoutExifDetails", false, true, kFilter},
        {"isUsingLightFontOnExifDetailsScreen isUsingMetricUnits shouldShowExtraInformationOnEXIFCards", true, false,
         kList},
        {"shouldShowExifDetailsOnGridView showsPreciseValues hidesEmptyRows", false, true, kList},
        {"tessalyViewType", 0, 1, kList},
        {"datePreference24HourFormat", false, true, kDate},
        {"dateFormatString", "dd-MM-YYYY hh:mm:ss a", "yyyy", kDate},
    };
}

void expectSetting(const Setting& setting, const SettingGroup& group) {
    SCOPED_TRACE(setting.name);
    const std::string suite = freshSuite();
    PersistanceManager settings(suite);
    EXPECT_EQ(settings.valueOf(setting), group.standard);
    if (setting.name != "isUsingMetricUnits") {
        EXPECT_EQ(setting.defaultValue(), group.standard);
    }
    std::string told;
    std::vector<NSNotificationCenter::Observer> observers;
    for (const std::string_view event :
         {ExifDataListNeedRefresh, PersistanceManagerHidePhotosWithoutExifDetailsValueChangedEvent,
          PersistanceManagerDateFormatOrPreferenceChangedEvent})
        observers.push_back(NSNotificationCenter::defaultCenter().addObserver(event, [&](const NSNotification& notice) {
            EXPECT_EQ(notice.object, &settings);
            EXPECT_EQ(settings.valueOf(setting), group.other) << "told after storing";
            told += notice.name;
        }));
    settings.setValue(setting, group.other);
    EXPECT_EQ(told, group.notification);
    EXPECT_EQ(PersistanceManager(suite).valueOf(setting), group.other) << "written at once";
    observers.clear();
    settings.reset(setting);
    EXPECT_EQ(settings.valueOf(setting), group.standard);
}

TEST(PersistanceManager, KeepsEverySettingAndTellsItsObservers) {
    NSLocale::setCurrentLocale("en_IE");  // Metres, and names of albums in English.
    std::size_t count = 0;
    for (const SettingGroup& group : settingGroups()) {
        std::istringstream names{std::string(group.names)};
        for (std::string name; names >> name; ++count) {
            const Setting* const setting = PersistanceManager::settingNamed(name);
            ASSERT_TRUE(setting) << name;
            expectSetting(*setting, group);
        }
    }
    EXPECT_EQ(PersistanceManager::settings().size(), count);
    EXPECT_EQ(PersistanceManager::settingNamed("nobody"), nullptr);
    NSLocale::setCurrentLocale("");
}

TEST(PersistanceManager, DerivesSomeAnswers) {
    PersistanceManager settings(freshSuite());
    settings.setIsDarkModeOn(true);
    PersistanceManager::invertColorsEnabled = true;
    EXPECT_FALSE(settings.isDarkModeOn()) << "inverted colours are dark enough";
    PersistanceManager::invertColorsEnabled = false;
    EXPECT_TRUE(settings.isDarkModeOn());
    for (const auto& [stored, shown] : {std::pair(0U, 0), {1U, 1}, {2U, 2}, {3U, 0}}) {
        settings.setMapType(stored);
        EXPECT_EQ(settings.mkMapType(), shown) << stored;
    }
    for (const bool video : {false, true})
        for (const bool extension : {false, true}) {
            settings.setHaveSeenYoutubeAppVideo(video);
            settings.setHaveSeenYoutubeAppExtensionVideo(extension);
            EXPECT_EQ(settings.containsNewItemInHelpScreen(), !video || !extension);
        }
    NSBundle::mainBundle().setLanguage("de");
    EXPECT_EQ(settings.albumNameAfterEditingEXIF(), localized("Exif Edited"));
    EXPECT_EQ(settings.albumNameAfterRemovingEXIF(), localized("Exif Removed"));
    EXPECT_NE(settings.albumNameAfterEditingEXIF(), "Exif Edited");
    NSBundle::mainBundle().setLanguage("");
}

TEST(SettingsDeathTest, WriteWhatTheyDo) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    ::setenv("TESSALY_LOG", "1", 1);
    const auto act = [] {
        const std::string suite = freshSuite();
        static_cast<void>(PersistanceManager(suite));
        PersistanceManager settings(suite);
        settings.setShouldHidePhotosWithoutExifDetails(settings.shouldHidePhotosWithoutExifDetails());
        LanguageManager::saveLanguageByIndex(1);
        static_cast<void>(LanguageManager::currentLanguageString());
        std::_Exit(0);
    };
    using testing::HasSubstr;
    EXPECT_EXIT(act(), testing::ExitedWithCode(0),
                testing::AllOf(HasSubstr("init userDefaults /"), HasSubstr("COUNT___ 21 vs 21"),
                               HasSubstr("_userDefaults___ /"), HasSubstr("_userDefaults /"), HasSubstr("CODE zh-Hant"),
                               HasSubstr("currentLanguageString_ zh-Hant zh-Hans")));
    ::unsetenv("TESSALY_LOG");
}

TEST(PersistanceManager, AsksTheLocaleForUnitsOnce) {
    PersistanceManager settings(freshSuite());
    int posted = 0;
    const auto observer = NSNotificationCenter::defaultCenter().addObserver(ExifDataListNeedRefresh,
                                                                            [&](const NSNotification&) { ++posted; });
    for (const char* locale : {"de_DE", "en_US"}) {
        NSLocale::setCurrentLocale(locale);
        EXPECT_TRUE(settings.isUsingMetricUnits()) << "the first answer is kept";
        EXPECT_EQ(posted, 1);
    }
    NSLocale::setCurrentLocale("");
}

TEST(PersistanceManager, TakesTheTwelveHourLettersOutOfThePattern) {
    struct Case {
        std::string_view pattern, result;
    };
    const Case cases[] = {{"dd-MM-YYYY hh:mm:ss a", "dd-MM-YYYY HH:mm:ss "},
                          {"", "dd-MM-YYYY HH:mm:ss "},
                          {"hh:mm a", "HH:mm "},
                          {"h 'at' hhmm", "h 't' HHmm"}};
    for (const auto& [pattern, result] : cases) {
        PersistanceManager settings(freshSuite());
        settings.setDatePreference24HourFormat(true);
        settings.setDateFormatString(std::string(pattern));
        EXPECT_EQ(settings.dateFormatString(), result);
    }
}

std::string joined(const ExifKeys& keys) {
    std::string text;
    for (const ExifKey& key : keys) text += (text.empty() ? "" : " ") + key.key + (key.isHidden ? "!" : "");
    return text;
}

constexpr std::string_view kVideoKeys =
    "DateTaken FramesPerSecond GPSSpeed GPSAltitude GPS Duration FileSize Artist Copyright Make Model Software MapView";

TEST(KeyLists, AreTheDefaultsAtFirst) {
    const std::string suite = freshSuite();
    const AppSettings lists(suite, NSUserDefaults::standardUserDefaults());
    const PersistanceManager settings(suite);
    struct Case {
        const char* storedUnder;
        const ExifKeys &all, &visible;
        std::string_view names;
    };
    const Case cases[] = {
        {"exifKeysOrderedArray", lists.exifKeysOrderedArray(), lists.exifVisibleKeysOrderedArray(),
         "ApertureValue ISOSpeedRatings FocalLength FocalLenIn35mmFilm StarRating Flash ApertureMax DateTaken "
         "EditedDate GPSSpeed GPSAltitude FlashPixVersion DigitalZoomRatio ExposureBiasValue ExposureMode "
         "ExposureProgram ExposureTime WhiteBalance MeteringMode SceneCaptureType SceneType SensingMethod "
         "SensitivityType Sharpness ResolutionInMegaPixel AspectRatioFraction SubjectDistRange ColorModel DPIHeight "
         "DPIWidth FileSize Depth Orientation ColorSpace ColorProfile CompressedBitsPerPixel Contrast CustomRendered "
         "GainControl LightSource Saturation Artist Copyright Make Model MakerNote FilmMode Software FileSource "
         "shutterCount LensMake LensModel LensSerialNumber CameraSerialNumber UserComment Keywords Title Headline "
         "Caption GPS GPSDirection MapView"},
        {"exifKeysOrderedArray_Video", lists.exifKeysOrderedArray_Video(), lists.exifVisibleKeysOrderedArray_Video(),
         kVideoKeys},
        {"exifKeysOrderedArray_FOR_SHARE", settings.sharedExifVisibleKeysOrderedArray(),
         settings.allSharedExifVisibleKeysOrderedArray(),
         "ApertureValue ExposureTime FocalLength FocalLenIn35mmFilm ISOSpeedRatings Flash DateTaken GPSSpeed "
         "GPSAltitude ExposureBiasValue ExposureMode ExposureProgram WhiteBalance MeteringMode Artist Copyright Make "
         "Model Software shutterCount LensMake LensModel LensSerialNumber CameraSerialNumber GPS"},
        {"editExifKeysOrderedArray", settings.sharedEditEXIFVisibleKeysOrderedArray(),
         settings.allSharedEditEXIFVisibleKeysOrderedArray(),
         "DateTaken Caption Title FocalLength Copyright Artist Make Model Software LensMake LensModel ApertureValue "
         "ISOSpeedValue ShutterSpeedStringValue UserComment Keywords Headline StarRating GPSAltitude GPSSpeed GPS"},
        {"editExifKeysOrderedArrayVideo", settings.sharedEditEXIFVisibleKeysOrderedArrayForVideo(),
         settings.allSharedEditEXIFVisibleKeysOrderedArrayForVideo(), "DateTaken GPS"},
    };
    const NSUserDefaults written(suite);
    for (const auto& [storedUnder, all, visible, names] : cases) {
        EXPECT_EQ(joined(all), names);
        EXPECT_EQ(visible, all) << names;
        const auto archived = unarchiveObjectWithData<ExifKey>(written.objectForKey(storedUnder).data());
        EXPECT_EQ(archived, all) << storedUnder << ": written at once";
    }
    EXPECT_EQ(joined(AppSettings::missingExifOrderedKeysIn(
                  keysNamed(std::vector<std::string_view>{"GPSSpeed", "Software", "DateTaken"}), true)),
              "FramesPerSecond GPSAltitude Duration FileSize Artist Copyright Make Model MapView");
}

// The lists that are merged, and the one that never is.
TEST(KeyLists, AreMergedWhereTheyAreShorter) {
    struct Case {
        const char* why;
        std::vector<std::string_view> stored;
        std::string_view videos, edited, shared;
    };
    const std::vector<std::string_view> foreign(13, "x");
    const Case cases[] = {
        {"missing keys come last, in default order",
         {"Duration", "GPS"},
         "Duration GPS DateTaken FramesPerSecond GPSSpeed GPSAltitude FileSize Artist Copyright Make Model Software "
         "MapView",
         "Duration GPS",
         "Duration GPS"},
        {"a name within a stored one counts as stored",
         {"GPSSpeed"},
         "GPSSpeed DateTaken FramesPerSecond GPSAltitude Duration FileSize Artist Copyright Make Model Software "
         "MapView",
         "GPSSpeed DateTaken",
         "GPSSpeed"},
        {"an empty list is shorter than any", {}, kVideoKeys, "DateTaken GPS", ""},
        {"as long as the default: kept, whatever it lacks", foreign, "x x x x x x x x x x x x x",
         "x x x x x x x x x x x x x", "x x x x x x x x x x x x x"},
    };
    for (const auto& [why, stored, videos, edited, shared] : cases) {
        const std::string suite = freshSuite();
        NSUserDefaults defaults(suite);
        for (const char* key :
             {"exifKeysOrderedArray_Video", "editExifKeysOrderedArrayVideo", "exifKeysOrderedArray_FOR_SHARE"})
            defaults.setObject(archivedDataWithRootObject(keysNamed(stored)), key);
        defaults.synchronize();
        const AppSettings lists(suite, NSUserDefaults::standardUserDefaults());
        const PersistanceManager settings(suite);
        EXPECT_EQ(joined(lists.exifKeysOrderedArray_Video()), videos) << why;
        EXPECT_EQ(joined(settings.sharedEditEXIFVisibleKeysOrderedArrayForVideo()), edited) << why;
        EXPECT_EQ(joined(settings.sharedExifVisibleKeysOrderedArray()), shared) << why;
    }
}

TEST(KeyLists, MoveOnceFromTheOlderPlace) {
    const std::string suite = freshSuite(), old = freshSuite();
    const auto standard = std::make_shared<NSUserDefaults>(old);
    NSUserDefaults shared(suite);
    shared.setObject(archiveOf({"GPS"}), "exifKeysOrderedArray_Video");
    shared.synchronize();
    standard->setObject(archiveOf({"Duration"}), "exifKeysOrderedArray_Video");
    standard->setObject(archiveOf({"Make"}), "exifKeysOrderedArray");
    standard->synchronize();
    for (int start = 0; start < 2; ++start) {
        const AppSettings settings(suite, standard);
        EXPECT_EQ(settings.exifKeysOrderedArray_Video().front().key, "Duration");
        EXPECT_EQ(settings.exifKeysOrderedArray().size(), 62U) << "what only the older place has is not asked";
    }
    EXPECT_TRUE(NSUserDefaults(old).objectForKey("exifKeysOrderedArray_Video").isNull());
}

TEST(KeyLists, HideKeysAndAreWrittenAtOnce) {
    const std::string suite = freshSuite();
    AppSettings lists(suite, NSUserDefaults::standardUserDefaults());
    PersistanceManager settings(suite);
    ExifKeys keys = keysNamed(std::initializer_list<std::string_view>{"Model", "Make", "GPS"});
    EXPECT_EQ(settings.allSharedExifVisibleKeysOrderedArray().size(), 25U);
    settings.setSharedExifVisibleKeysOrderedArray(keys);
    keys[0].isHidden = true;
    settings.setSharedExifVisibleKeysOrderedArray(keys);
    EXPECT_EQ(joined(settings.allSharedExifVisibleKeysOrderedArray()), "Make GPS");
    const PersistanceManager later(suite);
    EXPECT_EQ(joined(later.sharedExifVisibleKeysOrderedArray()), "Model! Make GPS");
    for (ExifKey& key : keys) key.isHidden = true;
    settings.setSharedExifVisibleKeysOrderedArray(keys);
    EXPECT_TRUE(settings.allSharedExifVisibleKeysOrderedArray().empty());
}

TEST(KeyLists, ShowNothingWhenWhatIsStoredCannotBeRead) {
    const std::string suite = freshSuite();
    NSUserDefaults defaults(suite);
    defaults.setObject("not an archive", "exifKeysOrderedArray");
    defaults.synchronize();
    const AppSettings settings(suite, NSUserDefaults::standardUserDefaults());
    EXPECT_TRUE(settings.exifKeysOrderedArray().empty());
}

}  // namespace
}  // namespace tessaly
