#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <memory>

#include "acquisition/ExifManager.h"
#include "acquisition/TemporaryImageFile.h"
#include "codecs/Pictures.h"
#include "platform/Foundation/NSFileManager.h"
#include "platform/ImageIO/CGImageDestination.h"
#include "support/Containers.h"
#include "support/TemporaryFolder.h"
#include "support/TiffBuilder.h"

namespace tessaly::test {
namespace {

ByteString photo() {
    TiffBuilder tiff;
    tiff.text(TiffBuilder::first, 0x010F, "Maker").shorts(TiffBuilder::first, 0x0112, {6});
    tiff.rationals(TiffBuilder::exif, 0x829D, {{28, 10}}).text(TiffBuilder::gps, 1, "N");
    return jpegWithExif(tiff.build());
}

ByteString animatedPng() {
    ByteString control;
    control.u32(3).u32(0);
    const ByteString frame(std::string(26, '\0'));
    return png({pngChunk("acTL", control), pngChunk("fcTL", frame), pngChunk("IDAT", "0"), pngChunk("fcTL", frame),
                pngChunk("fdAT", "00001"), pngChunk("fcTL", frame), pngChunk("fdAT", "00002")});
}

ByteString animatedWebp() {
    const auto chunk = [](std::string_view type, const ByteString& data) {
        return ByteString(type).number(static_cast<std::uint32_t>(data.size()), true).add(data);
    };
    ByteString body("WEBP");
    body.add(chunk("VP8X", "\x02\0\0\0\x3F\0\0\x2F\0\0"_z)).add(chunk("ANIM", ByteString(std::string(6, '\0'))));
    for (int frame = 0; frame < 3; ++frame) body.add(chunk("ANMF", ByteString(std::string(24, '\0'))));
    return ByteString("RIFF").number(static_cast<std::uint32_t>(body.size()), true).add(body);
}

ByteString animatedGif() {
    ByteString file("GIF89a\x40\0\x30\0\0\0\0"_z);
    for (int frame = 0; frame < 3; ++frame) file.add("\x2C\0\0\0\0\x40\0\x30\0\0\2\1\x11\0"_z);
    return file.add("\x3B");
}

TEST(Rewriting, RemovesExactlyFourDictionaries) {
    const Data clean = ExifManager::imageDataByRemovingExifAndGeoTagging(dataOf(photo()));
    const CGImageSourceRef source = CGImageSourceCreateWithData(clean);
    EXPECT_EQ(CGImageSourceGetType(source), "public.jpeg");
    const Dictionary properties = CGImageSourceCopyPropertiesAtIndex(source, 0, {}).value_or(Dictionary());
    EXPECT_TRUE(properties["{Exif}"].isNull() && properties["{GPS}"].isNull() && properties["{IPTC}"].isNull());
    EXPECT_TRUE(properties["{TIFF}"].dictionary()["Make"].isNull());
    EXPECT_EQ(properties["Orientation"].integerValue(), 6) << "at the top level it is no part of them";
    EXPECT_EQ(properties["PixelWidth"].integerValue(), 64);
}

TEST(Rewriting, TellsWhatIsNoImageFromWhatCannotBeWritten) {
    EXPECT_FALSE(ExifManager::imageDataByRemovingExifAndGeoTagging(dataOf("nothing")));
    EXPECT_FALSE(ExifManager::imageDataWithEXIFEdited(nullptr));
    const Data raw = ExifManager::imageDataByRemovingExifAndGeoTagging(dataOf(box("ftyp", {"crx \0\0\0\0crx "_z})));
    ASSERT_TRUE(raw);
    EXPECT_TRUE(raw->empty());
}

TEST(Rewriting, CopiesAllImagesOrTheFirst) {
    const auto count = [](const Data& data) { return CGImageSourceGetCount(CGImageSourceCreateWithData(data)); };
    for (const ByteString& file : {animatedGif(), animatedPng(), animatedWebp()}) {
        const std::string_view type = CGImageSourceGetType(CGImageSourceCreateWithData(dataOf(file)));
        ASSERT_EQ(count(dataOf(file)), 3U) << type;
        EXPECT_EQ(count(ExifManager::imageDataByRemovingExifAndGeoTagging(dataOf(file))), 3U) << type;
        EXPECT_EQ(count(ExifManager::imageDataWithEXIFEdited(dataOf(file))), 1U) << type;
    }
    const auto before = ExifManager::metadataFromImageData(dataOf(photo()));
    EXPECT_EQ(ExifManager::metadataFromImageData(ExifManager::imageDataWithEXIFEdited(dataOf(photo()))), before);
}

CGImageRef decoded(const Data& data) {
    return CGImageSourceCreateImageAtIndex(CGImageSourceCreateWithData(data), 0, {});
}

Dictionary metadata() {
    return {
        {"Orientation", 6},
        {"{Exif}", Dictionary{{"FNumber", 2.8}}},
        {"{TIFF}", Dictionary{{"Make", "Maker"}, {"Orientation", 6}}},
        {"{GPS}", Dictionary{{"Latitude", 48.5}, {"LatitudeRef", "N"}, {"Longitude", 2.25}, {"LongitudeRef", "W"}}}};
}

TEST(Rewriting, EncodesUprightWithTheMetadataOfTheCaller) {
    for (const char* name : {"quadrants.jpg", "quadrants.heic", "deep.tiff"}) {
        const bool turns = std::string_view(name) == "quadrants.jpg";
        const Data original = turns ? withOrientation(fileNamed(name), 6) : fileNamed(name);
        const Data encoded = ExifManager::imageData(original, metadata());
        ASSERT_TRUE(encoded) << name;
        EXPECT_EQ(CGImageSourceGetType(CGImageSourceCreateWithData(encoded)), "public.jpeg") << name;
        EXPECT_EQ(sizeOf(decoded(encoded)), turns ? "32 x 64" : "64 x 32") << name;
        EXPECT_EQ(colorsOf(decoded(encoded)), turns ? "BRWG" : "RGBW") << name;
        const Dictionary found = propertiesOf(bytesOf(encoded));
        EXPECT_EQ(found["Orientation"].integerValue(), 1) << name;
        EXPECT_EQ(found["{TIFF}"].dictionary()["Orientation"].integerValue(), 1) << name;
        EXPECT_EQ(found["{TIFF}"].dictionary()["Make"].string(), "Maker") << name;
        EXPECT_EQ(found["{Exif}"].dictionary()["FNumber"].doubleValue(), 2.8) << name;
        EXPECT_NEAR(found["{GPS}"].dictionary()["Latitude"].doubleValue(), 48.5, 1e-6) << name;
        EXPECT_EQ(found["{GPS}"].dictionary()["LongitudeRef"].string(), "W") << name;
    }
    EXPECT_FALSE(ExifManager::imageData(dataOf("nothing"), metadata()));
    EXPECT_FALSE(ExifManager::imageData(nullptr, metadata()));
}

TEST(Rewriting, FixesTheOrientationOfAnyPicture) {
    const Data fixed = ExifManager::imageDataByFixingOrientationIssue(withOrientation(fileNamed("quadrants.jpg"), 8));
    EXPECT_EQ(colorsOf(decoded(fixed)), "GWRB");
    EXPECT_LE(propertiesOf(bytesOf(fixed))["Orientation"].integerValue(), 1);
    EXPECT_FALSE(ExifManager::imageDataByFixingOrientationIssue(dataOf("nothing")));
    EXPECT_FALSE(ExifManager::imageDataByFixingOrientationIssue(dataOf(png({}))));
}

TEST(Rewriting, TakesThePlaceOutOfPictureAndMetadata) {
    Dictionary kept = metadata();
    const UIImageRef image = UIImage::imageWithCGImage(quadrants(), 1, UIImageOrientation::right);
    const UIImageRef without = ExifManager::imageByRemovingGeoTagging(image, kept);
    ASSERT_TRUE(without);
    EXPECT_TRUE(kept.contains("{GPS}") && kept["{GPS}"].isNull())
        << "set to nothing, which is not the same as left out";
    EXPECT_EQ(kept["{TIFF}"].dictionary()["Make"].string(), "Maker");
    EXPECT_EQ(colorsOf(without->cgImage()), "BRWG");
    Dictionary untouched = metadata();
    EXPECT_FALSE(ExifManager::imageByRemovingGeoTagging(nullptr, untouched));
    EXPECT_EQ(untouched, metadata());
}

TEST(RewritingDeathTest, WritesWhatItDoes) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    ::setenv("TESSALY_LOG", "1", 1);
    const auto act = [] {
        Dictionary kept = metadata();
        static_cast<void>(ExifManager::imageData(withOrientation(fileNamed("quadrants.jpg"), 6), kept));
        static_cast<void>(ExifManager::imageData(dataOf("nothing"), kept));
        static_cast<void>(ExifManager::imageByRemovingGeoTagging(UIImage::imageWithCGImage(quadrants()), kept));
        static_cast<void>(ExifManager::imageDataWithEXIFEdited(dataOf(photo())));
        static_cast<void>(
            ExifManager::imageDataByRemovingExifAndGeoTagging(dataOf(box("ftyp", {"crx \0\0\0\0crx "_z}))));
        MemoryManager::report_memory();
        ::setenv("TMPDIR", "/dev/null", 1);
        static_cast<void>(temporaryURLForImageNSData(dataOf("bytes"), "a.jpg"));
        std::_Exit(0);
    };
    std::vector<testing::Matcher<const std::string&>> lines;
    for (const char* line :
         {"NEED TO CHANGE 3 vs 0", "Changed orientation to 3", "Original Orientation = 3", "Original Orientation = 0",
          "Orientation - 1", "\nDestination public.jpeg", "Loop editedProperties ", "2 Destination public.jpeg",
          " VS \n\n\n\n ", "CGImageDestinationFinalize success", "CGImageDestinationFinalize failed",
          "used: ", "Error "})
        lines.push_back(testing::HasSubstr(std::string(line)));
    lines.push_back(testing::ContainsRegex("(Final properties .*){3}"));
    EXPECT_EXIT(act(), testing::ExitedWithCode(0), testing::AllOfArray(lines));
    ::unsetenv("TESSALY_LOG");
}

TEST(TemporaryImageFile, CopiesKeepTheLastPartOfTheirNameOnly) {
    const TemporaryFolder folder;
    ::setenv("TMPDIR", folder.path().c_str(), 1);
    const std::string own = folder.path().string() + "/tessaly-" + NSFileManager::userName() + "/";
    struct Row {
        const char* name;
        const char* expected;
    };
    for (const auto& [name, expected] :
         {Row{"photo.jpg", "photo.jpg"}, Row{"../../photo.jpg", "photo.jpg"}, Row{"/etc/passwd", "passwd"},
          Row{"a/..", "tempImage"}, Row{"", "tempImage"}, Row{"folder/", "tempImage"}, Row{".", "tempImage"}}) {
        const NSURL url = temporaryURLForImageNSData(dataOf(std::string("bytes of ") + name), name);
        EXPECT_EQ(url.path(), own + expected) << name;
        EXPECT_EQ(contentOf(own + expected), std::string("bytes of ") + name);
        EXPECT_TRUE(deleteTemporaryFileAtURL(url));
        EXPECT_TRUE(std::filesystem::exists(own + expected)) << "asked, not done";
    }
    ::setenv("TMPDIR", (folder.write("file", "no folder") + "/below").c_str(), 1);
    EXPECT_EQ(temporaryURLForImageNSData(dataOf("bytes")).path(), "");
    ::unsetenv("TMPDIR");
}

TEST(Rewriting, ADestinationTakesOneSourceOfItsOwnType) {
    const auto finalizes = [](std::string_view type, std::initializer_list<ByteString> files) {
        const auto buffer = std::make_shared<std::vector<std::byte>>();
        const auto destination = CGImageDestinationCreateWithData(buffer, type, 2);
        for (const ByteString& file : files)
            CGImageDestinationAddImageFromSource(destination, CGImageSourceCreateWithData(dataOf(file)), 0, {});
        const bool finalized = CGImageDestinationFinalize(destination);
        EXPECT_EQ(finalized, !buffer->empty());
        return finalized;
    };
    EXPECT_TRUE(finalizes("public.jpeg", {photo()}));
    EXPECT_FALSE(finalizes("public.jpeg", {}));
    EXPECT_FALSE(finalizes("public.png", {photo()}));
    EXPECT_FALSE(finalizes("public.jpeg", {photo(), photo()}));
    EXPECT_FALSE(finalizes("com.adobe.raw-image", {photo()}));
}

}  // namespace
}  // namespace tessaly::test
