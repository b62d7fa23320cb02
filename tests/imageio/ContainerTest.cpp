#include <gtest/gtest.h>
#include <zlib.h>

#include "platform/ImageIO/CGImageSource.h"
#include "support/Containers.h"
#include "support/TemporaryFolder.h"
#include "support/TiffBuilder.h"

namespace tessaly::test {
namespace {

using enum TiffBuilder::Directory;

ByteString exifBlock(std::string_view make = "Maker") {
    TiffBuilder tiff;
    tiff.text(first, 0x010F, make).rationals(exif, 0x829D, {{28, 10}});
    return tiff.build();
}

std::string makeOf(const Dictionary& properties) {
    return std::string(properties["{TIFF}"].dictionary()["Make"].string());
}

ByteString deflated(const ByteString& data) {
    std::string out(::compressBound(data.size()), '\0');
    uLongf length = out.size();
    ::compress(reinterpret_cast<Bytef*>(out.data()), &length, reinterpret_cast<const Bytef*>(data.text().data()),
               data.size());
    return ByteString(std::string_view(out).substr(0, length));
}

TEST(Jpeg, JoinsWhatIsCutIntoSegments) {
    TiffBuilder tiff;
    tiff.text(first, 0x010F, "Maker").text(first, 0x010E, std::string(90'000, 'x'));
    const std::string block = std::string(tiff.build().text());
    const auto exifSegment = [](std::string_view part) {
        return jpegSegment(0xE1, ByteString("Exif\0\0"_z).add(part));
    };
    const ByteString profile = iccProfile("Wide colours");
    const ByteString file = jpeg(
        {exifSegment(std::string_view(block).substr(0, 60'000)), exifSegment(std::string_view(block).substr(60'000)),
         jpegSegment(0xE2, ByteString("ICC_PROFILE\0\2\2"_z).add(profile.text().substr(90))),
         jpegSegment(0xE2, ByteString("ICC_PROFILE\0\1\2"_z).add(profile.text().substr(0, 90)))});
    const Dictionary properties = propertiesOf(file);
    EXPECT_EQ(makeOf(properties), "Maker");
    EXPECT_EQ(properties["{TIFF}"].dictionary()["ImageDescription"].string().size(), 90'000U);
    EXPECT_EQ(properties["ProfileName"], Value("Wide colours")) << "by their numbers, not by their order";
}

TEST(Jpeg, ReadsExtendedXmpByItsOffsets) {
    const std::string packet(xmp("aux:SerialNumber=\"42\"").text());
    const std::string head = "http://ns.adobe.com/xmp/extension/" + std::string(1, '\0') + std::string(32, 'A');
    const auto portion = [&](std::size_t from, std::size_t length) {
        return jpegSegment(0xE1, ByteString(head)
                                     .u32(static_cast<std::uint32_t>(packet.size()))
                                     .u32(static_cast<std::uint32_t>(from))
                                     .add(std::string_view(packet).substr(from, length)));
    };
    const ByteString main("http://ns.adobe.com/xap/1.0/\0"_z);
    const std::string note =
        R"(xmp:Rating="3" xmlns:xmpNote="http://ns.adobe.com/xmp/note/" xmpNote:HasExtendedXMP=")" +
        std::string(32, 'A') + "\"";
    const ByteString file =
        jpeg({jpegSegment(0xE1, ByteString(main).add(xmp(note))), portion(400, packet.size() - 400), portion(0, 400)});
    const Dictionary properties = propertiesOf(file);
    EXPECT_EQ(properties["{IPTC}"].dictionary()["StarRating"].integerValue(), 3);
    EXPECT_EQ(properties["{ExifAux}"].dictionary()["SerialNumber"], Value("42"));
}

TEST(Jpeg, SkipsWhatStandsBetweenSegments) {
    ByteString file;
    file.u16(0xFFD8).add(jpegSegment(0xFE, "comment")).add("stray").u16(0xFFFF);
    file.add(jpegWithExif(exifBlock()).text().substr(2));
    EXPECT_EQ(makeOf(propertiesOf(file)), "Maker");
}

TEST(Png, FindsExifWhereverItStands) {
    const ByteString data = pngChunk("IDAT", ByteString(std::string(8192, 'x')));
    ByteString many;
    for (int i = 0; i < 37; ++i) many.add(data);
    many.add(pngChunk("IDAT", "short"));
    struct Case {
        const char* why;
        ByteString file;
    };
    ByteString legacy("\nEXIF profile\n      ");
    const std::string block = "Exif" + std::string(2, '\0') + std::string(exifBlock().text());
    legacy.add(std::to_string(block.size())).add("\n");
    for (const char c : block) {
        constexpr std::string_view digits = "0123456789abcdef";
        legacy.add(
            std::string{digits[static_cast<unsigned char>(c) >> 4U], digits[static_cast<unsigned char>(c) & 15U]});
    }
    const Case cases[] = {
        {"before the image data", png({pngChunk("eXIf", exifBlock()), many})},
        {"behind a long run of image data", png({many, pngChunk("eXIf", exifBlock())})},
        {"as hexadecimal text", png({pngChunk("tEXt", ByteString("Raw profile type APP1\0"_z).add(legacy))})},
        {"as compressed hexadecimal text",
         png({pngChunk("zTXt", ByteString("Raw profile type exif\0\0"_z).add(deflated(legacy)))})},
    };
    for (const auto& [why, file] : cases) EXPECT_EQ(makeOf(propertiesOf(file)), "Maker") << why;
}

TEST(Png, ReadsDensityProfileTextAndXmp) {
    const ByteString packet = xmp("xmp:Rating=\"5\"");
    const ByteString file = png({pngChunk("pHYs", ByteString().u32(2835).u32(2835).u8(1)),
                                 pngChunk("iCCP", ByteString("name\0\0"_z).add(deflated(iccProfile("Wide colours")))),
                                 pngChunk("tEXt", "Title\0caf\xE9"_z),
                                 pngChunk("iTXt", ByteString("XML:com.adobe.xmp\0\1\0\0\0"_z).add(deflated(packet)))});
    const Dictionary properties = propertiesOf(file);
    EXPECT_NEAR(properties["DPIWidth"].doubleValue(), 72.009, 1e-6);
    EXPECT_EQ(properties["ProfileName"], Value("Wide colours"));
    EXPECT_EQ(properties["HasAlpha"], Value(true));
    EXPECT_EQ(properties["{PNG}"].dictionary()["Title"], Value("caf\xC3\xA9"));
    EXPECT_EQ(properties["{IPTC}"].dictionary()["StarRating"].integerValue(), 5);
}

TEST(Png, DoesNotUnpackABomb) {
    const ByteString bomb = deflated(ByteString(std::string(64 * 1024 * 1024, ' ')));
    const ByteString file = png({pngChunk("iTXt", ByteString("XML:com.adobe.xmp\0\1\0\0\0"_z).add(bomb))});
    EXPECT_EQ(propertiesOf(file)["PixelWidth"], Value(64));
}

ByteString riffChunk(std::string_view type, const ByteString& data) {
    return ByteString(type).number(static_cast<std::uint32_t>(data.size()), true).add(data).add(data.size() % 2, '\0');
}

TEST(Webp, ReadsTheSizeOfEveryKindOfStream) {
    struct Case {
        const char* why;
        ByteString chunk;
        bool alpha;
    };
    const Case cases[] = {
        {"extended", riffChunk("VP8X", "\x10\0\0\0\x3F\0\0\x2F\0\0"_z), true},
        {"lossy", riffChunk("VP8 ", "\0\0\0\x9D\x01\x2A\x40\0\x30\0"_z), false},
        {"lossless", riffChunk("VP8L", "\x2F\x3F\xC0\x0B\x10"_z), true},
    };
    for (const auto& [why, chunk, alpha] : cases) {
        ByteString body("WEBP");
        body.add(chunk).add(riffChunk("EXIF", ByteString("Exif\0\0"_z).add(exifBlock())));
        const Dictionary properties = propertiesOf(riffChunk("RIFF", body));
        EXPECT_EQ(properties["PixelWidth"], Value(64)) << why;
        EXPECT_EQ(properties["PixelHeight"], Value(48)) << why;
        EXPECT_EQ(properties["HasAlpha"].boolValue(), alpha) << why;
        EXPECT_EQ(makeOf(properties), "Maker") << why;
    }
}

TEST(Gif, CountsFramesAndReadsXmpBetweenThem) {
    ByteString file("GIF89a\x40\0\x30\0\x80\0\0\0\0\0\xFF\xFF\xFF"_z);
    ByteString trailer;
    trailer.u8(1);
    for (unsigned i = 0; i < 256; ++i) trailer.u8(255 - i);
    const ByteString frame("\x21\xF9\4\5\x0A\0\0\0\x2C\0\0\0\0\x40\0\x30\0\0\2\2\x44\1\0"_z);
    file.add(frame).add("\x21\xFF\x0BXMP DataXMP").add(xmp("xmp:Rating=\"2\"")).add(trailer).u8(0).add(frame).add(";");
    const auto bytes = file.bytes();
    const auto source =
        CGImageSourceCreateWithData(std::make_shared<const std::vector<std::byte>>(bytes.begin(), bytes.end()));
    EXPECT_EQ(CGImageSourceGetCount(source), 2U);
    const Dictionary properties = propertiesOf(file);
    EXPECT_EQ(properties["{IPTC}"].dictionary()["StarRating"].integerValue(), 2);
    EXPECT_EQ(properties["{GIF}"].dictionary()["DelayTime"], Value(0.1));
}

TEST(Bmp, ReadsBothHeaders) {
    const ByteString old("BM\x1A\0\0\0\0\0\0\0\x1A\0\0\0\x0C\0\0\0\x40\0\x30\0\1\0\x18\0"_z);
    EXPECT_EQ(propertiesOf(old)["PixelHeight"], Value(48));
    ByteString info("BM\x36\0\0\0\0\0\0\0\x36\0\0\0\x28\0\0\0"_z);
    info.number(std::uint32_t{64}, true).number(static_cast<std::uint32_t>(-48), true).add("\1\0\x18\0"_z).add(8, '\0');
    info.number(std::uint32_t{2835}, true).number(std::uint32_t{2835}, true).add(8, '\0');
    EXPECT_EQ(propertiesOf(info)["PixelHeight"], Value(48)) << "rows from top to bottom";
    EXPECT_EQ(propertiesOf(info)["Depth"], Value(8));
}

TEST(Tiff, TakesTheFullPictureNotItsPreview) {
    // The first directory is a thumbnail, as in most raws; the picture is a sub-directory behind it.
    TiffBuilder small;
    small.longs(first, 0x00FE, {1}).shorts(first, 0x0100, {160}).shorts(first, 0x0101, {120});
    small.text(first, 0x010F, "Maker").longs(first, 0x014A, {0});
    const auto at = static_cast<std::uint32_t>(small.build().size());
    TiffBuilder patched;
    patched.longs(first, 0x00FE, {1}).shorts(first, 0x0100, {160}).shorts(first, 0x0101, {120});
    patched.text(first, 0x010F, "Maker").longs(first, 0x014A, {at});
    TiffBuilder sub;
    sub.longs(first, 0x00FE, {0}).shorts(first, 0x0100, {6000}).shorts(first, 0x0101, {4000});
    const Dictionary properties = propertiesOf(patched.build().add(sub.directory(first, at)));
    EXPECT_EQ(properties["PixelWidth"], Value(6000));
    EXPECT_EQ(makeOf(properties), "Maker");
}

/// A structure whose first directory stands at `start` and points to an Exif directory behind itself.
ByteString directoriesAt(std::uint32_t start, TiffBuilder& tiff) {
    TiffBuilder trial = tiff;
    const auto length = static_cast<std::uint32_t>(trial.longs(first, 0x8769, {0}).directory(first, start).size());
    tiff.longs(first, 0x8769, {start + length});
    return ByteString(tiff.directory(first, start)).add(tiff.directory(exif, start + length));
}

TEST(Tiff, GivesARawTheSizeOfItsPicture) {
    // The first directory is the preview.
    TiffBuilder canon;
    canon.shorts(first, 0x0100, {1600}).shorts(first, 0x0101, {1200}).text(first, 0x010F, "Canon");
    canon.longs(exif, 0xA002, {3648}).longs(exif, 0xA003, {2736});
    const Dictionary cr2 = propertiesOf(ByteString("II*\0\x10\0\0\0CR\2\0\0\0\0\0"_z).add(directoriesAt(16, canon)));
    EXPECT_EQ(cr2["PixelWidth"], Value(3648));
    EXPECT_EQ(cr2["PixelHeight"], Value(2736));

    // The sensor has borders; a note that tells more than the sensor has is not believed.
    for (const auto& [width, expected] : {std::pair(3872U, 3872), std::pair(38720U, 3880)}) {
        TiffBuilder tags;
        tags.longs(first, 0xB02B, {2592, width});
        const ByteString note = ByteString("SONY DSC \0\0\0"_z).add(tags.directory(first, 12));
        TiffBuilder sony;
        sony.shorts(first, 0x0100, {3880}).shorts(first, 0x0101, {2600}).shorts(first, 0x0106, {32803});
        sony.text(first, 0x010F, "SONY").raw(exif, 0x927C, 7, static_cast<std::uint32_t>(note.size()), note);
        EXPECT_EQ(propertiesOf(sony.build())["PixelWidth"], Value(expected));
    }
}

TEST(Crw, ReadsTheCamerasHeap) {
    const auto source = CGImageSourceCreateWithURL(TESSALY_SEEDS "/crw/camera.crw");
    ASSERT_TRUE(source);
    EXPECT_EQ(CGImageSourceGetType(source), "com.canon.crw-raw-image");
    const Dictionary properties = CGImageSourceCopyPropertiesAtIndex(source, 0, {}).value_or(Dictionary());
    const Dictionary& exif = properties["{Exif}"].dictionary();
    const Dictionary& aux = properties["{ExifAux}"].dictionary();
    EXPECT_EQ(properties["PixelWidth"], Value(3072));
    EXPECT_EQ(properties["PixelHeight"], Value(2048));
    EXPECT_EQ(properties["Orientation"], Value(6)) << "turned by 90 degrees";
    EXPECT_EQ(makeOf(properties), "Canon");
    EXPECT_EQ(properties["{TIFF}"].dictionary()["Model"], Value("Canon EOS 300D"));
    EXPECT_EQ(exif["DateTimeOriginal"], Value("2020:01:26 00:53:20"));
    EXPECT_EQ(exif["ISOSpeedRatings"], Value(Array{Value(200)})) << "the base, and what was added to it";
    EXPECT_EQ(exif["ExposureTime"], Value(1 / 128.0));
    EXPECT_EQ(exif["FNumber"], Value(5.7));
    EXPECT_EQ(exif["FocalLength"], Value(50.0));
    EXPECT_EQ(exif["ExposureBiasValue"], Value(0.5));
    EXPECT_EQ(aux["SerialNumber"], Value(123456789));
    EXPECT_EQ(aux["OwnerName"], Value("Somebody"));
}

TEST(Tiff, ReadsBigTiff) {
    ByteString file("II+\0\x08\0\0\0"_z);
    file.number(std::uint64_t{16}, true).number(std::uint64_t{2}, true);
    const auto entry = [&](std::uint16_t tag, std::uint16_t type, std::uint64_t count, std::uint64_t value) {
        file.number(tag, true).number(type, true).number(count, true).number(value, true);
    };
    entry(0x0100, 3, 1, 640);
    entry(0x0101, 3, 1, 480);
    file.number(std::uint64_t{0}, true);
    EXPECT_EQ(propertiesOf(file)["PixelWidth"], Value(640));
}

TEST(OtherRaws, KeepExifInTheirOwnContainers) {
    const ByteString block = exifBlock();
    ByteString minolta =
        ByteString("\0MRM"_z).u32(100).add("\0PRD"_z).u32(24).add(12, '\0').u16(1960).u16(2568).add(8, '\0');
    minolta.add("\0TTW"_z).u32(static_cast<std::uint32_t>(block.size())).add(block);
    EXPECT_EQ(makeOf(propertiesOf(minolta)), "Maker");
    EXPECT_EQ(propertiesOf(minolta)["PixelWidth"], Value(2568));

    const auto little = [](std::uint32_t number) { return ByteString().number(number, true); };
    ByteString sigma("FOVb");
    sigma.add(24, '\0').add(little(2640)).add(little(1760)).add(little(0));
    const auto sectionAt = static_cast<std::uint32_t>(sigma.size());
    const ByteString preview = jpegWithExif(block);
    sigma.add("SECi").add(little(0x20000)).add(little(2)).add(little(18)).add(12, '\0').add(preview);
    const auto directoryAt = static_cast<std::uint32_t>(sigma.size());
    sigma.add("SECd").add(little(0x20000)).add(little(1)).add(little(sectionAt));
    sigma.add(little(static_cast<std::uint32_t>(preview.size() + 28))).add("IMA2").add(little(directoryAt));
    EXPECT_EQ(makeOf(propertiesOf(sigma)), "Maker");
    EXPECT_EQ(propertiesOf(sigma)["PixelWidth"], Value(2640)) << "the picture's size, not the preview's";
}

TEST(Jpeg2000, ReadsItsHeaderAndUuidBoxes) {
    ByteString file = box("jP  ", {"\r\n\x87\n"});
    file.add(box("ftyp", {"jp2 \0\0\0\0jp2 "_z}));
    file.add(box("jp2h", {box("ihdr", {ByteString().u32(48).u32(64).u16(3).u8(7).add("\7\0\0"_z)}),
                          box("colr", {ByteString("\2\0\0"_z).add(iccProfile("Wide colours"))})}));
    file.add(box("uuid", {ByteString("JpgTiffExif->JP2").add(exifBlock())}));
    file.add(box("uuid", {ByteString("\xBE\x7A\xCF\xCB\x97\xA9\x42\xE8\x9C\x71\x99\x94\x91\xE3\xAF\xAC"),
                          xmp("xmp:Rating=\"5\"")}));
    const Dictionary properties = propertiesOf(file);
    EXPECT_EQ(properties["PixelWidth"], Value(64));
    EXPECT_EQ(properties["Depth"], Value(8));
    EXPECT_EQ(properties["ProfileName"], Value("Wide colours"));
    EXPECT_EQ(makeOf(properties), "Maker");
    EXPECT_EQ(properties["{IPTC}"].dictionary()["StarRating"].integerValue(), 5);
}

struct HeifOptions {
    bool inIdat = false;
    std::string_view transforms;  ///< Quarter turns as digits, "m" and "M" for the two mirrors.
};

ByteString heif(const HeifOptions& options) {
    TiffBuilder tiff;
    tiff.text(first, 0x010F, "Maker").shorts(first, 0x0112, {6});
    const ByteString item = ByteString().u32(6).add("Exif\0\0"_z).add(tiff.build());
    ByteString properties = fullBox("ispe", 0, 0, {ByteString().u32(64).u32(48)});
    ByteString association = ByteString().u16(1).u8(static_cast<unsigned>(options.transforms.size() + 1)).u8(0x81);
    for (std::size_t i = 0; i < options.transforms.size(); ++i) {
        const char c = options.transforms[i];
        properties.add(c == 'm'   ? box("imir", {"\1"})
                       : c == 'M' ? box("imir", {"\0"_z})
                                  : box("irot", {ByteString().u8(static_cast<unsigned>(c - '0'))}));
        association.u8(static_cast<unsigned>(0x82 + i));
    }
    const auto meta = [&](std::uint32_t base) {
        ByteString places = ByteString().u16(0x4440).u16(1);
        places.u16(2)
            .u16(options.inIdat ? 1 : 0)
            .u16(0)
            .u32(base)
            .u16(1)
            .u32(0)
            .u32(static_cast<std::uint32_t>(item.size()));
        return fullBox(
            "meta", 0, 0,
            {fullBox("hdlr", 0, 0, {"\0\0\0\0pict"_z}), fullBox("pitm", 0, 0, {ByteString().u16(1)}),
             fullBox("iinf", 0, 0,
                     {ByteString().u16(2), fullBox("infe", 2, 0, {ByteString().u16(1).u16(0).add("hvc1\0"_z)}),
                      fullBox("infe", 2, 0, {ByteString().u16(2).u16(0).add("Exif\0"_z)})}),
             fullBox("iloc", 1, 0, {places}), fullBox("iref", 0, 0, {box("cdsc", {ByteString().u16(2).u16(1).u16(1)})}),
             box("iprp", {box("ipco", {properties}), fullBox("ipma", 0, 0, {ByteString().u32(1), association})}),
             options.inIdat ? box("idat", {item}) : ByteString()});
    };
    ByteString file = box("ftyp", {"heic\0\0\0\0mif1heic"_z});
    if (options.inIdat) return file.add(meta(0));
    const auto base = static_cast<std::uint32_t>(file.size() + meta(0).size() + 8);
    return file.add(meta(base)).add(box("mdat", {item}));
}

TEST(Heif, FindsItemsInTheFileAndInTheBox) {
    for (const bool inIdat : {false, true}) {
        const Dictionary properties = propertiesOf(heif({.inIdat = inIdat, .transforms = {}}));
        EXPECT_EQ(makeOf(properties), "Maker");
        EXPECT_EQ(properties["PixelWidth"], Value(64));
    }
}

TEST(Heif, TurnsByItsOwnTransformsNotByExif) {
    struct Case {
        const char* why;
        std::string_view transforms;
        int orientation;
    };
    const Case cases[] = {
        {"none: what Exif says was applied", "", 1},
        {"a quarter counter-clockwise", "1", 8},
        {"half", "2", 3},
        {"three quarters", "3", 6},
        {"left to right", "m", 2},
        {"top to bottom", "M", 4},
        {"turned, then mirrored", "1m", 7},
        {"mirrored, then turned", "m1", 5},
    };
    for (const auto& [why, transforms, orientation] : cases) {
        const Dictionary properties = propertiesOf(heif({.inIdat = false, .transforms = transforms}));
        EXPECT_EQ(properties["Orientation"].integerValue(), orientation) << why;
        EXPECT_EQ(properties["{TIFF}"].dictionary()["Orientation"], Value(6)) << why << ": the tag stays as it is";
    }
}

TEST(JpegXl, ReadsSizeAndOrientationFromTheCodestream) {
    // Size header: not small, 13-bit heights; ratio 0; then metadata: not default, extra fields, orientation 6.
    std::vector<bool> bits;
    const auto put = [&bits](std::uint32_t value, unsigned count) {
        for (unsigned i = 0; i < count; ++i) bits.push_back((value >> i & 1U) != 0);
    };
    put(0, 1), put(1, 2), put(3000 - 1, 13), put(0, 3), put(1, 2), put(4000 - 1, 13);
    put(0, 1), put(1, 1), put(6 - 1, 3), put(0, 1), put(0, 1), put(0, 1), put(0, 1), put(1, 2);
    ByteString stream("\xFF\x0A");
    for (std::size_t at = 0; at < bits.size(); at += 8) {
        unsigned byte = 0;
        for (std::size_t i = 0; i < 8 && at + i < bits.size(); ++i) byte |= (bits[at + i] ? 1U : 0U) << i;
        stream.u8(byte);
    }
    stream.u8(0).u8(0);
    for (const bool boxed : {false, true}) {
        ByteString file = stream;
        if (boxed)
            file = box("JXL ", {"\r\n\x87\n"})
                       .add(box("ftyp", {"jxl \0\0\0\0jxl "_z}))
                       .add(box("Exif", {ByteString().u32(0).add(exifBlock())}))
                       .add(box("jxlc", {stream}));
        const Dictionary properties = propertiesOf(file);
        EXPECT_EQ(properties["PixelWidth"], Value(4000)) << boxed;
        EXPECT_EQ(properties["PixelHeight"], Value(3000)) << boxed;
        EXPECT_EQ(properties["Orientation"], Value(6)) << boxed;
        EXPECT_EQ(properties["Depth"], Value(10)) << boxed;
        EXPECT_EQ(makeOf(properties), boxed ? "Maker" : "");
    }
}

TEST(ImageSource, TellsFormatsByContentAndFaultsByKind) {
    const TemporaryFolder folder;
    struct Case {
        const char* why;
        std::string path;
        CGImageSourceFault fault;
    };
    const Case cases[] = {
        {"a photo under another's name", folder.write("photo.txt", jpegWithExif(exifBlock())),
         CGImageSourceFault::none},
        {"a text under a photo's name", folder.write("text.jpg", "hello, world, hello"),
         CGImageSourceFault::unknownFormat},
        {"nothing in it", folder.write("empty.jpg", ""), CGImageSourceFault::empty},
        {"not there", (folder.path() / "missing.jpg").string(), CGImageSourceFault::notFound},
        {"a folder", folder.path().string(), CGImageSourceFault::isFolder},
        {"a device", "/dev/zero", CGImageSourceFault::notRegularFile},
        {"below a file", folder.write("a", "a") + "/b.jpg", CGImageSourceFault::notFound},
    };
    for (const auto& [why, path, expected] : cases) {
        CGImageSourceFault fault{};
        EXPECT_EQ(CGImageSourceCreateWithURL(path, &fault) != nullptr, expected == CGImageSourceFault::none) << why;
        EXPECT_EQ(fault, expected) << why;
    }
}

}  // namespace
}  // namespace tessaly::test
