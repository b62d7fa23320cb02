#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "metadata/DeviceMapping.h"
#include "metadata/FullRecord.h"
#include "metadata/PreciseValues.h"
#include "platform/Foundation/NSBundle.h"
#include "settings/PersistanceManager.h"

namespace tessaly::test {
namespace {

/// English, and the settings of a fresh install with metric units, before and after each test.
class Formatters : public testing::Test {
protected:
    Formatters() { reset(); }
    ~Formatters() override { reset(); }
    static void reset() {
        NSBundle::mainBundle().setLanguage("");
        for (const Setting& setting : PersistanceManager::settings())
            PersistanceManager::sharedInstance().reset(setting);
        PersistanceManager::sharedInstance().setIsUsingMetricUnits(true);
    }

    static ExifValue itemOf(const ExifInformationRef& record, std::string_view key) {
        const KeyResult result = record->performCustomSelector(key);
        const auto* value = std::get_if<ExifValue>(&result);
        EXPECT_TRUE(value) << key;
        return value ? *value : ExifValue();
    }
    static std::string textOf(const ExifInformationRef& record, std::string_view key) {
        return itemOf(record, key).exifValueReadableFormat;
    }
    /// With these values alone, and a focal length: enough to count as Exif.
    static ExifInformationRef recordOf(Dictionary exif, Dictionary properties = {}) {
        if (!exif.contains("FocalLength")) exif.set("FocalLength", 50);
        properties.set("{Exif}", exif);
        return ExifInformation::exifInformationFromMetaDataDictionary(properties);
    }

