#include <gtest/gtest.h>

#include "linux/media/SequenceHeader.h"
#include "platform/AVFoundation/AVAsset.h"
#include "platform/ImageIO/MetadataRewrite.h"
#include "support/Bytes.h"

namespace tessaly::test {
namespace {

ByteString ofHex(std::string_view digits) {
    ByteString made;
    for (std::size_t i = 0; i + 2 <= digits.size(); i += 2)
        made.u8(static_cast<unsigned>(std::stoul(std::string(digits.substr(i, 2)), nullptr, 16)));
    return made;
}

Value valueOf(const AVAsset& asset, std::string_view identifier) {
    for (const AVMetadataItem& item : asset.metadata)
        if (item.identifier == identifier) return item.value;
    return {};
}

TEST(Transport, TellsWhatTheCameraWroteBetweenThePictures) {
    for (const char* name : {"camera.m2ts", "camera.ts"}) {
        const auto asset = AVAsset::assetWithURL(std::string(TESSALY_SEEDS "/transport/") + name);
        EXPECT_EQ(asset->typeIdentifier, "public.mpeg-2-transport-stream") << name;
        const AVAssetTrack* video = asset->firstVideoTrack();
        ASSERT_TRUE(video) << name;
        EXPECT_EQ(video->naturalSize, (CGSize{1920, 1080})) << name;
        EXPECT_NEAR(video->nominalFrameRate, 29.97, 0.001) << name;
        EXPECT_NEAR(asset->durationInSeconds, 2 + 1001 / 30000.0, 1e-4) << "from the first picture to the last's end";
        EXPECT_EQ(valueOf(*asset, "mdpm/Make"), Value("Sony")) << name;
        EXPECT_EQ(valueOf(*asset, "mdpm/Model"), Value("HDR-CX7")) << name;
        EXPECT_EQ(valueOf(*asset, "mdpm/GPS"), Value("+51.5000-000.1000/")) << name;
        EXPECT_NEAR(valueOf(*asset, "mdpm/ExposureTime").doubleValue(), 0.02, 1e-9) << name;
        EXPECT_NEAR(valueOf(*asset, "mdpm/FNumber").doubleValue(), 2.8, 1e-9) << name;
        ASSERT_TRUE(asset->creationDate && asset->creationDate->startDate) << name;
        EXPECT_EQ(asset->creationDate->startDate->timeIntervalSince1970, 1577934245 - 3600) << "an hour east";
    }
}

TEST(Transport, IsRefusedForCleaning) {
    const auto failure =
        rewriteMetadata(TESSALY_SEEDS "/transport/camera.m2ts", "/dev/null/none",
                        {.removal = MetadataChange::Removal::everything, .removes = {}, .values = {}}, {});
    EXPECT_EQ(failure.kind, RewriteFailure::Kind::unsupported);
}

TEST(Transport, ReadsHeadsOfCodedVideo) {
    struct Row {
        const char* unit;
        std::uint32_t width, height;
        double rate;
    };
    for (const auto& [unit, width, height, rate] :
         {Row{"67640028acb403c0113f2e022000007d20001d4c01e30654", 1920, 1080, 30000 / 1001.0},
          // Two fields a frame, whose lines are cropped in pairs; with bytes that keep start codes away.
          Row{"67640028acd9405a044fde0220000003002000000643e2c5b2c0", 1440, 1080, 25},
          // Colours as fine as brightness: nothing is cropped in pairs.
          Row{"67f40028919680780227e2701100000303e90000ea600f1832a000", 1920, 1080, 30000 / 1001.0}}) {
        const auto found = media::readH264Sequence(ByteString("\0\0\1"_z).add(ofHex(unit)));
        ASSERT_TRUE(found) << unit;
        EXPECT_EQ(found->width, width);
        EXPECT_EQ(found->height, height);
        EXPECT_NEAR(found->framesPerSecond, rate, 1e-6) << unit;
    }
    EXPECT_FALSE(media::readH264Sequence(ByteString("\0\0\1\x67\x64"_z))) << "cut";
    const auto mpeg = media::readMpegSequence(ByteString("\0\0\1"_z).add(ofHex("b35a04382312")));
    ASSERT_TRUE(mpeg);
    EXPECT_EQ(mpeg->width, 1440U);
    EXPECT_EQ(mpeg->height, 1080U);
    EXPECT_EQ(mpeg->framesPerSecond, 25);
}

}  // namespace
}  // namespace tessaly::test
