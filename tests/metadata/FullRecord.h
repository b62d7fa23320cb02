#pragma once
#include <cstdlib>
#include <sstream>

#include "metadata/ExifInformation.h"

namespace tessaly::test {

/// From lines of "tag value; tag value": a number where it reads as one, else a text.
inline Dictionary tagged(const std::string& lines) {
    Dictionary tags;
    std::istringstream in(lines);
    for (std::string entry; std::getline(in >> std::ws, entry, ';');) {
        const std::size_t blank = entry.find(' ');
        const std::string text = entry.substr(blank + 1);
        char* end = nullptr;
        const double number = std::strtod(text.c_str(), &end);
        const bool isWhole = text.find('.') == std::string::npos;
        tags.set(entry.substr(0, blank), *end      ? Value(text)
                                         : isWhole ? Value(static_cast<std::int64_t>(number))
                                                   : Value(number));
    }
    return tags;
}

/// A record of which every item has a text, and every tag a value of its own: what is read from the wrong place shows.
inline ExifInformationRef fullRecord() {
    Dictionary exif = tagged(
        "FNumber 1.8; ExposureTime 0.004; FocalLength 26.9; FocalLenIn35mmFilm 52; ISOSpeed 82; Flash 79; "
        "ExposureMode 1; WhiteBalance 1; Sharpness 1; Contrast 2; Saturation 1; FileSource 2; SceneType 1; "
        "ExposureProgram 3; MeteringMode 4; SceneCaptureType 2; GainControl 3; SubjectDistRange 1; SensingMethod 5; "
        "SensitivityType 6; CustomRendered 8; LightSource 9; MaxApertureValue 3; ExposureBiasValue -0.333; "
        "DigitalZoomRatio 1.5; ColorSpace 2; CompressedBitsPerPixel 7; UserComment a comment; MakerNote a note; "
        "LensMake a lens maker; LensModel a lens; LensSerialNumber lens 1; BodySerialNumber body 1; "
        "DateTimeOriginal 2018:12:31 15:04:05");
    exif.set("ISOSpeedRatings", Array{80, 81});
    exif.set("FlashPixVersion", Array{1, 2});
    Dictionary iptc = tagged(
        "Headline a headline; ObjectName a title; Caption/Abstract a caption; StarRating 4; City a city; "
        "Country/PrimaryLocationName a country; Credit a credit");
    iptc.set("Byline", Array{"one", "two"});
    iptc.set("Keywords", Array{"", "one", "", "two"});
    Dictionary whole = tagged(
        "PixelWidth 4000; PixelHeight 3000; Orientation 6; Depth 10; DPIWidth 72; DPIHeight 73; ColorModel RGB; "
        "ProfileName a profile");
    whole.set("{Exif}", exif);
    whole.set("{IPTC}", iptc);
    whole.set("{TIFF}",
              tagged("Make a maker; Model iPhone10,3; Software a program; Artist an artist; Copyright an owner; "
                     "ImageDescription a description"));
    whole.set("{GPS}", tagged("ImgDirection 123.45; ImgDirectionRef T"));
    whole.set("{ExifAux}", tagged("LensModel an older lens; LensSerialNumber lens 2; SerialNumber body 2; "
                                  "ImageNumber 1234"));
    whole.set("{PictureStyle}", Dictionary{{"FilmSimulation", Array{0, 0x501}}, {"Saturation", Array{0x600}}});
    auto record = ExifInformation::exifInformationFromMetaDataDictionary(whole);
    CLLocation& place = record->location.emplace();
    place.coordinate = {-33.8568, 151.2153};
    place.altitude = 100;
    place.verticalAccuracy = 5;
    place.speed = 7;
    record->fileSizeInBytes = 3'201'234;
    record->duration = 3725.9;
    record->framesPerSecondValue = 29.97F;
    record->phAsset = std::make_shared<PHAsset>();
    record->phAsset->modificationDate = NSDate{1'600'000'000};
    return record;
}

}  // namespace tessaly::test