    PersistanceManager& settings = PersistanceManager::sharedInstance();
};

TEST_F(Formatters, ShowEveryTagUnderItsLabel) {
    struct Case {
        std::string_view key, label, text, nothing;  ///< The text without any metadata.
    };
    const Case cases[] = {
        {"Make", "Make", "a maker", ""},
        {"Model", "Model", "iPhone X", ""},
        {"CameraMakeAndModel", "", "", ""},
        {"CameraSerialNumber", "Camera SerialNumber", "body 1", "Not available"},
        {"LensMake", "Lens Make", "a lens maker", "Not available"},
        {"LensModel", "Lens Model", "a lens", "Not available"},
        {"LensSerialNumber", "Lens SerialNumber", "lens 1", "Not available"},
        {"Software", "Software", "a program", ""},
        {"MakerNote", "Maker Note", "a note", ""},
        {"FilmMode", "Film mode", "Pro Neg. Hi", "Not available"},
        {"shutterCount", "Shutter Count", "1234", "Not available"},
        {"ApertureValue", "Aperture (F-number)", "f/1.8", "f/0.0"},
        {"ApertureMax", "Aperture Max", "2.8 (APEX = 3)", "1 (APEX = 0)"},
        {"ExposureTime", "Exposure Time", "0.004000 - ( 1/250 seconds )", "0.000000 - ( 0 seconds )"},
        {"ShutterSpeedStringValue", "Exposure Time", "1/250 seconds", "0 seconds"},
        {"ISOSpeedRatings", "ISO Sensitivity", "ISO 80", "ISO 0"},
        {"ISOSpeedValue", "ISO Sensitivity", "80", "0"},
        {"ExposureBiasValue", "Exposure Bias Value", "-0.33", "0.00"},
        {"ExposureMode", "Exposure Mode", "Manual exposure", "Auto exposure"},
        {"ExposureProgram", "Exposure Program", "Aperture priority", "Not defined"},
        {"MeteringMode", "Metering Mode", "MultiSpot", "Unknown"},
        {"Flash", "Flash", "Flash fired, compulsory flash mode, red-eye reduction mode, return light detected",
         "Flash did not fire"},
        {"FlashPixVersion", "FlashpixVersion", "1.2", "Not available"},
        {"WhiteBalance", "White Balance", "Manual white balance", "Auto white balance"},
        {"LightSource", "Light Source", "Fine weather", "Unknown"},
        {"SceneType", "Scene Type", "Image was directly photographed", "unknown"},
        {"SceneCaptureType", "Scene Capture Type", "Portrait", "Standard"},
        {"SensingMethod", "Sensing method", "Color sequential area sensor", "Not available"},
        {"SensitivityType", "Sensitivity Type", "Recommended Exposure Index and ISO Speed", "Unknown"},
        {"Sharpness", "Sharpness", "Soft", "Normal"},
        {"Contrast", "Contrast", "Hard", "Normal"},
        {"Saturation", "Saturation", "Low saturation", "Normal"},
        {"GainControl", "Gain Control", "Night scene", "Standard"},
        {"CustomRendered", "Custom Rendered", "Portrait", "Normal process"},
        {"SubjectDistRange", "Subject Distance Range", "Macro", "Unknown"},
        {"FocalLength", "Focal Length", "26 mm", "0 mm"},
        {"FocalLenIn35mmFilm", "Focal Length in 35 mm", "52 mm", "0 mm"},
        {"DigitalZoomRatio", "Digital Zoom Ratio", "1.500000", "0.000000"},
        {"ResolutionInMegaPixel", "Resolution", "12 MegaPixels", "0 MegaPixels"},
        {"AspectRatioFraction", "Aspect Ratio", "4/3", "Not available"},
        {"DPIWidth", "DPI Width", "72.000000", "0.000000"},
        {"DPIHeight", "DPI Height", "73.000000", "0.000000"},
        {"Depth", "Depth", "10", "0"},
        {"Orientation", "Orientation", "6", "0"},
        {"ColorModel", "Color Model", "RGB", ""},
        {"ColorSpace", "Color Space", "Adobe RGB", "Uncalibrated"},
        {"ColorProfile", "Profile Name", "a profile", "Unknown"},
        {"CompressedBitsPerPixel", "Compressed Bits Per Pixel", "7", "0"},
        {"FileSize", "File Size", "3.20 MB (3,201,234 bytes)", "Zero KB"},
        {"FileSource", "File Source", "Reflection Print Scanner", "Not available"},
        {"Duration", "Duration", "01:02:05", "00:00:00"},
        {"FramesPerSecond", "Frames per second (FPS)", "30.0 FPS", "0.0 FPS"},
        {"DateTaken", "Date Taken", "31-12-2018 03:04:05 PM", ""},
        {"EditedDate", "Edited Date", "13-09-2020 12:26:40 PM", ""},
        {"GPS", "GPS", "-33.856800° 151.215300°", "GPS Data not available"},
        {"GPSAltitude", "Altitude", "100.000000 meters above sea level (+/- 5.00)", "GPS Data not available"},
        {"GPSSpeed", "Speed", "25.20 Kilometer per hour", "GPS Data not available"},
        {"GPSDirection", "GPS Direction", "123.45 True North", "GPS Data not available"},
        {"LocationName", "Location", "", ""},
        {"MapView", "Map", "", ""},
        {"Map", "Map", "", ""},
        {"Artist", "Artist", "an artist", ""},
        {"Copyright", "Copyright", "an owner", ""},
        {"Headline", "Headline", "a headline", ""},
        {"Title", "Title", "a title", ""},
        {"Caption", "Caption", "a caption", ""},
        {"CaptionAbstract", "Caption", "a caption", ""},
        {"UserComment", "User Comment", "a comment", "Not available"},
        {"Keywords", "Keywords", ",one,,two", ""},
        {"StarRating", "Star Rating", "4", "0"},
        {"City", "City", "a city", ""},
        {"Country", "Country", "a country", ""},
        {"Creator", "Creator", "one, two", ""},
        {"Credit", "Credit", "a credit", ""},
    };
    const auto full = fullRecord();
    const auto empty = std::make_shared<ExifInformation>();
    ASSERT_EQ(std::size(cases), ExifInformation::keyNames().size());
    for (std::size_t i = 0; i < std::size(cases); ++i) {
        const auto& [key, label, text, nothing] = cases[i];
        EXPECT_EQ(key, ExifInformation::keyNames()[i]);
        const ExifValue item = itemOf(full, key);
        EXPECT_EQ(item.uniqueID, key == "Map" ? "MapView" : key);
        EXPECT_EQ(item.exifKeyReadableFormat, label);
        EXPECT_EQ(item.exifValueReadableFormat, text) << key;
        EXPECT_EQ(textOf(empty, key), nothing) << key;
    }
    EXPECT_EQ(itemOf(full, "FocalLength").exifRAWValue, "26");
    EXPECT_EQ(itemOf(full, "FocalLenIn35mmFilm").exifRAWValue, "52");
    EXPECT_EQ(itemOf(full, "StarRating").exifRAWValue, "4");
    EXPECT_EQ(itemOf(full, "GPSSpeed").exifKeyWithUnitTypeReadableFormat, "Speed (Kilometer per hour)");
}

TEST_F(Formatters, ShowCodesAndNumbersAtTheirEdges) {
    struct Case {
        std::string_view key, tag;
        Value value;
        std::string_view text;
    };
    const Case cases[] = {
        {"ShutterSpeedStringValue", "ExposureTime", 1.0 / 3, "1/3 seconds"},
        {"ShutterSpeedStringValue", "ExposureTime", 1 / 29.995, "1/30 seconds"},
        {"ShutterSpeedStringValue", "ExposureTime", 0.3, "0.30000 seconds"},
        {"ShutterSpeedStringValue", "ExposureTime", 1, "1 second"},
        {"ShutterSpeedStringValue", "ExposureTime", 2.5, "2 seconds"},
        {"ApertureMax", "MaxApertureValue", 1, "1.4 (APEX = 1)"},
        {"ISOSpeedRatings", "ISOSpeed", 400, "ISO 400"},
        {"ISOSpeedRatings", "ISOSpeedRatings", 64, "ISO 64"},
        {"ISOSpeedValue", "ISOSpeed", 400, "400"},
        {"ISOSpeedValue", "ISOSpeedRatings", 64, "64"},
        {"ExposureMode", "ExposureMode", 2, "Auto bracket"},
        {"Sharpness", "Sharpness", 2, "Hard"},
        {"Saturation", "Saturation", 2, "High saturation"},
        {"FileSource", "FileSource", 3, "Digital Camera"},
        {"SceneCaptureType", "SceneCaptureType", 3, "Night scene"},
        {"GainControl", "GainControl", 1, "Landscape"},
        {"SubjectDistRange", "SubjectDistRange", 3, "Distant"},
        {"SubjectDistRange", "SubjectDistRange", 9, ""},
        {"SensingMethod", "SensingMethod", 8, "Color sequential linear sensor"},
        {"SensitivityType", "SensitivityType", 3, "ISO Speed"},
        {"MeteringMode", "MeteringMode", 255, "Other"},
        {"CustomRendered", "CustomRendered", 3, "HDR"},
        {"CustomRendered", "CustomRendered", 6, "Panorama"},
        {"LightSource", "LightSource", 25, "Other light source"},
        {"LightSource", "LightSource", 255, ""},
        {"ColorSpace", "ColorSpace", 65535, "ICC Profile"},
        {"ColorSpace", "ColorSpace", 65533, "Wide Gamut RGB"},
    };
    for (const auto& [key, tag, value, text] : cases)
        EXPECT_EQ(textOf(recordOf({{tag, value}}), key), text) << key << " of " << value.description();
}

TEST_F(Formatters, ShowTheFlashWithItsIcon) {
    struct Case {
        int code;
        std::string_view text, icon;
    };
    const Case cases[] = {
        {0x00, "Flash did not fire", "flash_not_fired"},
        {0x18, "Flash did not fire, auto mode", "flash_automatic_not_fired"},
        {0x5F, "Flash fired, auto mode, return light detected, red-eye reduction mode", "flash_automatic_fired"},
        {0x58, "Unknown 0058", "flash_fired"},
        {0xABF, "Unknown 0ABF", "flash_fired"},
    };
    for (const auto& [code, text, icon] : cases) {
        const ExifValue value = itemOf(recordOf({{"Flash", code}}), "Flash");
        EXPECT_EQ(value.exifValueReadableFormat, text);
        EXPECT_EQ(value.exifValueIconFileName, icon) << text;
    }
}

TEST_F(Formatters, ReadTheFilmModeFromEitherArray) {
    struct Case {
        const char* why;
        Dictionary style;
        std::string_view text;
    };
    const Case cases[] = {
        {"the first saturation", {{"FilmSimulation", Array()}, {"Saturation", Array{0x600, 0}}}, "Classic Chrome"},
        {"its last", {{"Saturation", Array{0, 0x100, 0x310}}}, "B&W Sepia"},
        {"its second", {{"Saturation", Array{0, 0x310, 0}}}, "B&W Sepia"},
        {"one is a code", {{"Saturation", Array{1, 0x310, 0x600}}}, "Unknown "},
        {"last, too", {{"Saturation", Array{0, 0x310, 1}}}, "Unknown "},
        {"a later film", {{"FilmSimulation", Array{0x700}}}, "Unknown 0x700"},
        {"another maker's camera", {}, ""},
    };
    for (const auto& [why, style, text] : cases)
        EXPECT_EQ(textOf(recordOf({}, {{"{PictureStyle}", style}}), "FilmMode"), text) << why;
}

TEST_F(Formatters, ShowPlacesInBothNotationsAndUnits) {
    const auto record = fullRecord();
    settings.setShouldShowGPSInDecimalValues(false);
    EXPECT_EQ(textOf(record, "GPS"), "33°51'24\"S 151°12'55\"E") << "truncated, never rounded";
    EXPECT_EQ(ExifInformation::coordinateInReadableFormat(0, 0), "0°0'0\"N 0°0'0\"E");
    EXPECT_EQ(ExifInformation::coordinateInReadableFormat(0.5, -0.5), "0°30'0\"N 0°30'0\"W");
    settings.setIsUsingMetricUnits(false);
    EXPECT_EQ(textOf(record, "GPSAltitude"), "328.084000 feet above sea level (+/- 16.40)");
    EXPECT_EQ(textOf(record, "GPSSpeed"), "15.66 Miles per hour");
    EXPECT_EQ(itemOf(record, "GPSSpeed").exifKeyWithUnitTypeReadableFormat, "Speed (Miles per hour)");

    struct Case {
        Dictionary gps;
        bool hasPlace;
        std::string_view text;
    };
    for (const auto& [gps, hasPlace, text] :
         {Case{{{"ImgDirection", 123.45}, {"ImgDirectionRef", "t"}}, false, "123.45 True North"},
          Case{{{"ImgDirection", 123.45}, {"ImgDirectionRef", "M"}}, false, "123.45 M"},
          Case{{{"ImgDirectionRef", "T"}}, true, "True North"},
          Case{{{"ImgDirectionRef", "T"}}, false, "GPS Data not available"}}) {
        record->gpsDic = gps;
        if (!hasPlace)
            record->location.reset();
        else
            record->location.emplace();
        EXPECT_EQ(textOf(record, "GPSDirection"), text);
    }
}

TEST_F(Formatters, ShowSizesOfPictureAndFile) {
    struct Size {
        double width, height;
        std::string_view pixels, ratio;
    };
    const Size sizes[] = {
        {4032, 3024, "12.2 MegaPixels", "4/3"},
        {1920, 1080, "2.1 MegaPixels", "16/9"},
        {1700, 900, "1.6 MegaPixels", "17/9 (1.888889)"},
        {4033, 3024, "12.2 MegaPixels", "4033/3024 (1.333664)"},
        {1080, 1, "0.1 MegaPixels", "1080/1 (1080.000000)"},
        {20, 0, "0 MegaPixels", "1/0"},
        {0, 0, "0 MegaPixels", ""},
    };
    const auto record = recordOf({});
    for (const auto& [width, height, pixels, ratio] : sizes) {
        record->dimensions = {width, height};
        EXPECT_EQ(textOf(record, "ResolutionInMegaPixel"), pixels);
        EXPECT_EQ(textOf(record, "AspectRatioFraction"), ratio) << width;
    }
    EXPECT_EQ(textOf(record, "FramesPerSecond"), "0.0 FPS");
    struct File {
        std::uint64_t subtypes;
        std::int64_t videoSize;
        std::string_view text;
    };
    record->fileSizeInBytes = 3'201'234;
    record->phAsset = std::make_shared<PHAsset>();
    for (const auto& [subtypes, videoSize, text] :
         {File{8, 2'100'000, "3.2 MB & Video size 2.1 MB"}, File{8, 1, "3.2 MB & Video size 1 byte"},
          File{8, 0, "3.20 MB (3,201,234 bytes)"}, File{0, 2'100'000, "3.20 MB (3,201,234 bytes)"}}) {
        record->phAsset->mediaSubtypes = subtypes;
        record->liveVideoFileSizeInBytes = videoSize;
        EXPECT_EQ(textOf(record, "FileSize"), text);
    }
}

TEST_F(Formatters, ShowDatesByTheUsersPattern) {
    const auto record = fullRecord();
    settings.setDatePreference24HourFormat(true);
    EXPECT_EQ(textOf(record, "DateTaken"), "31-12-2018 15:04:05 ") << "the blank before the letter stays";
    settings.setDateFormatString("yyyy/MM/dd");
    EXPECT_EQ(textOf(record, "DateTaken"), "2018/12/31");
    record->dateModified = record->dateTaken;
    record->phAsset = nullptr;
    EXPECT_EQ(textOf(record, "EditedDate"), "") << "a file's date is no date of an edit";
    EXPECT_EQ(textOf(recordOf({{"DateTimeOriginal", "0000:00:00 00:00:00"}}), "DateTaken"), "");
}

TEST_F(Formatters, TakeASecondSourceWhereTheFirstIsMissing) {
    const auto record = fullRecord();
    for (const char* tag : {"LensModel", "LensSerialNumber", "BodySerialNumber"}) record->exifDic->set(tag, {});
    record->iptcDic.reset();
    record->metaDataDictionary.set("ProfileName", {});
    for (const auto& [key, text] : {std::pair("LensModel", "an older lens"),
                                    {"LensSerialNumber", "lens 2"},
                                    {"CameraSerialNumber", "body 2"},
                                    {"Caption", "a description"},
                                    {"CaptionAbstract", "a description"},
                                    {"ColorProfile", "Unknown"},
                                    {"Keywords", ",one,,two"}})
        EXPECT_EQ(textOf(record, key), text) << key;
    for (const auto& [identifier, name] :
         {std::pair("iPhone10,7", "iPhone10,7"), {"iPad5,1", "iPad Mini 4"}, {"x86_64", "Simulator"}, {"", ""}})
        EXPECT_EQ(DeviceMapping::getDeviceNameFromMachineIdentifier(identifier), name);
}

TEST_F(Formatters, ShowWhatTheFileSaysToItsPrecision) {
    struct Case {
        std::string_view key, rounded, precise;
        Value stated;
    };
    const auto record = fullRecord();
    for (const auto& [tag, value] : {std::pair("FocalLength", Value(4.25)),
                                     {"FNumber", 1.78},
                                     {"ExposureTime", 2.5},
                                     {"ExposureBiasValue", -1.0 / 3},
                                     {"CompressedBitsPerPixel", 2.5},
                                     {"LightSource", 255},
                                     {"OffsetTimeOriginal", "+05:30"},
                                     {"SubsecTimeOriginal", "25"}})
        record->exifDic->set(tag, value);
    for (const auto& [tag, value] :
         {std::pair("Altitude", Value(423.25)), {"AltitudeRef", 1}, {"Speed", 7.5}, {"SpeedRef", "N"}})
        record->gpsDic->set(tag, value);
    const Case cases[] = {
        {"FocalLength", "4 mm", "4.25 mm", 4.25},
        {"ApertureValue", "f/1.8", "f/1.78", 1.78},
        {"ExposureTime", "2.500000 - ( 2 seconds )", "2.5 seconds", 2.5},
        {"ShutterSpeedStringValue", "2 seconds", "2.5 seconds", 2.5},
        {"ExposureBiasValue", "-0.33", "-1/3", -1.0 / 3},
        {"CompressedBitsPerPixel", "2", "2.5", 2.5},
        {"LightSource", "", "255", 255},
        {"DateTaken", "31-12-2018 03:04:05 PM", "31-12-2018 03:04:05 PM +05:30", "2018-12-31T15:04:05.25+05:30"},
        {"GPS", "-33.856800° 151.215300°", "-33.8568° 151.2153°", Array{-33.8568, 151.2153}},
        {"GPSAltitude", "100.000000 meters above sea level (+/- 5.00)", "-423.25 m", -423.25},
        {"GPSSpeed", "25.20 Kilometer per hour", "13.89 km/h", 7.5},
        {"FramesPerSecond", "30.0 FPS", "29.97 FPS", 29.97},
        {"Duration", "01:02:05", "01:02:05.9", 3725.9},
        {"ISOSpeedRatings", "ISO 80", "ISO 80", 80},
        {"Model", "iPhone X", "iPhone X", "iPhone10,3"},
        {"FileSize", "3.20 MB (3,201,234 bytes)", "3.20 MB (3,201,234 bytes)", 3'201'234},
    };
    for (const bool precise : {false, true}) {
        settings.setShowsPreciseValues(precise);
        for (const auto& [key, rounded, exact, stated] : cases) {
            EXPECT_EQ(textOf(record, key), precise ? exact : rounded) << key;
            EXPECT_EQ(statedValue(*record, key), stated) << key;
        }
    }
    EXPECT_EQ(itemOf(record, "FocalLength").exifRAWValue, "4.25");
    EXPECT_THAT(record->shortExifStringsForShare(), testing::HasSubstr("\n2.5 seconds\n4.25 mm\n52 mm (35 mm"));
    settings.setShouldShowGPSInDecimalValues(false);
    settings.setIsUsingMetricUnits(false);
    EXPECT_EQ(textOf(record, "GPS"),
              "33°"
              "51'24.48\"S 151°"
              "12'55.08\"E");
    EXPECT_EQ(textOf(record, "GPSAltitude"), "-1388.616 ft");
    EXPECT_EQ(textOf(record, "GPSSpeed"), "8.631 mph");
    for (const auto& [seconds, text] : {std::pair(1 / 8000.0, "1/8000 seconds"),
                                        {0.3, "0.3 seconds"},
                                        {1 / 29.995, "0.0333388898 seconds"},
                                        {1.0, "1 second"}})
        EXPECT_EQ(textOf(recordOf({{"ExposureTime", seconds}}), "ExposureTime"), text);
    for (const auto& [stops, text] : {std::pair(5.0 / 3, "+1 2/3"), {0.7, "+0.7"}, {-2.0, "-2"}, {0.0, "0"}})
        EXPECT_EQ(textOf(recordOf({{"ExposureBiasValue", stops}}), "ExposureBiasValue"), text);
    record->dateTaken = NSDate{1'000'000'000};
    EXPECT_EQ(textOf(record, "DateTaken"), "09-09-2001 01:46:40 AM") << "a person's own date has no zone of the file's";
}

TEST_F(Formatters, SayNothingThatTheFileDoesNotSay) {
    settings.setShowsPreciseValues(true);
    const auto bare = recordOf({{"FocalLenIn35mmFilm", 0}});
    for (const std::string_view key : ExifInformation::keyNames()) {
        if (key == "FocalLength" || key == "CameraMakeAndModel" || key == "LocationName" || key.ends_with("Map") ||
            key == "MapView")
            continue;
        EXPECT_THAT(textOf(bare, key), testing::AnyOf("Not available", "GPS Data not available")) << key;
        EXPECT_TRUE(isEmptyRow(*bare, key)) << key;
        EXPECT_EQ(itemOf(bare, key).exifValueIconFileName, "") << key;
        if (key != "FocalLenIn35mmFilm") {
            EXPECT_TRUE(statedValue(*bare, key).isNull()) << key;
        }
    }
    for (const auto& [key, isEmpty] : {std::pair("FocalLength", false), {"MapView", true}, {"PixelWidth", true}})
        EXPECT_EQ(isEmptyRow(*bare, key), isEmpty) << key;
    EXPECT_EQ(bare->shortExifStringsForShare(), "50 mm\n\n\n");
    bare->location.emplace();
    EXPECT_FALSE(isEmptyRow(*bare, "GPS")) << "in the Gulf of Guinea";
    bare->gpsDic = Dictionary{{"DateStamp", "2024:09:14"}};
    EXPECT_TRUE(isEmptyRow(*bare, "GPS")) << "GPS tags without degrees are no place";
    for (const std::string_view key : ExifInformation::keyNames())
        EXPECT_EQ(isEmptyRow(*fullRecord(), key),
                  key == "CameraMakeAndModel" || key == "LocationName" || key == "GPSSpeed")
            << key;
}

TEST_F(Formatters, SpeakTheLanguage) {
    const auto record = fullRecord();
    for (const std::string_view key : ExifInformation::keyNames()) {
        if (key == "GPS" || key == "CameraMakeAndModel") continue;  // The same everywhere, and none.
        NSBundle::mainBundle().setLanguage("en");
        const auto english = itemOf(record, key);
        NSBundle::mainBundle().setLanguage("ja");
        EXPECT_NE(itemOf(record, key).exifKeyReadableFormat, english.exifKeyReadableFormat) << key;
        EXPECT_EQ(itemOf(record, key).uniqueID, english.uniqueID) << "names of keys are no texts";
    }
    struct Case {
        const char *key, *german, *japanese;
    };
    const Case cases[] = {
        {"ExposureTime", "0.004000 - ( 1/250 Sekunden )", "0.004000 - ( 1/250秒 )"},
        {"LightSource", "Schönes Wetter", "晴天"},
        {"GPSSpeed", "25.20 Kilometer pro Stunde", "25.20キロメートル/時"},
        {"GPSDirection", "123.45 Geografisch Nord", "123.45 真北"},
        {"ResolutionInMegaPixel", "12 Megapixel", "12メガピクセル"},
        {"FileSize", "3.20 MB (3,201,234 Bytes)", "3.20 MB (3,201,234バイト)"},
    };
    for (const auto& [key, german, japanese] : cases) {
        NSBundle::mainBundle().setLanguage("de");
        EXPECT_EQ(textOf(record, key), german) << key;
        NSBundle::mainBundle().setLanguage("ja");
        EXPECT_EQ(textOf(record, key), japanese) << key;
    }
    for (const char* code : {"en", "de", "ja", "ml"}) {
        NSBundle::mainBundle().setLanguage(code);
        EXPECT_THAT(std::make_shared<ExifInformation>()->shortExifStringsForShare(),
                    testing::Not(testing::HasSubstr(localized("Not available"))));
    }
}

}  // namespace
}  // namespace tessaly::test
