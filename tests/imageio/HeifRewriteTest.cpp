#include <gtest/gtest.h>

#include <algorithm>
#include <map>

#include "linux/imageio/containers/HeifItems.h"
#include "support/Containers.h"
#include "support/Rewritten.h"
#include "support/TiffBuilder.h"

// A file with every kind of item, each with words of its own, cleaned and read again: what is left, of which bytes,
// properties, references and groups.
namespace tessaly::test {
namespace {

using namespace imageio;
using Removal = MetadataChange::Removal;
using Numbers = std::vector<std::uint32_t>;

enum Item : std::uint8_t {
    grid = 1,
    firstTile,
    secondTile,
    thumbnail,
    thumbnailTile,
    exif,
    packet,
    alpha,
    depth,
    ofThumbnail,  ///< Derived from what goes.
    otherText,
    exifOfAlpha,
    gainMap,
    packetOfGainMap,
};

struct Content {
    Item id;
    std::string_view type;
    ByteString bytes;
    std::string_view properties;  ///< Their numbers, from 1.
    bool isKept = true;
};

constexpr std::string_view kXmpContent("application/rdf+xml\0", 20);

ByteString exifOf(std::string_view word) {
    TiffBuilder tiff;
    tiff.text(TiffBuilder::first, 0x013B, word).text(TiffBuilder::gps, 0x12, "PLACE datum");
    return ByteString().u32(0).add(tiff.build());
}

const std::vector<Content>& contents() {
    static const std::vector<Content> all{
        {grid, "grid", "GRID-DATA", "\1\4\5"},
        {firstTile, "hvc1", "TILE-ONE", "\1"},
        {secondTile, "hvc1", "TILE-TWO!", "\1"},
        {thumbnail, "grid", "THUMBNAIL", "\6", false},
        {thumbnailTile, "hvc1", "THUMB-TILE", "\6", false},
        {exif, "Exif", exifOf("SECRET artist"), "", false},
        {packet, "mime", xmp(R"(xmp:CreatorTool="SECRET" photoshop:City="PLACE")"), "", false},
        {alpha, "hvc1", "ALPHA-DATA", "\1\2"},
        {depth, "hvc1", "DEPTH-DATA", "\3", false},
        {ofThumbnail, "iden", "DERIVED", "\6", false},
        {otherText, "mime", "SECRET words", "", false},
        {exifOfAlpha, "Exif", exifOf("SECRET other"), "", false},
        {gainMap, "hvc1", "GAIN-MAP", "\1\7"},
        {packetOfGainMap, "mime",
         xmp(R"(xmlns:map="http://ns.apple.com/HDRGainMap/1.0/" map:HDRGainMapVersion="65536" xmp:CreatorTool="SECRET")"),
         ""}};
    return all;
}

/// Numbers of 16 or 32 bits; descriptions of grids in the table itself.
ByteString heif(bool isLong) {
    const auto number = [&](ByteString& to, std::uint32_t id) { isLong ? to.u32(id) : to.u16(id); };
    const unsigned version = isLong ? 1 : 0;
    const auto build = [&](std::uint32_t base) {
        ByteString infos, places, rows, inner, media;
        const auto count = static_cast<std::uint32_t>(contents().size());
        number(infos, count);
        places.u16(0x4400);
        number(places, count);
        rows.u32(count);
        for (const Content& one : contents()) {
            ByteString info;
            number(info, one.id);
            info.u16(0).add(one.type).u8(0);
            if (one.type == "mime") info.add(one.id == otherText ? std::string_view("text/plain\0", 11) : kXmpContent);
            infos.add(fullBox("infe", isLong ? 3 : 2, 0, {info}));
            const bool isInner = one.type == "grid";
            ByteString& data = isInner ? inner : media;
            number(places, one.id);
            // Two pieces, in the file in this order.
            const auto at = static_cast<std::uint32_t>((isInner ? 0 : base) + data.size());
            const auto size = static_cast<std::uint32_t>(one.bytes.size());
            places.u16(isInner ? 1 : 0).u16(0).u16(2).u32(at).u32(3).u32(at + 3).u32(size - 3);
            data.add(one.bytes);
            number(rows, one.id);
            rows.u8(static_cast<unsigned>(one.properties.size()));
            for (const char property : one.properties)
                isLong ? rows.u16(0x8000U + static_cast<unsigned>(property)) : rows.u8(static_cast<unsigned>(property));
        }
        ByteString references;
        const auto refer = [&](std::string_view type, Item from, std::initializer_list<Item> to) {
            ByteString one;
            number(one, from);
            one.u16(static_cast<unsigned>(to.size()));
            for (const Item id : to) number(one, id);
            references.add(box(type, {one}));
        };
        refer("dimg", grid, {firstTile, secondTile});
        refer("thmb", thumbnail, {grid});
        refer("dimg", thumbnail, {thumbnailTile});
        refer("cdsc", exif, {grid});
        refer("cdsc", packet, {grid, thumbnail});
        refer("auxl", alpha, {grid});
        refer("auxl", depth, {grid});
        refer("dimg", ofThumbnail, {thumbnail});
        refer("cdsc", otherText, {grid});
        refer("cdsc", exifOfAlpha, {alpha});
        refer("auxl", gainMap, {grid});
        refer("cdsc", packetOfGainMap, {gainMap});
        const auto group = [](std::string_view type, std::initializer_list<Item> items) {
            ByteString one = ByteString().u32(99).u32(static_cast<std::uint32_t>(items.size()));
            for (const Item id : items) one.u32(id);
            return fullBox(type, 0, 0, {one});
        };
        const auto auxiliary = [](std::string_view kind) { return fullBox("auxC", 0, 0, {kind}); };
        const ByteString properties = box(
            "ipco",
            {fullBox("ispe", 0, 0, {ByteString().u32(64).u32(48)}), auxiliary("urn:mpeg:hevc:2015:auxid:1\0"_z.text()),
             auxiliary("urn:mpeg:hevc:2015:auxid:2\0"_z.text()), box("irot", {"\0"_z}), box("udes", {"SECRET tag"}),
             box("clap", {"SECRET crop"}), auxiliary("urn:com:apple:photo:2020:aux:hdrgainmap\0"_z.text())});
        return box("ftyp", {"heic\0\0\0\0mif1heic"_z})
            .add(fullBox("meta", 0, 0,
                         {fullBox("hdlr", 0, 0, {"\0\0\0\0pict\0\0\0\0\0\0\0\0\0\0\0\0SECRET name\0"_z}),
                          fullBox("pitm", 0, 0, {ByteString().u16(grid)}), fullBox("iinf", version, 0, {infos}),
                          fullBox("iref", version, 0, {references}),
                          box("iprp", {properties, fullBox("ipma", version, version, {rows})}),
                          fullBox("iloc", isLong ? 2 : 1, 0, {places}), box("idat", {inner}),
                          box("grpl", {group("altr", {grid, thumbnail, alpha}), group("ster", {thumbnail, alpha})})}))
            .add(box("mdat", {media}))
            .add(box("free", {"SECRET padding"}));
    };
    std::size_t media = 0;
    for (const Content& one : contents()) media += one.type == "grid" ? 0 : one.bytes.size();
    return build(static_cast<std::uint32_t>(build(0).size() - media - 8 - 14));
}

/// What a reader finds.
struct Found {
    std::map<std::uint32_t, std::string> bytes;
    std::map<std::uint32_t, std::string> properties;  ///< Their types, one after the other.
    std::vector<std::string> references;              ///< "dimg 1: 2 3"
    std::vector<std::string> groups;

    explicit Found(const ByteString& file) {
        ByteSource source(file.bytes());
        const auto meta = findBox(source, IsoBox{.position = 0, .length = file.size()}, "meta");
        if (!meta) return;
        const HeifItems items(source, *meta);
        for (const HeifItem& item : items.all()) {
            std::vector<std::byte> storage;
            bytes[item.id] = asText(items.bytesOf(item, 1 << 20, storage).value_or(Bytes()));
            for (const IsoBox& property : items.propertiesOf(item))
                properties[item.id] += std::string(property.type()) + " ";
        }
        for (const HeifReference& reference : items.references())
            references.push_back(line(reference.type + " " + std::to_string(reference.from) + ":", reference.to));
        const auto list = findBox(source, *meta, "grpl", 4);
        for (IsoBoxes boxes(source, list.value_or(IsoBox{})); const auto group = list ? boxes.next() : std::nullopt;) {
            Numbers ids;
            for (std::uint64_t at = group->position + 12; at < group->end(); at += 4)
                ids.push_back(source.read<std::uint32_t>(at).value_or(0));
            groups.push_back(line(std::string(group->type()), ids));
        }
    }

    static std::string line(std::string text, const Numbers& numbers) {
        for (const std::uint32_t one : numbers) text += " " + std::to_string(one);
        return text;
    }
};

TEST(HeifRewrite, KeepsWhatShowsAndAllThatLeadsToIt) {
    for (const bool isLong : {false, true}) {
        SCOPED_TRACE(isLong);
        const std::string clean = rewritten(heif(isLong), Removal::everything);
        EXPECT_EQ(clean.find("SECRET"), std::string::npos);
        EXPECT_EQ(clean.find("PLACE"), std::string::npos);
        const Found found{ByteString(clean)};
        for (const Content& one : contents()) {
            EXPECT_EQ(found.bytes.contains(one.id), one.isKept) << int{one.id};
            if (one.isKept && one.id != packetOfGainMap) EXPECT_EQ(found.bytes.at(one.id), one.bytes.text());
        }
        EXPECT_NE(found.bytes.at(packetOfGainMap).find("HDRGainMapVersion"), std::string::npos);
        EXPECT_EQ(found.references,
                  (std::vector<std::string>{"dimg 1: 2 3", "auxl 8: 1", "auxl 13: 1", "cdsc 14: 13"}));
        EXPECT_EQ(found.groups, (std::vector<std::string>{"altr 1 8"}));
        EXPECT_EQ(found.properties, (std::map<std::uint32_t, std::string>{{grid, "ispe irot "},
                                                                          {firstTile, "ispe "},
                                                                          {secondTile, "ispe "},
                                                                          {alpha, "ispe auxC "},
                                                                          {gainMap, "ispe auxC "}}));
        EXPECT_EQ(rewritten(ByteString(clean), Removal::everything), clean);
    }
}

TEST(HeifRewrite, OfThePlaceLeavesEveryItemAndAllThatLeadsToIt) {
    for (const bool isLong : {false, true}) {
        SCOPED_TRACE(isLong);
        const ByteString file = heif(isLong);
        const std::string made = rewritten(file, Removal::place);
        EXPECT_EQ(made.find("PLACE"), std::string::npos);
        const Found before(file), after{ByteString(made)};
        for (const Content& one : contents()) {
            const bool isChanged = one.type == "Exif" || one.id == packet;
            ASSERT_TRUE(after.bytes.contains(one.id)) << int{one.id};
            if (!isChanged) EXPECT_EQ(after.bytes.at(one.id), one.bytes.text()) << int{one.id};
        }
        for (const Item id : {exif, packet, exifOfAlpha})
            EXPECT_NE(after.bytes.at(id).find("SECRET"), std::string::npos) << int{id};
        EXPECT_EQ(after.properties, before.properties);
        EXPECT_EQ(after.references, before.references);
        EXPECT_EQ(after.groups, before.groups);
    }
}

}  // namespace
}  // namespace tessaly::test
