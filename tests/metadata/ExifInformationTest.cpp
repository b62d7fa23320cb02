#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "metadata/FullRecord.h"
#include "platform/Foundation/NSDateFormatter.h"
#include "platform/UIKit/UIScreen.h"
#include "settings/AppSettings.h"
#include "settings/PersistanceManager.h"

namespace tessaly {
namespace {

ExifInformationRef recordOf(const Dictionary& properties) {
    return ExifInformation::exifInformationFromMetaDataDictionary(properties);
}

TEST(ExifInformation, TellsWhetherThereIsExif) {
    struct Case {
        const char* why;
        Value properties;
        bool exif, exifOrTiff;
    };
    const Case cases[] = {
        {"nothing", {}, false, false},
        {"not a dictionary", "text", false, false},
        {"TIFF only", Dictionary{{"{TIFF}", Dictionary{{"Make", "M"}}}}, false, true},
        {"colour space alone", Dictionary{{"{Exif}", Dictionary{{"ColorSpace", 1}, {"PixelXDimension", 5}}}}, false,
         true},
        {"an aperture", Dictionary{{"{Exif}", Dictionary{{"FNumber", 2}}}}, true, true},
        {"an exposure", Dictionary{{"{Exif}", Dictionary{{"ExposureTime", 2}}}}, true, true},
        {"a focal length", Dictionary{{"{Exif}", Dictionary{{"FocalLength", 2}}}}, true, true},
    };
    for (const auto& [why, properties, exif, exifOrTiff] : cases) {
        const auto record = ExifInformation::exifInformationFromMetaDataDictionary(properties);
        ASSERT_TRUE(record) << why;
        EXPECT_EQ(record->exifInfoAvailable, exif) << why;
        EXPECT_EQ(record->exifORTiffInfoAvailable, exifOrTiff) << why;
    }
}

TEST(ExifInformation, KnowsScreenshotsByTheirSize) {
    const UIScreen before = UIScreen::mainScreen();
    UIScreen screen = before;
    screen.bounds = {100, 100};
    UIScreen::setMainScreen(screen);
    const auto [width, height] = screen.nativeBounds;
    EXPECT_FALSE(recordOf({{"PixelWidth", 100 * screen.scale}, {"PixelHeight", 100 * screen.scale}})->isScreenShot)
        << "the size of the window";
    EXPECT_TRUE(recordOf({{"PixelWidth", width}, {"PixelHeight", height}})->isScreenShot);
    EXPECT_TRUE(recordOf({{"PixelWidth", height}, {"PixelHeight", width}})->isScreenShot) << "turned";
    EXPECT_FALSE(recordOf({{"PixelWidth", width + 1}, {"PixelHeight", height}})->isScreenShot);
    EXPECT_FALSE(recordOf({{"PixelWidth", width}, {"PixelHeight", height}, {"{Exif}", Dictionary{{"FNumber", 2}}}})
                     ->isScreenShot)
        << "a camera's picture of that size";
    UIScreen::setMainScreen(before);
}

TEST(ExifInformation, TakesTheCameraValuesOut) {
    const auto record = test::fullRecord();
    EXPECT_EQ(record->dimensions, (CGSize{4000, 3000}));
    EXPECT_EQ(record->focalLengthInmm, Value(26.9));
    EXPECT_EQ(record->iSOSpeed, Value(80));
    EXPECT_EQ(recordOf({{"{Exif}", Dictionary{{"ISOSpeed", 82.9}}}})->iSOSpeed, Value(82));
    EXPECT_EQ(record->shutterSpeedExposureTimeInSeconds, Value(static_cast<double>(0.004F)));
    EXPECT_EQ(record->aperture_fStop, Value(1.8));
    EXPECT_EQ(record->flashStatusCode, 0x4F);
    EXPECT_EQ(record->cameraModel, "iPhone X");
    EXPECT_EQ(record->dateTaken, dateFromExifString("2018:12:31 15:04:05"));
    EXPECT_TRUE(record->imageResultIsInCloud) << "until a reader says otherwise";
    EXPECT_EQ(record->iCloudDownloadProgress, -1);
    record->setImageFetchCompletionHandler([](auto&&...) {});
    EXPECT_TRUE(record->imageFetchCompletionHandler());
    record->setFileNameCached("a.jpg");
    EXPECT_EQ(record->fileNameCached(), "a.jpg");
    const std::vector assets{std::make_shared<PHAsset>(), std::make_shared<PHAsset>()};
    const auto records = ExifInformation::exifInformationsArrayFrom(assets);
    ASSERT_EQ(records.size(), 2U);
    EXPECT_EQ(records[1]->phAsset, assets[1]);
}

TEST(ExifInformation, AnswersEveryNameOfTheVocabularyAndNoOther) {
    const auto record = recordOf({{"PixelWidth", 5}, {"{Exif}", Dictionary{{"FNumber", 2}}}});
    for (const auto& defaults :
         {AppSettings::exifKeysDefaultOrderedArray(), AppSettings::exifKeysDefaultOrderedArrayForVideos(),
          PersistanceManager::sharedExifKeysDefaultOrderedArray(),
          PersistanceManager::sharedEDITExifKeysDefaultOrderedArray()})
        for (const ExifKey& key : defaults)
            EXPECT_TRUE(std::holds_alternative<ExifValue>(record->exifValueFor(key))) << key.key;
    for (const char* raw : {"FNumber", "PixelWidth", "PixelHeight", "SubjectArea", "SubsecTime", "SubsecTimeDigitized",
                            "DateTime", "DateTimeOriginal", "DateTimeDigitized", "ComponentsConfiguration",
                            "ResolutionUnit", "XResolution", "YResolution", "Orientation"}) {
        record->metaDataDictionary.set(raw, std::string("the ") + raw);
        const std::string key = raw == std::string("Orientation") ? "Orientation_TIFF" : raw;
        EXPECT_EQ(std::get<Value>(record->performCustomSelector(key)), Value(std::string("the ") + raw));
    }
    EXPECT_TRUE(std::get<Value>(record->performCustomSelector("SubsecTimeOriginal")).isNull());
    EXPECT_TRUE(std::holds_alternative<std::monostate>(record->performCustomSelector("ShutterCount"))) << "case counts";
    EXPECT_TRUE(std::holds_alternative<std::monostate>(record->performCustomSelector("")));
}

class ShareText : public testing::Test {
protected:
    void SetUp() override { settings.setShouldShareAPPURLWhileSharing(false); }
    void TearDown() override {
        settings.setSharedExifVisibleKeysOrderedArray(PersistanceManager::sharedExifKeysDefaultOrderedArray());
        settings.setShouldShareAPPURLWhileSharing(false);
    }
    void show(std::initializer_list<std::string_view> names) {
        settings.setSharedExifVisibleKeysOrderedArray(keysNamed(names));
    }
    PersistanceManager& settings = PersistanceManager::sharedInstance();
};

TEST_F(ShareText, HasALineAKeyInTheUsersOrder) {
    show({"Model", "ApertureValue", "ExposureTime", "ISOSpeedRatings", "FocalLength", "FocalLenIn35mmFilm",
          "ExposureBiasValue", "MeteringMode", "Copyright", "LensMake", "GPS", "PixelWidth", "nonsense"});
    const Dictionary exif{{"FNumber", 1.6},     {"ExposureTime", 1.0 / 120}, {"ISOSpeedRatings", Array{32}},
                          {"FocalLength", 4.2}, {"FocalLenIn35mmFilm", 26},  {"ExposureBiasValue", -1.0 / 3},
                          {"MeteringMode", 5}};
    const auto record =
        recordOf({{"{Exif}", exif}, {"{TIFF}", Dictionary{{"Model", "iPhone 12 Pro"}, {"Copyright", "Me"}}}});
    EXPECT_EQ(record->shortExifStringsForShare(),
              "iPhone 12 Pro\nf/1.6\n1/120 seconds\nISO 32\n4 mm\n26 mm (35 mm format)\n-0.33 EV\n"
              "Pattern Metering mode\n© Me\n\n\n");
}

TEST_F(ShareText, SaysAFocalLengthOnceAndLeavesOutWhatIsHidden) {
    show({"FocalLength", "FocalLenIn35mmFilm", "Copyright"});
    const auto record = recordOf({{"{Exif}", Dictionary{{"FocalLength", 50}, {"FocalLenIn35mmFilm", 50}}}});
    EXPECT_EQ(record->shortExifStringsForShare(), "50 mm (35 mm format)\n\n\n");
    ExifKeys keys = settings.sharedExifVisibleKeysOrderedArray();
    for (ExifKey& key : keys) key.isHidden = true;
    settings.setSharedExifVisibleKeysOrderedArray(keys);
    EXPECT_EQ(record->shortExifStringsForShare(), "\n\n");
    settings.setShouldShareAPPURLWhileSharing(true);
    EXPECT_THAT(record->shortExifStringsForShare(), testing::HasSubstr("\n\nShared via Tessaly App http"));
    EXPECT_THAT(record->shortExifStringsForShare(), testing::HasSubstr("ct=SharedContent"));
}

TEST(ExifInformation, EditsACopyThatSharesNothing) {
    const auto record = test::fullRecord();
    record->phAsset->mediaType = PHAssetMediaTypeVideo;
    record->dateCreated = NSDate{1};
    const auto copy = record->editedEXIFInfo();
    EXPECT_EQ(copy, record->editedEXIFInfo());
    EXPECT_TRUE(copy->exifInfoAvailable && copy->exifORTiffInfoAvailable);
    EXPECT_EQ(copy->exifDic, record->exifDic);
    EXPECT_EQ(copy->tifDic, record->tifDic);
    EXPECT_EQ(copy->gpsDic, record->gpsDic);
    EXPECT_EQ(copy->iptcDic, record->iptcDic);
    EXPECT_EQ(copy->metaDataDictionary, record->metaDataDictionary);
    EXPECT_EQ(copy->keywordsArray, record->keywordsArray);
    EXPECT_EQ(copy->location, record->location);
    EXPECT_EQ(copy->dateTaken, record->dateTaken);
    EXPECT_EQ(copy->dateCreated, record->dateCreated);
    EXPECT_EQ(copy->mediaTypeForEditedCase(), PHAssetMediaTypeVideo);
    EXPECT_EQ(recordOf({{"{IPTC}", Dictionary{{"Keywords", "not an array"}}}})->keywordsArray, Array());
    copy->exifDic->set("FNumber", 4);
    EXPECT_EQ((*record->exifDic)["FNumber"], Value(1.8));
    for (const auto& [key, text] :
         {std::pair("Title", "one"), std::pair("Artist", "two"), std::pair("Title", "three")}) {
        ExifValue value;
        value.uniqueID = key;
        value.exifValueReadableFormat = text;
        record->addToEditedExifValues(value);
    }
    ASSERT_EQ(record->editedValuesArray.size(), 2U);
    EXPECT_EQ(record->editedValuesArray[0].exifValueReadableFormat, "three") << "in the order of the first edit";
}

TEST(ExifInformation, LeadsBackFromARenderedEdit) {
    ExifInformation record;
    EXPECT_TRUE(record.correctedImageFilePathURL().empty());
    record.imageFilePathURL =
        NSURL::URLWithString("file:///a/Adjustments/FullSizeRender/b/Adjustments/FullSizeRender.jpg");
    EXPECT_EQ(record.correctedImageFilePathURL().absoluteString(), "file:///a/b.jpg");
    record.imageFilePathURL =
        NSURL::URLWithString("file:///a/Adjust/Adjustments/FullSizeRenderments/FullSizeRender.jpg");
    EXPECT_EQ(record.correctedImageFilePathURL().absoluteString(), "file:///a/Adjustments/FullSizeRender.jpg")
        << "what two halves make when they meet stays";
}

}  // namespace
}  // namespace tessaly
