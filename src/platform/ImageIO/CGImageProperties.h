#pragma once
#include <string_view>

/// Names of the properties that an image source reports. Inside the sub-dictionaries they are the platform's names,
/// not Exif's, where the two differ.
namespace tessaly {

inline constexpr std::string_view kCGImagePropertyPixelWidth = "PixelWidth";
inline constexpr std::string_view kCGImagePropertyPixelHeight = "PixelHeight";
inline constexpr std::string_view kCGImagePropertyDPIWidth = "DPIWidth";
inline constexpr std::string_view kCGImagePropertyDPIHeight = "DPIHeight";
inline constexpr std::string_view kCGImagePropertyDepth = "Depth";
inline constexpr std::string_view kCGImagePropertyOrientation = "Orientation";
inline constexpr std::string_view kCGImagePropertyColorModel = "ColorModel";
inline constexpr std::string_view kCGImagePropertyProfileName = "ProfileName";
inline constexpr std::string_view kCGImagePropertyHasAlpha = "HasAlpha";

inline constexpr std::string_view kCGImagePropertyExifDictionary = "{Exif}";
inline constexpr std::string_view kCGImagePropertyTIFFDictionary = "{TIFF}";
inline constexpr std::string_view kCGImagePropertyGPSDictionary = "{GPS}";
inline constexpr std::string_view kCGImagePropertyIPTCDictionary = "{IPTC}";
inline constexpr std::string_view kCGImagePropertyExifAuxDictionary = "{ExifAux}";
inline constexpr std::string_view kCGImagePropertyPictureStyleDictionary = "{PictureStyle}";
inline constexpr std::string_view kCGImagePropertyPNGDictionary = "{PNG}";
inline constexpr std::string_view kCGImagePropertyGIFDictionary = "{GIF}";
inline constexpr std::string_view kCGImagePropertyJFIFDictionary = "{JFIF}";
inline constexpr std::string_view kCGImagePropertyHEIFDictionary = "{HEIF}";
inline constexpr std::string_view kCGImagePropertyWebPDictionary = "{WebP}";
inline constexpr std::string_view kCGImagePropertyMakerAppleDictionary = "{MakerApple}";
inline constexpr std::string_view kCGImagePropertyDNGDictionary = "{DNG}";

inline constexpr std::string_view kCGImagePropertyExifExposureTime = "ExposureTime";
inline constexpr std::string_view kCGImagePropertyExifFNumber = "FNumber";
inline constexpr std::string_view kCGImagePropertyExifFocalLength = "FocalLength";
inline constexpr std::string_view kCGImagePropertyExifFlash = "Flash";
inline constexpr std::string_view kCGImagePropertyExifISOSpeedRatings = "ISOSpeedRatings";
inline constexpr std::string_view kCGImagePropertyExifISOSpeed = "ISOSpeed";
inline constexpr std::string_view kCGImagePropertyExifDateTimeOriginal = "DateTimeOriginal";

inline constexpr std::string_view kCGImagePropertyTIFFMake = "Make";
inline constexpr std::string_view kCGImagePropertyTIFFModel = "Model";
inline constexpr std::string_view kCGImagePropertyTIFFSoftware = "Software";
inline constexpr std::string_view kCGImagePropertyTIFFArtist = "Artist";
inline constexpr std::string_view kCGImagePropertyTIFFCopyright = "Copyright";
inline constexpr std::string_view kCGImagePropertyTIFFOrientation = "Orientation";
inline constexpr std::string_view kCGImagePropertyTIFFImageDescription = "ImageDescription";

inline constexpr std::string_view kCGImagePropertyGPSLatitude = "Latitude";
inline constexpr std::string_view kCGImagePropertyGPSLatitudeRef = "LatitudeRef";
inline constexpr std::string_view kCGImagePropertyGPSLongitude = "Longitude";
inline constexpr std::string_view kCGImagePropertyGPSLongitudeRef = "LongitudeRef";
inline constexpr std::string_view kCGImagePropertyGPSAltitude = "Altitude";
inline constexpr std::string_view kCGImagePropertyGPSAltitudeRef = "AltitudeRef";
inline constexpr std::string_view kCGImagePropertyGPSTimeStamp = "TimeStamp";
inline constexpr std::string_view kCGImagePropertyGPSDateStamp = "DateStamp";
inline constexpr std::string_view kCGImagePropertyGPSSpeed = "Speed";
inline constexpr std::string_view kCGImagePropertyGPSSpeedRef = "SpeedRef";
inline constexpr std::string_view kCGImagePropertyGPSImgDirection = "ImgDirection";
inline constexpr std::string_view kCGImagePropertyGPSImgDirectionRef = "ImgDirectionRef";

inline constexpr std::string_view kCGImagePropertyIPTCObjectName = "ObjectName";
inline constexpr std::string_view kCGImagePropertyIPTCKeywords = "Keywords";
inline constexpr std::string_view kCGImagePropertyIPTCHeadline = "Headline";
inline constexpr std::string_view kCGImagePropertyIPTCCaptionAbstract = "Caption/Abstract";
inline constexpr std::string_view kCGImagePropertyIPTCStarRating = "StarRating";

inline constexpr std::string_view kCGImagePropertyExifAuxLensModel = "LensModel";
inline constexpr std::string_view kCGImagePropertyExifAuxLensSerialNumber = "LensSerialNumber";
inline constexpr std::string_view kCGImagePropertyExifAuxSerialNumber = "SerialNumber";
inline constexpr std::string_view kCGImagePropertyExifAuxImageNumber = "ImageNumber";

}  // namespace tessaly
