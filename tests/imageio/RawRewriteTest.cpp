#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/Containers.h"
#include "support/Rewritten.h"
#include "support/TiffBuilder.h"

// Raws lose who, where and when, byte for byte in their places: nobody knows what else points into them.
namespace tessaly::test {
namespace {

using namespace std::string_literals;
using testing::HasSubstr;
using testing::Not;
using Removal = MetadataChange::Removal;

ByteString raw(std::string_view make, const ByteString& note, bool isDng = false) {
    TiffBuilder tiff;
    tiff.text(TiffBuilder::first, 0x010F, make).text(TiffBuilder::first, 0x0110, "KEPT model");
    tiff.text(TiffBuilder::first, 0x0132, "SECRET date").text(TiffBuilder::first, 0x013B, "SECRET artist");
    tiff.longs(TiffBuilder::first, 0x0111, {6000}).longs(TiffBuilder::first, 0x0117, {280});
    tiff.shorts(TiffBuilder::first, 0x0103, {34713}).longs(TiffBuilder::first, 0x014A, {0});
    const ByteString words = xmp(R"(xmp:CreatorTool="SECRET tool" photoshop:City="PLACE")");
    tiff.raw(TiffBuilder::first, 0x02BC, 1, static_cast<std::uint32_t>(words.size()), words);
    if (isDng) {
        tiff.raw(TiffBuilder::first, 0xC612, 1, 4, "\1\4\0\0"_z).text(TiffBuilder::first, 0xC62F, "SECRET serial");
        tiff.raw(TiffBuilder::first, 0xC634, 1, 14, "SECRET private");
    }
    tiff.text(TiffBuilder::exif, 0x9003, "SECRET taken").text(TiffBuilder::exif, 0xA434, "KEPT lens");
    tiff.raw(TiffBuilder::exif, 0x927C, 7, static_cast<std::uint32_t>(note.size()), note);
    tiff.text(TiffBuilder::gps, 0x12, "PLACE datum");
    ByteString file = tiff.build();
    file.add(6000 - file.size(), 'x');
    // A preview with metadata of its own.
    TiffBuilder inner;
    inner.text(TiffBuilder::first, 0x013B, "SECRET preview").text(TiffBuilder::gps, 0x12, "PLACE in the preview");
    const ByteString sets("\x1C\2\x50\0\6SECRET\x1C\2\x5A\0\5PLACE"_z);
    return file.add(jpeg({jpegSegment(0xE1, ByteString("Exif\0\0"_z).add(inner.build())),
                          jpegSegment(0xED, ByteString("Photoshop 3.0\0"_z).add(psdResource(0x0404, sets))),
                          jpegSegment(0xDB, "KEPT table"), jpegSegment(0xE5, "SECRET segment"),
                          jpegSegment(0xE0, "JFIF\0\1\1"_z), jpegSegment(0xEF, "SECRET last"),
                          jpegSegment(0xEE, "Adobe KEPT colours"), jpegSegment(0xFE, "SECRET comment")}));
}

/// A note of its own TIFF header, as one maker writes it.
ByteString nikonNote(std::string_view balance) {
    TiffBuilder inside;
    inside.text(TiffBuilder::first, 0x001D, "3020326").text(TiffBuilder::first, 0x00A0, "SECRET sensor");
    inside.raw(TiffBuilder::first, 0x0097, 7, 20, ByteString(balance).add(16, 'K'));
    inside.raw(TiffBuilder::first, 0x0039, 7, 12, "PLACE castle").raw(TiffBuilder::first, 0x0091, 7, 11, "SECRET shot");
    inside.longs(TiffBuilder::first, 0x00A7, {0x00012345});
    return ByteString("Nikon\0\2\x10\0\0"_z).add(inside.build());
}

TEST(RawRewrite, TakesOutWhoWhereAndWhenInPlace) {
    const ByteString file = raw("NIKON", nikonNote("0100"));
    const std::string before(file.text());
    const std::string clean = rewritten(file, Removal::everything);
    ASSERT_EQ(clean.size(), before.size());
    EXPECT_THAT(clean, Not(HasSubstr("SECRET")));
    EXPECT_THAT(clean, Not(HasSubstr("PLACE")));
    EXPECT_THAT(clean, Not(HasSubstr("3020326")));
    EXPECT_THAT(clean, Not(HasSubstr("\x45\x23\1"))) << "shutter count";
    for (const char* kept : {"KEPT model", "KEPT lens", "KKKKKKKK", "KEPT table", "KEPT colours", "\xFF\xDA"})
        EXPECT_EQ(clean.find(kept), before.find(kept)) << kept;
    EXPECT_EQ(propertiesOf(clean)["{Exif}"].dictionary()["LensModel"].string(), "KEPT lens");
}

// The colour balance is enciphered with the lowest byte of the serial number (3020326 is 0x2E1626) and with what all
// bytes of the shutter count make together by "exclusive or" (0x67): they stay.
TEST(RawRewrite, KeepsTheKeyToAnEncipheredColourBalance) {
    const std::string clean = rewritten(raw("NIKON", nikonNote("0211")), Removal::everything);
    EXPECT_THAT(clean, Not(HasSubstr("3020326")));
    EXPECT_THAT(clean, HasSubstr("0000038"));
    EXPECT_THAT(clean, HasSubstr("\xA7\0\4\0\1\0\0\0\0\0\0\x67"s));
}

TEST(RawRewrite, BlanksWhatCountsPictures) {
    TiffBuilder note;
    note.longs(TiffBuilder::first, 0x0008, {0x43219876}).raw(TiffBuilder::first, 0x0028, 1, 16, "SECRET unique id");
    note.raw(TiffBuilder::first, 0x0093, 7, 10, "\x0A\0NUMBKEPT"_z);
    const auto build = [&](std::uint32_t at) { return raw("Canon", note.directory(TiffBuilder::first, at)); };
    const auto at = static_cast<std::uint32_t>(build(0).text().find("\3\0\x08\0\4\0"s));
    const std::string clean = rewritten(build(at), Removal::everything);
    for (const char* gone : {"SECRET", "\x76\x98\x21\x43", "NUMB"}) EXPECT_THAT(clean, Not(HasSubstr(gone)));
    EXPECT_THAT(clean, HasSubstr("\x0A\0\0\0\0\0KEPT"s));
}

TEST(RawRewrite, DropsTheNoteOfADng) {
    const ByteString file = raw("NIKON", nikonNote("0211"), true);
    const std::string clean = rewritten(file, Removal::everything);
    EXPECT_THAT(clean, Not(HasSubstr("SECRET")));
    EXPECT_THAT(clean, Not(HasSubstr("KKKKKKKK")));
    EXPECT_EQ(checksumsOf(file), "a63cbf8f fa3607f1 c4acc6a0 bb900686 b07307bb 980ad155");
    EXPECT_EQ(checksumsOf(raw("NIKON", nikonNote("0100"))), "26c7fc71 95f3f133 40323626 7cbb71d8 c68e7b53 90474eae");
}

TEST(RawRewrite, OfThePlaceTakesItFromTheNoteToo) {
    const std::string made = rewritten(raw("NIKON", nikonNote("0100")), Removal::place);
    EXPECT_THAT(made, Not(HasSubstr("PLACE")));
    for (const char* kept : {"3020326", "SECRET artist", "SECRET sensor", "SECRET preview", "SECRET tool"})
        EXPECT_THAT(made, HasSubstr(kept));
}

// Containers of their own around one block: changed in its place, the rest untouched.
TEST(RawRewrite, CleansTheBlockInsideAForeignContainer) {
    TiffBuilder tiff;
    tiff.text(TiffBuilder::first, 0x010F, "KEPT make").text(TiffBuilder::first, 0x013B, "SECRET artist");
    tiff.text(TiffBuilder::exif, 0x9003, "SECRET taken").text(TiffBuilder::gps, 0x12, "PLACE datum");
    const ByteString block = tiff.build();
    const ByteString preview = jpegWithExif(block);
    ByteString raf("FUJIFILMCCD-RAW 0201");
    raf.add(84 - raf.size(), '\0').u32(200).u32(static_cast<std::uint32_t>(preview.size())).add(108, '\0');
    raf.add(preview).add("SENSOR");
    const auto length = static_cast<std::uint32_t>(block.size());
    const ByteString mrw = ByteString("\0MRM"_z).u32(8 + length).add("\0TTW"_z).u32(length).add(block).add("SENSOR");
    for (const ByteString& file : {raf, mrw}) {
        const std::string before(file.text());
        const std::string clean = rewritten(file, Removal::everything);
        ASSERT_EQ(clean.size(), before.size());
        EXPECT_THAT(clean, Not(HasSubstr("SECRET")));
        EXPECT_THAT(clean, Not(HasSubstr("PLACE")));
        EXPECT_EQ(clean.find("KEPT make"), before.find("KEPT make"));
        EXPECT_EQ(clean.find("SENSOR"), before.find("SENSOR"));
    }
    EXPECT_EQ(checksumsOf(raf), "860ef286 5979980f 00000000 00000000 00000000 aba61966");
    EXPECT_EQ(checksumsOf(mrw), "94009c0f cab5c819 00000000 00000000 00000000 6df885b9");
}

}  // namespace
}  // namespace tessaly::test
