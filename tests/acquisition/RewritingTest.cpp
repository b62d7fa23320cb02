#include <gtest/gtest.h>

#include <memory>

#include "acquisition/ExifManager.h"
#include "platform/ImageIO/CGImageDestination.h"
#include "support/Containers.h"
#include "support/TiffBuilder.h"

namespace tessaly::test {
namespace {

Data dataOf(const ByteString& file) {
    const auto bytes = file.bytes();
    return std::make_shared<const std::vector<std::byte>>(bytes.begin(), bytes.end());
}

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

TEST(Rewriting, SetsBothOrientations) {
    const Dictionary fixed = ExifManager::fixOrientationInMetadata({{"{Exif}", Dictionary{{"FNumber", 2.8}}}}, 1);
    EXPECT_EQ(fixed["Orientation"].integerValue(), 1);
    EXPECT_EQ(fixed["{TIFF}"].dictionary()["Orientation"].integerValue(), 1);
    EXPECT_EQ(fixed["{Exif}"].dictionary()["FNumber"].doubleValue(), 2.8);
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
