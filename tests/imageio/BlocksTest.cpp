#include <gtest/gtest.h>

#include "linux/imageio/blocks/Blocks.h"
#include "linux/imageio/blocks/RawProfile.h"
#include "platform/Foundation/NSDate.h"
#include "support/Containers.h"
#include "support/TiffBuilder.h"

namespace tessaly::test {
namespace {

using imageio::ImageProperties;

ImageProperties fromXmp(const ByteString& packet) {
    ImageProperties properties;
    imageio::readXmp(packet, properties);
    return properties;
}

TEST(Xmp, FillsTheDictionariesThatTheFileLeavesEmpty) {
    const ImageProperties found = fromXmp(xmp(
        R"(xmp:Rating="4" photoshop:Headline = "Head" aux:Lens="24-70mm" aux:SerialNumber="42" aux:ImageNumber="7"
               tiff:Make="Maker" exif:FNumber="28/10" aux:LensInfo="24/1 70/1 28/10"
               exif:DateTimeOriginal="2015-01-02T03:04:05.67+01:00" exif:DateTimeDigitized="2015-01-02T03:04" exif:GPSLatitude="51,30.6S" exif:GPSLongitude="0,7,30W")",
        R"(<dc:title><rdf:Alt><rdf:li xml:lang="de">Titel</rdf:li><rdf:li xml:lang="x-default">Title</rdf:li></rdf:Alt></dc:title>
               <dc:subject><rdf:Bag><rdf:li>one</rdf:li><rdf:li>two &amp; three</rdf:li></rdf:Bag></dc:subject>
               <dc:description><rdf:Alt><rdf:li xml:lang="x-default"> <!-- said twice -->Words</rdf:li></rdf:Alt></dc:description>)"));
    EXPECT_EQ(found.iptc["StarRating"].integerValue(), 4);
    EXPECT_EQ(found.iptc["Headline"], Value("Head"));
    EXPECT_EQ(found.iptc["ObjectName"], Value("Title")) << "the default language, not the first";
    EXPECT_EQ(found.iptc["Keywords"], Value(Array{"one", "two & three"}));
    EXPECT_EQ(found.iptc["Caption/Abstract"], Value("Words"));
    EXPECT_EQ(found.aux["LensModel"], Value("24-70mm"));
    EXPECT_EQ(found.aux["SerialNumber"], Value("42"));
    EXPECT_EQ(found.tiff["Make"], Value("Maker"));
    EXPECT_EQ(found.exif["FNumber"].doubleValue(), 2.8);
    EXPECT_EQ(found.aux["LensInfo"], Value(Array{24, 70, 2.8}));
    EXPECT_EQ(found.exif["DateTimeOriginal"], Value("2015:01:02 03:04:05"));
    EXPECT_EQ(found.exif["OffsetTimeOriginal"], Value("+01:00"));
    EXPECT_EQ(found.exif["SubsecTimeOriginal"], Value("67"));
    EXPECT_EQ(found.exif["DateTimeDigitized"], Value("2015:01:02 03:04:00"));
    EXPECT_NEAR(found.gps["Latitude"].doubleValue(), 51.51, 1e-9);
    EXPECT_EQ(found.gps["LatitudeRef"], Value("S"));
    EXPECT_EQ(found.gps["LongitudeRef"], Value("W"));
}

TEST(Xmp, DoesNotOverruleWhatTheFileSays) {
    ImageProperties properties;
    ImageProperties::add(properties.iptc, "ObjectName", "From the datasets");
    imageio::readXmp(xmp("", "<dc:title><rdf:Alt><rdf:li>Other</rdf:li></rdf:Alt></dc:title>"), properties);
    EXPECT_EQ(properties.iptc["ObjectName"], Value("From the datasets"));
}

// Where a file's own blocks are silent, what else it holds fills in.
TEST(Xmp, TellsTheDateAloneAndTheNamesOfTiff) {
    const ByteString packet = xmp(R"(exif:FNumber="4/1" photoshop:DateCreated="2015-01-02T03:04:05Z")",
                                  "<dc:creator><rdf:Seq><rdf:li>Ada</rdf:li><rdf:li>Bo</rdf:li></rdf:Seq></dc:creator>"
                                  "<dc:rights><rdf:Alt><rdf:li>Mine</rdf:li></rdf:Alt></dc:rights>");
    for (const bool isDated : {false, true}) {
        ImageProperties properties;
        ImageProperties::add(properties.exif, isDated ? "DateTimeDigitized" : "StandardOutputSensitivity", Value(800));
        if (isDated) ImageProperties::add(properties.tiff, "Artist", "Eve");
        imageio::readXmp(packet, properties);
        const Dictionary whole = std::move(properties).assemble();
        const Dictionary& exif = whole["{Exif}"].dictionary();
        EXPECT_TRUE(exif["FNumber"].isNull());
        EXPECT_EQ(exif["DateTimeOriginal"], isDated ? Value() : Value("2015:01:02 03:04:05"));
        EXPECT_EQ(exif["OffsetTimeOriginal"], isDated ? Value() : Value("+00:00"));
        EXPECT_EQ(exif["ISOSpeedRatings"], isDated ? Value() : Value(Array{800}));
        EXPECT_EQ(whole["{TIFF}"].dictionary()["Artist"], Value(isDated ? "Eve" : "Ada; Bo"));
        EXPECT_EQ(whole["{TIFF}"].dictionary()["Copyright"], Value("Mine"));
    }
}

TEST(Xmp, EndsInWhatCanBeReadOfDamagedPackets) {
    const ByteString whole = xmp("xmp:Rating=\"4\"", "<dc:format>image/jpeg</dc:format>");
    for (std::size_t length = 0; length < whole.size(); ++length)
        static_cast<void>(fromXmp(ByteString(whole.text().substr(0, length))));
    std::string deep;
    for (int i = 0; i < 20'000; ++i) deep += "<dc:a>";
    static_cast<void>(fromXmp(xmp("", deep)));
    ByteString wide("\xFE\xFF");
    const ByteString narrow = xmp("xmp:Rating=\"4\"");
    for (const char c : narrow.text()) wide.u16(static_cast<unsigned char>(c));
    EXPECT_EQ(fromXmp(wide).iptc["StarRating"].integerValue(), 4) << "UTF-16";
}

ByteString dataset(unsigned record, unsigned number, std::string_view text) {
    return ByteString().u8(0x1C).u8(record).u8(number).u16(static_cast<unsigned>(text.size())).add(text);
}

TEST(Iptc, ReadsTextsInTheirCharacterSet) {
    struct Case {
        const char* why;
        ByteString datasets;
        std::string_view title;
    };
    const Case cases[] = {
        {"declared UTF-8", dataset(1, 90, "\x1B%G").add(dataset(2, 5, "caf\xC3\xA9")), "caf\xC3\xA9"},
        {"UTF-8 that nobody declared", dataset(2, 5, "caf\xC3\xA9"), "caf\xC3\xA9"},
        {"Windows-1252", dataset(2, 5, "caf\xE9"), "caf\xC3\xA9"},
        {"blanks and NULs at the end", dataset(2, 5, "Title  \0"), "Title"},
    };
    for (const auto& [why, datasets, title] : cases) {
        ImageProperties properties;
        imageio::readIptc(datasets, properties);
        EXPECT_EQ(properties.iptc["ObjectName"].string(), title) << why;
    }
}

TEST(Iptc, GathersKeywordsAndSurvivesLengthsThatLie) {
    ByteString data = dataset(2, 25, "one").add(dataset(2, 25, "two")).add(dataset(2, 120, "Words"));
    data.u8(0x1C).u8(2).u8(105).u16(5000).add("cut");
    ImageProperties properties;
    imageio::readIptc(data, properties);
    EXPECT_EQ(properties.iptc["Keywords"], Value(Array{"one", "two"}));
    EXPECT_EQ(properties.iptc["Caption/Abstract"], Value("Words"));
}

TEST(Photoshop, ReadsResourcesBehindNamesOfAnyLength) {
    ByteString resources("8BIM");
    resources.u16(0x0404).u8(3).add("abc");  // A name of odd length needs no filler.
    const ByteString iptc = dataset(2, 105, "Head");
    resources.u32(static_cast<std::uint32_t>(iptc.size())).add(iptc).add(iptc.size() % 2, '\0');
    resources.add("8BIM").u16(0x03ED).u16(0).u32(16).u32(300U << 16U).u16(1).u16(1).u32(300U << 16U).u16(1).u16(1);
    ImageProperties properties;
    imageio::readPhotoshopResources(resources, properties);
    EXPECT_EQ(properties.iptc["Headline"], Value("Head"));
    EXPECT_EQ(properties.top["DPIWidth"].doubleValue(), 300);
}

TEST(Icc, NamesProfilesOfBothVersions) {
    ImageProperties modern;
    imageio::readIccProfile(iccProfile("Wide colours"), modern);
    EXPECT_EQ(modern.top["ProfileName"], Value("Wide colours"));
    EXPECT_EQ(modern.top["ColorModel"], Value("RGB"));
    ByteString old;
    old.add(12, '\0').add("mntrGRAYXYZ ").add(12, '\0').add("acsp").add(88, '\0');
    // Behind the text stand other forms of it.
    old.u32(1).add("desc").u32(144).u32(22).add("desc\0\0\0\0"_z).u32(4).add("Gray").add("others");
    ImageProperties early;
    imageio::readIccProfile(old, early);
    EXPECT_EQ(early.top["ProfileName"], Value("Gray"));
    EXPECT_EQ(early.top["ColorModel"], Value("Gray"));
    // Names in several languages: the first English one.
    ByteString many;
    many.add(12, '\0').add("mntrRGB XYZ ").add(12, '\0').add("acsp").add(88, '\0').u32(1).add("desc").u32(144).u32(58);
    many.add("mluc\0\0\0\0"_z).u32(3).u32(12).add("deDE").u32(2).u32(52).add("enUS").u32(2).u32(54).add("enGB");
    many.u32(2).u32(56).add("\0d\0e\0f"_z);
    ImageProperties languages;
    imageio::readIccProfile(many, languages);
    EXPECT_EQ(languages.top["ProfileName"], Value("e"));
}

// Each is read by its own reader, and nothing by another's.
TEST(RawProfile, IsReadByItsType) {
    TiffBuilder tiff;
    tiff.text(TiffBuilder::first, 0x010F, "Maker");
    const ByteString head = dataset(2, 105, "Head"), icc = iccProfile("Name"),
                     words = xmp("photoshop:Headline=\"Head\"");
    ByteString resource("8BIM");
    resource.u16(0x0404).u16(0).u32(static_cast<std::uint32_t>(head.size())).add(head).add(head.size() % 2, '\0');
    struct Row {
        const char* type;
        ByteString profile;
        const char* found;
    };
    for (const Row& row :
         {Row{"exif", tiff.build(), "Maker"}, Row{"APP1", tiff.build(), "Maker"}, Row{"app1", tiff.build(), "Maker"},
          Row{"xmp", words, "Head"}, Row{"APP1", ByteString("http://ns.adobe.com/xap/1.0/\0"_z).add(words), "Head"},
          Row{"icc", icc, "Name"}, Row{"icm", icc, "Name"}, Row{"iptc", head, "Head"}, Row{"8bim", head, "Head"},
          Row{"iptc", resource, "Head"}, Row{"8bim", ByteString("Photoshop 3.0\0"_z).add(resource), "Head"},
          Row{"other", icc, ""}, Row{"other", head, ""}, Row{"other", tiff.build(), ""}}) {
        ImageProperties properties;
        imageio::readRawProfile(row.type, row.profile, properties);
        const std::string found = std::string(properties.tiff["Make"].string()) +
                                  std::string(properties.iptc["Headline"].string()) +
                                  std::string(properties.top["ProfileName"].string());
        EXPECT_EQ(found, row.found) << row.type;
    }
}

}  // namespace
}  // namespace tessaly::test
