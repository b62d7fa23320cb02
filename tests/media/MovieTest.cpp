#include <gtest/gtest.h>

#include <memory>

#include "linux/media/MovieItems.h"
#include "platform/AVFoundation/AVAsset.h"
#include "platform/Foundation/NSTimeZone.h"
#include "support/Containers.h"

namespace tessaly::test {
namespace {

std::shared_ptr<AVAsset> assetOf(const ByteString& file) {
    const auto bytes = file.bytes();
    return AVAsset::assetWithData(std::make_shared<const std::vector<std::byte>>(bytes.begin(), bytes.end()));
}

std::string textOf(const AVAsset& asset, std::string_view commonKey) {
    for (const AVMetadataItem& item : asset.metadata)
        if (item.commonKey == commonKey) return std::string(item.stringValue());
    return {};
}

ByteString times(std::string_view type, bool wide, std::uint32_t scale, std::uint64_t duration,
                 std::uint64_t created = 0) {
    ByteString fields;
    if (wide)
        fields.u64(created).u64(0).u32(scale).u64(duration);
    else
        fields.u32(static_cast<std::uint32_t>(created)).u32(0).u32(scale).u32(static_cast<std::uint32_t>(duration));
    return fullBox(type, wide ? 1 : 0, 0, {fields.add(80, '\0')});
}

ByteString videoTrack(bool wide) {
    ByteString header;
    header.add(wide ? 16 : 8, '\0').u32(1).u32(0).add(wide ? 8 : 4, '\0').add(16, '\0');
    header.u32(0).u32(0x10000).u32(0).u32(static_cast<std::uint32_t>(-0x10000)).add(20, '\0');
    header.u32(1920U << 16U).u32(1080U << 16U);
    const ByteString table = fullBox("stts", 0, 0, {ByteString().u32(2).u32(30).u32(1000).u32(30).u32(1002)});
    return box("trak", {fullBox("tkhd", wide ? 1 : 0, 3, {header}),
                        box("mdia", {times("mdhd", wide, 30000, 60060), fullBox("hdlr", 0, 0, {"\0\0\0\0vide"_z}),
                                     box("minf", {box("stbl", {table})})})});
}

ByteString dataBox(std::string_view text) { return box("data", {ByteString().u32(1).u32(0).add(text)}); }

ByteString keyedMetadata(std::initializer_list<std::pair<std::string_view, std::string_view>> pairs) {
    ByteString keys, list;
    std::uint32_t index = 0;
    for (const auto& [name, text] : pairs) {
        keys.u32(static_cast<std::uint32_t>(name.size() + 8)).add("mdta").add(name);
        list.add(box(ByteString().u32(++index).text(), {dataBox(text)}));
    }
    return box("meta", {fullBox("hdlr", 0, 0, {"\0\0\0\0mdta"_z}),
                        fullBox("keys", 0, 0, {ByteString().u32(index), keys}), box("ilst", {list})});
}

TEST(Movie, ReadsTracksAndTimesOfBothVersions) {
    for (const bool wide : {false, true}) {
        ByteString file = box("ftyp", {"qt  \0\0\0\0qt  "_z});
        file.add(box("mdat", {ByteString(std::string(100'000, 'x'))}));
        file.add(box("moov", {times("mvhd", wide, 1000, 2002, 2'082'844'800ULL + 86'400), videoTrack(wide)}));
        const auto asset = assetOf(file);
        EXPECT_EQ(asset->typeIdentifier, "com.apple.quicktime-movie");
        EXPECT_DOUBLE_EQ(asset->durationInSeconds, 2.002);
        ASSERT_NE(asset->firstVideoTrack(), nullptr);
        EXPECT_EQ(asset->firstVideoTrack()->naturalSize, (CGSize{1920, 1080})) << "before it is turned";
        EXPECT_EQ(asset->firstVideoTrack()->rotationDegrees, 90);
        EXPECT_NEAR(asset->firstVideoTrack()->nominalFrameRate, 29.97, 0.001);
        ASSERT_TRUE(asset->creationDate);
        EXPECT_EQ(asset->creationDate->startDate->timeIntervalSince1970, 86'400);
    }
}

TEST(Movie, PrefersQuickTimeKeysToUserDataToTheHeader) {
    const ByteString userData = box("udta", {box("\xA9mak", {ByteString().u16(5).u16(0).add("Other")}),
                                             box("\xA9xyz", {ByteString().u16(18).u16(0).add("+51.4169-000.0806/")}),
                                             box("\xA9"
                                                 "day",
                                                 {ByteString().u16(4).u16(0).add("2010")})});
    ByteString file = box("ftyp", {"qt  \0\0\0\0qt  "_z});
    file.add(box("moov", {times("mvhd", false, 1000, 1000, 2'082'844'800ULL), userData,
                          keyedMetadata({{"com.apple.quicktime.make", "Maker"},
                                         {"com.apple.quicktime.model", "Model"},
                                         {"com.apple.quicktime.software", "12.3"},
                                         {"com.apple.quicktime.creationdate", "2014-09-18T11:06:47-0700"}})}));
    const auto asset = assetOf(file);
    EXPECT_EQ(textOf(*asset, AVMetadataCommonKeyMake), "Maker");
    EXPECT_EQ(textOf(*asset, AVMetadataCommonKeyModel), "Model");
    EXPECT_EQ(textOf(*asset, AVMetadataCommonKeySoftware), "12.3");
    EXPECT_EQ(textOf(*asset, AVMetadataCommonKeyLocation), "+51.4169-000.0806/");
    ASSERT_TRUE(asset->creationDate);
    EXPECT_EQ(asset->creationDate->startDate->timeIntervalSince1970, 1'411'063'607) << "18:06:47 in Greenwich";
}

TEST(Movie, ReadsUserDataInEveryFormThatCamerasWrite) {
    struct Case {
        const char* why;
        ByteString item;
        std::string_view commonKey;
        std::string_view text;
    };
    ByteString place;
    place.u16(0x15C7).add("Place\0\0"_z).u32(static_cast<std::uint32_t>(-5'285)).u32(3'369'658).u32(0).add("earth\0"_z);
    const Case cases[] = {
        {"international text", box("\xA9mod", {ByteString().u16(5).u16(0x15C7).add("Model")}), "model", "Model"},
        {"an at sign for the mark", box("@mod", {ByteString().u16(5).u16(0).add("Model")}), "model", "Model"},
        {"text alone", box("\xA9mod", {"Model"}), "model", "Model"},
        {"six bytes, then text", box("modl", {ByteString(std::string(6, '\0')).add("Model")}), "model", "Model"},
        {"3GPP text", fullBox("titl", 0, 0, {"\x15\xC7Title\0"_z}), "title", "Title"},
        {"3GPP text in UTF-16", fullBox("auth", 0, 0, {"\x15\xC7\xFE\xFF\0M\0e"_z}), "artist", "Me"},
        {"3GPP place", fullBox("loci", 0, 0, {place}), "location", "+51.4169-000.0806/"},
        {"a player's list",
         fullBox("meta", 0, 0,
                 {fullBox("hdlr", 0, 0, {"\0\0\0\0mdir"_z}), box("ilst", {box("\xA9too", {dataBox("Lavf58")})})}),
         "software", "Lavf58"},
        {"XMP", box("XMP_", {xmp("tiff:Make=\"Maker\"")}), "make", "Maker"},
    };
    for (const auto& [why, item, commonKey, text] : cases) {
        ByteString file = box("ftyp", {"3gp4\0\0\0\0"_z});
        file.add(box("moov", {times("mvhd", false, 1000, 1000), box("udta", {item})}));
        EXPECT_EQ(textOf(*assetOf(file), commonKey), text) << why;
    }
}

TEST(Movie, ReadsFragmentsAndDamagedMovies) {
    const ByteString extends =
        box("mvex", {fullBox("mehd", 0, 0, {ByteString().u32(5000)}),
                     fullBox("trex", 0, 0, {ByteString().u32(1).u32(1).u32(1200).u32(0).u32(0)})});
    ByteString track = videoTrack(false);
    ByteString file = box("ftyp", {"iso5\0\0\0\0"_z});
    file.add(box("moov", {times("mvhd", false, 1000, 0), track, extends}));
    EXPECT_DOUBLE_EQ(assetOf(file)->durationInSeconds, 5);
    for (std::size_t length = 12; length < file.size(); ++length) {
        const auto asset = assetOf(ByteString(file.text().substr(0, length)));
        EXPECT_EQ(asset->fault, AVAssetFault::none) << length;
    }
    EXPECT_EQ(assetOf("hello, world, hello")->fault, AVAssetFault::unknownFormat);
    EXPECT_EQ(assetOf(box("ftyp", {"M4A \0\0\0\0"_z}))->fault, AVAssetFault::unknownFormat) << "sound only";
}

ByteString element(std::string_view id, const ByteString& content) {
    return ByteString(id).u32(0x10000000U | static_cast<std::uint32_t>(content.size())).add(content);
}

TEST(Matroska, ReadsInformationTracksAndTagsBehindTheClusters) {
    const ByteString information =
        element("\x15\x49\xA9\x66",
                element("\x2A\xD7\xB1", ByteString().u32(1'000'000)).add(element("\x44\x89", "\x45\x1C\x40\0"_z)));
    const ByteString video =
        element("\xE0", element("\xB0", ByteString().u16(1280)).add(element("\xBA", ByteString().u16(720))));
    const ByteString tracks = element(
        "\x16\x54\xAE\x6B",
        element("\xAE", element("\x83", "\1").add(element("\x23\xE3\x83", ByteString().u32(40'000'000))).add(video)));
    const ByteString simple =
        element("\x67\xC8", element("\x45\xA3", "DATE_RECORDED").add(element("\x44\x87", "2020-01-02 03:04:05")));
    const ByteString tags = element("\x12\x54\xC3\x67", element("\x73\x73", simple));
    const ByteString cluster = element("\x1F\x43\xB6\x75", ByteString(std::string(64, 'x')));
    const auto index = [](std::uint32_t position) {
        return element(
            "\x11\x4D\x9B\x74",
            element("\x4D\xBB",
                    element("\x53\xAB", "\x12\x54\xC3\x67").add(element("\x53\xAC", ByteString().u32(position)))));
    };
    const std::size_t tagsAt = index(0).size() + information.size() + tracks.size() + cluster.size();
    ByteString file = element("\x1A\x45\xDF\xA3", element("\x42\x82", "webm"));
    file.add(element("\x18\x53\x80\x67",
                     index(static_cast<std::uint32_t>(tagsAt)).add(information).add(tracks).add(cluster).add(tags)));
    const auto asset = assetOf(file);
    EXPECT_EQ(asset->typeIdentifier, "org.webmproject.webm");
    EXPECT_DOUBLE_EQ(asset->durationInSeconds, 2.5);
    ASSERT_NE(asset->firstVideoTrack(), nullptr);
    EXPECT_EQ(asset->firstVideoTrack()->naturalSize, (CGSize{1280, 720}));
    EXPECT_EQ(asset->firstVideoTrack()->nominalFrameRate, 25);
    ASSERT_TRUE(asset->creationDate);
    EXPECT_EQ(asset->creationDate->startDate->timeIntervalSince1970, 1'577'934'245);
}

TEST(MovieDate, UnderstandsWhatMoviesWrite) {
    struct Case {
        const char* text;
        std::optional<double> seconds;
    };
    const Case cases[] = {
        {"2020-01-02T03:04:05Z", 1'577'934'245},
        {"2020-01-02T03:04:05+0200", 1'577'927'045},
        {"2020-01-02T03:04:05-02:30", 1'577'943'245},
        {"2020:01:02 03:04:05", 1'577'934'245},
        {"2020-01-02T03:04:05.500Z", 1'577'934'245.5},
        {"2020-01-02", 1'577'923'200},
        {"2020", 1'577'836'800},
        {"2020-02-30T00:00:00Z", std::nullopt},
        {"0000-00-00T00:00:00Z", std::nullopt},
        {"yesterday", std::nullopt},
        {"", std::nullopt},
    };
    for (const auto& [text, seconds] : cases) {
        const auto date = media::parseMovieDate(text);
        EXPECT_EQ(date.has_value(), seconds.has_value()) << text;
        if (date && seconds) {
            EXPECT_DOUBLE_EQ(date->timeIntervalSince1970, *seconds) << text;
        }
    }
    NSTimeZone::setDefaultTimeZone("Asia/Tokyo");
    EXPECT_EQ(media::parseMovieDate("2020-01-02 03:04:05")->timeIntervalSince1970, 1'577'901'845)
        << "without a zone: here";
    NSTimeZone::setDefaultTimeZone("UTC");
}

}  // namespace
}  // namespace tessaly::test
