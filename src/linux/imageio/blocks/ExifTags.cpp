#include "linux/imageio/blocks/ExifTags.h"

#include <algorithm>
#include <array>
#include <functional>

namespace tessaly::imageio {
namespace {

using enum TagForm;

constexpr std::array kTiffTags{
    TagRule{0x0103, number, "Compression"}, TagRule{0x0106, number, "PhotometricInterpretation"},
    TagRule{0x010D, text, "DocumentName"},  TagRule{0x010E, text, "ImageDescription"},
    TagRule{0x010F, text, "Make"},          TagRule{0x0110, text, "Model"},
    TagRule{0x0112, number, "Orientation"}, TagRule{0x011A, number, "XResolution"},
    TagRule{0x011B, number, "YResolution"}, TagRule{0x011E, number, "XPosition"},
    TagRule{0x011F, number, "YPosition"},   TagRule{0x0128, number, "ResolutionUnit"},
    TagRule{0x0131, text, "Software"},      TagRule{0x0132, text, "DateTime"},
    TagRule{0x013B, text, "Artist"},        TagRule{0x013C, text, "HostComputer"},
    TagRule{0x013E, numbers, "WhitePoint"}, TagRule{0x013F, numbers, "PrimaryChromaticities"},
    TagRule{0x8298, text, "Copyright"},
};

constexpr std::array kExifTags{
    TagRule{0x829A, number, "ExposureTime"},
    TagRule{0x829D, number, "FNumber"},
    TagRule{0x8822, number, "ExposureProgram"},
    TagRule{0x8824, text, "SpectralSensitivity"},
    TagRule{0x8827, numbers, "ISOSpeedRatings"},
    TagRule{0x8830, number, "SensitivityType"},
    TagRule{0x8831, number, "StandardOutputSensitivity"},
    TagRule{0x8832, number, "RecommendedExposureIndex"},
    TagRule{0x8833, number, "ISOSpeed"},
    TagRule{0x8834, number, "ISOSpeedLatitudeyyy"},
    TagRule{0x8835, number, "ISOSpeedLatitudezzz"},
    TagRule{0x9000, version, "ExifVersion"},
    TagRule{0x9003, text, "DateTimeOriginal"},
    TagRule{0x9004, text, "DateTimeDigitized"},
    TagRule{0x9010, text, "OffsetTime"},
    TagRule{0x9011, text, "OffsetTimeOriginal"},
    TagRule{0x9012, text, "OffsetTimeDigitized"},
    TagRule{0x9101, numbers, "ComponentsConfiguration"},
    TagRule{0x9102, number, "CompressedBitsPerPixel"},
    TagRule{0x9201, number, "ShutterSpeedValue"},
    TagRule{0x9202, number, "ApertureValue"},
    TagRule{0x9203, number, "BrightnessValue"},
    TagRule{0x9204, number, "ExposureBiasValue"},
    TagRule{0x9205, number, "MaxApertureValue"},
    TagRule{0x9206, number, "SubjectDistance"},
    TagRule{0x9207, number, "MeteringMode"},
    TagRule{0x9208, number, "LightSource"},
    TagRule{0x9209, number, "Flash"},
    TagRule{0x920A, number, "FocalLength"},
    TagRule{0x9214, numbers, "SubjectArea"},
    TagRule{0x9286, comment, "UserComment"},
    TagRule{0x9290, text, "SubsecTime"},
    TagRule{0x9291, text, "SubsecTimeOriginal"},
    TagRule{0x9292, text, "SubsecTimeDigitized"},
    TagRule{0x9400, number, "AmbientTemperature"},
    TagRule{0x9401, number, "Humidity"},
    TagRule{0x9402, number, "Pressure"},
    TagRule{0x9403, number, "WaterDepth"},
    TagRule{0x9404, number, "Acceleration"},
    TagRule{0x9405, number, "CameraElevationAngle"},
    TagRule{0xA000, version, "FlashPixVersion"},
    TagRule{0xA001, number, "ColorSpace"},
    TagRule{0xA002, number, "PixelXDimension"},
    TagRule{0xA003, number, "PixelYDimension"},
    TagRule{0xA004, text, "RelatedSoundFile"},
    TagRule{0xA20B, number, "FlashEnergy"},
    TagRule{0xA20E, number, "FocalPlaneXResolution"},
    TagRule{0xA20F, number, "FocalPlaneYResolution"},
    TagRule{0xA210, number, "FocalPlaneResolutionUnit"},
    TagRule{0xA214, numbers, "SubjectLocation"},
    TagRule{0xA215, number, "ExposureIndex"},
    TagRule{0xA217, number, "SensingMethod"},
    TagRule{0xA300, flagByte, "FileSource"},
    TagRule{0xA301, flagByte, "SceneType"},
    TagRule{0xA401, number, "CustomRendered"},
    TagRule{0xA402, number, "ExposureMode"},
    TagRule{0xA403, number, "WhiteBalance"},
    TagRule{0xA404, number, "DigitalZoomRatio"},
    TagRule{0xA405, number, "FocalLenIn35mmFilm"},
    TagRule{0xA406, number, "SceneCaptureType"},
    TagRule{0xA407, number, "GainControl"},
    TagRule{0xA408, number, "Contrast"},
    TagRule{0xA409, number, "Saturation"},
    TagRule{0xA40A, number, "Sharpness"},
    TagRule{0xA40C, number, "SubjectDistRange"},
    TagRule{0xA420, text, "ImageUniqueID"},
    TagRule{0xA430, text, "CameraOwnerName"},
    TagRule{0xA431, text, "BodySerialNumber"},
    TagRule{0xA432, numbers, "LensSpecification"},
    TagRule{0xA433, text, "LensMake"},
    TagRule{0xA434, text, "LensModel"},
    TagRule{0xA435, text, "LensSerialNumber"},
    TagRule{0xA436, text, "ImageTitle"},
    TagRule{0xA437, text, "Photographer"},
    TagRule{0xA438, text, "ImageEditor"},
    TagRule{0xA439, text, "CameraFirmware"},
    TagRule{0xA43A, text, "RAWDevelopingSoftware"},
    TagRule{0xA43B, text, "ImageEditingSoftware"},
    TagRule{0xA43C, text, "MetadataEditingSoftware"},
    TagRule{0xA460, number, "CompositeImage"},
    TagRule{0xA500, number, "Gamma"},
};

constexpr std::array kGpsTags{
    TagRule{0x0000, numbers, "GPSVersion"},      TagRule{0x0001, text, "LatitudeRef"},
    TagRule{0x0002, degrees, "Latitude"},        TagRule{0x0003, text, "LongitudeRef"},
    TagRule{0x0004, degrees, "Longitude"},       TagRule{0x0005, number, "AltitudeRef"},
    TagRule{0x0006, number, "Altitude"},         TagRule{0x0007, timeOfDay, "TimeStamp"},
    TagRule{0x0008, text, "Satellites"},         TagRule{0x0009, text, "Status"},
    TagRule{0x000A, text, "MeasureMode"},        TagRule{0x000B, number, "DOP"},
    TagRule{0x000C, text, "SpeedRef"},           TagRule{0x000D, number, "Speed"},
    TagRule{0x000E, text, "TrackRef"},           TagRule{0x000F, number, "Track"},
    TagRule{0x0010, text, "ImgDirectionRef"},    TagRule{0x0011, number, "ImgDirection"},
    TagRule{0x0012, text, "MapDatum"},           TagRule{0x0013, text, "DestLatitudeRef"},
    TagRule{0x0014, degrees, "DestLatitude"},    TagRule{0x0015, text, "DestLongitudeRef"},
    TagRule{0x0016, degrees, "DestLongitude"},   TagRule{0x0017, text, "DestBearingRef"},
    TagRule{0x0018, number, "DestBearing"},      TagRule{0x0019, text, "DestDistanceRef"},
    TagRule{0x001A, number, "DestDistance"},     TagRule{0x001B, comment, "ProcessingMethod"},
    TagRule{0x001C, comment, "AreaInformation"}, TagRule{0x001D, dateStamp, "DateStamp"},
    TagRule{0x001E, number, "Differential"},     TagRule{0x001F, number, "HPositioningError"},
};

constexpr bool isSorted(std::span<const TagRule> rules) {
    return std::ranges::adjacent_find(rules, std::ranges::greater_equal{}, &TagRule::tag) == rules.end();
}
static_assert(isSorted(kTiffTags) && isSorted(kExifTags) && isSorted(kGpsTags), "ascending, no tag twice");

}  // namespace

std::span<const TagRule> tiffTags() noexcept { return kTiffTags; }
std::span<const TagRule> exifTags() noexcept { return kExifTags; }
std::span<const TagRule> gpsTags() noexcept { return kGpsTags; }

}  // namespace tessaly::imageio
