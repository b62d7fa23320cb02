#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "metadata/ExifInformation.h"
#include "platform/Foundation/NSBundle.h"
#include "settings/PersistanceManager.h"

namespace tessaly {
namespace {

/// A record whose every item has a text.
ExifInformationRef fullRecord() {
    Dictionary exif;
    for (const char* one :
         {"ExposureMode", "WhiteBalance", "Sharpness", "Contrast", "Saturation", "FileSource", "SceneType",
          "ExposureProgram", "MeteringMode", "SceneCaptureType", "GainControl", "SubjectDistRange", "SensingMethod",
          "SensitivityType", "CustomRendered", "LightSource", "Flash"})
        exif.set(one, 1);
    exif.set("FocalLength", 50);
    exif.set("FNumber", 1.8);
    exif.set("ExposureTime", 0.004);
    auto record = ExifInformation::exifInformationFromMetaDataDictionary(
        Dictionary{{"{Exif}", exif},
                   {"{GPS}", Dictionary{{"ImgDirection", 90}, {"ImgDirectionRef", "T"}}},
                   {"PixelWidth", 4000},
                   {"PixelHeight", 3000}});
    CLLocation place;
    place.coordinate = {52.5, 13.4};
    place.speed = 1;
    record->location = place;
    record->fileSizeInBytes = 3'201'234;
    return record;
}

class TranslatedItems : public testing::Test {
protected:
    ~TranslatedItems() override { NSBundle::mainBundle().setLanguage(""); }
};

TEST_F(TranslatedItems, HaveLabelsOfTheLanguage) {
    const auto record = fullRecord();
    for (const std::string_view key : ExifInformation::keyNames()) {
        if (key == "GPS" || key == "CameraMakeAndModel") continue;  // The same everywhere, and none.
        NSBundle::mainBundle().setLanguage("en");
        const auto english = std::get<ExifValue>(record->performCustomSelector(key));
        NSBundle::mainBundle().setLanguage("ja");
        const auto japanese = std::get<ExifValue>(record->performCustomSelector(key));
        EXPECT_NE(japanese.exifKeyReadableFormat, english.exifKeyReadableFormat) << key;
        EXPECT_EQ(japanese.uniqueID, english.uniqueID) << "names of keys are no texts";
    }
}

TEST_F(TranslatedItems, HaveTextsOfTheLanguage) {
    PersistanceManager::sharedInstance().setIsUsingMetricUnits(true);
    struct Case {
        const char* key;
        const char* german;
        const char* japanese;
    };
    const Case cases[] = {
        {"ExposureTime", "0.004000 - ( 1/250 Sekunden )", "0.004000 - ( 1/250秒 )"},
        {"ExposureProgram", "Manuell", "マニュアル"},
        {"Flash", "Blitz ausgelöst", "フラッシュ発光"},
        {"LightSource", "Tageslicht", "昼光"},
        {"GPSSpeed", "3.60 Kilometer pro Stunde", "3.60キロメートル/時"},
        {"GPSDirection", "90 Geografisch Nord", "90 真北"},
        {"ColorProfile", "Unbekannt", "不明"},
        {"ResolutionInMegaPixel", "12 Megapixel", "12メガピクセル"},
        {"FileSize", "3.20 MB (3,201,234 Bytes)", "3.20 MB (3,201,234バイト)"},
    };
    const auto record = fullRecord();
    for (const auto& [key, german, japanese] : cases) {
        NSBundle::mainBundle().setLanguage("de");
        EXPECT_EQ(std::get<ExifValue>(record->performCustomSelector(key)).exifValueReadableFormat, german) << key;
        NSBundle::mainBundle().setLanguage("ja");
        EXPECT_EQ(std::get<ExifValue>(record->performCustomSelector(key)).exifValueReadableFormat, japanese) << key;
    }
}

TEST_F(TranslatedItems, AreLeftOutOfTheShareTextWhenThereAreNone) {
    ExifInformation empty;
    for (const char* code : {"en", "de", "ja", "ml"}) {
        NSBundle::mainBundle().setLanguage(code);
        EXPECT_THAT(empty.shortExifStringsForShare(), testing::Not(testing::HasSubstr(localized("Not available"))));
    }
}

}  // namespace
}  // namespace tessaly
