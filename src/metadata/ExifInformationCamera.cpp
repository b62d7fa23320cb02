#include <array>

#include "metadata/DeviceMapping.h"
#include "metadata/ExifInformation.h"
#include "metadata/Formatting.h"
#include "platform/Foundation/Format.h"
#include "platform/ImageIO/CGImageProperties.h"

// Who took it: make, model, lens, serial numbers, film.
namespace tessaly {
namespace {

// The film that a Fujifilm camera imitates. The blanks at the end of some texts are part of their keys.
constexpr std::array kFilmModes{
    CodeText{0x000, "PROVIA / Standard"},
    CodeText{0x100, "Studio Portrait "},
    CodeText{0x110, "Studio Portrait Enhanced Saturation"},
    CodeText{0x120, "ASTIA / Soft - Studio Portrait Smooth Skin Tone"},
    CodeText{0x130, "Studio Portrait Increased Sharpness "},
    CodeText{0x200, "Velvia - Fujichrome"},
    CodeText{0x300, "Studio Portrait Ex "},
    CodeText{0x310, "B&W Sepia"},
    CodeText{0x400, "Velvia / Vivid"},
    CodeText{0x500, "Pro Neg. Std "},
    CodeText{0x501, "Pro Neg. Hi"},
    CodeText{0x600, "Classic Chrome"},
};

/// The first of the Saturation values that names a film: first, last, second.
std::int64_t filmCodeFromSaturation(const Array& saturation) {
    std::int64_t code = saturation.first().integerValue();
    if (code < 1) code = saturation.last().integerValue();
    if (code < 1 && saturation.size() >= 2) code = saturation[1].integerValue();
    return code;
}

const Value& firstPresent(const Value& one, const Value& other) { return one.isNull() ? other : one; }

}  // namespace

ExifValue ExifInformation::Make() const { return item("Make", "Make", tiff()[kCGImagePropertyTIFFMake].description()); }

ExifValue ExifInformation::Model() const {
    const std::string model = tiff()[kCGImagePropertyTIFFModel].description();
    return item("Model", "Model", std::string(DeviceMapping::getDeviceNameFromMachineIdentifier(model)));
}

ExifValue ExifInformation::CameraMakeAndModel() const {
    ExifValue value;
    value.uniqueID = "CameraMakeAndModel";
    return value;
}

ExifValue ExifInformation::CameraSerialNumber() const {
    const Value& number = firstPresent(exif()["BodySerialNumber"], aux()[kCGImagePropertyExifAuxSerialNumber]);
    return marked(item("CameraSerialNumber", "Camera SerialNumber", number.description()));
}

ExifValue ExifInformation::LensMake() const {
    return marked(item("LensMake", "Lens Make", exif()["LensMake"].description()));
}

ExifValue ExifInformation::LensModel() const {
    const Value& model = firstPresent(exif()["LensModel"], aux()[kCGImagePropertyExifAuxLensModel]);
    return marked(item("LensModel", "Lens Model", model.description()));
}

ExifValue ExifInformation::LensSerialNumber() const {
    const Value& number = firstPresent(exif()["LensSerialNumber"], aux()[kCGImagePropertyExifAuxLensSerialNumber]);
    return marked(item("LensSerialNumber", "Lens SerialNumber", number.description()));
}

ExifValue ExifInformation::Software() const {
    return item("Software", "Software", tiff()[kCGImagePropertyTIFFSoftware].description());
}

ExifValue ExifInformation::MakerNote() const {
    return item("MakerNote", "Maker Note", exif()["MakerNote"].description());
}

ExifValue ExifInformation::FilmMode() const {
    const Dictionary& style = metaDataDictionary[kCGImagePropertyPictureStyleDictionary].dictionary();
    const Array& simulation = style["FilmSimulation"].array();
    const Array& saturation = style["Saturation"].array();
    std::string shown;
    std::int64_t code = 0;
    if (!simulation.empty()) {
        code = simulation.last().integerValue();
        shown = formatted("0x%03llx", code);
    } else {
        code = filmCodeFromSaturation(saturation);
    }
    std::string text = style.empty() ? std::string() : textOfCode(kFilmModes, code);
    if (text.empty() && !style.empty()) text = formatted(localized("Unknown %@"), shown);
    return marked(item("FilmMode", "Film mode", std::move(text)));
}

ExifValue ExifInformation::shutterCount() const {
    return marked(item("shutterCount", "Shutter Count", aux()[kCGImagePropertyExifAuxImageNumber].description()));
}

}  // namespace tessaly
