#include <gtest/gtest.h>

#include "support/Containers.h"
#include "support/TiffBuilder.h"

namespace tessaly::test {
namespace {

using enum TiffBuilder::Directory;

Dictionary section(const ByteString& tiff, std::string_view name) {
    return propertiesOf(jpegWithExif(tiff))[name].dictionary();
}

TEST(Exif, ReadsEveryFormOfValueInBothByteOrders) {
    for (const bool little : {true, false}) {
        TiffBuilder tiff(little);
        tiff.text(first, 0x010F, "Maker  ").shorts(first, 0x0112, {6}).rationals(first, 0x011A, {{72, 1}});
        tiff.rationals(exif, 0x829A, {{1, 250}}).rationals(exif, 0x9204, {{static_cast<std::uint32_t>(-1), 3}}, true);
        tiff.shorts(exif, 0x8827, {100, 200}).raw(exif, 0x9000, 7, 4, "0239").raw(exif, 0xA300, 7, 1, "\3");
        tiff.raw(exif, 0xA000, 7, 4, "1050").text(exif, 0x0110, "Model");
        tiff.rationals(exif, 0xA432, {{24, 1}, {70, 1}, {28, 10}, {0, 0}});
        const Dictionary properties = propertiesOf(jpegWithExif(tiff.build()));
        const Dictionary& found = properties["{Exif}"].dictionary();
        EXPECT_EQ(properties["{TIFF}"].dictionary()["Make"], Value("Maker")) << "blanks at the end are not the name";
        EXPECT_EQ(properties["Orientation"], Value(6));
        EXPECT_EQ(properties["DPIWidth"], Value(72));
        EXPECT_EQ(found["ExposureTime"], Value(0.004));
        EXPECT_NEAR(found["ExposureBiasValue"].doubleValue(), -1.0 / 3, 1e-12);
        EXPECT_EQ(found["ISOSpeedRatings"], Value(Array{100, 200}));
        EXPECT_EQ(found["ExifVersion"], Value(Array{2, 3, 9}));
        EXPECT_EQ(found["FlashPixVersion"], Value(Array{1, 0, 5}));
        EXPECT_EQ(properties["{TIFF}"].dictionary()["Model"], Value("Model")) << "where it does not belong";
        EXPECT_EQ(found["FileSource"], Value(3));
        EXPECT_EQ(found["LensSpecification"], Value(Array{24, 70, 2.8, 0})) << "an unknown aperture is 0";
    }
}

TEST(Exif, LeavesOutWhatHasNoValue) {
    TiffBuilder tiff;
    tiff.rationals(exif, 0x829A, {{1, 0}}).text(first, 0x010E, "   ").rationals(exif, 0x829D, {{28, 10}});
    const Dictionary properties = propertiesOf(jpegWithExif(tiff.build()));
    EXPECT_FALSE(properties["{Exif}"].dictionary().contains("ExposureTime")) << "a zero denominator is no number";
    EXPECT_FALSE(properties["{TIFF}"].dictionary().contains("ImageDescription")) << "blanks are no text";
    EXPECT_EQ(properties["{Exif}"].dictionary()["FNumber"], Value(2.8));
}

TEST(Exif, ReadsUserCommentsByTheirCharacterCode) {
    struct Case {
        const char* why;
        ByteString value;
        std::string_view text;
    };
    const Case cases[] = {
        {"ASCII", "ASCII\0\0\0hello"_z, "hello"},
        {"blanked out in front", "ASCII\0\0\0\0\0\0hello"_z, "hello"},
        {"no code", "\0\0\0\0\0\0\0\0hello"_z, "hello"},
        {"Unicode of one order", "UNICODE\0\0h\0\xE9"_z, "h\xC3\xA9"},
        {"Unicode of the other", "UNICODE\0h\0\xE9\0"_z, "h\xC3\xA9"},
        {"Unicode with a byte order mark", "UNICODE\0\xFF\xFEh\0\xE9\0"_z, "h\xC3\xA9"},
        {"JIS", "JIS\0\0\0\0\0\x1b$B$\"\x1b(B"_z, "\xE3\x81\x82"},
        {"Windows-1252 under an ASCII code", "ASCII\0\0\0caf\xE9"_z, "caf\xC3\xA9"},
        {"nothing but a code", "ASCII\0\0\0"_z, ""},
    };
    for (const bool little : {true, false})
        for (const auto& [why, value, text] : cases) {
            TiffBuilder tiff(little);
            tiff.raw(exif, 0x9286, 7, static_cast<std::uint32_t>(value.size()), value).text(first, 0x010F, "M");
            EXPECT_EQ(section(tiff.build(), "{Exif}")["UserComment"].string(), text) << why << little;
        }
}

TEST(Exif, ReadsPositionsHoweverTheyAreWritten) {
    struct Case {
        const char* why;
        TiffBuilder tiff;
        double latitude;
        std::string_view time;
    };
    std::vector<Case> cases(4);
    cases[0].why = "degrees, minutes, seconds";
    cases[0].tiff.rationals(gps, 2, {{51, 1}, {30, 1}, {36, 1}}).rationals(gps, 7, {{7, 1}, {8, 1}, {95, 10}});
    cases[0].latitude = 51.51;
    cases[0].time = "07:08:09.5";
    cases[1].why = "decimal minutes, no seconds";
    cases[1].tiff.rationals(gps, 2, {{51, 1}, {3060, 100}, {0, 0}}).rationals(gps, 7, {{7, 1}, {8, 1}, {0, 1}});
    cases[1].latitude = 51.51;
    cases[1].time = "07:08:00";
    cases[2].why = "as text";
    cases[2].tiff.text(gps, 2, "51,30,36").text(gps, 7, "07:08:09");
    cases[2].latitude = 51.51;
    cases[2].time = "07:08:09";
    cases[3].why = "as text with decimal commas";
    cases[3].tiff.text(gps, 2, "51,00000,30,00000,36,00000").text(gps, 7, "7,00000,8,00000,9,00000");
    cases[3].latitude = 51.51;
    cases[3].time = "07:08:09";
    for (Case& one : cases) {
        one.tiff.text(gps, 1, "N").text(gps, 29, "2020-01-02");
        const Dictionary found = section(one.tiff.build(), "{GPS}");
        EXPECT_NEAR(found["Latitude"].doubleValue(), one.latitude, 1e-9) << one.why;
        EXPECT_EQ(found["TimeStamp"].string(), one.time) << one.why;
        EXPECT_EQ(found["DateStamp"], Value("2020:01:02")) << one.why;
        EXPECT_EQ(found["LatitudeRef"], Value("N")) << one.why;
    }
}

TEST(Exif, EndsInWhatCouldBeReadOfDamagedStructures) {
    TiffBuilder tiff;
    tiff.text(first, 0x010F, "Maker").rationals(exif, 0x829D, {{28, 10}}).text(exif, 0xA434, "A long lens name");
    const ByteString whole = tiff.build();
    std::size_t readable = 0;
    for (std::size_t length = 0; length <= whole.size(); ++length) {
        const Dictionary found = propertiesOf(jpegWithExif(ByteString(whole.text().substr(0, length))));
        EXPECT_EQ(found["PixelWidth"], Value(64)) << "the rest of the file is still read";
        if (found["{TIFF}"].dictionary()["Make"] == Value("Maker")) ++readable;
    }
    EXPECT_GT(readable, 20U) << "the make is there as soon as its bytes are";

    // A directory whose Exif pointer leads back to itself, and one that promises more entries than there are bytes.
    TiffBuilder loop;
    loop.text(first, 0x010F, "Loop").longs(first, 0x8769, {8}).longs(first, 0x8825, {8});
    EXPECT_EQ(section(loop.build(), "{TIFF}")["Make"], Value("Loop"));
    const ByteString liar("II*\0\x08\0\0\0\xFF\xFF\x0F\x01\x02\0\x04\0\0\0ABC\0"_z);
    EXPECT_EQ(section(liar, "{TIFF}")["Make"], Value("ABC"));
}

TEST(Exif, TakesTheTextsThatWindowsWrites) {
    TiffBuilder tiff;
    tiff.raw(first, 0x9C9B, 1, 6, "H\0i\0\0\0"_z);
    EXPECT_EQ(section(tiff.build(), "{IPTC}")["ObjectName"], Value("Hi"));
}

}  // namespace
}  // namespace tessaly::test
