#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "linux/imageio/blocks/RawProfile.h"
#include "platform/ImageIO/MetadataAudit.h"
#include "support/Containers.h"
#include "support/TemporaryFolder.h"
#include "support/TiffBuilder.h"

// A place in any block of any container is named, whoever was to take it out.
namespace tessaly::test {
namespace {

using testing::Contains;
using testing::IsEmpty;

using Names = std::vector<std::string>;

/// What "--check" names in a file from which the place, or everything, was to go.
Names left(const ByteString& file, MetadataChange change) {
    const TemporaryFolder folder;
    Names names;
    for (const MetadataFinding& finding : remaining(auditMetadata(folder.write("file", file)).value(), change))
        names.push_back(finding.block + ": " + finding.name);
    return names;
}

MetadataChange removing(MetadataChange::Removal removal, Dictionary values = {}) {
    return {.removal = removal, .removes = {}, .values = std::move(values)};
}

ByteString iptcCity() { return ByteString().u8(0x1C).u8(2).u8(90).u16(6).add("Berlin"); }
ByteString iptcTitle() { return ByteString().u8(0x1C).u8(2).u8(5).u16(1).add("T"); }
ByteString photoshop(const ByteString& datasets) {
    return jpegSegment(0xED, ByteString("Photoshop 3.0\0"_z).add(psdResource(0x0404, datasets)));
}
ByteString packet() { return xmp("photoshop:City='Berlin'"); }
ByteString xmpSegment(const ByteString& words) {
    return jpegSegment(0xE1, ByteString("http://ns.adobe.com/xap/1.0/\0"_z).add(words));
}
ByteString position() { return TiffBuilder().text(TiffBuilder::gps, 0x12, "WGS-84").build(); }

/// A maker's note with one field of text, behind `head`, its offsets from the start of the block.
ByteString note(std::string_view make, std::string_view head, unsigned tag, const ByteString& value) {
    const auto build = [&](std::uint32_t at) {
        TiffBuilder fields;
        fields.raw(TiffBuilder::exif, tag, 7, static_cast<std::uint32_t>(value.size()), value);
        fields.text(TiffBuilder::exif, 0xF001, "filler");
        const ByteString whole =
            ByteString(head).add(fields.directory(TiffBuilder::exif, at + static_cast<std::uint32_t>(head.size())));
        TiffBuilder tiff;
        tiff.text(TiffBuilder::first, 0x010F, make);
        tiff.raw(TiffBuilder::exif, 0x927C, 7, static_cast<std::uint32_t>(whole.size()), whole);
        return std::pair(tiff.build(), whole);
    };
    const auto [block, whole] = build(0);
    return jpegWithExif(build(static_cast<std::uint32_t>(block.text().find(whole.text()))).first);
}

ByteString extendedPacket() {
    const ByteString words = packet();
    ByteString file;
    const std::size_t half = words.size() / 2;
    const auto part = [&](std::size_t from, std::size_t count) {
        return jpegSegment(0xE1, ByteString("http://ns.adobe.com/xmp/extension/\0"_z)
                                     .add("0123456789ABCDEF0123456789ABCDEF")
                                     .u32(static_cast<std::uint32_t>(words.size()))
                                     .u32(static_cast<std::uint32_t>(from))
                                     .add(words.text().substr(from, count)));
    };
    return jpeg({part(half, words.size() - half), part(0, half)});
}

ByteString movie(const ByteString& userData) { return box("ftyp", {"qt  \0\0\0\0"_z}).add(box("moov", {userData})); }

ByteString keyedMovie() {
    const std::string key = "com.apple.quicktime.location.ISO6709";
    const ByteString keys = fullBox("keys", 0, 0, {ByteString().u32(1).u32(8 + 36).add("mdta").add(key)});
    const ByteString item = box("\0\0\0\1"_z.text(), {box("data", {ByteString().u32(1).u32(0).add("+52.5+013.4/")})});
    return movie(
        box("meta", {fullBox("hdlr", 0, 0, {"\0\0\0\0mdta\0\0\0\0\0\0\0\0\0\0\0\0\0"_z}), keys, box("ilst", {item})}));
}

ByteString trackMovie() {
    const ByteString entry = box("gpmd", {"\0\0\0\0\0\0\0\1"_z});
    const ByteString table = box("stbl", {fullBox("stsd", 0, 0, {ByteString().u32(1), entry})});
    return movie(box("trak", {box("mdia", {box("minf", {table})})}));
}

TEST(MetadataAudit, NamesAPlaceInEveryBlock) {
    TiffBuilder sets;
    const ByteString city = iptcCity();
    sets.raw(TiffBuilder::first, 0x83BB, 7, static_cast<std::uint32_t>(city.size()), city);
    const auto rawProfile = [](std::string_view type, const ByteString& bytes) {
        const std::string text = imageio::encodedRawProfile(type, imageio::asBytes(bytes.text()));
        return pngChunk("tEXt", ByteString("Raw profile type ").add(type).u8(0).add(text));
    };
    const ByteString plain = jpeg({});
    const struct {
        ByteString file;
        const char* name;
    } rows[]{
        {jpegWithExif(position()), "GPS: MapDatum"},
        {jpeg({photoshop(city)}), "IPTC: City"},
        {jpeg({photoshop(iptcTitle()), photoshop(city)}), "IPTC: City"},
        {jpeg({xmpSegment(packet())}), "XMP: photoshop:City"},
        {jpeg({xmpSegment(xmp("dc:format='image/jpeg'")), xmpSegment(packet())}), "XMP: photoshop:City"},
        {extendedPacket(), "XMP: photoshop:City"},
        {ByteString(plain).add("behind the end").add(packet()), "XMP: photoshop:City"},
        {ByteString(plain).add(jpegWithExif(position())), "GPS: MapDatum"},
        {note("Canon", "", 0x0035, "\x10\0\0\0\x3C\0\0\0\x14\0\0\0\0\0\0\0"_z), "Canon maker note: TimeZoneCity"},
        {note("Panasonic", "Panasonic\0\0\0"_z.text(), 0x006D, "Berlin"), "Panasonic maker note: City"},
        {sets.build(), "IPTC: City"},
        {png({pngChunk("eXIf", position())}), "GPS: MapDatum"},
        {png({pngChunk("tEXt",
                       "exif:GPSLatitude\0"
                       "52"_z)}),
         "PNG: exif:GPSLatitude"},
        {png({rawProfile("iptc", psdResource(0x0404, city))}), "IPTC: City"},
        {png({rawProfile("exif", ByteString("Exif\0\0"_z).add(position()))}), "GPS: MapDatum"},
        {movie(box("udta", {box("\xA9xyz", {ByteString().u16(12).u16(0).add("+52.5+013.4/")})})), "movie: location"},
        {keyedMovie(), "movie: com.apple.quicktime.location.ISO6709"},
        {trackMovie(), "movie: location track"},
    };
    for (const auto& [file, name] : rows)
        EXPECT_THAT(left(file, removing(MetadataChange::Removal::place)), Contains(name)) << name;
}

TEST(MetadataAudit, LetsStandWhatIsKeptOrBlank) {
    TiffBuilder tiff;
    tiff.text(TiffBuilder::first, 0x013B, "Ann").text(TiffBuilder::first, 0x0132, "    :  :     :  :  ");
    const ByteString file =
        jpeg({jpegSegment(0xE1, ByteString("Exif\0\0"_z).add(tiff.build())),
              xmpSegment(xmp("", "<dc:creator><rdf:Seq><rdf:li>Ann</rdf:li></rdf:Seq></dc:creator>"))});
    const auto everything = MetadataChange::Removal::everything;
    EXPECT_THAT(left(file, removing(everything)), testing::UnorderedElementsAre("TIFF: Artist", "XMP: dc:creator"));
    EXPECT_THAT(left(file, removing(everything, {{"{TIFF}", Dictionary{{"Artist", "Ann"}}}})), IsEmpty());
    EXPECT_THAT(left(file, removing(MetadataChange::Removal::place)), IsEmpty());
}

TEST(MetadataAudit, TellsByItsWordsWhatANameGivesAway) {
    using enum PrivateKind;
    const struct {
        const char* name;
        PrivateKind kind;
    } rows[]{{"photoshop:State", place},
             {"Province/State", place},
             {"SubjectLocation", none},
             {"ISOSpeedLatitudeyyy", none},
             {"LocationShown[1]/x:Name", place},
             {"LensSerialNumber", device},
             {"xmpMM:DocumentID", device},
             {"UniqueCameraModel", none},
             {"xmp:CreatorTool", none},
             {"CameraOwnerName", person},
             {"By-line", person},
             {"ExposureTime", none},
             {"stEvt:when", date},
             {"OffsetTimeOriginal", date},
             {"crs:LensProfileTitle", none},
             {"SubjectDistance", none},
             {"Caption/Abstract", text},
             {"WhiteBalance", none}};
    for (const auto& [name, kind] : rows) EXPECT_EQ(privateKindOf(name), kind) << name;
}

}  // namespace
}  // namespace tessaly::test
