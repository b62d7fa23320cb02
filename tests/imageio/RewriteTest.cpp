#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <map>

#include "linux/imageio/TiffDirectory.h"
#include "platform/ImageIO/CGImageProperties.h"
#include "platform/ImageIO/CGImageSource.h"
#include "platform/ImageIO/MetadataRewrite.h"
#include "platform/ImageIO/WritableProperties.h"
#include "support/Containers.h"
#include "support/TemporaryFolder.h"
#include "support/TiffBuilder.h"

// Files with a word in every place that can tell something, rewritten: words that are to go must be nowhere in the
// bytes, words that are to stay must be where they were.
namespace tessaly::test {
namespace {

using testing::HasSubstr;
using testing::Not;
using Removal = MetadataChange::Removal;

/// Occurs in everything that tells who, when, with what; PLACE in everything that tells where.
constexpr std::string_view kWho = "SECRET";
constexpr std::string_view kPlace = "PLACE";
constexpr std::string_view kPixels = "PIXELDATA";

std::string rewritten(const ByteString& file, const MetadataChange& change) {
    const auto bytes = file.bytes();
    RewriteFailure failure;
    const Data made =
        rewriteMetadata(std::make_shared<const std::vector<std::byte>>(bytes.begin(), bytes.end()), change, &failure);
    EXPECT_TRUE(made) << static_cast<int>(failure.kind);
    return made ? std::string(reinterpret_cast<const char*>(made->data()), made->size()) : std::string();
}

MetadataChange removing(Removal removal) { return {.removal = removal, .removes = {}, .values = {}}; }

ByteString exifBlock() {
    TiffBuilder tiff;
    tiff.text(TiffBuilder::first, 0x010E, "SECRET description").text(TiffBuilder::first, 0x010F, "SECRET make");
    tiff.shorts(TiffBuilder::first, 0x0112, {6}).text(TiffBuilder::first, 0x013B, "SECRET artist");
    tiff.rationals(TiffBuilder::first, 0x011A, {{300, 1}}).rationals(TiffBuilder::first, 0x011B, {{300, 1}});
    tiff.shorts(TiffBuilder::first, 0x0128, {2});
    tiff.text(TiffBuilder::exif, 0x9003, "2024:05:01 SECRET").text(TiffBuilder::exif, 0xA431, "SECRET serial");
    tiff.raw(TiffBuilder::exif, 0x927C, 7, 19, "MKNOTESECRETMKNOTE\0"_z);
    tiff.text(TiffBuilder::gps, 1, "N").rationals(TiffBuilder::gps, 2, {{53, 1}, {8, 1}, {1, 1}});
    tiff.text(TiffBuilder::gps, 3, "W").rationals(TiffBuilder::gps, 4, {{8, 1}, {14, 1}, {1, 1}});
    tiff.text(TiffBuilder::gps, 0x12, "PLACE datum");
    return tiff.build();
}

ByteString packet() {
    return xmp(R"(xmp:CreatorTool="SECRET tool" exif:GPSLatitude="53,8.0PLACEN" photoshop:City="PLACE city")",
               "<dc:subject><rdf:Bag><rdf:li>SECRET word</rdf:li></rdf:Bag></dc:subject>"
               "<photoshop:Country>PLACE country</photoshop:Country>");
}

ByteString dataSet(unsigned record, unsigned number, std::string_view text) {
    return ByteString().u8(0x1C).u8(record).u8(number).u16(static_cast<unsigned>(text.size())).add(text);
}

ByteString iptc() {
    return dataSet(2, 0, "\0\2"_z.text()).add(dataSet(2, 80, "SECRET byline")).add(dataSet(2, 90, "PLACE city"));
}

ByteString photoshop() {
    const ByteString data = iptc();
    ByteString resource("8BIM");
    resource.u16(0x0404).u16(0).u32(static_cast<std::uint32_t>(data.size())).add(data);
    return data.size() % 2 == 0 ? resource : resource.u8(0);
}

ByteString profileSegment() { return ByteString("ICC_PROFILE\0\1\1"_z).add(iccProfile("KEPT profile")); }

ByteString fullJpeg() {
    ByteString file = jpeg({jpegSegment(0xE0, "JFIF\0\1\2\0\0\1\0\1\0\0"_z),
                            jpegSegment(0xE1, ByteString("Exif\0\0"_z).add(exifBlock())),
                            jpegSegment(0xE1, ByteString("http://ns.adobe.com/xap/1.0/\0"_z).add(packet())),
                            jpegSegment(0xED, ByteString("Photoshop 3.0\0"_z).add(photoshop())),
                            jpegSegment(0xE2, profileSegment()), jpegSegment(0xE4, "SECRET maker segment"),
                            jpegSegment(0xEE, "Adobe\0\x64\0\0\0\0\1"_z), jpegSegment(0xFE, "SECRET comment")});
    std::string scans(file.text());
    scans.insert(scans.size() - 2, kPixels);
    return ByteString(scans);
}

ByteString fullPng() {
    return png({pngChunk("iCCP", ByteString("KEPT\0\0"_z).add("x\x9c\3\0\0\0\0\1")),
                pngChunk("pHYs", ByteString().u32(2835).u32(2835).u8(1)), pngChunk("tEXt", "Author\0SECRET author"_z),
                pngChunk("tEXt", "exif:GPSLatitude\0PLACE"_z),
                pngChunk("iTXt", ByteString("XML:com.adobe.xmp\0\0\0\0\0"_z).add(packet())),
                pngChunk("eXIf", exifBlock()), pngChunk("tIME", "SECRET1"), pngChunk("IDAT", kPixels)});
}

ByteString webpChunk(std::string_view type, const ByteString& data) {
    ByteString chunk(type);
    chunk.number(static_cast<std::uint32_t>(data.size()), true).add(data);
    return data.size() % 2 == 0 ? chunk : chunk.u8(0);
}

ByteString fullWebp() {
    ByteString body("WEBP");
    body.add(webpChunk("VP8X", "\x2C\0\0\0\x3F\0\0\x2F\0\0"_z)).add(webpChunk("ICCP", iccProfile("KEPT profile")));
    body.add(webpChunk("VP8L", ByteString("\x2F\x3F\xC0\x0B\0"_z).add(kPixels)));
    body.add(webpChunk("EXIF", exifBlock())).add(webpChunk("XMP ", packet())).add(webpChunk("SECR", "SECRET chunk"));
    return ByteString("RIFF").number(static_cast<std::uint32_t>(body.size()), true).add(body);
}

ByteString fullGif() {
    ByteString file("GIF89a\x40\0\x30\0\0\0\0"_z);
    file.add("\x21\xFF\x0BNETSCAPE2.0\3\1\0\0\0"_z).add("\x21\xFE\x0ESECRET comment\0"_z);
    file.add("\x21\xFF\x0BXMP DataXMP").add(packet()).u8(1);
    for (int value = 0xFF; value >= 0; --value) file.u8(static_cast<unsigned>(value));
    file.u8(0);
    file.add("\x2C\0\0\0\0\x40\0\x30\0\0\2"_z).u8(static_cast<unsigned>(kPixels.size())).add(kPixels).u8(0);
    return file.add("\x3B").add("SECRET PLACE behind the end");
}

ByteString fullTiff() {
    TiffBuilder tiff;
    tiff.longs(TiffBuilder::first, 0x0100, {9}).longs(TiffBuilder::first, 0x0101, {1});
    tiff.shorts(TiffBuilder::first, 0x0103, {1}).text(TiffBuilder::first, 0x013B, "SECRET artist");
    tiff.longs(TiffBuilder::first, 0x0111, {8000}).longs(TiffBuilder::first, 0x0117, {9});
    tiff.shorts(TiffBuilder::first, 0x0112, {6});
    const ByteString words = packet(), sets = iptc(), resources = photoshop(), profile = iccProfile("KEPT profile");
    const auto raw = [&](unsigned tag, const ByteString& value) {
        tiff.raw(TiffBuilder::first, tag, 7, static_cast<std::uint32_t>(value.size()), value);
    };
    raw(0x02BC, words);
    raw(0x83BB, sets);
    raw(0x8649, resources);
    raw(0x8773, profile);
    tiff.text(TiffBuilder::exif, 0xA431, "SECRET serial").text(TiffBuilder::gps, 0x12, "PLACE datum");
    ByteString file = tiff.build();
    return file.add(8000 - file.size(), '\0').add(kPixels);
}

/// Items: 1 the picture, 2 Exif, 3 XMP, 4 a thumbnail.
ByteString fullHeif() {
    const auto build = [](std::uint32_t base) {
        const ByteString exif = ByteString().u32(0).add(exifBlock());
        const ByteString words = packet();
        const ByteString thumbnail("SECRET thumbnail");
        const auto item = [](unsigned id, std::string_view type, const ByteString& more = {}) {
            return fullBox("infe", 2, 0, {ByteString().u16(id).u16(0).add(type).u8(0).add(more)});
        };
        ByteString places;
        places.u16(0x4400).u16(4);
        std::uint32_t at = base;
        unsigned id = 0;
        for (const std::size_t size : {kPixels.size(), exif.size(), words.size(), thumbnail.size()}) {
            places.u16(++id).u16(0).u16(0).u16(1).u32(at).u32(static_cast<std::uint32_t>(size));
            at += static_cast<std::uint32_t>(size);
        }
        ByteString properties =
            box("iprp", {box("ipco", {fullBox("ispe", 0, 0, {ByteString().u32(64).u32(48)}), box("irot", {"\1"_z}),
                                      box("udes", {"SECRET tag"}),
                                      box("colr", {ByteString("prof").add(iccProfile("KEPT profile"))})}),
                         fullBox("ipma", 0, 0, {ByteString().u32(2).u16(1).u8(4).add("\1\2\3\4").u16(4).u8(1).u8(1)})});
        return box("ftyp", {"heic\0\0\0\0mif1heic"_z})
            .add(fullBox("meta", 0, 0,
                         {fullBox("hdlr", 0, 0, {"\0\0\0\0pict\0\0\0\0\0\0\0\0\0\0\0\0SECRET name\0"_z}),
                          fullBox("pitm", 0, 0, {ByteString().u16(1)}),
                          fullBox("iinf", 0, 0,
                                  {ByteString().u16(4), item(1, "hvc1"), item(2, "Exif"),
                                   item(3, "mime", "application/rdf+xml\0"_z), item(4, "hvc1")}),
                          fullBox("iref", 0, 0,
                                  {box("cdsc", {ByteString().u16(2).u16(1).u16(1)}),
                                   box("cdsc", {ByteString().u16(3).u16(1).u16(1)}),
                                   box("thmb", {ByteString().u16(4).u16(1).u16(1)})}),
                          properties, fullBox("iloc", 1, 0, {places})}))
            .add(box("mdat", {kPixels, exif, words, thumbnail}));
    };
    const std::size_t mediaSize = kPixels.size() + exifBlock().size() + 4 + packet().size() + 16;
    return build(static_cast<std::uint32_t>(build(0).size() - mediaSize));
}

ByteString fullJxl() {
    return ByteString("\0\0\0\x0CJXL \r\n\x87\n"_z)
        .add(box("ftyp", {"jxl \0\0\0\0jxl "_z}))
        .add(box("Exif", {ByteString().u32(0), exifBlock()}))
        .add(box("xml ", {packet()}))
        .add(box("jumb", {"SECRET credentials"}))
        .add(box("jbrd", {"SECRET PLACE recipe"}))
        .add(box("jxlc", {"\xFF\x0A"_z, kPixels}));
}

ByteString fullJp2() {
    return ByteString("\0\0\0\x0CjP  \r\n\x87\n"_z)
        .add(box("ftyp", {"jp2 \0\0\0\0jp2 "_z}))
        .add(box("jp2h", {box("ihdr", {ByteString().u32(48).u32(64).u16(3).u8(7).u8(7).u8(0).u8(0)})}))
        .add(box("uuid", {"\xBE\x7A\xCF\xCB\x97\xA9\x42\xE8\x9C\x71\x99\x94\x91\xE3\xAF\xAC"_z, packet()}))
        .add(box("uuid", {"JpgTiffExif->JP2", exifBlock()}))
        .add(box("xml ", {"<SECRET>PLACE</SECRET>"}))
        .add(box("jp2c", {kPixels}));
}

struct Format {
    std::string_view name;
    ByteString (*build)();
    bool hasProfile;
    bool hasExif;
};

const std::vector<Format>& formats() {
    static const std::vector<Format> all{
        {"jpeg", fullJpeg, true, true}, {"png", fullPng, true, true},   {"webp", fullWebp, true, true},
        {"gif", fullGif, false, false}, {"tiff", fullTiff, true, true}, {"heif", fullHeif, true, true},
        {"jxl", fullJxl, false, true},  {"jp2", fullJp2, false, true},
    };
    return all;
}

std::vector<std::string> leftIn(const std::string& file, Removal removal) {
    const TemporaryFolder folder;
    return metadataLeft(folder.write("file", file), removing(removal)).value_or(std::vector<std::string>{"unreadable"});
}

TEST(Strip, LeavesNoWordBehindAndEverythingThatShows) {
    for (const Format& format : formats()) {
        SCOPED_TRACE(format.name);
        const ByteString file = format.build();
        const std::string clean = rewritten(file, removing(Removal::everything));
        EXPECT_THAT(clean, Not(HasSubstr(std::string(kWho))));
        EXPECT_THAT(clean, Not(HasSubstr(std::string(kPlace))));
        EXPECT_THAT(clean, Not(HasSubstr("MKNOTE")));
        EXPECT_THAT(clean, HasSubstr(std::string(kPixels)));
        const Dictionary properties = propertiesOf(clean);
        const Dictionary before = propertiesOf(file);
        for (const std::string_view key : {"PixelWidth", "PixelHeight", "Orientation", "DPIWidth", "ProfileName"})
            EXPECT_EQ(properties[key].description(), before[key].description()) << key;
        EXPECT_TRUE(properties["{GPS}"].isNull() && properties["{IPTC}"].isNull());
        EXPECT_THAT(leftIn(clean, Removal::everything), testing::IsEmpty()) << "and nothing more could be taken";
    }
}

TEST(Strip, OfThePlaceLeavesTheRest) {
    for (const Format& format : formats()) {
        SCOPED_TRACE(format.name);
        const std::string made = rewritten(format.build(), removing(Removal::place));
        EXPECT_THAT(made, Not(HasSubstr(std::string(kPlace))));
        EXPECT_THAT(made, HasSubstr("SECRET"));
        EXPECT_THAT(made, HasSubstr("SECRET word"));
        EXPECT_THAT(made, HasSubstr(std::string(kPixels)));
        EXPECT_EQ(made.find("SECRET serial") != std::string::npos, format.hasExif);
        EXPECT_TRUE(propertiesOf(made)["{GPS}"].isNull());
        EXPECT_THAT(leftIn(made, Removal::place), testing::IsEmpty());
    }
}

TEST(Strip, OfThePlaceLeavesTheMakerNoteWhereItWas) {
    const std::string before(fullJpeg().text());
    const std::string after = rewritten(fullJpeg(), removing(Removal::place));
    const auto distance = [](const std::string& file) { return file.find("MKNOTE") - file.find("Exif\0\0"); };
    EXPECT_EQ(distance(after), distance(before)) << "its offsets count from the head of the block";
}

// Removing dictionaries takes them from wherever the file repeats them, and nothing else.
TEST(Strip, OfDictionariesTakesTheirCopies) {
    MetadataChange change = removing(Removal::dictionaries);
    change.removes = {.exif = true, .tiff = true, .gps = true, .iptc = true};
    for (const Format& format : formats()) {
        SCOPED_TRACE(format.name);
        const ByteString file = format.build();
        const Dictionary before = propertiesOf(file);
        const Dictionary after = propertiesOf(rewritten(file, change));
        for (const std::string_view key : {"{Exif}", "{GPS}", "{IPTC}"}) EXPECT_TRUE(after[key].isNull()) << key;
        EXPECT_TRUE(after["{TIFF}"].dictionary()["Artist"].isNull());
        EXPECT_TRUE(after["{TIFF}"].dictionary()["Software"].isNull());
        for (const std::string_view key : {"PixelWidth", "Orientation", "ProfileName"})
            EXPECT_EQ(after[key].description(), before[key].description()) << key;
    }
}

/// A word in every property by which other programs repeat what the dictionaries say; `KEPT` in what is none of that.
ByteString repeatingPacket() {
    return xmp(
        R"(xmlns:lr="http://ns.adobe.com/lightroom/1.0/" xmlns:digi="http://www.digikam.org/ns/1.0/" )"
        R"(xmlns:ms="http://ns.microsoft.com/photo/1.0" xmlns:acdsee="http://ns.acdsee.com/iptc/1.0/" )"
        R"(xmlns:rs="http://www.metadataworkinggroup.com/schemas/regions/" xmlns:cc="http://creativecommons.org/ns#" )"
        R"(xmlns:plus="http://ns.useplus.org/ldf/xmp/1.0/" xmlns:dm="http://ns.adobe.com/xmp/1.0/DynamicMedia/" )"
        R"(xmlns:ext="http://iptc.org/std/Iptc4xmpExt/2008-02-29/" xmlns:mm="http://ns.adobe.com/xap/1.0/mm/" )"
        R"(xmlns:own="http://example.org/own/" ms:CameraSerialNumber="SECRET serial" ms:LastKeywordXMP="WORD 1" )"
        R"(acdsee:caption="SECRET caption" acdsee:keywords="WORD 2" plus:ImageCreator="SECRET creator" )"
        R"(dm:artist="SECRET artist" mm:DocumentID="SECRET document" mm:InstanceID="SECRET instance" )"
        R"(cc:attributionName="SECRET name" own:grain="KEPT" own:who="SECRET byline" )"
        R"(own:whose="nobody; SECRET byline ")",
        "<lr:hierarchicalSubject><rdf:Bag><rdf:li>WORD 3</rdf:li></rdf:Bag></lr:hierarchicalSubject>"
        "<digi:TagsList><rdf:Seq><rdf:li>WORD 4</rdf:li></rdf:Seq></digi:TagsList>"
        "<rs:Regions rs:Name=\"SECRET face\"/><ext:PersonInImage>SECRET person</ext:PersonInImage>"
        "<own:them><rdf:Bag><rdf:li>SECRET byline</rdf:li></rdf:Bag></own:them>");
}

/// The same in the fields and blocks of a TIFF structure.
ByteString repeatingExif() {
    const ByteString words = repeatingPacket(), sets = iptc(), resources = photoshop();
    TiffBuilder tiff;
    tiff.text(TiffBuilder::first, 0x000B, "SECRET program").shorts(TiffBuilder::first, 0x0112, {6});
    tiff.raw(TiffBuilder::first, 0x02BC, 1, static_cast<std::uint32_t>(words.size()), words);
    tiff.shorts(TiffBuilder::first, 0x4746, {4}).shorts(TiffBuilder::first, 0x4749, {75});
    tiff.raw(TiffBuilder::first, 0x83BB, 7, static_cast<std::uint32_t>(sets.size()), sets);
    tiff.raw(TiffBuilder::first, 0x8649, 7, static_cast<std::uint32_t>(resources.size()), resources);
    tiff.raw(TiffBuilder::first, 0x9C9E, 1, 6, "WORD 5");
    return tiff.raw(TiffBuilder::first, 0xC6D2, 7, 12, "SECRET title").build();
}

ByteString repeatingJpeg() {
    return jpeg({jpegSegment(0xE1, ByteString("Exif\0\0"_z).add(repeatingExif())),
                 jpegSegment(0xE1, ByteString("http://ns.adobe.com/xap/1.0/\0"_z).add(packet())),
                 jpegSegment(0xE1, ByteString("http://ns.adobe.com/xap/1.0/\0"_z).add(repeatingPacket())),
                 jpegSegment(0xED, ByteString("Photoshop 3.0\0"_z).add(photoshop()).add(photoshop()))});
}

TEST(Strip, TakesAValueFromWhereverItIsRepeated) {
    MetadataChange dictionaries = removing(Removal::dictionaries);
    dictionaries.removes = {.exif = true, .tiff = true, .gps = true, .iptc = true};
    const std::string clean = rewritten(repeatingJpeg(), dictionaries);
    for (const char* word : {"SECRET", "PLACE", "WORD", "\x46\x47", "\x49\x47"})
        EXPECT_THAT(clean, Not(HasSubstr(word)));
    EXPECT_THAT(clean, HasSubstr("own:grain=\"KEPT\"")) << "nobody's dictionary";
    EXPECT_THAT(clean, Not(HasSubstr("own:them"))) << "an empty list";

    const MetadataChange keywords{
        .removal = Removal::nothing, .removes = {}, .values = {{"{IPTC}", Dictionary{{"Keywords", ""}}}}};
    const std::string edited = rewritten(repeatingJpeg(), keywords);
    EXPECT_THAT(edited, Not(HasSubstr("WORD")));
    for (const char* word : {"SECRET face", "SECRET serial", "SECRET caption", "SECRET program", "SECRET byline"})
        EXPECT_THAT(edited, HasSubstr(word));
}

// Whatever stands in more than one block loses its place in each, and nothing else in any.
TEST(Strip, OfThePlaceMindsEveryBlock) {
    const std::string made = rewritten(repeatingJpeg(), removing(Removal::place));
    EXPECT_THAT(made, Not(HasSubstr("PLACE")));
    EXPECT_THAT(made, HasSubstr(std::string(repeatingPacket().text()))) << "as it was, byte for byte";
    const std::string_view byline = "SECRET byline";
    std::size_t bylines = 0;
    for (auto at = made.find(byline); at != std::string::npos; at = made.find(byline, at + 1)) ++bylines;
    EXPECT_EQ(bylines, 10U);

    // A character set other than UTF-8 is what the texts that stay are written in.
    const std::string latin(dataSet(1, 90, "\x1B-A").add(iptc()).text());
    ByteString resource("8BIM");
    resource.u16(0x0404).u16(0).u32(static_cast<std::uint32_t>(latin.size())).add(latin).add(latin.size() % 2, '\0');
    const std::string texts =
        rewritten(jpeg({jpegSegment(0xED, ByteString("Photoshop 3.0\0"_z).add(resource))}), removing(Removal::place));
    EXPECT_THAT(texts, HasSubstr(std::string(dataSet(1, 90, "\x1B-A").text())));
    EXPECT_THAT(texts, Not(HasSubstr("PLACE")));

    // A count beyond the end of its block hides the fields from most readers, until the block is written anew.
    std::string broken(repeatingExif().text());
    const std::string town(packet().text());
    broken =
        TiffBuilder().raw(TiffBuilder::first, 0x02BC, 1, static_cast<std::uint32_t>(town.size()), town).build().text();
    broken[8] = '\xFF';
    EXPECT_THAT(rewritten(jpegWithExif(broken), removing(Removal::place)), Not(HasSubstr("PLACE")));
}

// What follows a picture is dropped, unless only values are set.
TEST(Strip, DropsWhatFollowsTheImage) {
    const ByteString file = ByteString(fullJpeg()).add(box("ftyp", {"mp42\0\0\0\0"_z})).add("SECRET PLACE motion");
    EXPECT_THAT(rewritten(file, removing(Removal::everything)), Not(HasSubstr("motion")));
    EXPECT_THAT(rewritten(file, removing(Removal::nothing)), HasSubstr("SECRET PLACE motion"));
}

TEST(Strip, CleansMetadataBetweenScans) {
    std::string file(fullJpeg().text());
    file.insert(file.size() - 2, jpegSegment(0xFE, "SECRET between scans")
                                     .add(jpegSegment(0xDA, "\1\1\0\0\x3F\0"_z))
                                     .add("MORE\xFF\0\xFF\xD0PIXELS"_z)
                                     .text());
    const std::string clean = rewritten(file, removing(Removal::everything));
    EXPECT_THAT(clean, Not(HasSubstr("SECRET")));
    EXPECT_THAT(clean, HasSubstr(std::string("MORE\xFF\0\xFF\xD0PIXELS", 14)));
}

/// A gain map, the index that leads to it, and the length by which the packet does; not `goneWord`.
void expectGainMapIn(const std::string& clean, const std::string& goneWord) {
    EXPECT_THAT(clean, Not(HasSubstr(goneWord)));
    EXPECT_THAT(clean, HasSubstr("GainMapMax"));
    const auto head = clean.find(std::string("MM\0*\0\0\0\x08\0\3", 10));
    ASSERT_NE(head, std::string::npos);
    const auto number = [&](std::size_t at) {
        return imageio::loadInteger<std::uint32_t>(reinterpret_cast<const std::byte*>(clean.data() + at),
                                                   imageio::ByteOrder::big);
    };
    const std::size_t entry = head + 8 + 42 + 16;
    const std::size_t mapStart = head + number(entry + 8);
    ASSERT_LT(mapStart, clean.size());
    EXPECT_EQ(clean.substr(mapStart, 3), "\xFF\xD8\xFF");
    EXPECT_EQ(mapStart + number(entry + 4), clean.size());
    EXPECT_THAT(clean, HasSubstr("Item:Length=\"" + std::to_string(number(entry + 4)) + "\""));
}

// A gain map changes how the picture shows: it stays, cleaned, and the index and the directory follow it.
TEST(Strip, KeepsAGainMapAndItsIndex) {
    const ByteString mapXmp =
        ByteString("http://ns.adobe.com/xap/1.0/\0"_z)
            .add(
                R"(<x:xmpmeta xmlns:x="adobe:ns:meta/"><rdf:RDF xmlns:rdf="http://www.w3.org/1999/02/22-rdf-syntax-ns#"><rdf:Description rdf:about="" xmlns:xmp="http://ns.adobe.com/xap/1.0/" xmlns:hdrgm="http://ns.adobe.com/hdr-gain-map/1.0/" hdrgm:GainMapMax="3.5" xmp:CreatorTool="SECRET"/></rdf:RDF></x:xmpmeta>)");
    const ByteString map = jpeg({jpegSegment(0xE1, mapXmp), jpegSegment(0xFE, "SECRET map comment")}, 16, 12);
    const ByteString preview = jpeg({jpegSegment(0xFE, "SECRET preview")}, 8, 6);
    const ByteString mark =
        ByteString("http://ns.adobe.com/xap/1.0/\0"_z)
            .add(
                R"(<x:xmpmeta xmlns:x="adobe:ns:meta/"><rdf:RDF xmlns:rdf="http://www.w3.org/1999/02/22-rdf-syntax-ns#"><rdf:Description rdf:about="" xmlns:hdrgm="http://ns.adobe.com/hdr-gain-map/1.0/" hdrgm:Version="1.0"/></rdf:RDF></x:xmpmeta>)");
    const auto build = [&](std::uint32_t previewAt, std::uint32_t mapAt) {
        ByteString index("MPF\0MM\0*\0\0\0\x08\0\1\xB0\2\0\7"_z);
        index.u32(48).u32(26).u32(0).u32(0x030000).u32(0).u32(0).u32(0);
        index.u32(0x010001).u32(static_cast<std::uint32_t>(preview.size())).u32(previewAt).u32(0);
        index.u32(0).u32(static_cast<std::uint32_t>(map.size())).u32(mapAt).u32(0);
        return jpeg({jpegSegment(0xE1, mark), jpegSegment(0xE2, index)});
    };
    const std::string alone(build(0, 0).text());
    const auto base = alone.find(std::string("MM\0*", 4));
    const auto previewAt = static_cast<std::uint32_t>(alone.size() - base);
    const ByteString file =
        ByteString(build(previewAt, previewAt + static_cast<std::uint32_t>(preview.size()))).add(preview).add(map);
    EXPECT_EQ(propertiesOf(file)["PixelWidth"].integerValue(), 64);
    const auto bytes = file.bytes();
    const auto source =
        CGImageSourceCreateWithData(std::make_shared<const std::vector<std::byte>>(bytes.begin(), bytes.end()));
    EXPECT_EQ(CGImageSourceGetCount(source), 1U) << "whatever stands beside the picture";
    expectGainMapIn(rewritten(file, removing(Removal::everything)), "SECRET");
    MetadataChange dictionaries = removing(Removal::dictionaries);
    dictionaries.removes = {.exif = true, .tiff = true, .gps = true, .iptc = true};
    expectGainMapIn(rewritten(file, dictionaries), "SECRET preview");
    const std::string cut = rewritten(ByteString(alone), dictionaries);
    EXPECT_THAT(cut, Not(HasSubstr("hdrgm"))) << "without the map, nobody announces it";
}

// Written anew: every strip in a place of its own, and nothing that an earlier editor left between them.
TEST(Strip, FollowsEveryStripOfATiff) {
    TiffBuilder tiff;
    tiff.longs(TiffBuilder::first, 0x0100, {9}).longs(TiffBuilder::first, 0x0101, {3});
    tiff.longs(TiffBuilder::first, 0x0111, {500, 600, 700}).longs(TiffBuilder::first, 0x0117, {9, 7, 8});
    tiff.text(TiffBuilder::first, 0x013B, "SECRET artist");
    std::string file(tiff.build().add(1000, '-').text());
    constexpr std::array<std::string_view, 3> kStrips{"STRIP-ONE", "STRIP-2", "STRIP-3!"};
    for (std::size_t i = 0; i < kStrips.size(); ++i) file.replace(500 + 100 * i, kStrips[i].size(), kStrips[i]);
    const std::string clean = rewritten(ByteString(file), removing(Removal::everything));
    EXPECT_THAT(clean, Not(HasSubstr("SECRET")));
    EXPECT_THAT(clean, Not(HasSubstr("--")));
    const ByteString made(clean);
    imageio::ByteSource source(made.bytes());
    auto header = imageio::readTiffHeader(source);
    ASSERT_TRUE(header);
    const imageio::TiffDirectory directory = imageio::readTiffDirectory(header->context, header->firstDirectory);
    EXPECT_EQ(header->firstDirectory % 2, 0U);
    const auto offsets = directory.find(0x0111), lengths = directory.find(0x0117);
    ASSERT_TRUE(offsets && lengths);
    for (std::size_t i = 0; i < kStrips.size(); ++i) {
        const std::size_t at = offsets->integer(header->context, i).value_or(0);
        EXPECT_EQ(clean.substr(at, lengths->integer(header->context, i).value_or(0)), kStrips[i]);
        EXPECT_EQ(at % 2, 0U) << "as offsets are to be";
    }
}

TEST(Strip, RefusesWhatItCannotDoWithoutLoss) {
    const auto failureOf = [](const ByteString& file) {
        RewriteFailure failure;
        const auto bytes = file.bytes();
        const Data made = rewriteMetadata(std::make_shared<const std::vector<std::byte>>(bytes.begin(), bytes.end()),
                                          removing(Removal::everything), &failure);
        EXPECT_FALSE(made);
        return failure.kind;
    };
    using enum RewriteFailure::Kind;
    EXPECT_EQ(failureOf(box("ftyp", {"crx \0\0\0\0crx "_z})), unsupported);
    EXPECT_EQ(failureOf(ByteString(fullJpeg().text().substr(0, 200))), damaged);
    EXPECT_EQ(failureOf(ByteString("no photo at all")), cannotRead);
    EXPECT_EQ(failureOf(ByteString()), cannotRead);
}

Dictionary editedValues() {
    return {
        {"{TIFF}", Dictionary{{"Artist", "Zo\xC3\xAB"}, {"Orientation", 3}}},
        {"{Exif}", Dictionary{{"DateTimeOriginal", "2021:02:03 04:05:06"},
                              {"ExposureTime", 0.004},
                              {"UserComment", "gr\xC3\xBC\xC3\x9F dich"}}},
        {"{GPS}", Dictionary{{"Latitude", 12.5}, {"LatitudeRef", "S"}, {"Longitude", 45.25}, {"LongitudeRef", "E"}}},
        {"{IPTC}", Dictionary{{"Keywords", Array{"a & b", "c"}}, {"StarRating", 4}, {"City", ""}}}};
}

// The same values through every container, with and without metadata that is there already.
TEST(Edit, ReadsBackWhatWasSet) {
    const MetadataChange change{.removal = Removal::nothing, .removes = {}, .values = editedValues()};
    std::vector<std::pair<std::string, std::string>> files;
    for (const Format& format : formats()) {
        files.emplace_back(format.name, std::string(format.build().text()));
        files.emplace_back(std::string(format.name) + " without any",
                           rewritten(format.build(), removing(Removal::everything)));
    }
    files.emplace_back("bare codestream", "\xFF\x0A" + std::string(kPixels));
    for (const auto& [name, file] : files) {
        SCOPED_TRACE(name);
        const std::string made = rewritten(file, change);
        EXPECT_THAT(made, HasSubstr(std::string(kPixels)));
        const Dictionary properties = propertiesOf(made);
        const Dictionary& gps = properties["{GPS}"].dictionary();
        EXPECT_NEAR(gps["Latitude"].doubleValue(), 12.5, 1e-7);
        EXPECT_EQ(gps["LatitudeRef"].string(), "S");
        EXPECT_NEAR(gps["Longitude"].doubleValue(), 45.25, 1e-7);
        EXPECT_EQ(properties["{Exif}"].dictionary()["DateTimeOriginal"].string(), "2021:02:03 04:05:06");
        EXPECT_NEAR(properties["{Exif}"].dictionary()["ExposureTime"].doubleValue(), 0.004, 1e-9);
        const Dictionary& iptc = properties["{IPTC}"].dictionary();
        EXPECT_EQ(iptc["Keywords"].array(), (Array{"a & b", "c"}));
        EXPECT_EQ(iptc["StarRating"].integerValue(), 4);
        EXPECT_TRUE(iptc["City"].isNull());
        if (name.starts_with("gif")) continue;  // XMP alone.
        EXPECT_EQ(properties["{TIFF}"].dictionary()["Artist"].string(), "Zo\xC3\xAB");
        EXPECT_EQ(properties["{TIFF}"].dictionary()["Orientation"].integerValue(), 3);
        EXPECT_EQ(properties["{Exif}"].dictionary()["UserComment"].string(), "gr\xC3\xBC\xC3\x9F dich");
    }
}

TEST(Edit, LeavesTheRestAsItWas) {
    struct Row {
        const char* dictionary;
        const char* name;
        Value value;
    };
    // A text of that length fits none of the old places.
    for (const Row& row :
         {Row{"{TIFF}", "Copyright", "mine"}, Row{"{TIFF}", "ImageDescription", std::string(60'000, 'x')},
          Row{"{Exif}", "LensModel", "a lens"}, Row{"{GPS}", "Altitude", 12.5}}) {
        const MetadataChange change{.removal = Removal::nothing,
                                    .removes = {},
                                    .values = {{row.dictionary, Dictionary{{row.name, row.value}}}}};
        for (const Format& format : formats()) {
            if (!format.hasExif) continue;
            SCOPED_TRACE(std::string(format.name) + " " + row.name);
            const ByteString file = format.build();
            Dictionary before = propertiesOf(file);
            Dictionary after = propertiesOf(rewritten(file, change));
            EXPECT_EQ(after[row.dictionary].dictionary()[row.name], row.value);
            for (const std::string_view key : {"{TIFF}", "{Exif}", "{GPS}", "Orientation", "ProfileName", "DPIWidth"}) {
                if (key != row.dictionary) EXPECT_EQ(after[key], before[key]) << key;
            }
        }
    }
}

TEST(Edit, FindsPropertiesByTheirNameOrTheirGroup) {
    const auto found = writableProperties("keywords");
    ASSERT_EQ(found.size(), 1U);
    EXPECT_EQ(found[0].dictionary, "{IPTC}");
    const auto group = writableProperties("gps");
    EXPECT_GT(group.size(), 4U);
    for (const WritableProperty& property : group) EXPECT_EQ(property.dictionary, "{GPS}") << property.name;
    EXPECT_TRUE(writableProperties("nothing").empty());
}

TEST(Edit, KeepsValuesThroughAStrip) {
    MetadataChange change = removing(Removal::everything);
    change.values = {{"{TIFF}", Dictionary{{"Artist", "kept artist"}}}};
    for (const Format& format : formats()) {
        SCOPED_TRACE(format.name);
        const std::string made = rewritten(format.build(), change);
        EXPECT_THAT(made, Not(HasSubstr("SECRET")));
        EXPECT_THAT(made, HasSubstr("kept artist"));
    }
}

}  // namespace
}  // namespace tessaly::test
