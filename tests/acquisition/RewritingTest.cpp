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

ByteString animation() {
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
    ASSERT_EQ(count(dataOf(animation())), 3U);
    EXPECT_EQ(count(ExifManager::imageDataByRemovingExifAndGeoTagging(dataOf(animation()))), 3U);
    EXPECT_EQ(count(ExifManager::imageDataWithEXIFEdited(dataOf(animation()))), 1U);
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
