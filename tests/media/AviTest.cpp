#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "acquisition/ExifManager.h"
#include "platform/AVFoundation/AVAsset.h"
#include "platform/Foundation/NSTimeZone.h"
#include "platform/ImageIO/MetadataRewrite.h"
#include "support/Containers.h"
#include "support/TiffBuilder.h"

namespace tessaly::test {
namespace {

using testing::HasSubstr;
using testing::Not;
using enum TiffBuilder::Directory;

ByteString numbers(std::initializer_list<std::uint32_t> values) {
    ByteString made;
    for (const std::uint32_t value : values) made.number(value, true);
    return made;
}

/// The private data of a camera: directories without a header, whose offsets count from the first of them.
ByteString cameraData() {
    const auto build = [](std::uint32_t exifAt, std::uint32_t gpsAt) {
        TiffBuilder tiff;
        tiff.text(first, 0x010F, "SECRET maker").text(first, 0x0110, "SECRET model");
        tiff.longs(first, 0x8769, {exifAt}).longs(first, 0x8825, {gpsAt});
        tiff.text(exif, 0x9003, "2020:01:02 03:04:05").rationals(exif, 0x829D, {{28, 10}});
        tiff.text(gps, 1, "N").rationals(gps, 2, {{51, 1}, {30, 1}, {0, 1}});
        tiff.text(gps, 3, "W").rationals(gps, 4, {{0, 1}, {6, 1}, {0, 1}});
        return tiff;
    };
    const auto exifAt = static_cast<std::uint32_t>(build(0, 0).directory(first, 0).size());
    const auto gpsAt = exifAt + static_cast<std::uint32_t>(build(0, 0).directory(exif, exifAt).size());
    const TiffBuilder tiff = build(exifAt, gpsAt);
    return ByteString("AVIF\0\0\0\0"_z)
        .add(tiff.directory(first, 0))
        .add(tiff.directory(exif, exifAt))
        .add(tiff.directory(gps, gpsAt));
}

struct Avi {
    ByteString camera = {};
    ByteString header = {};
    ByteString texts = {};
    std::uint32_t allFrames = 0;
    [[nodiscard]] ByteString build() const {
        const ByteString head = numbers({40000, 0, 0, 0, 50, 0, 1, 0, 320, 240, 0, 0, 0, 0});
        ByteString stream =
            riffChunk("strh", {"vidsMJPG", numbers({0, 0, 0, 1001, 30000, 0, 60, 0, 0, 0}), ByteString().add(8, '\0')});
        stream.add(
            riffChunk("strf", {numbers({40, 640, static_cast<std::uint32_t>(-480)}), ByteString().add(28, '\0')}));
        if (camera.size() > 0) stream.add(riffChunk("strd", {camera}));
        ByteString all = riffChunk("avih", {head}).add(riffChunk("LIST", {"strl", stream})).add(header);
        if (allFrames > 0) all.add(riffChunk("LIST", {"odml", riffChunk("dmlh", {numbers({allFrames})})}));
        return riffChunk("RIFF",
                         {"AVI ", riffChunk("LIST", {"hdrl", all}), texts,
                          riffChunk("LIST", {"movi", riffChunk("00dc", {"FRAMES"})}), riffChunk("idx1", {"INDEX"})});
    }
};

std::shared_ptr<AVAsset> assetOf(const ByteString& file) {
    const auto bytes = file.bytes();
    return AVAsset::assetWithData(std::make_shared<const std::vector<std::byte>>(bytes.begin(), bytes.end()));
}

std::string textOf(const AVAsset& asset, std::string_view commonKey) {
    for (const AVMetadataItem& item : asset.metadata)
        if (item.commonKey == commonKey) return std::string(item.stringValue());
    return {};
}

std::string rewritten(const ByteString& file, MetadataChange::Removal removal) {
    const auto bytes = file.bytes();
    const Data made = rewriteMetadata(std::make_shared<const std::vector<std::byte>>(bytes.begin(), bytes.end()),
                                      {.removal = removal, .removes = {}, .values = {}});
    return made ? std::string(reinterpret_cast<const char*>(made->data()), made->size()) : std::string();
}

TEST(Avi, TellsSizeRateAndDuration) {
    const auto asset = assetOf(Avi().build());
    EXPECT_EQ(asset->typeIdentifier, "public.avi");
    const AVAssetTrack* video = asset->firstVideoTrack();
    ASSERT_TRUE(video);
    EXPECT_EQ(video->naturalSize, (CGSize{640, 480})) << "the picture's own size, rows from the top";
    EXPECT_NEAR(video->nominalFrameRate, 29.97, 0.001);
    EXPECT_NEAR(asset->durationInSeconds, 60 * 1001 / 30000.0, 1e-6);
    EXPECT_NEAR(assetOf(Avi{.allFrames = 600}.build())->durationInSeconds, 600 * 1001 / 30000.0, 1e-4)
        << "of all parts of a large file";
}

TEST(Avi, TellsWhoMadeItWhenAndWhere) {
    const auto camera = assetOf(Avi{.camera = cameraData()}.build());
    EXPECT_EQ(textOf(*camera, AVMetadataCommonKeyMake), "SECRET maker");
    EXPECT_EQ(textOf(*camera, AVMetadataCommonKeyModel), "SECRET model");
    EXPECT_EQ(textOf(*camera, AVMetadataCommonKeyLocation), "+51.5000-000.1000/");
    EXPECT_TRUE(camera->creationDate);
    const auto record = ExifManager::exifInformationFromAsset(*camera, NSURL());
    EXPECT_EQ(record->ApertureValue().exifValueReadableFormat, "f/2.8");
    EXPECT_TRUE(record->exifInfoAvailable);

    const ByteString info =
        riffChunk("LIST", {"INFO", riffChunk("ISFT", {"program\0"_z}), riffChunk("INAM", {"T\xEFtle\0"_z})});
    for (const auto& [header, texts] :
         {std::pair(riffChunk("IDIT", {"Thu Jan  2 03:04:05 2020\n\0"_z}), info),
          std::pair(riffChunk("IDIT", {"2020-01-02 03:04:05"}), info),
          std::pair(ByteString(),
                    ByteString(info).add(riffChunk("LIST", {"INFO", riffChunk("ICRD", {"2020-01-02 03:04:05"})})))}) {
        const auto asset = assetOf(Avi{.header = header, .texts = texts}.build());
        EXPECT_EQ(textOf(*asset, AVMetadataCommonKeySoftware), "program");
        EXPECT_EQ(textOf(*asset, AVMetadataCommonKeyTitle), "T\u00EFtle");
        ASSERT_TRUE(asset->creationDate);
        ASSERT_TRUE(asset->creationDate->startDate);
        EXPECT_EQ(asset->creationDate->startDate->timeIntervalSince1970,
                  NSTimeZone::dateFromLocalTime(1577934245).timeIntervalSince1970);
    }
}

TEST(Avi, LosesWhatTellsWithoutMovingAFrame) {
    Avi avi{.camera = cameraData()};
    avi.header = riffChunk("IDIT", {"SECRET date"}).add(riffChunk("JUNK", {"SECRET leftovers"}));
    avi.texts = riffChunk("LIST", {"INFO", riffChunk("IART", {"SECRET name"})})
                    .add(riffChunk("_PMX", {xmp("photoshop:City=\"PLACE\"")}));
    avi.texts.add(riffChunk("what", {"SECRET unknown"}));
    const ByteString file = avi.build();
    const std::string clean = rewritten(ByteString(file).add("SECRET behind"), MetadataChange::Removal::everything);
    EXPECT_THAT(clean, Not(HasSubstr("SECRET")));
    EXPECT_THAT(clean, Not(HasSubstr("PLACE")));
    ASSERT_EQ(clean.size(), file.size());
    for (const std::string_view kept : {"FRAMES", "INDEX", "vidsMJPG"})
        EXPECT_EQ(clean.find(kept), file.text().find(kept)) << kept;
    EXPECT_EQ(assetOf(clean)->durationInSeconds, assetOf(file)->durationInSeconds);
    EXPECT_EQ(rewritten(clean, MetadataChange::Removal::everything), clean) << "is clean";

    const std::string placeless = rewritten(file, MetadataChange::Removal::place);
    EXPECT_THAT(placeless, Not(HasSubstr("PLACE")));
    EXPECT_EQ(textOf(*assetOf(placeless), AVMetadataCommonKeyLocation), "");
    EXPECT_THAT(placeless, HasSubstr("SECRET name"));
    // What a stream's codec needs is no camera's.
    const Avi codec{.camera = "CODEC data"};
    EXPECT_THAT(rewritten(codec.build(), MetadataChange::Removal::everything), HasSubstr("CODEC data"));
}

}  // namespace
}  // namespace tessaly::test
