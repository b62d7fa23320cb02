#include <gtest/gtest.h>

#include "metadata/DeviceMapping.h"
#include "metadata/ExifInformation.h"
#include "platform/UIKit/UIScreen.h"
#include "settings/PersistanceManager.h"

namespace tessaly {
namespace {

/// A record with these Exif values, and enough of the others to count as one that has Exif.
ExifInformationRef recordOf(Dictionary exif) {
    exif.set("FocalLength", exif.contains("FocalLength") ? exif["FocalLength"] : Value(50));
    return ExifInformation::exifInformationFromMetaDataDictionary(Dictionary{{"{Exif}", exif}});
}

ExifInformationRef recordWith(std::initializer_list<std::pair<std::string_view, Value>> properties) {
    return ExifInformation::exifInformationFromMetaDataDictionary(Dictionary(properties));
}

ExifValue itemOf(ExifInformation& record, std::string_view key) {
    const KeyResult result = record.performCustomSelector(key);
    const auto* value = std::get_if<ExifValue>(&result);
    EXPECT_TRUE(value) << key;
    return value ? *value : ExifValue();
}

std::string textOf(const ExifInformationRef& record, std::string_view key) {
    return itemOf(*record, key).exifValueReadableFormat;
}

TEST(Formatters, ShowCodesNumbersAndTextsAsPeopleReadThem) {
    struct Case {
        std::string_view key;
        std::string_view tag;
        Value value;
        std::string_view text;
    };
    const Case cases[] = {
        {"ExposureTime", "ExposureTime", 0.004, "0.004000 - ( 1/250 seconds )"},
        {"ShutterSpeedStringValue", "ExposureTime", 1.0 / 3, "1/3 seconds"},
        {"ShutterSpeedStringValue", "ExposureTime", 0.3, "0.30000 seconds"},
        {"ShutterSpeedStringValue", "ExposureTime", 1, "1 second"},
        {"ShutterSpeedStringValue", "ExposureTime", 30, "30 seconds"},
        {"ShutterSpeedStringValue", "ExposureTime", {}, "0 seconds"},
        {"ApertureValue", "FNumber", 1.8, "f/1.8"},
        {"ApertureValue", "FNumber", {}, "f/0.0"},
        {"ApertureMax", "MaxApertureValue", 1, "1.4 (APEX = 1)"},
        {"ISOSpeedRatings", "ISOSpeedRatings", Array{100, 200}, "ISO 100"},
        {"ISOSpeedRatings", "ISOSpeed", 400, "ISO 400"},
        {"ISOSpeedValue", "ISOSpeedRatings", Array{100}, "100"},
        {"ExposureBiasValue", "ExposureBiasValue", -1.0 / 3, "-0.33"},
        {"FocalLength", "FocalLength", 26.9, "26 mm"},
        {"FocalLenIn35mmFilm", "FocalLenIn35mmFilm", 52, "52 mm"},
        {"DigitalZoomRatio", "DigitalZoomRatio", 1.5, "1.500000"},
        {"FlashPixVersion", "FlashPixVersion", Array{1, 0}, "1.0"},
        {"LightSource", "LightSource", 25, "Other light source"},
        {"LightSource", "LightSource", 255, ""},
        {"GainControl", "GainControl", 1, "Landscape"},
        {"MeteringMode", "MeteringMode", 255, "Other"},
        {"SceneType", "SceneType", 0, "unknown"},
        {"CustomRendered", "CustomRendered", 3, "HDR"},
        {"ColorSpace", "ColorSpace", 65535, "ICC Profile"},
        {"ColorSpace", "ColorSpace", 7, "Uncalibrated"},
        {"LensModel", "LensModel", "50mm", "50mm"},
        {"UserComment", "UserComment", "Words", "Words"},
        {"SubjectDistRange", "SubjectDistRange", 9, ""},
    };
    for (const auto& [key, tag, value, text] : cases) {
        Dictionary exif;
        exif.set(tag, value);
        EXPECT_EQ(textOf(recordOf(exif), key), text) << key << " of " << value.description();
    }
}

TEST(Formatters, ShowTheFlashWithItsIcon) {
    struct Case {
        int code;
        std::string_view text, icon;
    };
    const Case cases[] = {
        {0x00, "Flash did not fire", "flash_not_fired"},
        {0x10, "Flash did not fire, compulsory flash mode", "flash_not_fired"},
        {0x19, "Flash fired, auto mode", "flash_automatic_fired"},
        {0x5F, "Flash fired, auto mode, return light detected, red-eye reduction mode", "flash_automatic_fired"},
        {0x58, "Unknown 0058", "flash_fired"},
        {0xABC, "Unknown 0ABC", "flash_fired"},
    };
    for (const auto& [code, text, icon] : cases) {
        const ExifValue value = itemOf(*recordOf({{"Flash", code}}), "Flash");
        EXPECT_EQ(value.exifValueReadableFormat, text);
        EXPECT_EQ(value.exifValueIconFileName, icon) << text;
    }
}

TEST(Formatters, ReadTheFilmModeFromEitherArray) {
    struct Case {
        const char* why;
        Dictionary style;
        std::string_view text;
    };
    const Case cases[] = {
        {"the last simulation", {{"FilmSimulation", Array{0, 0x501}}}, "Pro Neg. Hi"},
        {"the saturation where there is none",
         {{"FilmSimulation", Array()}, {"Saturation", Array{0, 0x600}}},
         "Classic Chrome"},
        {"its second", {{"Saturation", Array{0, 0x310, 0}}}, "B&W Sepia"},
        {"blanks are part of the text", {{"FilmSimulation", Array{0x100}}}, "Studio Portrait "},
        {"never monochrome", {{"FilmSimulation", Array{0x300}}}, "Studio Portrait Ex "},
        {"a later film", {{"FilmSimulation", Array{0x700}}}, "Unknown 0x700"},
        {"no simulation to name", {{"Saturation", Array{0x700}}}, "Unknown "},
        {"another maker's camera", {}, ""},
    };
    for (const auto& [why, style, text] : cases) {
        Dictionary properties{{"{Exif}", Dictionary{{"FNumber", 2}}}};
        if (!style.empty()) properties.set("{PictureStyle}", style);
        EXPECT_EQ(textOf(ExifInformation::exifInformationFromMetaDataDictionary(properties), "FilmMode"), text) << why;
    }
}

TEST(Formatters, ShowPlacesInBothNotationsAndUnits) {
    PersistanceManager& settings = PersistanceManager::sharedInstance();
    const auto record = recordOf({});
    EXPECT_EQ(textOf(record, "GPS"), "GPS Data not available");
    EXPECT_EQ(textOf(record, "GPSDirection"), "GPS Data not available");
    record->location.emplace();
    record->location->coordinate = {-33.8568, 151.2153};
    record->location->altitude = 100;
    record->gpsDic = Dictionary{{"ImgDirection", 123.45}, {"ImgDirectionRef", "t"}};

    settings.setShouldShowGPSInDecimalValues(true);
    EXPECT_EQ(textOf(record, "GPS"), "-33.856800° 151.215300°");
    settings.setShouldShowGPSInDecimalValues(false);
    EXPECT_EQ(textOf(record, "GPS"), "33°51'24\"S 151°12'55\"E") << "truncated, never rounded";
    EXPECT_EQ(ExifInformation::coordinateInReadableFormat(0, 0), "0°0'0\"N 0°0'0\"E");
    settings.setShouldShowGPSInDecimalValues(true);

    settings.setIsUsingMetricUnits(true);
    EXPECT_EQ(textOf(record, "GPSAltitude"), "100.000000 meters above sea level (+/- 0.00)");
    EXPECT_EQ(textOf(record, "GPSSpeed"), "-3.60 Kilometer per hour") << "unknown is negative, and shown";
    EXPECT_EQ(itemOf(*record, "GPSSpeed").exifKeyWithUnitTypeReadableFormat, "Speed (Kilometer per hour)");
    settings.setIsUsingMetricUnits(false);
    EXPECT_EQ(textOf(record, "GPSAltitude"), "328.084000 feet above sea level (+/- 0.00)");
    EXPECT_EQ(textOf(record, "GPSSpeed"), "-2.24 Miles per hour");

    EXPECT_EQ(textOf(record, "GPSDirection"), "123.45 True North");
    record->gpsDic->set("ImgDirectionRef", "M");
    EXPECT_EQ(textOf(record, "GPSDirection"), "123.45 M");
    record->gpsDic = Dictionary{{"ImgDirectionRef", "T"}};
    EXPECT_EQ(textOf(record, "GPSDirection"), "True North") << "no blank for a direction that is not there";
}

TEST(Formatters, ShowSizesOfPictureAndFile) {
    struct Size {
        double width, height;
        std::string_view pixels, ratio;
    };
    const Size sizes[] = {
        {4032, 3024, "12.2 MegaPixels", "4/3"},
        {6000, 4000, "24 MegaPixels", "3/2"},
        {12'000'001, 1, "12.1 MegaPixels", "12000001/1 (12000001.000000)"},
        {4033, 3024, "12.2 MegaPixels", "4033/3024 (1.333664)"},
        {1080, 1, "0.1 MegaPixels", "1080/1 (1080.000000)"},
        {0, 0, "0 MegaPixels", ""},
    };
    for (const auto& [width, height, pixels, ratio] : sizes) {
        const auto record = recordOf({});
        record->dimensions = {width, height};
        EXPECT_EQ(textOf(record, "ResolutionInMegaPixel"), pixels);
        EXPECT_EQ(textOf(record, "AspectRatioFraction"), ratio) << width;
    }
    const auto record = recordOf({});
    record->fileSizeInBytes = 3'201'234;
    EXPECT_EQ(textOf(record, "FileSize"), "3.20 MB (3,201,234 bytes)");
    record->phAsset = std::make_shared<PHAsset>();
    record->phAsset->mediaSubtypes = PHAssetMediaSubtypePhotoLive;
    record->liveVideoFileSizeInBytes = 2'100'000;
    EXPECT_EQ(textOf(record, "FileSize"), "3.2 MB & Video size 2.1 MB");
    record->duration = 3725.9;
    EXPECT_EQ(textOf(record, "Duration"), "01:02:05");
    record->framesPerSecondValue = 29.97F;
    EXPECT_EQ(textOf(record, "FramesPerSecond"), "30.0 FPS");
}

TEST(Formatters, ShowDatesByTheUsersPattern) {
    PersistanceManager& settings = PersistanceManager::sharedInstance();
    const auto record = recordOf({{"DateTimeOriginal", "2018:12:31 15:04:05"}});
    EXPECT_EQ(textOf(record, "DateTaken"), "31-12-2019 03:04:05 PM") << "YYYY is the year of the week";
    settings.setDatePreference24HourFormat(true);
    EXPECT_EQ(textOf(record, "DateTaken"), "31-12-2019 15:04:05 ") << "the blank before the letter stays";
    settings.setDateFormatString("yyyy/MM/dd");
    EXPECT_EQ(textOf(record, "DateTaken"), "2018/12/31");
    record->dateModified = record->dateTaken;
    EXPECT_EQ(textOf(record, "EditedDate"), "") << "a file's date is no date of an edit";
    record->phAsset = std::make_shared<PHAsset>();
    record->phAsset->modificationDate = record->dateTaken;
    EXPECT_EQ(textOf(record, "EditedDate"), "2018/12/31");
    settings.setDatePreference24HourFormat(false);
    settings.reset(*PersistanceManager::settingNamed("dateFormatString"));
    EXPECT_EQ(textOf(recordOf({{"DateTimeOriginal", "0000:00:00 00:00:00"}}), "DateTaken"), "");
}

TEST(Formatters, ShowDescriptionsAndSerialNumbers) {
    const auto record = recordWith({
        {"{Exif}", Dictionary{{"FNumber", 2}}},
        {"{TIFF}", Dictionary{{"ImageDescription", "From the tags"}, {"Model", "iPhone10,3"}}},
        {"{IPTC}", Dictionary{{"Keywords", Array{"", "one", "", "two"}}, {"StarRating", 4}}},
        {"{ExifAux}", Dictionary{{"LensModel", "50mm"}, {"SerialNumber", 42}, {"ImageNumber", 7}}},
        {"ColorModel", "RGB"},
        {"DPIWidth", 72},
    });
    EXPECT_EQ(textOf(record, "Caption"), "From the tags");
    EXPECT_EQ(itemOf(*record, "CaptionAbstract").uniqueID, "CaptionAbstract");
    EXPECT_EQ(textOf(record, "Model"), "iPhone X");
    EXPECT_EQ(record->cameraModel, "iPhone X");
    EXPECT_EQ(textOf(record, "Keywords"), ",one,,two") << "an empty keyword is one, too";
    EXPECT_EQ(itemOf(*record, "StarRating").exifRAWValue, "4");
    EXPECT_EQ(textOf(record, "LensModel"), "50mm");
    EXPECT_EQ(textOf(record, "CameraSerialNumber"), "42");
    EXPECT_EQ(textOf(record, "shutterCount"), "7");
    EXPECT_EQ(textOf(record, "ColorProfile"), "Unknown");
    EXPECT_EQ(textOf(record, "DPIWidth"), "72.000000");
}

TEST(DeviceMapping, KnowsTheDevicesOfItsTable) {
    const std::pair<std::string_view, std::string_view> cases[] = {
        {"iPhone10,3", "iPhone X"},         {"iPhone10,7", "iPhone10,7"}, {"iphone10,3", "iphone10,3"},
        {"iPad5,1", "iPad Mini 4"},         {"x86_64", "Simulator"},      {"", ""},
        {"iPhone 12 Pro", "iPhone 12 Pro"},
    };
    for (const auto& [identifier, name] : cases)
        EXPECT_EQ(DeviceMapping::getDeviceNameFromMachineIdentifier(identifier), name);
}

}  // namespace
}  // namespace tessaly
