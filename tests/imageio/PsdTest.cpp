#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/ImageIO/CGImageSource.h"
#include "platform/ImageIO/MetadataRewrite.h"
#include "support/Containers.h"
#include "support/TiffBuilder.h"

namespace tessaly::test {
namespace {

using testing::HasSubstr;
using testing::Not;
using enum TiffBuilder::Directory;
using Removal = MetadataChange::Removal;

ByteString iptcDataSet(unsigned number, std::string_view text) {
    return ByteString().u8(0x1C).u8(2).u8(number).u16(static_cast<unsigned>(text.size())).add(text);
}

ByteString resources() {
    TiffBuilder tiff;
    tiff.text(first, 0x010F, "SECRET make").text(exif, 0x9003, "2024:05:01 10:11:12");
    tiff.text(gps, 1, "N").rationals(gps, 2, {{53, 1}, {8, 1}, {1, 1}}).text(gps, 0x12, "PLACE datum");
    const ByteString density = ByteString().u32(300U << 16U).u16(1).u16(1).u32(300U << 16U).u16(1).u16(1);
    return psdResource(1005, density)
        .add("8BIM\x07\xD0\3ark\0\0\0\4"_z.add("path"))  // A path, by its name.
        .add(psdResource(1058, tiff.build()))
        .add(psdResource(1028, iptcDataSet(25, "SECRET word").add(iptcDataSet(90, "PLACE city"))))
        .add(psdResource(1060, xmp(R"(xmp:CreatorTool="SECRET tool" photoshop:Country="PLACE country")")))
        .add(psdResource(1039, iccProfile("Wide colours")))
        .add(psdResource(1035, "http://SECRET.example"))
        .add(psdResource(1036, ByteString().add(28, '\0').add("SECRET thumbnail")))
        .add(psdResource(1050, "SECRET slices"))
        .add(psdResource(1084, "SECRET printer"))
        .add(psdResource(1057, ByteString().u32(1).u8(1).u32(6).add("S\0E\0C\0R\0E\0T\0"_z).u32(0).u32(1)))
        .add(psdResource(4001, "SECRET plug-in"));
}

Psd picture(bool isLarge) {
    Psd psd{.isLarge = isLarge, .channels = 4, .width = 4, .height = 2};
    psd.resources = resources();
    psd.layers =
        isLarge ? ByteString().u64(2).u16(0xFFFF).add("LAYERS") : ByteString().u32(2).u16(0xFFFF).add("LAYERS");
    psd.pixels = ByteString().u16(0).add(std::string(32, 'P'));
    return psd;
}

std::string rewritten(const ByteString& file, const MetadataChange& change) {
    const auto bytes = file.bytes();
    const Data made =
        rewriteMetadata(std::make_shared<const std::vector<std::byte>>(bytes.begin(), bytes.end()), change);
    return made ? std::string(reinterpret_cast<const char*>(made->data()), made->size()) : std::string();
}

TEST(Psd, ReadsHeaderAndResourcesOfBothKinds) {
    for (const bool isLarge : {false, true}) {
        const Dictionary properties = propertiesOf(picture(isLarge).build());
        EXPECT_EQ(properties["PixelWidth"], Value(4)) << isLarge;
        EXPECT_EQ(properties["PixelHeight"], Value(2)) << isLarge;
        EXPECT_EQ(properties["Depth"], Value(8));
        EXPECT_EQ(properties["ColorModel"], Value("RGB"));
        EXPECT_EQ(properties["HasAlpha"], Value(true)) << "as the negative number of layers tells";
        EXPECT_EQ(properties["DPIWidth"], Value(300.0));
        EXPECT_EQ(properties["ProfileName"], Value("Wide colours"));
        EXPECT_EQ(properties["{TIFF}"].dictionary()["Make"], Value("SECRET make"));
        EXPECT_EQ(properties["{IPTC}"].dictionary()["Keywords"], Value(Array{"SECRET word"}));
    }
    Psd saved = picture(false);
    saved.layers = ByteString().u32(2).u16(1).add("LAYERS");
    EXPECT_FALSE(propertiesOf(saved.build()).contains("HasAlpha")) << "a selection that was saved is no transparency";
}

TEST(Psd, LosesWhatTellsAndKeepsWhatShows) {
    for (const bool isLarge : {false, true}) {
        const Psd psd = picture(isLarge);
        const ByteString file = psd.build().add("SECRET behind the end");
        const std::string clean = rewritten(file, {.removal = Removal::everything, .removes = {}, .values = {}});
        EXPECT_THAT(clean, Not(HasSubstr("SECRET")));
        EXPECT_THAT(clean, Not(HasSubstr("S\0E\0C"_z.text()))) << "the program's name";
        EXPECT_THAT(clean, Not(HasSubstr("PLACE")));
        EXPECT_THAT(clean, HasSubstr("8BIM\x07\xD0\3ark")) << "a path and its name";
        EXPECT_EQ(propertiesOf(clean)["ProfileName"], Value("Wide colours"));
        const std::string end = std::string(psd.layers.text()) + std::string(psd.pixels.text());
        EXPECT_TRUE(clean.ends_with(end)) << "layers and picture, byte for byte";
        EXPECT_EQ(propertiesOf(clean)["DPIWidth"], Value(300.0));
        EXPECT_EQ(rewritten(clean, {.removal = Removal::everything, .removes = {}, .values = {}}), clean) << "is clean";

        const std::string placeless = rewritten(file, {.removal = Removal::place, .removes = {}, .values = {}});
        EXPECT_THAT(placeless, Not(HasSubstr("PLACE")));
        for (const std::string_view kept :
             {"SECRET make", "SECRET word", "SECRET tool", "SECRET slices", "behind the end"})
            EXPECT_THAT(placeless, HasSubstr(kept));
    }
}

TEST(Psd, TakesNewValuesAlsoWhereThereWereNone) {
    MetadataChange change{.removal = Removal::nothing, .removes = {}, .values = {}};
    change.values = {{"{TIFF}", Dictionary{{"Artist", "somebody"}}},
                     {"{IPTC}", Dictionary{{"Keywords", Array{"one"}}}}};
    Psd bare = picture(false);
    bare.resources = {};
    for (const ByteString& file : {picture(false).build(), bare.build()}) {
        const Dictionary properties = propertiesOf(rewritten(file, change));
        EXPECT_EQ(properties["{TIFF}"].dictionary()["Artist"], Value("somebody"));
        EXPECT_EQ(properties["{IPTC}"].dictionary()["Keywords"], Value(Array{"one"}));
    }
}

TEST(Psd, RefusesPartsThatPassTheEnd) {
    const ByteString whole = picture(false).build();
    Psd wrong = picture(false);
    const std::string cut(whole.text().substr(0, whole.size() - wrong.pixels.size() - 3));
    EXPECT_EQ(rewritten(cut, {.removal = Removal::everything, .removes = {}, .values = {}}), "");
    EXPECT_EQ(propertiesOf(cut)["PixelWidth"], Value(4)) << "reading ends in what is there";
}

}  // namespace
}  // namespace tessaly::test
