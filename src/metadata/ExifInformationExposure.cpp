#include <array>
#include <cmath>

#include "metadata/ExifInformation.h"
#include "metadata/Formatting.h"
#include "platform/Foundation/Format.h"
#include "platform/Foundation/Log.h"
#include "platform/Foundation/NSNumberFormatter.h"
#include "platform/ImageIO/CGImageProperties.h"

// How it was exposed. A missing number reads as 0 and is shown as such.
namespace tessaly {
namespace {

constexpr std::array kExposureModes{CodeText{0, "Auto exposure"}, CodeText{1, "Manual exposure"},
                                    CodeText{2, "Auto bracket"}};
constexpr std::array kWhiteBalances{CodeText{0, "Auto white balance"}, CodeText{1, "Manual white balance"}};
constexpr std::array kSoftness{CodeText{0, "Normal"}, CodeText{1, "Soft"}, CodeText{2, "Hard"}};
constexpr std::array kSaturations{CodeText{0, "Normal"}, CodeText{1, "Low saturation"}, CodeText{2, "High saturation"}};
constexpr std::array kFileSources{CodeText{1, "Film Scanner"}, CodeText{2, "Reflection Print Scanner"},
                                  CodeText{3, "Digital Camera"}};
constexpr std::array kSceneTypes{CodeText{1, "Image was directly photographed"}};
constexpr std::array kExposurePrograms{
    CodeText{0, "Not defined"},
    CodeText{1, "Manual"},
    CodeText{2, "Normal program"},
    CodeText{3, "Aperture priority"},
    CodeText{4, "Shutter priority"},
    CodeText{5, "Creative program (biased toward depth of field)"},
    CodeText{6, "Action program (biased toward fast shutter speed)"},
    CodeText{7, "Portrait mode (for closeup photos with the background out of focus)"},
    CodeText{8, "Landscape mode (for landscape photos with the background in focus)"},
};
constexpr std::array kMeteringModes{
    CodeText{0, "Unknown"}, CodeText{1, "Average"},   CodeText{2, "Center Weighted Average"},
    CodeText{3, "Spot"},    CodeText{4, "MultiSpot"}, CodeText{5, "Pattern"},
    CodeText{6, "Partial"}, CodeText{255, "Other"},
};
// The gain control shares these texts.
constexpr std::array kSceneCaptureTypes{CodeText{0, "Standard"}, CodeText{1, "Landscape"}, CodeText{2, "Portrait"},
                                        CodeText{3, "Night scene"}};
constexpr std::array kSubjectDistances{CodeText{0, "Unknown"}, CodeText{1, "Macro"}, CodeText{2, "Close"},
                                       CodeText{3, "Distant"}};
constexpr std::array kSensingMethods{
    CodeText{1, "Not defined"},
    CodeText{2, "One-chip color area sensor"},
    CodeText{3, "Two-chip color area sensor"},
    CodeText{4, "Three-chip color area sensor"},
    CodeText{5, "Color sequential area sensor"},
    CodeText{7, "Trilinear sensor"},
    CodeText{8, "Color sequential linear sensor"},
};
constexpr std::array kSensitivityTypes{
    CodeText{0, "Unknown"},
    CodeText{1, "Standard Output Sensitivity"},
    CodeText{2, "Recommended Exposure Index"},
    CodeText{3, "ISO Speed"},
    CodeText{4, "Standard Output Sensitivity and Recommended Exposure Index"},
    CodeText{5, "Standard Output Sensitivity and ISO Speed"},
    CodeText{6, "Recommended Exposure Index and ISO Speed"},
    CodeText{7, "Standard Output Sensitivity, Recommended Exposure Index and ISO Speed"},
};
constexpr std::array kCustomRendered{CodeText{0, "Normal process"}, CodeText{1, "Custom process"}, CodeText{3, "HDR"},
                                     CodeText{6, "Panorama"}, CodeText{8, "Portrait"}};
// 25, not 255, is the code of another light source here.
constexpr std::array kLightSources{
    CodeText{0, "Unknown"},
    CodeText{1, "Daylight"},
    CodeText{2, "Fluorescent"},
    CodeText{3, "Tungsten (incandescent light)"},
    CodeText{4, "Flash"},
    CodeText{9, "Fine weather"},
    CodeText{10, "Cloudy weather"},
    CodeText{11, "Shade"},
    CodeText{12, "Daylight fluorescent (D 5700 - 7100K)"},
    CodeText{13, "Day white fluorescent (N 4600 - 5400K)"},
    CodeText{14, "Cool white fluorescent (W 3900 - 4500K)"},
    CodeText{15, "White fluorescent (WW 3200 - 3700K)"},
    CodeText{17, "Standard light A"},
    CodeText{18, "Standard light B"},
    CodeText{19, "Standard light C"},
    CodeText{20, "D55"},
    CodeText{21, "D65"},
    CodeText{22, "D75"},
    CodeText{23, "D50"},
    CodeText{24, "ISO studio tungsten"},
    CodeText{25, "Other light source"},
};

struct FlashText {
    std::int64_t code;
    std::string_view text;
    std::string_view icon;
};

constexpr std::array kFlashes{
    FlashText{0x0000, "Flash did not fire", "flash_not_fired"},
    FlashText{0x0001, "Flash fired", "flash_fired"},
    FlashText{0x0005, "Strobe return light not detected", "flash_fired"},
    FlashText{0x0007, "Strobe return light detected", "flash_fired"},
    FlashText{0x0009, "Flash fired, compulsory flash mode", "flash_fired"},
    FlashText{0x000D, "Flash fired, compulsory flash mode, return light not detected", "flash_fired"},
    FlashText{0x000F, "Flash fired, compulsory flash mode, return light detected", "flash_fired"},
    FlashText{0x0010, "Flash did not fire, compulsory flash mode", "flash_not_fired"},
    FlashText{0x0018, "Flash did not fire, auto mode", "flash_automatic_not_fired"},
    FlashText{0x0019, "Flash fired, auto mode", "flash_automatic_fired"},
    FlashText{0x001D, "Flash fired, auto mode, return light not detected", "flash_automatic_fired"},
    FlashText{0x001F, "Flash fired, auto mode, return light detected", "flash_automatic_fired"},
    FlashText{0x0020, "No flash function", "flash_not_fired"},
    FlashText{0x0041, "Flash fired, red-eye reduction mode", "flash_fired"},
    FlashText{0x0045, "Flash fired, red-eye reduction mode, return light not detected", "flash_fired"},
    FlashText{0x0047, "Flash fired, red-eye reduction mode, return light detected", "flash_fired"},
    FlashText{0x0049, "Flash fired, compulsory flash mode, red-eye reduction mode", "flash_fired"},
    FlashText{0x004D, "Flash fired, compulsory flash mode, red-eye reduction mode, return light not detected",
              "flash_fired"},
    FlashText{0x004F, "Flash fired, compulsory flash mode, red-eye reduction mode, return light detected",
              "flash_fired"},
    FlashText{0x0059, "Flash fired, auto mode, red-eye reduction mode", "flash_automatic_fired"},
    FlashText{0x005D, "Flash fired, auto mode, return light not detected, red-eye reduction mode",
              "flash_automatic_fired"},
    FlashText{0x005F, "Flash fired, auto mode, return light detected, red-eye reduction mode", "flash_automatic_fired"},
};

}  // namespace

std::string ExifInformation::shutterSpeedString() const {
    const float time = exif()[kCGImagePropertyExifExposureTime].floatValue();
    if (time != 0 && time < 1) {
        const float reciprocal = 1 / time;
        const bool whole = std::fabs(reciprocal - std::ceil(reciprocal)) < 0.01F ||
                           std::fabs(reciprocal - std::floor(reciprocal)) < 0.01F;
        return whole ? formatted(localized("1/%0.0f seconds"), reciprocal)
                     : formatted(localized("%0.5f seconds"), time);
    }
    if (time == 1) return formatted(localized("%ld second"), 1);
    return formatted(localized("%ld seconds"), Value(static_cast<double>(time)).integerValue());
}

std::string ExifInformation::FStopsFromApexValue(float apex) {
    const NSNumberFormatter oneDigit{.maximumFractionDigits = 1,
                                     .roundingMode = NSNumberFormatterRoundingMode::halfDown};
    return oneDigit.stringFromNumber(std::pow(1.41421356237, static_cast<double>(apex)));
}

ExifValue ExifInformation::ExposureMode() const {
    return marked(
        item("ExposureMode", "Exposure Mode", textOfCode(kExposureModes, exif()["ExposureMode"].integerValue())));
}

ExifValue ExifInformation::WhiteBalance() const {
    return marked(
        item("WhiteBalance", "White Balance", textOfCode(kWhiteBalances, exif()["WhiteBalance"].integerValue())));
}

ExifValue ExifInformation::Sharpness() const {
    return marked(item("Sharpness", "Sharpness", textOfCode(kSoftness, exif()["Sharpness"].integerValue())));
}

ExifValue ExifInformation::Contrast() const {
    return item("Contrast", "Contrast", textOfCode(kSoftness, exif()["Contrast"].integerValue()));
}

ExifValue ExifInformation::Saturation() const {
    return marked(item("Saturation", "Saturation", textOfCode(kSaturations, exif()["Saturation"].integerValue())));
}

ExifValue ExifInformation::FileSource() const {
    return marked(item("FileSource", "File Source", textOfCode(kFileSources, exif()["FileSource"].integerValue())));
}

ExifValue ExifInformation::SceneType() const {
    return marked(
        item("SceneType", "Scene Type", textOfCode(kSceneTypes, exif()["SceneType"].integerValue(), "unknown")));
}

ExifValue ExifInformation::ExposureProgram() const {
    return marked(item("ExposureProgram", "Exposure Program",
                       textOfCode(kExposurePrograms, exif()["ExposureProgram"].integerValue())));
}

ExifValue ExifInformation::MeteringMode() const {
    return marked(
        item("MeteringMode", "Metering Mode", textOfCode(kMeteringModes, exif()["MeteringMode"].integerValue())));
}

ExifValue ExifInformation::SceneCaptureType() const {
    return marked(item("SceneCaptureType", "Scene Capture Type",
                       textOfCode(kSceneCaptureTypes, exif()["SceneCaptureType"].integerValue())));
}

ExifValue ExifInformation::GainControl() const {
    return marked(
        item("GainControl", "Gain Control", textOfCode(kSceneCaptureTypes, exif()["GainControl"].integerValue())));
}

ExifValue ExifInformation::SubjectDistRange() const {
    return marked(item("SubjectDistRange", "Subject Distance Range",
                       textOfCode(kSubjectDistances, exif()["SubjectDistRange"].integerValue())));
}

ExifValue ExifInformation::SensingMethod() const {
    return marked(
        item("SensingMethod", "Sensing method", textOfCode(kSensingMethods, exif()["SensingMethod"].integerValue())));
}

ExifValue ExifInformation::SensitivityType() const {
    return marked(item("SensitivityType", "Sensitivity Type",
                       textOfCode(kSensitivityTypes, exif()["SensitivityType"].integerValue())));
}

ExifValue ExifInformation::CustomRendered() const {
    return marked(item("CustomRendered", "Custom Rendered",
                       textOfCode(kCustomRendered, exif()["CustomRendered"].integerValue())));
}

ExifValue ExifInformation::LightSource() const {
    return marked(item("LightSource", "Light Source", textOfCode(kLightSources, exif()["LightSource"].integerValue())));
}

ExifValue ExifInformation::Flash() const {
    const std::int64_t code = exif()[kCGImagePropertyExifFlash].integerValue();
    ExifValue value = item("Flash", "Flash");
    for (const FlashText& flash : kFlashes) {
        if (flash.code != code) continue;
        value.exifValueReadableFormat = localized(flash.text);
        value.exifValueIconFileName = flash.icon;
        return marked(std::move(value));
    }
    std::string digits = formatted("%04llx", code);
    for (char& digit : digits)
        if (digit >= 'a' && digit <= 'f') digit = static_cast<char>(digit - 'a' + 'A');
    log("__Unknown_FLASH %@ and %lld", digits, code);
    value.exifValueReadableFormat = formatted(localized("Unknown %@"), digits);
    value.exifValueIconFileName = "flash_fired";
    return marked(std::move(value));
}

ExifValue ExifInformation::ApertureValue() const {
    // The F-number, not the APEX value of that name: it is what people call the aperture.
    return marked(item("ApertureValue", "Aperture (F-number)",
                       formatted(localized("f/%0.1f"), exif()[kCGImagePropertyExifFNumber].floatValue())));
}

ExifValue ExifInformation::ApertureMax() const {
    const Value& apex = exif()["MaxApertureValue"];
    const std::string shown = apex.isNull() ? "0" : apex.description();
    return marked(item("ApertureMax", "Aperture Max",
                       formatted(localized("%@ (APEX = %@)"), FStopsFromApexValue(apex.floatValue()), shown)));
}

ExifValue ExifInformation::ISOSpeedRatings() const {
    const Value& ratings = exif()[kCGImagePropertyExifISOSpeedRatings];
    std::string text;
    if (!ratings.isNull()) {
        const Value& first = ratings.isArray() ? ratings.array().first() : ratings;
        text = formatted(localized("ISO %lld"), first.integerValue());
    } else {
        const Value& speed = exif()[kCGImagePropertyExifISOSpeed];
        text = formatted(localized("ISO %@"), speed.isNull() ? Value(0) : speed);
    }
    return marked(item("ISOSpeedRatings", "ISO Sensitivity", std::move(text)));
}

ExifValue ExifInformation::ISOSpeedValue() const {
    const Value& ratings = exif()[kCGImagePropertyExifISOSpeedRatings];
    const Value& speed = exif()[kCGImagePropertyExifISOSpeed];
    std::string text;
    if (!ratings.isNull())
        text = formatted("%lld", (ratings.isArray() ? ratings.array().first() : ratings).integerValue());
    else
        text = speed.isNull() ? "0" : speed.description();
    return marked(item("ISOSpeedValue", "ISO Sensitivity", std::move(text)));
}

ExifValue ExifInformation::ExposureTime() const {
    return marked(item("ExposureTime", "Exposure Time",
                       formatted(localized("%f - ( %@ )"), exif()[kCGImagePropertyExifExposureTime].floatValue(),
                                 shutterSpeedString())));
}

ExifValue ExifInformation::ShutterSpeedStringValue() const {
    return marked(item("ShutterSpeedStringValue", "Exposure Time", shutterSpeedString()));
}

ExifValue ExifInformation::ExposureBiasValue() const {
    return marked(
        item("ExposureBiasValue", "Exposure Bias Value", formatted("%0.2f", exif()["ExposureBiasValue"].floatValue())));
}

ExifValue ExifInformation::DigitalZoomRatio() const {
    return marked(
        item("DigitalZoomRatio", "Digital Zoom Ratio", formatted("%f", exif()["DigitalZoomRatio"].floatValue())));
}

ExifValue ExifInformation::FocalLength() const {
    const std::int64_t length = exif()[kCGImagePropertyExifFocalLength].integerValue();
    ExifValue value = item("FocalLength", "Focal Length", formatted(localized("%lld mm"), length));
    value.exifRAWValue = formatted("%lld", length);
    return marked(std::move(value));
}

ExifValue ExifInformation::FocalLenIn35mmFilm() const {
    const std::int64_t length = exif()["FocalLenIn35mmFilm"].integerValue();
    ExifValue value = item("FocalLenIn35mmFilm", "Focal Length in 35 mm", formatted(localized("%lld mm"), length));
    value.exifRAWValue = formatted("%lld", length);
    return marked(std::move(value));
}

ExifValue ExifInformation::FlashPixVersion() const {
    std::string text;
    for (const Value& number : exif()["FlashPixVersion"].array())
        text += (text.empty() ? "" : ".") + number.description();
    return marked(item("FlashPixVersion", "FlashpixVersion", std::move(text)));
}

ExifValue ExifInformation::FramesPerSecond() const {
    ExifValue value =
        item("FramesPerSecond", "Frames per second (FPS)", formatted(localized("%0.1f FPS"), framesPerSecondValue));
    if (framesPerSecondValue == 0) setNotAvailableStringIfExifNotAvailable(value);
    return value;
}

}  // namespace tessaly
