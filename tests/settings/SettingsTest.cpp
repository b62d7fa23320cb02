#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/Foundation/NSLocale.h"
#include "platform/Foundation/NSNotificationCenter.h"
#include "settings/AppSettings.h"
#include "settings/PersistanceManager.h"

namespace tessaly {
namespace {

/// A suite that no other test has touched.
std::string freshSuite() {
    static int count = 0;
    return "group.test" + std::to_string(++count);
}

std::vector<std::string> namesOf(const ExifKeys& keys) {
    std::vector<std::string> names;
    for (const ExifKey& key : keys) names.push_back(key.key);
    return names;
}

Data archiveOf(std::initializer_list<std::string_view> names) { return archivedDataWithRootObject(keysNamed(names)); }

TEST(PersistanceManager, HasTheDefaultsOfAFreshInstall) {
    const PersistanceManager settings(freshSuite());
    EXPECT_EQ(PersistanceManager::settings().size(), 38U);
    EXPECT_EQ(settings.imageViewContentMode(), 2);
    EXPECT_EQ(settings.selectedTabIndex(), 2U);
    EXPECT_TRUE(settings.isUsingLightFontOnExifDetailsScreen());
    EXPECT_TRUE(settings.datePreferenceTimeAgoSinceNow());
    EXPECT_TRUE(settings.shouldShowGPSInDecimalValues());
    EXPECT_FALSE(settings.isDarkModeOn());
    EXPECT_EQ(settings.albumNameAfterEditingEXIF(), "Exif Edited");
    EXPECT_EQ(settings.dateFormatString(), "dd-MM-YYYY hh:mm:ss a");
}

TEST(PersistanceManager, KeepsWhatWasSetAcrossInstances) {
    const std::string suite = freshSuite();
    {
        PersistanceManager settings(suite);
        settings.setLocationFilter(2);
        settings.setAlbumNameAfterRemovingEXIF("Clean");
        settings.setAllowNetworkAccessToDownloadPhotos(true);
        settings.setIsDarkModeOn(true);
    }
    PersistanceManager settings(suite);
    EXPECT_EQ(settings.locationFilter(), 2U);
    EXPECT_EQ(settings.albumNameAfterRemovingEXIF(), "Clean");
    EXPECT_FALSE(settings.allowNetworkAccessToDownloadPhotos()) << "downloads only when asked for";
    EXPECT_TRUE(settings.isDarkModeOn());
    PersistanceManager::invertColorsEnabled = true;
    EXPECT_FALSE(settings.isDarkModeOn()) << "inverted colours are dark enough";
    PersistanceManager::invertColorsEnabled = false;
}

TEST(PersistanceManager, TellsObserversAfterStoring) {
    PersistanceManager settings(freshSuite());
    std::uint64_t seen = 99;
    const auto observer = NSNotificationCenter::defaultCenter().addObserver(
        PersistanceManagerHidePhotosWithoutExifDetailsValueChangedEvent,
        [&](const NSNotification&) { seen = settings.locationFilter(); });
    settings.setLocationFilter(1);
    EXPECT_EQ(seen, 1U);
}

TEST(PersistanceManager, AsksTheLocaleForUnitsOnce) {
    PersistanceManager settings(freshSuite());
    int posted = 0;
    const auto observer = NSNotificationCenter::defaultCenter().addObserver(ExifDataListNeedRefresh,
                                                                            [&](const NSNotification&) { ++posted; });
    NSLocale::setCurrentLocale("de_DE");
    EXPECT_TRUE(settings.isUsingMetricUnits());
    EXPECT_EQ(posted, 1);
    NSLocale::setCurrentLocale("en_US");
    EXPECT_TRUE(settings.isUsingMetricUnits()) << "the first answer is kept";
    EXPECT_EQ(posted, 1);
    NSLocale::setCurrentLocale("");
}

TEST(PersistanceManager, TakesTheTwelveHourLettersOutOfThePattern) {
    struct Case {
        std::string_view pattern, result;
    };
    const Case cases[] = {{"", "dd-MM-YYYY HH:mm:ss "}, {"hh:mm a", "HH:mm "}, {"h 'at' hhmm", "h 't' HHmm"}};
    for (const auto& [pattern, result] : cases) {
        PersistanceManager settings(freshSuite());
        settings.setDatePreference24HourFormat(true);
        if (!pattern.empty()) settings.setDateFormatString(std::string(pattern));
        EXPECT_EQ(settings.dateFormatString(), result);
    }
}

TEST(KeyLists, AreTheDefaultsAtFirstAndMergeByCount) {
    const std::string suite = freshSuite();
    {
        const AppSettings settings(suite, NSUserDefaults::standardUserDefaults());
        EXPECT_EQ(settings.exifVisibleKeysOrderedArray().size(), 62U);
        EXPECT_EQ(settings.exifKeysOrderedArray_Video().size(), 13U);
    }
    struct Case {
        const char* why;
        std::initializer_list<std::string_view> stored;
        std::vector<std::string> list;
    };
    const Case cases[] = {
        {"missing keys come last, in default order",
         {"Duration", "GPS"},
         {"Duration", "GPS", "DateTaken", "FramesPerSecond", "GPSSpeed", "GPSAltitude", "FileSize", "Artist",
          "Copyright", "Make", "Model", "Software", "MapView"}},
        {"a name within a stored one counts as stored",
         {"GPSSpeed", "LensModel", "LensMake"},
         {"GPSSpeed", "LensModel", "LensMake", "DateTaken", "FramesPerSecond", "GPSAltitude", "Duration", "FileSize",
          "Artist", "Copyright", "Software", "MapView"}},
        {"an empty list is shorter than any", {}, namesOf(AppSettings::exifKeysDefaultOrderedArrayForVideos())},
    };
    for (const auto& [why, stored, list] : cases) {
        NSUserDefaults defaults(suite);
        defaults.setObject(archiveOf(stored), "exifKeysOrderedArray_Video");
        defaults.synchronize();
        const AppSettings settings(suite, NSUserDefaults::standardUserDefaults());
        EXPECT_EQ(namesOf(settings.exifKeysOrderedArray_Video()), list) << why;
    }
}

TEST(KeyLists, MoveOnceFromTheOlderPlace) {
    const std::string suite = freshSuite();
    auto standard = std::make_shared<NSUserDefaults>(freshSuite());
    NSUserDefaults shared(suite);
    shared.setObject(archiveOf({"GPS"}), "exifKeysOrderedArray_Video");
    shared.synchronize();
    standard->setObject(archiveOf({"Duration"}), "exifKeysOrderedArray_Video");
    {
        const AppSettings settings(suite, standard);
        EXPECT_EQ(settings.exifKeysOrderedArray_Video().front().key, "Duration");
    }
    EXPECT_TRUE(standard->objectForKey("exifKeysOrderedArray_Video").isNull());
}

TEST(KeyLists, HideKeysAndNeverExtendTheShareList) {
    const std::string suite = freshSuite();
    {
        PersistanceManager settings(suite);
        ExifKeys keys = keysNamed(std::initializer_list<std::string_view>{"Model", "Make"});
        keys[0].isHidden = true;
        settings.setSharedExifVisibleKeysOrderedArray(keys);
        EXPECT_EQ(namesOf(settings.allSharedExifVisibleKeysOrderedArray()), std::vector<std::string>{"Make"});
    }
    const PersistanceManager settings(suite);
    EXPECT_EQ(settings.sharedExifVisibleKeysOrderedArray().size(), 2U);
    EXPECT_EQ(settings.allSharedEditEXIFVisibleKeysOrderedArray().size(), 21U);
    EXPECT_EQ(settings.sharedEditEXIFVisibleKeysOrderedArrayForVideo().size(), 2U);
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
