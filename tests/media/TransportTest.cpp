#include <gtest/gtest.h>

#include <map>

#include "acquisition/MediaFile.h"
#include "linux/media/CameraMessages.h"
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
        const MediaFile shown = MediaFile::read(std::string(TESSALY_SEEDS "/transport/") + name);
        EXPECT_EQ(shown.properties["{Exif}"], Value(Dictionary{{"ExposureTime", 0.02}, {"FNumber", 2.8}})) << name;
        ASSERT_TRUE(asset->creationDate && asset->creationDate->startDate) << name;
        EXPECT_EQ(asset->creationDate->startDate->timeIntervalSince1970, 1577934245 - 3600) << "an hour east";
    }
}

/// A message with the bytes that keep start codes away.
ByteString message(std::string_view fields) {
    const ByteString values = ofHex(fields);
    ByteString made =
        ofHex("17ee8c60f84d11d98cd60800200c9a66").add("MDPM").u8(static_cast<unsigned>(values.size() / 5));
    ByteString unit("\0\0\1\6\5"_z);
    unit.u8(static_cast<unsigned>(made.size() + values.size()));
    int zeros = 0;
    for (const char byte : made.add(values).text()) {
        if (zeros == 2 && byte >= 0 && byte <= 3) unit.u8(3);
        zeros = byte != 0 ? 0 : zeros == 2 ? 1 : zeros + 1;
        unit.add(1, byte);
    }
    return unit.u8(0x80);
}

TEST(Transport, TellsHowTheCameraExposed) {
    // What Exif has a field for, and beside it what tapes had; that counts where nothing better is told.
    constexpr std::string_view kTape = "7018ffffff7fffff1981";
    struct Row {
        std::string fields;
        std::map<std::string, double> values;
    };
    for (const Row& row :
         {Row{std::string(kTape) + "a000010032a1001c000aa200000002a3fffe0004a4ffff0003a500030002a600000010",
              {{"ExposureTime", 0.02},
               {"FNumber", 2.8},
               {"ExposureProgram", 2},
               {"BrightnessValue", -0.5},
               {"ExposureBiasValue", -1 / 3.0},
               {"MaxApertureValue", 1.5},
               {"Flash", 16}}},
          Row{std::string(kTape) + "a700000001a800000005a900230001aa00000003",
              {{"ExposureTime", 281 / 28125.0},
               {"FNumber", 8},
               {"CustomRendered", 1},
               {"WhiteBalance", 5},
               {"FocalLenIn35mmFilm", 35},
               {"SceneCaptureType", 3}}},
          Row{"70ffffffff7fffffff7fa000010000", {}}}) {
        AVAsset asset;
        media::readCameraMessages(message(row.fields), asset);
        std::map<std::string, double> found;
        for (const AVMetadataItem& item : asset.metadata) found[item.identifier.substr(5)] = item.value.doubleValue();
        EXPECT_EQ(found.size(), row.values.size()) << row.fields;
        for (const auto& [name, value] : row.values) EXPECT_NEAR(found[name], value, 1e-9) << name;
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
