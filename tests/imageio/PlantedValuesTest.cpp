#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <zlib.h>

#include <functional>
#include <map>

#include "support/Containers.h"
#include "support/Rewritten.h"
#include "support/TiffBuilder.h"

// A value of its own in every place of every container: "WHO-...;" tells who, when or with what, "WHERE-...;" where.
// Without metadata no part of one is left; without the place, every WHO is there as often as before, and no WHERE.
namespace tessaly::test {
namespace {

using Removal = MetadataChange::Removal;
using enum TiffBuilder::Directory;

// --- Blocks ---

/// `mark` makes the values of two blocks of a kind differ.
ByteString packet(const std::string& mark) {
    std::string attributes;
    const auto add = [&](std::string_view prefix, std::string_view uri, std::initializer_list<std::string_view> names) {
        if (!uri.empty()) attributes.append(" xmlns:").append(prefix).append("=\"").append(uri).append("\"");
        for (const std::string_view name : names) {
            const bool isPlace = name.starts_with('@');
            const std::string_view property = name.substr(isPlace ? 1 : 0);
            attributes.append(" ").append(prefix).append(":").append(property).append("=\"");
            attributes.append(isPlace ? "WHERE-" : "WHO-").append(mark).append("-").append(prefix).append("-");
            attributes.append(property).append(";\"");
        }
    };
    add("xmp", "", {"CreatorTool", "Label", "Nickname", "CreateDate"});
    add("dc", "", {"identifier", "source", "@coverage"});
    add("aux", "", {"SerialNumber", "OwnerName", "LensSerialNumber"});
    add("exif", "", {"ImageUniqueID", "@GPSLatitude", "@GPSMapDatum", "@GPSAreaInformation", "@GPSTimeStamp"});
    add("tiff", "", {"Make", "Artist", "ImageDescription"});
    add("photoshop", "", {"Headline", "Credit", "AuthorsPosition", "@City", "@State", "@Country"});
    add("lr", "http://ns.adobe.com/lightroom/1.0/", {"privateRTKInfo"});
    add("digiKam", "http://www.digikam.org/ns/1.0/", {"CaptionsAuthorNames", "ImageHistory"});
    add("MicrosoftPhoto", "http://ns.microsoft.com/photo/1.0", {"CameraSerialNumber", "LastKeywordXMP"});
    add("acdsee", "http://ns.acdsee.com/iptc/1.0/", {"caption", "author", "keywords"});
    add("plus", "http://ns.useplus.org/ldf/xmp/1.0/", {"ImageCreator", "LicensorName"});
    add("cc", "http://creativecommons.org/ns#", {"attributionName", "license"});
    add("xmpDM", "http://ns.adobe.com/xmp/1.0/DynamicMedia/", {"artist", "director", "@shotLocation"});
    add("xmpMM", "http://ns.adobe.com/xap/1.0/mm/", {"DocumentID", "InstanceID", "OriginalDocumentID"});
    add("xmpRights", "http://ns.adobe.com/xap/1.0/rights/", {"WebStatement"});
    add("exifEX", "http://cipa.jp/exif/1.0/", {"BodySerialNumber", "CameraOwnerName"});
    add("drone", "http://www.dji.com/drone-dji/1.0/",
        {"SelfData", "@GpsLatitude", "@GpsLongtitude", "@RelativeAltitude"});
    add("Iptc4xmpCore", "http://iptc.org/std/Iptc4xmpCore/1.0/xmlns/", {"Scene", "@Location", "@CountryCode"});
    add("own", "http://example.org/own/", {"anything"});
    const auto list = [&](std::string_view name, std::string_view value) {
        return ByteString("<")
            .add(name)
            .add("><rdf:Bag><rdf:li>")
            .add(value)
            .add(mark)
            .add(";</rdf:li></rdf:Bag></")
            .add(ByteString(name).add(">"));
    };
    ByteString elements = list("lr:hierarchicalSubject", "WHO-tree-").add(list("digiKam:TagsList", "WHO-tags-"));
    elements.add(list("dc:subject", "WHO-subject-"));
    elements.add("<rs:Regions xmlns:rs=\"http://www.metadataworkinggroup.com/schemas/regions/\" rs:Name=\"WHO-face-" +
                 mark + ";\"/>");
    elements.add("<ext:PersonInImage xmlns:ext=\"http://iptc.org/std/Iptc4xmpExt/2008-02-29/\">WHO-person-" + mark +
                 ";</ext:PersonInImage>");
    elements.add(
        "<ext:LocationShown xmlns:ext=\"http://iptc.org/std/Iptc4xmpExt/2008-02-29/\"><rdf:Bag><rdf:li "
        "ext:City=\"WHERE-shown-" +
        mark + ";\"/></rdf:Bag></ext:LocationShown>");
    return xmp(attributes, elements.text());
}

ByteString dataSets(const std::string& mark) {
    ByteString sets;
    const auto add = [&](unsigned number, const std::string& kind) {
        const std::string text = kind + "-" + mark + "-iptc" + std::to_string(number) + ";";
        sets.u8(0x1C).u8(2).u8(number).u16(static_cast<unsigned>(text.size())).add(text);
    };
    for (const unsigned number : {5, 25, 40, 55, 80, 85, 103, 105, 110, 116, 118, 120, 122}) add(number, "WHO");
    for (const unsigned number : {26, 27, 90, 92, 95, 100, 101}) add(number, "WHERE");
    return sets;
}

ByteString resources(const std::string& mark) {
    ByteString all;
    all.add(psdResource(0x0404, dataSets(mark + "-8bim")));
    all.add(psdResource(0x040B, "WHO-" + mark + "-url;"));
    all.add(psdResource(0x03F0, "WHO-" + mark + "-caption;"));
    all.add(psdResource(0x041A, "WHO-" + mark + "-slices;"));
    all.add(psdResource(0x0FA0, "WHO-" + mark + "-plugin;"));
    return all;
}

/// Field `tag` with a text; of XP fields in UTF-16.
struct Field {
    TiffBuilder::Directory directory;
    unsigned tag;
    const char* text;
};
constexpr Field kFields[]{
    {first, 0x000B, "WHO-program;"},  {first, 0x010D, "WHO-document;"}, {first, 0x010E, "WHO-description;"},
    {first, 0x010F, "Panasonic"},     {first, 0x0110, "WHO-model;"},    {first, 0x0131, "WHO-software;"},
    {first, 0x0132, "WHO-date;"},     {first, 0x013B, "WHO-artist;"},   {first, 0x013C, "WHO-host;"},
    {first, 0x8298, "WHO-rights;"},   {first, 0x87B1, "WHERE-geo;"},    {exif, 0x9003, "WHO-taken;"},
    {exif, 0x9004, "WHO-digitized;"}, {exif, 0x9286, "WHO-comment;"},   {exif, 0x9290, "WHO-subsec;"},
    {exif, 0xA004, "WHO-sound;"},     {exif, 0xA420, "WHO-id;"},        {exif, 0xA430, "WHO-owner;"},
    {exif, 0xA431, "WHO-serial;"},    {exif, 0xA433, "WHO-lensmaker;"}, {exif, 0xA434, "WHO-lens;"},
    {exif, 0xA435, "WHO-lensno;"},    {exif, 0xEA1C, "WHO-private;"},   {gps, 0x0008, "WHERE-satellites;"},
    {gps, 0x0012, "WHERE-datum;"},    {gps, 0x001B, "WHERE-method;"},   {gps, 0x001C, "WHERE-area;"},
    {gps, 0x001D, "WHERE-day;"},
};

ByteString wide(std::string_view text) {
    ByteString made;
    for (const char c : text) made.u8(static_cast<unsigned char>(c)).u8(0);
    return made;
}

void addRaw(TiffBuilder& tiff, TiffBuilder::Directory directory, unsigned tag, const ByteString& value) {
    tiff.raw(directory, tag, 7, static_cast<std::uint32_t>(value.size()), value);
}

/// With a maker's note, whose offsets count from the head of the block.
ByteString exifBlock(std::initializer_list<Field> more = {}, const std::function<void(TiffBuilder&)>& add = {}) {
    const auto build = [&](std::uint32_t noteAt) {
        TiffBuilder note;
        note.text(first, 0x0025, "WHO-note-serial;").text(first, 0x0069, "WHERE-note-country;");
        note.text(first, 0x006B, "WHERE-note-state;").text(first, 0x006D, "WHERE-note-city;");
        note.text(first, 0x006F, "WHERE-note-landmark;").text(first, 0x0080, "WHERE-note-village;");
        note.text(first, 0x0066, "WHO-note-baby;");
        TiffBuilder tiff;
        for (const Field& field : kFields) tiff.text(field.directory, field.tag, field.text);
        for (const Field& field : more) tiff.text(field.directory, field.tag, field.text);
        tiff.shorts(first, 0x0112, {6});
        for (unsigned tag = 0x9C9B; tag <= 0x9C9F; ++tag)
            addRaw(tiff, first, tag, wide("WHO-xp" + std::to_string(tag) + ";"));
        addRaw(tiff, first, 0xC4A5, "WHO-print;");
        addRaw(tiff, exif, 0x927C, ByteString("Panasonic\0\0\0"_z).add(note.directory(first, noteAt + 12)));
        if (add) add(tiff);
        return tiff.build();
    };
    // The maker's name stands in the first directory, too.
    return build(static_cast<std::uint32_t>(build(0).text().find("Panasonic\0\0\0"_z.text())));
}

// --- Containers ---

ByteString fullJpeg() {
    const auto xmpSegment = [](const std::string& mark) {
        return jpegSegment(0xE1, ByteString("http://ns.adobe.com/xap/1.0/\0"_z).add(packet(mark)));
    };
    return jpeg({jpegSegment(0xE1, ByteString("Exif\0\0"_z).add(exifBlock())), xmpSegment("one"), xmpSegment("two"),
                 jpegSegment(0xED, ByteString("Photoshop 3.0\0"_z).add(resources("a")).add(resources("b"))),
                 jpegSegment(0xEC, "WHO-ducky;"), jpegSegment(0xE3, "WHO-meta;"), jpegSegment(0xE7, "WHO-maker;"),
                 jpegSegment(0xEB, "JP\0\1\0\0\0\1\0\0\0\x18jumbWHO-credentials;"_z),
                 jpegSegment(0xEB, "JP\0\1\0\0\0\1\0\0\0\x18privWHO-layer;"_z),
                 jpegSegment(0xFE, "WHO-comment-segment;")});
}

ByteString deflated(const ByteString& text) {
    uLongf size = compressBound(static_cast<uLong>(text.size()));
    std::string made(size, '\0');
    // Stored: the values can be found in it.
    compress2(reinterpret_cast<Bytef*>(made.data()), &size, reinterpret_cast<const Bytef*>(text.text().data()),
              static_cast<uLong>(text.size()), 0);
    return ByteString(made.substr(0, size));
}

ByteString fullPng() {
    return png({pngChunk("tEXt", "Author\0WHO-png-author;"_z), pngChunk("tEXt", "exif:GPSLatitude\0WHERE-png-text;"_z),
                pngChunk("tEXt", "City\0WHERE-png-city;"_z),
                pngChunk("zTXt", ByteString("Comment\0\0"_z).add(deflated("WHO-png-packed;"))),
                pngChunk("iTXt", "Title\0\0\0en\0Titel\0WHO-png-title;"_z), pngChunk("tIME", "WHO-at;"),
                pngChunk("caBX", "WHO-png-credentials;"), pngChunk("prVt", "WHO-png-private;"),
                pngChunk("iTXt", ByteString("XML:com.adobe.xmp\0\0\0\0\0"_z).add(packet("png"))),
                pngChunk("iTXt", ByteString("XML:com.adobe.xmp\0\0\0\0\0"_z).add(packet("further"))),
                pngChunk("eXIf", exifBlock()), pngChunk("IDAT", "PIXELS")});
}

ByteString fullWebp() {
    return riffChunk("RIFF", {"WEBP", riffChunk("VP8X", {"\x0C\0\0\0\x3F\0\0\x2F\0\0"_z}),
                              riffChunk("VP8L", {"\x2F\x3F\xC0\x0B\0PIXELS"_z}), riffChunk("EXIF", {exifBlock()}),
                              riffChunk("XMP ", {packet("webp")}), riffChunk("INFO", {"WHO-webp-info;"})});
}

ByteString fullGif() {
    ByteString file("GIF89a\x40\0\x30\0\0\0\0"_z);
    file.add("\x21\xFE\x10WHO-gif-comment;\0"_z).add("\x21\xFF\x0BMAKERsNOTES\x0EWHO-gif-notes;\0"_z);
    file.add("\x21\xFF\x0BXMP DataXMP").add(packet("gif")).u8(1);
    for (int value = 0xFF; value >= 0; --value) file.u8(static_cast<unsigned>(value));
    return file.u8(0).add("\x2C\0\0\0\0\x40\0\x30\0\0\2\6PIXELS\0\x3B"_z);
}

void addBlocks(TiffBuilder& tiff, const std::string& mark) {
    addRaw(tiff, first, 0x02BC, packet(mark));
    addRaw(tiff, first, 0x83BB, dataSets(mark));
    addRaw(tiff, first, 0x8649, resources(mark));
}

void addPicture(TiffBuilder& tiff, std::uint32_t at) {
    tiff.longs(first, 0x0100, {6}).longs(first, 0x0101, {1}).shorts(first, 0x0103, {1});
    tiff.longs(first, 0x0111, {at}).longs(first, 0x0117, {6});
}

constexpr std::uint32_t kPixelsAt = 30'000;

/// The first page has every block; behind it stands a page with texts and an Exif directory of its own.
ByteString fullTiff() {
    ByteString file = exifBlock({}, [](TiffBuilder& tiff) {
        addBlocks(tiff, "tiff");
        addPicture(tiff, kPixelsAt);
    });
    TiffBuilder second;
    second.text(first, 0x013B, "WHO-second-artist;").longs(first, 0x8769, {kPixelsAt + 2000});
    second.longs(first, 0x8825, {kPixelsAt + 3000});
    addPicture(second, kPixelsAt);
    TiffBuilder inner;
    inner.text(exif, 0xA431, "WHO-second-serial;").text(exif, 0x9003, "WHO-second-date;");
    inner.text(gps, 0x0012, "WHERE-second-datum;");
    const auto addAt = [&](std::uint32_t at, const ByteString& part) { file.add(at - file.size(), '\0').add(part); };
    addAt(kPixelsAt, "PIXELS");
    addAt(kPixelsAt + 1000, second.directory(first, kPixelsAt + 1000));
    addAt(kPixelsAt + 2000, inner.directory(exif, kPixelsAt + 2000));
    addAt(kPixelsAt + 3000, inner.directory(gps, kPixelsAt + 3000));
    return withNext(file, kPixelsAt + 1000);
}

/// Of a raw, what a converter needs stays; every block of texts goes, and there are three with captions.
ByteString fullNef() {
    TiffBuilder tiff;
    tiff.text(first, 0x010F, "NIKON").text(first, 0x0110, "D1").shorts(first, 0x0103, {34713});
    tiff.longs(first, 0x0111, {kPixelsAt}).longs(first, 0x0117, {6}).longs(first, 0x014A, {0});
    for (const Field& field : kFields)
        if (field.directory == gps || (field.tag >= 0x0131 && field.tag < 0xA431 && field.tag != 0x87B1))
            tiff.text(field.directory, field.tag, field.text);
    addBlocks(tiff, "nef");
    ByteString file = tiff.build();
    return file.add(kPixelsAt - file.size(), '\0').add("PIXELS");
}

ByteString fullPsd() {
    Psd psd;
    psd.width = psd.height = 1;
    psd.resources = resources("psd").add(psdResource(0x0424, packet("psd"))).add(psdResource(0x0422, exifBlock()));
    psd.pixels = ByteString().u16(0).add("RGB");
    return psd.build();
}

/// Item 1 is the picture, 2 its Exif, 3 and 4 packets of XMP, 5 another maker's item, 6 an Exif block that is cut.
ByteString fullHeif() {
    const auto build = [](std::uint32_t base) {
        const std::vector<ByteString> contents{"PIXELS",         ByteString().u32(0).add(exifBlock()),
                                               packet("heic"),   packet("further"),
                                               "WHO-heic-item;", "\0\0"_z};
        const auto item = [](unsigned id, std::string_view type, const ByteString& more = {}) {
            return fullBox("infe", 2, 0, {ByteString().u16(id).u16(0).add(type).u8(0).add(more)});
        };
        ByteString places = ByteString().u16(0x4400).u16(6);
        ByteString references;
        std::uint32_t at = base;
        unsigned id = 0;
        for (const ByteString& content : contents) {
            places.u16(++id).u16(0).u16(0).u16(1).u32(at).u32(static_cast<std::uint32_t>(content.size()));
            at += static_cast<std::uint32_t>(content.size());
            if (id > 1) references.add(box("cdsc", {ByteString().u16(id).u16(1).u16(1)}));
        }
        ByteString file = box("ftyp", {"heic\0\0\0\0mif1heic"_z});
        file.add(fullBox(
            "meta", 0, 0,
            {fullBox("hdlr", 0, 0, {"\0\0\0\0pict\0\0\0\0\0\0\0\0\0\0\0\0WHO-handler;\0"_z}),
             fullBox("pitm", 0, 0, {ByteString().u16(1)}),
             fullBox("iinf", 0, 0,
                     {ByteString().u16(6), item(1, "hvc1"), item(2, "Exif"), item(3, "mime", "application/rdf+xml\0"_z),
                      item(4, "mime", "application/rdf+xml\0"_z), item(5, "mime", "text/plain\0"_z), item(6, "Exif")}),
             fullBox("iref", 0, 0, {references}),
             box("iprp", {box("ipco", {fullBox("ispe", 0, 0, {ByteString().u32(64).u32(48)})}),
                          fullBox("ipma", 0, 0, {ByteString().u32(1).u16(1).u8(1).u8(1)})}),
             fullBox("iloc", 1, 0, {places})}));
        ByteString media;
        for (const ByteString& content : contents) media.add(content);
        const auto head = static_cast<std::uint32_t>(file.size() + 8);
        return std::pair(file.add(box("mdat", {media})), head);
    };
    return build(build(0).second).first;
}

ByteString fullJxl() {
    return ByteString("\0\0\0\x0CJXL \r\n\x87\n"_z)
        .add(box("ftyp", {"jxl \0\0\0\0jxl "_z}))
        .add(box("Exif", {ByteString().u32(0), exifBlock()}))
        .add(box("xml ", {packet("jxl")}))
        .add(box("jumb", {"WHO-jxl-credentials;"}))
        .add(box("jxlc", {"\xFF\x0APIXELS"_z}));
}

ByteString fullJp2() {
    return ByteString("\0\0\0\x0CjP  \r\n\x87\n"_z)
        .add(box("ftyp", {"jp2 \0\0\0\0jp2 "_z}))
        .add(box("jp2h", {box("ihdr", {ByteString().u32(48).u32(64).u16(3).u8(7).u8(7).u8(0).u8(0)})}))
        .add(box("uuid", {"\xBE\x7A\xCF\xCB\x97\xA9\x42\xE8\x9C\x71\x99\x94\x91\xE3\xAF\xAC"_z, packet("jp2")}))
        .add(box("uuid", {"JpgTiffExif->JP2", exifBlock()}))
        .add(box("jp2c", {"PIXELS"}));
}

ByteString fullAvi() {
    ByteString texts;
    for (const std::string_view name : {"IART", "ICMT", "ICOP", "ICRD", "INAM", "ISFT", "IKEY", "ISBJ", "IENG"})
        texts.add(riffChunk(name, {ByteString("WHO-avi-").add(name).add(";")}));
    return riffChunk(
        "RIFF",
        {"AVI ",
         riffChunk("LIST", {"hdrl", riffChunk("avih", {ByteString().add(56, '\0')}),
                            riffChunk("LIST", {"strl", riffChunk("strh", {"vidsMJPG", ByteString().add(48, '\0')}),
                                               riffChunk("strf", {ByteString().add(40, '\0')}),
                                               riffChunk("strn", {"WHO-avi-stream;"})}),
                            riffChunk("IDIT", {"WHO-avi-taken;"}), riffChunk("ISMP", {"WHO-avi-time;"})}),
         riffChunk("LIST", {"INFO", texts}), riffChunk("LIST", {"exif", riffChunk("emdl", {"WHO-avi-model;"})}),
         riffChunk("_PMX", {packet("avi")}), riffChunk("JUNK", {"WHO-avi-junk;"}),
         riffChunk("LIST", {"movi", riffChunk("00dc", {"PIXELS"})}), riffChunk("idx1", {"INDEX"})});
}

/// Texts as QuickTime and as the 3GP family keep them, keyed ones, XMP, and who made the tracks.
ByteString fullMovie() {
    const auto classic = [](std::string_view code, std::string_view text) {
        return box(code, {ByteString().u16(static_cast<unsigned>(text.size())).u16(0).add(text)});
    };
    ByteString keys, values;
    unsigned number = 0;
    const auto add = [&](const std::string& name, const std::string& text) {
        keys.u32(static_cast<std::uint32_t>(8 + name.size())).add("mdta").add(name);
        values.add(box(ByteString().u32(++number).text(), {box("data", {ByteString().u32(1).u32(0).add(text)})}));
    };
    for (const char* name : {"make", "model", "software", "creationdate", "author", "content.identifier", "artist"})
        add(std::string("com.apple.quicktime.") + name, std::string("WHO-mov-") + name + ";");
    add("com.apple.quicktime.location.ISO6709", "WHERE-mov-place;");
    add("com.apple.quicktime.location.name", "WHERE-mov-name;");
    const ByteString place = ByteString().u32(0).u16(0x15C7).add("WHERE-mov-loci;\0"_z).add(13, '\0').add("x\0y\0"_z);
    const ByteString user = box("udta", {classic("\xA9xyz", "WHERE-mov-xyz;"), classic("\xA9mak", "WHO-mov-mak;"),
                                         classic("\xA9nam", "WHO-mov-nam;"), classic("\xA9swr", "WHO-mov-swr;"),
                                         box("loci", {place}), fullBox("auth", 0, 0, {"\x15\xC7WHO-mov-auth;\0"_z}),
                                         box("XMP_", {packet("mov")}), box("manu", {"WHO-mov-manu;"})});
    return box("ftyp", {"qt  \0\0\0\0qt  "_z})
        .add(box("moov",
                 {fullBox("mvhd", 0, 0, {ByteString().add(96, '\0')}), user,
                  box("meta", {fullBox("hdlr", 0, 0, {"\0\0\0\0mdta"_z}),
                               fullBox("keys", 0, 0, {ByteString().u32(number).add(keys)}), box("ilst", {values})})}))
        .add(box("mdat", {"PIXELS"}));
}

// --- The rule ---

struct Container {
    const char* name;
    ByteString (*build)();
    const char* checksums;
};
constexpr Container kContainers[]{
    {"JPEG", fullJpeg, "f01d5e95 e5c38d54 c4a0f550 5a6cd4d4 e1d9def7 00000000"},
    {"PNG", fullPng, "a9090289 e10af047 ec983363 32c384f1 54c33f2d fd4bca90"},
    {"WebP", fullWebp, "0f100433 abf07aec e4bd3940 5feffc1b 9c440187 828c5542"},
    {"GIF", fullGif, "a9776ea9 b81ba3f4 f16666c0 dcecc653 31357b79 00000000"},
    {"TIFF", fullTiff, "8c8aeabe 5dc1a594 d0b16c28 85af8a7a 89df3a6a 94a3b906"},
    {"NEF", fullNef, "a8e79a89 5743b0d3 36291811 1cb6bcd5 0491ffd2 fa854d58"},
    {"PSD", fullPsd, "710f5eec 0cc06379 9c03ba47 e624a5f9 98f95209 00000000"},
    {"HEIC", fullHeif, "dea72461 bdd6fc8c 4d15f68c c49baa6d 7b672726 3e7bbe8b"},
    {"JPEG XL", fullJxl, "b7f10081 1001d8a7 b60a5371 222d06bc e0bff7a3 00000000"},
    {"JPEG 2000", fullJp2, "58f88aa1 e4587b9a 46405a1c 22c7f102 90c50d97 00000000"},
    {"AVI", fullAvi, "7d224495 e2af92c2 66887918 00000000 00000000 9b2ccd3d"},
    {"MOV", fullMovie, "699a9080 59e05bed 5fc3c1e3 00000000 00000000 7cc7471f"},
};

/// How often each planted value stands in the file; those in UTF-16 too.
std::map<std::string, int> plantedIn(std::string_view file) {
    std::map<std::string, int> found;
    for (const std::size_t step : {std::size_t{1}, std::size_t{2}})
        for (const std::string_view kind : {"WHO-", "WHERE-"})
            for (std::size_t at = 0; at + step * kind.size() <= file.size(); ++at) {
                const auto letter = [&](std::size_t i) { return file[at + i * step]; };
                std::size_t length = 0;
                while (length < kind.size() && letter(length) == kind[length]) ++length;
                if (length < kind.size()) continue;
                std::string word(kind);
                for (; at + length * step < file.size() && letter(length) != ';' && word.size() < 80; ++length)
                    word += letter(length);
                ++found[word];
            }
    return found;
}

TEST(PlantedValues, AreGoneToTheLastPart) {
    constexpr std::size_t kPart = 8;
    for (const auto& [name, build, checksums] : kContainers) {
        const ByteString file = build();
        const auto planted = plantedIn(file.text());
        ASSERT_GT(planted.size(), 10U) << name;
        const std::string clean = rewritten(file, Removal::everything);
        EXPECT_THAT(plantedIn(clean), testing::IsEmpty()) << name;
        for (const auto& [word, count] : planted)
            for (std::size_t at = 0; at + kPart <= word.size(); ++at)
                if (clean.find(word.substr(at, kPart)) != std::string::npos)
                    ADD_FAILURE() << name << ": part of " << word;
    }
}

// What stays is as it was, and what is new is whole: nothing else in the file changes.
TEST(PlantedValues, LeaveTheRestToTheByte) {
    for (const auto& [name, build, checksums] : kContainers) EXPECT_EQ(checksumsOf(build()), checksums) << name;
}

TEST(PlantedValues, OfThePlaceAreGoneAloneAndEverywhere) {
    for (const auto& [name, build, checksums] : kContainers) {
        const ByteString file = build();
        const auto after = plantedIn(rewritten(file, Removal::place));
        for (const auto& [word, count] : plantedIn(file.text())) {
            const auto found = after.find(word);
            const int left = found == after.end() ? 0 : found->second;
            EXPECT_EQ(left, word.starts_with("WHERE-") ? 0 : count) << name << ": " << word;
        }
    }
}

// The cities by which a camera knows its time zone; the zone itself tells when.
TEST(PlantedValues, OfThePlaceAreBlankedInsideAField) {
    struct Row {
        const char* make;
        ByteString head;  ///< Of the note.
        ByteString field, blanked;
    };
    const auto numbers = [](std::initializer_list<std::uint32_t> values) {
        ByteString made;
        for (const std::uint32_t value : values) made.number(value, true);
        return made;
    };
    for (const auto& [make, head, field, blanked] :
         {Row{"Canon", "", numbers({16, 60, 17, 1}), numbers({16, 60, 0, 1})},
          Row{"PENTAX", "AOC\0II"_z, "\3\0\x11\x12"_z, "\3\0\xFF\xFF"_z}}) {
        const auto build = [&](std::uint32_t at) {
            TiffBuilder note, tiff;
            addRaw(note, first, field.size() > 4 ? 0x0035 : 0x006B, field);
            tiff.text(first, 0x010F, make).text(exif, 0x9003, "2020:01:02 03:04:05");
            addRaw(tiff, exif, 0x927C, ByteString(head).add(note.directory(first, at)));
            return tiff.build();
        };
        const auto size = static_cast<std::uint32_t>(field.size());
        const auto entry = ByteString().number(std::uint16_t{7}, true).number(size, true);
        const auto at = static_cast<std::uint32_t>(build(0).text().find(entry.text()) - 4);
        const ByteString file = jpegWithExif(build(at));
        ASSERT_NE(file.text().find(field.text()), std::string_view::npos) << make;
        EXPECT_NE(rewritten(file, Removal::place).find(blanked.text()), std::string::npos) << make;
    }
    // A raw in boxes has the note as a structure of its own.
    TiffBuilder note;
    addRaw(note, first, 0x0035, numbers({16, 60, 17, 1}));
    const ByteString canon("\x85\xC0\xB6\x87\x82\x0F\x11\xE0\x81\x11\xF4\xCE\x46\x2B\x6A\x48");
    const std::string made = rewritten(
        box("ftyp", {"crx \0\0\0\1crx isom"_z}).add(box("moov", {box("uuid", {canon, box("CMT3", {note.build()})})})),
        Removal::place);
    EXPECT_NE(made.find(numbers({16, 60, 0, 1}).text()), std::string::npos) << made.size();
}

}  // namespace
}  // namespace tessaly::test
