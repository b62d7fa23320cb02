#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <map>

#include "linux/imageio/TiffDirectory.h"
#include "platform/ImageIO/CGImageProperties.h"
#include "platform/ImageIO/CGImageSource.h"
#include "platform/ImageIO/WritableProperties.h"
#include "support/Containers.h"
#include "support/Rewritten.h"
#include "support/TemporaryFolder.h"
#include "support/TiffBuilder.h"

// Files with a word in every place that can tell something, rewritten: words that are to go must be nowhere in the
// bytes, words that are to stay must be where they were.
namespace tessaly::test {
namespace {

using testing::HasSubstr;
using testing::Not;
using Removal = MetadataChange::Removal;

/// SECRET occurs in everything that tells who, when, with what; PLACE in everything that tells where.
constexpr std::string_view kPixels = "PIXELDATA";

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

ByteString fullWebp() {
    return riffChunk(
        "RIFF", {"WEBP", riffChunk("VP8X", {"\x2C\0\0\0\x3F\0\0\x2F\0\0"_z}),
                 riffChunk("ICCP", {iccProfile("KEPT profile")}), riffChunk("VP8L", {"\x2F\x3F\xC0\x0B\0"_z, kPixels}),
                 riffChunk("EXIF", {exifBlock()}), riffChunk("XMP ", {packet()}), riffChunk("SECR", {"SECRET chunk"})});
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
    bool hasExif;
    const char* checksums;
};

const std::vector<Format>& formats() {
    static const std::vector<Format> all{
        {"jpeg", fullJpeg, true, "56fa075e 2aebae51 2a53fe1d 119cb1f2 45b53e6f 8410f1a4"},
        {"png", fullPng, true, "d3606c0c 32d1c20a 647b862e 6937c4c0 5d2eed9e d75fc7c8"},
        {"webp", fullWebp, true, "1b3e7fac 691d2d3f 2a1337c4 839c1830 cdafa3c2 d784f236"},
        {"gif", fullGif, false, "7e376ed1 f7e915e2 764f7bcd 3ceab1a8 c9593d96 7381ce1e"},
        {"tiff", fullTiff, true, "a8b8a4cb 53865565 36a910d5 9c304799 68236334 26ffbde4"},
        {"heif", fullHeif, true, "8464f33d d8bb7284 4525910e f19e8818 fff76859 99d71dbb"},
        {"jxl", fullJxl, true, "a62f6fbf 7061595d b5307969 7ce80058 d5af4403 cb986e92"},
        {"jp2", fullJp2, true, "bda96fce 5cc3908b bda96fce b5c6f6e8 16f3d7fa cf02e868"},
    };
    return all;
}

std::vector<std::string> leftIn(const std::string& file, Removal removal) {
    const TemporaryFolder folder;
    return metadataLeft(folder.write("file", file), removing(removal)).value_or(std::vector<std::string>{"unreadable"});
}

TEST(Strip, LeavesEverythingThatShowsAndTheRestToTheByte) {
    for (const Format& format : formats()) {
        SCOPED_TRACE(format.name);
        const ByteString file = format.build();
        const std::string clean = rewritten(file, Removal::everything);
        EXPECT_THAT(clean, Not(HasSubstr("SECRET")));
        EXPECT_THAT(clean, HasSubstr(std::string(kPixels)));
        const Dictionary properties = propertiesOf(clean), before = propertiesOf(file);
        for (const std::string_view key : {"PixelWidth", "PixelHeight", "Orientation", "DPIWidth", "ProfileName"})
            EXPECT_EQ(properties[key].description(), before[key].description()) << key;
        EXPECT_THAT(leftIn(clean, Removal::everything), testing::IsEmpty()) << "and nothing more could be taken";
        EXPECT_THAT(leftIn(rewritten(file, Removal::place), Removal::place), testing::IsEmpty());
        EXPECT_EQ(checksumsOf(file), format.checksums);
    }
    EXPECT_THAT(leftIn(rewritten(fullJpeg(), Removal::everything) + "behind", Removal::everything),
                testing::ElementsAre("hidden data"));
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

// A count beyond the end of its block hides the fields from most readers, until the block is written anew.
TEST(Strip, OfThePlaceMindsBrokenBlocks) {
    std::string broken(repeatingExif().text());
    const std::string town(packet().text());
    broken =
        TiffBuilder().raw(TiffBuilder::first, 0x02BC, 1, static_cast<std::uint32_t>(town.size()), town).build().text();
    broken[8] = '\xFF';
    EXPECT_THAT(rewritten(jpegWithExif(broken), removing(Removal::place)), Not(HasSubstr("PLACE")));
}

/// Two pictures and two packets, with colour tables of both kinds.
ByteString gifOfTwo(std::string_view version) {
    ByteString file = ByteString(version).add("\x40\0\x30\0\x80\0\0RGBRGB"_z);
    for (const char* city : {"PLACE one", "PLACE two"}) {
        file.add("\x21\xFF\x0BXMP DataXMP")
            .add(xmp("photoshop:City=\"" + std::string(city) + "\" xmp:Label=\"SECRET\""));
        file.u8(1);
        for (int value = 0xFF; value >= 0; --value) file.u8(static_cast<unsigned>(value));
        file.add(
            "\0\x21\xF9\4\0\5\0\0\0\x21\x01\x0Cplain text!!\2it\0\x21\xFF\x0B"
            "ANIMEXTS1.0\3\1\0\0\0"_z);
        file.add("\x2C\0\0\0\0\x40\0\x30\0\x81RGBRGBRGBRGB\2\6PIXELS\3ETC\0"_z);
    }
    return file.add("\x3B").add("behind");
}

ByteString webpOf(std::initializer_list<ByteString> chunks) {
    ByteString all;
    for (const ByteString& chunk : chunks) all.add(chunk);
    return riffChunk("RIFF", {"WEBP", all});
}

/// Big-endian, in tiles, with a smaller picture below, a second page, and an index of the colour space.
ByteString tiledTiff() {
    TiffBuilder tiff(false), smaller(false);
    tiff.longs(TiffBuilder::first, 0x0100, {32}).longs(TiffBuilder::first, 0x0101, {16});
    tiff.longs(TiffBuilder::first, 0x0144, {1000, 1100}).longs(TiffBuilder::first, 0x0145, {9, 7});
    tiff.longs(TiffBuilder::first, 0x014A, {1400}).text(TiffBuilder::first, 0x010E, "SECRET description");
    tiff.shorts(TiffBuilder::exif, 0xA001, {0xFFFF}).text(TiffBuilder::exif, 0xA430, "SECRET owner");
    tiff.longs(TiffBuilder::exif, 0xA005, {1600}).text(TiffBuilder::gps, 0x1D, "PLACE day");
    const ByteString sets = iptc();
    tiff.raw(TiffBuilder::gps, 0x83BB, 7, static_cast<std::uint32_t>(sets.size()), sets);
    smaller.longs(TiffBuilder::first, 0x0111, {1200}).longs(TiffBuilder::first, 0x0117, {8});
    smaller.text(TiffBuilder::first, 0x013B, "SECRET below").longs(TiffBuilder::first, 0x014A, {1700});
    std::string file(tiff.build().add(2000, '-').text());
    const auto put = [&](std::size_t at, const ByteString& part) {
        file.replace(at, part.size(), std::string(part.text()));
    };
    put(1000, "TILE-ONE!");
    put(1100, "TILE-2!");
    put(1200, "SMALLER!");
    put(1400, smaller.directory(TiffBuilder::first, 1400));
    put(1600, TiffBuilder(false).text(TiffBuilder::first, 1, "R03").directory(TiffBuilder::first, 1600));
    for (std::uint32_t at = 1700; at < 2000; at += 100) {
        TiffBuilder deeper(false);
        deeper.shorts(TiffBuilder::first, 0x0103, {1}).longs(TiffBuilder::first, 0x014A, {at < 1900 ? at + 100 : 0});
        put(at, deeper.directory(TiffBuilder::first, at));
    }
    return file;
}

/// A block with a thumbnail, of which a second directory tells.
ByteString thumbnailJpeg() {
    TiffBuilder further;
    further.text(TiffBuilder::first, 0x010F, "SECRET make").shorts(TiffBuilder::first, 0x0103, {6});
    const ByteString thumbnail = jpeg({jpegSegment(0xFE, "SECRET thumbnail")}, 8, 6);
    further.longs(TiffBuilder::first, 0x0201, {2000});
    further.longs(TiffBuilder::first, 0x0202, {static_cast<std::uint32_t>(thumbnail.size())});
    ByteString block = withNext(exifBlock(), 1000);
    block.add(1000 - block.size(), '-').add(further.directory(TiffBuilder::first, 1000));
    return jpegWithExif(block.add(2000 - block.size(), '-').add(thumbnail));
}

/// 64-bit offsets, which the builder does not know: one strip, an artist, and a pointer to nothing.
ByteString bigTiff() {
    const auto field = [](unsigned tag, unsigned type, std::uint64_t count, std::uint64_t value) {
        return ByteString().u16(tag).u16(type).u64(count).u64(value);
    };
    return ByteString("MM\0\x2B\0\x08\0\0"_z)
        .u64(16)
        .u64(5)
        .add(field(0x0100, 4, 1, 9ULL << 32U))
        .add(field(0x0101, 4, 1, 1ULL << 32U))
        .add(field(0x0111, 16, 1, 160))
        .add(field(0x0117, 16, 1, kPixels.size()))
        .add(field(0x013B, 2, 14, 140))
        .u64(0)
        .add(8, '-')
        .add("SECRET artist\0"_z)
        .add(6, '-')
        .add(kPixels)
        .add("SECRET behind");
}

/// Latin-1 texts around a preview, a packet in UTF-16, a block cut into segments, and a thumbnail in it.
ByteString oddJpeg() {
    ByteString sets =
        dataSet(1, 90, "\x1B-A").add(dataSet(1, 20, "\0\1"_z.text())).add(dataSet(2, 80, "SECRET caf\xE9"));
    for (const unsigned number : {200, 201, 202}) sets.add(dataSet(2, number, "\0\xE9"_z.text()));
    sets.add("\x1C\2\x78\x80\2\1\2"_z).add(258, 'x');  // A length of its own length.
    sets.add(dataSet(2, 95, "PLACE state")).add(dataSet(3, 10, "\xE9")).add(dataSet(7, 10, "\xE9"));
    ByteString wide("\xFE\xFF");
    const ByteString words = packet(), profile = profileSegment();
    for (const char c : words.text()) wide.u16(static_cast<unsigned char>(c));
    TiffBuilder tiff;
    tiff.text(TiffBuilder::first, 0x010E, std::string(70'000, 'x')).text(TiffBuilder::gps, 0x1D, "PLACE day");
    const std::string block(tiff.build().text());
    return jpeg({jpegSegment(0xE1, ByteString("Exif\0\0"_z).add(block.substr(0, 60'000))),
                 jpegSegment(0xE1, ByteString("Exif\0\0"_z).add(block.substr(60'000))),
                 jpegSegment(0xE1, ByteString("http://ns.adobe.com/xap/1.0/\0"_z).add(wide)),
                 jpegSegment(0xED, ByteString("Photoshop 3.0\0"_z).add(psdResource(0x0404, sets))),
                 jpegSegment(0xE2, profile), jpegSegment(0xFE, "SECRET")});
}

// Forms that few programs write, each with what it must not lose.
TEST(Strip, MindsTheRarerForms) {
    const ByteString animated = webpOf(
        {riffChunk("VP8X", {"\x0E\0\0\0\x3F\0\0\x2F\0\0"_z}), riffChunk("ANIM", {"\0\0\0\0\1\0"_z}),
         riffChunk("ANMF", {"FRAME-1"}), riffChunk("ANMF", {"FRAME-2!"}),
         riffChunk("EXIF", {ByteString("Exif\0\0"_z).add(exifBlock())}), riffChunk("XMP ", {packet()}),
         riffChunk("XMP ", {xmp("photoshop:City=\"PLACE\" xmp:Label=\"SECRET 2\"")}), riffChunk("SECR", {"odd"})});
    const ByteString further = xmp("photoshop:City=\"PLACE\" xmp:Label=\"SECRET 2\"");
    const ByteString xmpUser = "\xBE\x7A\xCF\xCB\x97\xA9\x42\xE8\x9C\x71\x99\x94\x91\xE3\xAF\xAC"_z;
    const ByteString iptcUser = "\x33\xC7\xA4\xD2\xB8\x1D\x47\x23\xA0\xBA\xF1\xA3\xE0\x97\xAD\x38"_z;
    const auto bitmap = [](std::uint32_t declared) {
        ByteString file = ByteString("BM").number(declared, true).u32(0).number(std::uint32_t{54}, true);
        file.number(std::uint32_t{40}, true).number(std::uint32_t{1}, true).number(std::uint32_t{3}, true);
        return file.add("\1\0\x18\0"_z).add(24, '\0').add("PIXELS-PIXELBEHIND");
    };
    const ByteString unannounced = jpeg({jpegSegment(0xE2, "urn:iso:std:iso:ts:21496")});
    struct Row {
        const char* name;
        ByteString file;
        const char* placeless;  ///< What a removal of the place leaves.
        const char* checksums;
    };
    for (const auto& [name, file, placeless, checksums] :
         {Row{"GIF89a", gifOfTwo("GIF89a"), "SECRET", "1f2e8c0d c77a5fa2 1f2e8c0d 8decb40b 32e60bde c46c26cc"},
          Row{"GIF87a", gifOfTwo("GIF87a"), "SECRET", "927685db c77a5fa2 927685db 8decb40b 32e60bde d577bde9"},
          Row{"WebP, animated", animated, "SECRET 2", "8a5266ee 05deff5a b8db49c1 628cb2d9 54715ac4 fe97f3dc"},
          Row{"WebP, simple", webpOf({riffChunk("VP8 ", {"\x30\1\0\x9D\1\x2A\x40\0\x30\0PIX"_z})}), "PIX",
              "13a4a6a5 13a4a6a5 13a4a6a5 52f399c6 13a4a6a5 71ce449a"},
          Row{"WebP, lossless", webpOf({riffChunk("VP8L", {"\x2F\x3F\xC0\x0B\x10PIX"_z})}), "PIX",
              "cdf754dd cdf754dd cdf754dd 130e1c8c cdf754dd 45aab1ef"},
          Row{"TIFF, tiled", tiledTiff(), "SECRET below", "ab12f429 e51dd94a 9dde9f3c 5651d4b0 81e76516 6774d560"},
          Row{"BigTIFF", bigTiff(), "SECRET artist", "76b49da0 bd1d547f 15c16202 bb596afe 15c16202 ac6f6ef8"},
          Row{"JPEG", oddJpeg(), "SECRET caf\xE9", "e438825a 2b5f72b2 23fcb726 800a2228 d53e0ea0 00000000"},
          Row{"JPEG, thumbnail", thumbnailJpeg(), "SECRET thumbnail",
              "863c2711 62c2cf80 863c2711 e2fd63ef 8ecbb1b5 7bd99744"},
          Row{"JPEG, repeating", repeatingJpeg(), "SECRET face",
              "f01d5e95 d0d64ce4 9a888fd6 692a217d 7cf95f18 00000000"},
          Row{"JPEG XL", ByteString(fullJxl()).add(box("xml ", {further})).add(box("jxlp", {"\0\0\0\1"_z, kPixels})),
              "SECRET 2", "56257c0c c1270dd1 ddb3a13a 4b1eb651 426bc4ed 2006627c"},
          Row{"JPEG XL, bare", ByteString("\xFF\x0A").add(kPixels), "PIXEL",
              "ce7f8861 ce7f8861 ce7f8861 8104859a ce7f8861 fba14f1a"},
          Row{"JPEG 2000",
              ByteString(fullJp2()).add(box("uuid", {xmpUser, further})).add(box("uuid", {iptcUser, iptc()})),
              "SECRET 2", "bda96fce 90d80fa6 bda96fce 20b379a3 2a7bd685 c09be2c1"},
          Row{"BMP", bitmap(66), "BEHIND", "7e07c3b7 6d5d1537 6d5d1537 00000000 00000000 adecb182"},
          Row{"BMP, cut", bitmap(60), "BEHIND", "2db24e90 2db24e90 2db24e90 00000000 00000000 4cff1dab"},
          Row{"JPEG and more", ByteString(fullJpeg()).add(unannounced), "SECRET",
              "56fa075e 851ab2d3 98902024 9266f1d5 45b53e6f cc5168c6"}}) {
        SCOPED_TRACE(name);
        EXPECT_THAT(rewritten(file, Removal::place), testing::AllOf(HasSubstr(placeless), Not(HasSubstr("PLACE"))));
        EXPECT_THAT(rewritten(file, Removal::everything), Not(HasSubstr("SECRET")));
        EXPECT_EQ(checksumsOf(file), checksums);
    }
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
        {"{IPTC}", Dictionary{{"Keywords", Array{"a > b & <c>", "c"}}, {"StarRating", 4}, {"City", ""}}}};
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
        EXPECT_EQ(iptc["Keywords"].array(), (Array{"a > b & <c>", "c"}));
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
         {Row{"{TIFF}", "Copyright", "mine"}, Row{"{TIFF}", "ImageDescription", std::string(70'000, 'x')},
          Row{"{Exif}", "LensModel", "a lens"}, Row{"{GPS}", "Altitude", 12.5}}) {
        const MetadataChange change{.removal = Removal::nothing,
                                    .removes = {},
                                    .values = {{row.dictionary, Dictionary{{row.name, row.value}}}}};
        for (const Format& format : formats()) {
            if (!format.hasExif) continue;
            // A JPEG has the same text in a packet of one segment.
            if (format.name == "jpeg" && row.value.string().size() > 65'536) continue;
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

// A date in the fields of TIFF/EP, in data sets and in texts that have it, and in none that have not; names in texts.
TEST(Edit, ReachesWhatTheContainerRepeats) {
    const ByteString sets = ByteString("\x1C\2\x37\0\10"_z).add("20000102").add("\x1C\2\x3C\0\6"_z).add("030405");
    TiffBuilder tiff;
    tiff.text(TiffBuilder::first, 0x9003, "2000:01:02 03:04:05").text(TiffBuilder::exif, 0x9003, "2000:01:02 03:04:05");
    tiff.raw(TiffBuilder::first, 0x83BB, 7, static_cast<std::uint32_t>(sets.size()), sets);
    const ByteString picture =
        png({pngChunk("tEXt", "Author\0OLD name"_z), pngChunk("tEXt", "Creation Time\0OLD date"_z),
             pngChunk("tEXt", "exif:DateTimeOriginal\0OLD date"_z), pngChunk("tEXt", "Comment\0KEPT"_z)});
    EXPECT_EQ(propertiesOf(picture)["{TIFF}"].dictionary()["Artist"].string(), "OLD name");
    for (const char* date : {"2024:05:06 07:08:09", ""}) {
        const MetadataChange change{.removal = Removal::nothing,
                                    .removes = {},
                                    .values = {{"{Exif}", Dictionary{{"DateTimeOriginal", date}}},
                                               {"{TIFF}", Dictionary{{"Artist", *date ? "NEW name" : ""}}}}};
        const std::string edited = rewritten(tiff.build(), change), texts = rewritten(picture, change);
        for (const char* old : {"2000", "030405"}) EXPECT_THAT(edited, Not(HasSubstr(old)));
        const Dictionary iptc = propertiesOf(edited)["{IPTC}"].dictionary();
        EXPECT_EQ(iptc["DateCreated"].string(), *date ? "20240506" : "");
        EXPECT_EQ(iptc["TimeCreated"].string(), *date ? "070809" : "");
        EXPECT_TRUE(iptc["DigitalCreationDate"].isNull());
        EXPECT_THAT(texts, Not(HasSubstr("OLD")));
        EXPECT_THAT(texts, HasSubstr(std::string("Comment\0KEPT", 12)));
        const Dictionary words = propertiesOf(texts)["{PNG}"].dictionary();
        EXPECT_EQ(words["Author"].string(), *date ? "NEW name" : "");
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
        const std::string made = rewritten(format.build(), change);
        EXPECT_THAT(made, testing::AllOf(Not(HasSubstr("SECRET")), HasSubstr("kept artist"))) << format.name;
    }
}

}  // namespace
}  // namespace tessaly::test
