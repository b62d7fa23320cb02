#pragma once
#include "metadata/ExifInformation.h"

namespace tessaly::test {

/// A record of which every item has a text, and every tag a value of its own: what is read from the wrong place shows.
inline ExifInformationRef fullRecord() {
    const Dictionary exif{{"FNumber", 1.8},
                          {"ExposureTime", 0.004},
                          {"FocalLength", 26.9},
                          {"ISOSpeedRatings", Array{80, 81}},
                          {"ISOSpeed", 82},
                          {"Flash", 0x4F},
                          {"DateTimeOriginal", "2018:12:31 15:04:05"},
                          {"ExposureMode", 1},
                          {"WhiteBalance", 1},
                          {"Sharpness", 1},
                          {"Contrast", 2},
                          {"Saturation", 1},
                          {"FileSource", 2},
                          {"SceneType", 1},
                          {"ExposureProgram", 3},
                          {"MeteringMode", 4},
                          {"SceneCaptureType", 2},
                          {"GainControl", 3},
                          {"SubjectDistRange", 1},
                          {"SensingMethod", 5},
                          {"SensitivityType", 6},
                          {"CustomRendered", 8},
                          {"LightSource", 9},
                          {"MaxApertureValue", 3},
                          {"ExposureBiasValue", -1.0 / 3},
                          {"DigitalZoomRatio", 1.5},
                          {"FocalLenIn35mmFilm", 52},
                          {"FlashPixVersion", Array{1, 2}},
                          {"ColorSpace", 2},
                          {"CompressedBitsPerPixel", 7},
                          {"UserComment", "a comment"},
                          {"MakerNote", "a note"},
                          {"LensMake", "a lens maker"},
                          {"LensModel", "a lens"},
                          {"LensSerialNumber", "lens 1"},
                          {"BodySerialNumber", "body 1"}};
    auto record = ExifInformation::exifInformationFromMetaDataDictionary(
        Dictionary{{"{Exif}", exif},
                   {"{TIFF}", Dictionary{{"Make", "a maker"},
                                         {"Model", "iPhone10,3"},
                                         {"Software", "a program"},
                                         {"Artist", "an artist"},
                                         {"Copyright", "an owner"},
                                         {"ImageDescription", "a description"}}},
                   {"{GPS}", Dictionary{{"ImgDirection", 123.45}, {"ImgDirectionRef", "T"}}},
                   {"{IPTC}", Dictionary{{"Headline", "a headline"},
                                         {"ObjectName", "a title"},
                                         {"Caption/Abstract", "a caption"},
                                         {"Keywords", Array{"", "one", "", "two"}},
                                         {"StarRating", 4}}},
                   {"{ExifAux}", Dictionary{{"LensModel", "an older lens"},
                                            {"LensSerialNumber", "lens 2"},
                                            {"SerialNumber", "body 2"},
                                            {"ImageNumber", 1234}}},
                   {"{PictureStyle}", Dictionary{{"FilmSimulation", Array{0, 0x501}}, {"Saturation", Array{0x600}}}},
                   {"PixelWidth", 4000},
                   {"PixelHeight", 3000},
                   {"Orientation", 6},
                   {"Depth", 10},
                   {"DPIWidth", 72},
                   {"DPIHeight", 73},
                   {"ColorModel", "RGB"},
                   {"ProfileName", "a profile"}});
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
