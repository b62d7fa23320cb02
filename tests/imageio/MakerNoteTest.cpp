#include <gtest/gtest.h>

#include "support/Containers.h"
#include "support/TiffBuilder.h"

namespace tessaly::test {
namespace {

using enum TiffBuilder::Directory;

/// A photo of that make whose maker note is `note`. `note` is told where it will stand, from the TIFF header.
template <class Note>
Dictionary photoWithNote(std::string_view make, std::string_view model, Note note, std::int32_t movedBy = 0) {
    const auto build = [&](std::uint32_t position) {
        const ByteString content = note(position);
        TiffBuilder tiff;
        tiff.text(first, 0x010F, make).text(first, 0x0110, model).text(exif, 0x9003, "2020:01:02 03:04:05");
        tiff.raw(exif, 0x927C, 7, static_cast<std::uint32_t>(content.size()), content);
        return tiff.build();
    };
    // The note is the last value: it ends where the structure does.
    const ByteString trial = build(0);
    const std::size_t length = note(0).size();
    const auto position = static_cast<std::uint32_t>(trial.size() - length - length % 2);
    return propertiesOf(jpegWithExif(build(position - static_cast<std::uint32_t>(movedBy))));
}

Value aux(const Dictionary& properties, std::string_view name) { return properties["{ExifAux}"].dictionary()[name]; }

ByteString canonNote(std::uint32_t position) {
    TiffBuilder note;
    note.longs(first, 0x000C, {1234567890}).text(first, 0x0095, "EF24-70mm f/2.8L").text(first, 0x0009, "Somebody");
    return note.directory(first, position);
}

TEST(MakerNote, ReadsCanonAlsoWhereAnEditorHasMovedIt) {
    for (const std::int32_t movedBy : {0, 200, -32}) {
        const Dictionary found = photoWithNote("Canon", "EOS", canonNote, movedBy);
        EXPECT_EQ(aux(found, "SerialNumber"), Value(1234567890)) << movedBy;
        EXPECT_EQ(aux(found, "LensModel"), Value("EF24-70mm f/2.8L")) << movedBy;
        EXPECT_EQ(aux(found, "OwnerName"), Value("Somebody")) << movedBy;
    }
}

TEST(MakerNote, ReadsNikonInAllThreeForms) {
    TiffBuilder tags;
    tags.text(first, 0x001D, "2001234").rationals(first, 0x0084, {{18, 1}, {55, 1}, {35, 10}, {56, 10}});
    tags.longs(first, 0x00A7, {4711}).shorts(first, 0x0002, {0, 640});
    const auto own = [&](std::uint32_t) {
        return ByteString("Nikon\0\2\x10\0\0II*\0\x08\0\0\0"_z).add(tags.directory(first, 8));
    };
    const auto marked = [&](std::uint32_t position) {
        return ByteString("Nikon\0\1\0"_z).add(tags.directory(first, position + 8));
    };
    const auto bare = [&](std::uint32_t position) { return tags.directory(first, position); };
    const auto check = [](const Dictionary& found, const char* why) {
        EXPECT_EQ(aux(found, "SerialNumber"), Value("2001234")) << why;
        EXPECT_EQ(aux(found, "ImageNumber"), Value(4711)) << why;
        EXPECT_EQ(found["{Exif}"].dictionary()["ISOSpeedRatings"], Value(Array{640})) << why;
        EXPECT_EQ(aux(found, "LensModel"), Value("18-55mm f/3.5-5.6")) << why;
    };
    check(photoWithNote("NIKON CORPORATION", "D", own), "with a header of its own");
    check(photoWithNote("NIKON", "E", marked), "with a mark");
    check(photoWithNote("NIKON", "E", bare), "bare");
}

TEST(MakerNote, ReadsFujifilmFilmModesFromItsOwnBase) {
    TiffBuilder tags;
    tags.text(first, 0x0010, "FF02B1234567").shorts(first, 0x1401, {0x501}).shorts(first, 0x1003, {0x100});
    tags.shorts(first, 0x1438, {0x8123});
    const Dictionary found = photoWithNote("FUJIFILM", "X-E2", [&](std::uint32_t) {
        return ByteString("FUJIFILM\x0c\0\0\0"_z).add(tags.directory(first, 12));
    });
    EXPECT_EQ(found["{PictureStyle}"].dictionary()["FilmSimulation"], Value(Array{0x501}));
    EXPECT_EQ(found["{PictureStyle}"].dictionary()["Saturation"], Value(Array{0x100}));
    EXPECT_EQ(aux(found, "SerialNumber"), Value("FF02B1234567"));
    EXPECT_EQ(aux(found, "ImageNumber"), Value(0x123)) << "the top bit is a flag";
}

TEST(MakerNote, DeciphersSonysCounter) {
    // b becomes b cubed modulo 249: 13701 is 85 35 00.
    const auto enciphered = [](unsigned b) { return b * b * b % 249; };
    for (const auto& [model, at] : {std::pair("SLT-A58", 0x32U), std::pair("ILCE-7M3", 0x3AU)}) {
        ByteString block;
        for (unsigned i = 0; i < 256; ++i) block.u8(i == at ? enciphered(0x85) : i == at + 1 ? enciphered(0x35) : 0);
        TiffBuilder tags;
        tags.raw(first, 0x9050, 7, 256, block).raw(first, 0xB02A, 7, 8, "\0\0\x24\0\x70\x28\x28\0"_z);
        const Dictionary found = photoWithNote("SONY", model, [&](std::uint32_t position) {
            return ByteString("SONY DSC \0\0\0"_z).add(tags.directory(first, position + 12));
        });
        EXPECT_EQ(aux(found, "ImageNumber"), Value(13701)) << model;
        EXPECT_EQ(aux(found, "LensModel"), Value("24-70mm f/2.8")) << model;
    }
}

TEST(MakerNote, ReadsPentaxCounterUnderItsMask) {
    TiffBuilder tags(false);
    tags.raw(first, 0x0006, 7, 4, "\x07\xE4\1\2").raw(first, 0x0007, 7, 3, "\3\4\5").text(first, 0x0229, "6211161");
    const std::uint32_t mask = 0x07E40102U ^ ~0x03040500U;
    tags.raw(first, 0x005D, 7, 4, ByteString().u32(20897U ^ mask));
    const Dictionary found = photoWithNote(
        "PENTAX", "K-3", [&](std::uint32_t) { return ByteString("PENTAX \0MM"_z).add(tags.directory(first, 10)); });
    EXPECT_EQ(aux(found, "ImageNumber"), Value(20897));
    EXPECT_EQ(aux(found, "SerialNumber"), Value("6211161"));
}

TEST(MakerNote, ReadsOlympusEquipment) {
    TiffBuilder equipment;
    equipment.text(first, 0x0101, "BHP123456").text(first, 0x0203, "OLYMPUS M.12-40mm F2.8");
    TiffBuilder tags;
    tags.longs(first, 0x2010, {64});
    const Dictionary found = photoWithNote("OLYMPUS", "E-M1", [&](std::uint32_t) {
        ByteString note = ByteString("OLYMPUS\0II\3\0"_z).add(tags.directory(first, 12));
        note.add(64 - note.size(), '\0');
        return note.add(equipment.directory(first, 64));
    });
    EXPECT_EQ(aux(found, "SerialNumber"), Value("BHP123456"));
    EXPECT_EQ(aux(found, "LensModel"), Value("OLYMPUS M.12-40mm F2.8"));
}

TEST(MakerNote, ReadsTrailCamerasAtTheirFixedPlaces) {
    struct Row {
        ByteString mark;
        std::size_t at, letterSize;
    };
    for (const auto& [mark, at, letterSize] :
         {Row{"\x01\xF1"_z, 42, 2}, Row{"RECONYXH2\0"_z, 126, 2}, Row{"RECONYXUF\0"_z, 67, 1}}) {
        std::string text(mark.text());
        text.resize(300, '\0');
        for (std::size_t i = 0; i < 12; ++i) text[at + i * letterSize] = "HLPX01234567"[i];
        for (const std::size_t length : {text.size(), at + 3}) {
            const Dictionary found =
                photoWithNote("RECONYX", "", [&](std::uint32_t) { return ByteString(text.substr(0, length)); });
            EXPECT_EQ(aux(found, "SerialNumber"), length == text.size() ? Value("HLPX01234567") : Value()) << at;
        }
    }
}

TEST(MakerNote, GivesWayToXmp) {
    TiffBuilder tiff;
    const ByteString note = ByteString("Panasonic\0\0\0"_z).add([] {
        TiffBuilder tags;
        tags.raw(first, 0x0025, 7, 4, "F54\0"_z);
        return tags.directory(first, 0);
    }());
    tiff.text(first, 0x010F, "Panasonic").raw(exif, 0x927C, 7, static_cast<std::uint32_t>(note.size()), note);
    const ByteString exifSegment = jpegSegment(0xE1, ByteString("Exif\0\0"_z).add(tiff.build()));
    EXPECT_EQ(aux(propertiesOf(jpeg({exifSegment})), "SerialNumber"), Value("F54"));
    const ByteString xmpSegment =
        jpegSegment(0xE1, ByteString("http://ns.adobe.com/xap/1.0/\0"_z).add(xmp("aux:SerialNumber=\"42\"")));
    EXPECT_EQ(aux(propertiesOf(jpeg({exifSegment, xmpSegment})), "SerialNumber"), Value("42"));
}

}  // namespace
}  // namespace tessaly::test
