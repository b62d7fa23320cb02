#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>

#include "linux/imageio/ByteReader.h"
#include "platform/AVFoundation/AVAsset.h"
#include "support/Containers.h"
#include "support/Rewritten.h"
#include "support/TiffBuilder.h"

namespace tessaly::test {
namespace {

using testing::HasSubstr;
using testing::Not;
using Removal = MetadataChange::Removal;

Data dataOf(const ByteString& file) {
    const auto bytes = file.bytes();
    return std::make_shared<const std::vector<std::byte>>(bytes.begin(), bytes.end());
}

struct TrackOptions {
    std::string_view handler;
    std::string_view format;
    std::uint32_t identifier;
    std::vector<std::uint32_t> chunks;  ///< Where each stands; one sample of `sampleSize` in each.
    std::uint32_t sampleSize;
    bool wide = false;
    std::vector<std::uint32_t> sizes = {};  ///< Of the samples, two in each chunk, where they differ.
};

ByteString track(const TrackOptions& options) {
    ByteString sizes, offsets;
    sizes.u32(options.sampleSize);
    sizes.u32(static_cast<std::uint32_t>(options.sizes.empty() ? options.chunks.size() : options.sizes.size()));
    for (const std::uint32_t size : options.sizes) sizes.u32(size);
    const unsigned perChunk = options.sizes.empty() ? 1 : 2;
    offsets.u32(static_cast<std::uint32_t>(options.chunks.size()));
    for (const std::uint32_t chunk : options.chunks) options.wide ? offsets.u64(chunk) : offsets.u32(chunk);
    const ByteString entry = box(options.format, {ByteString().add(64, '\0').add("SECRET encoder")});
    const ByteString table =
        box("stbl", {fullBox("stsd", 0, 0, {ByteString().u32(1), entry}),
                     fullBox("stsc", 0, 0, {ByteString().u32(1).u32(1).u32(perChunk).u32(1)}),
                     fullBox("stsz", 0, 0, {sizes}), fullBox(options.wide ? "co64" : "stco", 0, 0, {offsets})});
    const ByteString times = ByteString().u32(3'800'000'000U).u32(3'800'000'000U).u32(1000).u32(2000).add(4, '\0');
    return box("trak",
               {fullBox("tkhd", 0, 3,
                        {ByteString().u32(3'800'000'000U).u32(3'800'000'000U).u32(options.identifier).add(68, '\0')}),
                box("tref", {box("cdsc", {ByteString().u32(2)})}),
                box("mdia", {fullBox("mdhd", 0, 0, {times}),
                             fullBox("hdlr", 0, 0,
                                     {ByteString().u32(0).add(options.handler).add(12, '\0').add("SECRET handler")}),
                             box("minf", {table})})});
}

/// Two video chunks with a position sample between them, user data, keyed metadata, XMP, and junk behind the end.
ByteString movie(bool wide, bool movieFirst) {
    const ByteString type = box("ftyp", {"qt  \0\0\0\0qt  "_z});
    const ByteString media = box("mdat", {"VIDEO-1|", "PLACEGPS", "VIDEO-2|"});
    const auto build = [&](std::uint32_t start) {
        const ByteString item = ByteString().u32(1).u32(0).add("+12.3456-045.6789/PLACE");
        const ByteString keys = ByteString()
                                    .u32(2)
                                    .u32(44)
                                    .add("mdtacom.apple.quicktime.location.ISO6709")
                                    .u32(32)
                                    .add("mdtacom.apple.quicktime.make");
        const ByteString list =
            box(ByteString().u32(1).text(), {box("data", {item})})
                .add(box(ByteString().u32(2).text(), {box("data", {ByteString().u32(1).u32(0).add("SECRET make")})}));
        return box(
            "moov",
            {fullBox("mvhd", 0, 0,
                     {ByteString().u32(3'800'000'000U).u32(3'800'000'000U).u32(1000).u32(2000).add(80, '\0')}),
             track({"vide", "avc1", 1, {start, start + 16}, 8, wide}), track({"meta", "gpmd", 2, {start + 8}, 8, wide}),
             box("udta", {box("\xA9xyz", {ByteString().u16(23).u16(0).add("+12.3456-045.6789/PLACE")}),
                          box("\xA9mod", {ByteString().u16(12).u16(0).add("SECRET model")}),
                          box("XMP_", {xmp(R"(xmp:CreatorTool="SECRET" exif:GPSLatitude="PLACE")")})}),
             box("meta",
                 {fullBox("hdlr", 0, 0, {"\0\0\0\0mdta"_z}), fullBox("keys", 0, 0, {keys}), box("ilst", {list})})});
    };
    const auto size = static_cast<std::uint32_t>(build(0).size());
    const std::uint32_t start = static_cast<std::uint32_t>(type.size()) + 8 + (movieFirst ? size : 0);
    ByteString file = type;
    movieFirst ? file.add(build(start)).add(media) : file.add(media).add(build(start));
    return file.add(box("free", {"SECRET padding"}));
}

/// The chunks of the only track, as the file's own table tells them.
std::vector<std::string> chunksOf(const std::string& file, bool wide) {
    const auto at = file.find(wide ? "co64" : "stco");
    const auto number = [&](std::size_t position) -> std::uint64_t {
        const auto* bytes = reinterpret_cast<const std::byte*>(file.data() + position);
        return wide ? imageio::loadInteger<std::uint64_t>(bytes, imageio::ByteOrder::big)
                    : imageio::loadInteger<std::uint32_t>(bytes, imageio::ByteOrder::big);
    };
    return {file.substr(number(at + 12), 8), file.substr(number(at + (wide ? 20 : 16)), 8)};
}

TEST(MovieRewrite, TakesPositionTracksOutOfTheMiddleAndMovesTheOffsets) {
    for (const bool wide : {false, true})
        for (const bool movieFirst : {false, true})
            for (const Removal removal : {Removal::everything, Removal::place}) {
                SCOPED_TRACE(testing::Message() << wide << movieFirst << static_cast<int>(removal));
                const std::string made = rewritten(movie(wide, movieFirst), removal);
                EXPECT_THAT(made, Not(HasSubstr("PLACE")));
                EXPECT_EQ(made.find("SECRET") == std::string::npos, removal == Removal::everything);
                EXPECT_EQ(chunksOf(made, wide), (std::vector<std::string>{"VIDEO-1|", "VIDEO-2|"}));
                EXPECT_LT(made.find("moov"), made.find("mdat")) << "a player can start before it has all";
                EXPECT_THAT(made, Not(HasSubstr("tref"))) << "the track it referred to is gone";
            }
}

/// A flight: subtitles that tell positions among pictures and spoken ones, a dash camera's index of positions, items
/// that name themselves, and where the data are said to be.
ByteString flight() {
    const ByteString type = box("ftyp", {"mp42\0\0\0\0mp42"_z});
    const ByteString media =
        box("mdat", {"VIDEO-1|", "GPS(1)PLACE", "VIDEO-2|", "GPS(2)PLACE*", "SPOKEN", "INDEXPLACE", "GPS(3)PLACE"});
    const auto start = static_cast<std::uint32_t>(type.size()) + 8;
    const auto named = [](std::string_view name, std::string_view text) {
        return box("----", {fullBox("mean", 0, 0, {"example"}), fullBox("name", 0, 0, {name}),
                            box("data", {ByteString().u32(1).u32(0).add(text)})});
    };
    const ByteString list =
        box("ilst", {named("Location", "PLACE 1"), named("Label", "SECRET 1"), named("", "SECRET 2")});
    return ByteString(type).add(media).add(box(
        "moov",
        {fullBox("mvhd", 0, 0, {ByteString().u32(1).u32(2).u32(1000).u32(2000).add(80, '\0')}),
         track({"vide", "avc1", 1, {start, start + 19}, 8}),
         track({"text", "tx3g", 2, {start + 8, start + 27}, 0, false, {5, 6, 7, 5}}),
         track({"text", "tx3g", 3, {start + 39}, 0, true, {2, 4}}), track({"text", "tx3g", 4, {start + 55}, 11, true}),
         fullBox("gps ", 0, 0, {ByteString().u32(1).u32(start + 45).u32(10)}),
         box("udta", {fullBox("meta", 0, 0, {fullBox("hdlr", 0, 0, {"\0\0\0\0mdir"_z}), list})}),
         box("dinf", {fullBox("dref", 0, 0, {ByteString().u32(1), fullBox("url ", 0, 1, {"SECRET"})})})}));
}

TEST(MovieRewrite, LeavesTheRestToTheByte) {
    const std::string made = rewritten(flight(), Removal::place);
    EXPECT_THAT(made, Not(HasSubstr("PLACE")));
    EXPECT_THAT(made, HasSubstr("VIDEO-1|VIDEO-2|SPOKEN"));
    for (const char* label : {"SECRET 1", "SECRET 2"}) EXPECT_THAT(made, HasSubstr(label));
    EXPECT_EQ(checksumsOf(flight()), "5c59518d f1422eeb f1422eeb 00000000 00000000 5458c457");
    EXPECT_EQ(checksumsOf(movie(false, false)), "1ff00a1f 5c286890 43f4d1f6 00000000 00000000 675d1529");
    EXPECT_EQ(checksumsOf(movie(true, true)), "81654196 9ae7d341 57eb6401 00000000 00000000 97e07b80");
}

TEST(MovieRewrite, ForgetsWhenItWasMade) {
    const auto dateOf = [](const std::string& file) { return AVAsset::assetWithData(dataOf(file))->creationDate; };
    EXPECT_TRUE(dateOf(std::string(movie(false, true).text())));
    EXPECT_FALSE(dateOf(rewritten(movie(false, true), Removal::everything)));
}

TEST(MovieRewrite, KeepsFragmentsWhereTheyAreOrRefuses) {
    const ByteString type = box("ftyp", {"mp42\0\0\0\0mp42"_z});
    const auto fragmented = [&](bool hasPositions) {
        ByteString tracks = track({"vide", "avc1", 1, {}, 0});
        if (hasPositions) tracks.add(track({"meta", "camm", 2, {}, 0}));
        return ByteString(type)
            .add(box("moov", {tracks, box("udta", {"SECRET"}), box("mvex", {})}))
            .add(box("moof", {"FRAGMENT"}))
            .add(box("mdat", {"VIDEO"}));
    };
    const std::string before(fragmented(false).text());
    const std::string after = rewritten(before, Removal::everything);
    EXPECT_THAT(after, Not(HasSubstr("SECRET")));
    EXPECT_EQ(after.find("FRAGMENT"), before.find("FRAGMENT")) << "fragments may count from the start of the file";
    RewriteFailure failure;
    EXPECT_EQ(rewritten(fragmented(true), Removal::everything, &failure), "");
    EXPECT_EQ(failure.kind, RewriteFailure::Kind::unsupported);
}

ByteString element(std::string_view id, const ByteString& content) {
    return ByteString(id)
        .u8(0x10)
        .u8(0)
        .u8(static_cast<unsigned>(content.size() >> 8))
        .u8(static_cast<unsigned>(content.size() & 0xFF))
        .add(content);
}

TEST(MovieRewrite, EmptiesMatroskaElementsWithoutMovingAnything) {
    const auto tag = [](std::string_view name, std::string_view value) {
        return element("\x67\xC8", element("\x45\xA3", name).add(element("\x44\x87", value)));
    };
    const ByteString information = element("\x15\x49\xA9\x66", element("\x2A\xD7\xB1", "\x0F\x42\x40")
                                                                   .add(element("\x7B\xA9", "SECRET title"))
                                                                   .add(element("\x4D\x80", "SECRET")));
    const ByteString tags =
        element("\x12\x54\xC3\x67", element("\x73\x73", tag("LOCATION", "PLACE").add(tag("ARTIST", "SECRET"))));
    const ByteString file =
        element("\x1A\x45\xDF\xA3", element("\x42\x82", "matroska"))
            .add(element("\x18\x53\x80\x67",
                         ByteString(information).add(tags).add(element("\x1F\x43\xB6\x75", "CLUSTER"))));
    const std::string before(file.text());
    const std::string clean = rewritten(file, Removal::everything);
    EXPECT_THAT(clean, Not(HasSubstr("SECRET")));
    EXPECT_THAT(clean, Not(HasSubstr("PLACE")));
    EXPECT_EQ(clean.find("CLUSTER"), before.find("CLUSTER"));
    const std::string placeless = rewritten(file, Removal::place);
    EXPECT_THAT(placeless, Not(HasSubstr("PLACE")));
    EXPECT_THAT(placeless, HasSubstr("SECRET title"));
    EXPECT_EQ(placeless.size(), before.size());
}

}  // namespace
}  // namespace tessaly::test
