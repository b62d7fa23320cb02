#include <gtest/gtest.h>

#include <cstring>

#include "codecs/Pictures.h"
#include "linux/codecs/Pixels.h"
#include "platform/AVFoundation/AVAssetImageGenerator.h"
#include "platform/Foundation/Dispatch.h"
#include "platform/ImageIO/CGImageSource.h"
#include "platform/UIKit/UIImage.h"
#include "support/Containers.h"
#include "support/DirectDecoding.h"
#include "support/TemporaryFolder.h"
#include "support/TiffBuilder.h"

// What comes out of files: size, colours, depth and uprightness of every format; and what hostile files get.
namespace tessaly::test {
namespace {

CGImageRef decoded(const Data& data, std::size_t index = 0, CGImageFault* fault = nullptr) {
    return CGImageSourceCreateImageAtIndex(CGImageSourceCreateWithData(data), index, {}, fault);
}

CGImageRef thumbnail(const Data& data, std::int64_t size, CGImageFault* fault = nullptr) {
    return CGImageSourceCreateThumbnailAtIndex(
        CGImageSourceCreateWithData(data), 0,
        {{kCGImageSourceCreateThumbnailWithTransform, true}, {kCGImageSourceThumbnailMaxPixelSize, size}}, fault);
}

TEST(Decoding, EveryFormatInSizeAndColours) {
    struct Row {
        const char* file;
        unsigned bits = 8;
        std::size_t count = 1;
    };
    for (const Row& row : {Row{"quadrants.jpg"}, Row{"progressive.jpg"}, Row{"cmyk.jpg"},
                           Row{"deep-interlaced.png", 16}, Row{"quadrants.webp"}, Row{"animated.webp", 8, 2},
                           Row{"deep.tiff", 16}, Row{"palette.tiff"}, Row{"animated.gif", 8, 2}, Row{"quadrants.bmp"},
                           Row{"quadrants.jp2"}, Row{"quadrants.heic"}, Row{"quadrants.avif"}, Row{"quadrants.jxl"}}) {
        const Data data = fileNamed(row.file);
        const CGImageRef image = decoded(data);
        EXPECT_EQ(sizeOf(image), "64 x 32") << row.file;
        EXPECT_EQ(colorsOf(image), "RGBW") << row.file;
        if (image) {
            EXPECT_EQ(image->bitsPerComponent, row.bits) << row.file;
        }
        EXPECT_EQ(colorsOf(thumbnail(data, 16)), "RGBW") << row.file;
        EXPECT_EQ(sizeOf(thumbnail(data, 16)), "16 x 8") << row.file;
        EXPECT_EQ(CGImageSourceGetCount(CGImageSourceCreateWithData(data)), row.count) << row.file;
    }
}

TEST(Decoding, FramesByTheirNumberAndNoneBehindTheLast) {
    // The second frame of an animation is the first one turned by half.
    for (const char* file : {"animated.webp", "animated.gif"}) {
        EXPECT_EQ(colorsOf(decoded(fileNamed(file), 1)), "WBGR") << file;
        EXPECT_EQ(colorsOf(decoded(fileNamed(file), 2)), "none") << file;
    }
    for (const char* file : {"quadrants.jpg", "deep-interlaced.png", "quadrants.webp", "deep.tiff", "quadrants.bmp",
                             "quadrants.jp2", "quadrants.heic", "quadrants.avif", "quadrants.jxl"})
        EXPECT_EQ(colorsOf(decoded(fileNamed(file), 1)), "none") << file;
}

TEST(Decoding, AllOrientationsComeOutUpright) {
    // Stored as red, green / blue, white.
    constexpr std::array kUpright{"RGBW", "GRWB", "WBGR", "BWRG", "RBGW", "BRWG", "WGBR", "GWRB"};
    for (unsigned orientation = 1; orientation <= 8; ++orientation) {
        const Data data = withOrientation(fileNamed("quadrants.jpg"), orientation);
        const std::string size = orientation >= 5 ? "8 x 16" : "16 x 8";
        EXPECT_EQ(colorsOf(thumbnail(data, 16)), kUpright[orientation - 1]) << orientation;
        EXPECT_EQ(sizeOf(thumbnail(data, 16)), size) << orientation;
        EXPECT_EQ(colorsOf(decoded(data)), "RGBW") << "as it is stored: " << orientation;
        const UIImageRef image = UIImage::imageWithData(data);
        ASSERT_TRUE(image);
        EXPECT_EQ(exifOrientation(image->imageOrientation()), static_cast<int>(orientation));
        EXPECT_EQ(image->size(), (orientation >= 5 ? CGSize{32, 64} : CGSize{64, 32}));
        EXPECT_EQ(colorsOf(decoded(UIImagePNGRepresentation(image))), kUpright[orientation - 1]) << orientation;
        EXPECT_EQ(colorsOf(decoded(UIImageJPEGRepresentation(image, 1))), kUpright[orientation - 1]) << orientation;
    }
}

TEST(Decoding, AThumbnailIsAtMostThatLongAndNeverEnlarged) {
    const auto wide = [](std::size_t width, std::size_t height) {
        return UIImagePNGRepresentation(UIImage::imageWithCGImage(quadrants(width, height)));
    };
    struct Row {
        std::size_t width, height;
        std::int64_t limit;
        const char* expected;
    };
    for (const auto& [width, height, limit, expected] :
         {Row{300, 200, 100, "100 x 67"}, Row{200, 300, 100, "67 x 100"}, Row{300, 200, 299, "299 x 199"},
          Row{300, 200, 300, "300 x 200"}, Row{300, 200, 5000, "300 x 200"}, Row{300, 200, 0, "300 x 200"},
          Row{300, 200, 1, "1 x 1"}, Row{1000, 2, 10, "10 x 1"}, Row{1, 1, 512, "1 x 1"}}) {
        EXPECT_EQ(sizeOf(thumbnail(wide(width, height), limit)), expected) << width << " by " << height;
    }
    for (const char* file : {"quadrants.jpg", "quadrants.webp", "quadrants.heic", "quadrants.jxl", "quadrants.jp2"})
        for (const int limit : {1, 7, 33, 63, 64, 500}) {
            const CGImageRef small = thumbnail(fileNamed(file), limit);
            ASSERT_TRUE(small) << file;
            EXPECT_EQ(small->width, static_cast<std::size_t>(std::min(limit, 64))) << file;
        }
}

/// sRGB's curve and primaries, but the first two have changed places: what is told as red is green.
ByteString swappedProfile() {
    struct Tag {
        const char* name;
        ByteString content;
    };
    const auto xyz = [](std::uint32_t x, std::uint32_t y, std::uint32_t z) {
        return ByteString("XYZ \0\0\0\0"_z).u32(x).u32(y).u32(z);
    };
    const ByteString curve = ByteString("curv\0\0\0\0"_z).u32(1).u16(0x0233).u16(0);
    const std::array tags{Tag{"wtpt", xyz(0xF6D6, 0x10000, 0xD32D)},
                          Tag{"rXYZ", xyz(0x6299, 0xB785, 0x18DA)},
                          Tag{"gXYZ", xyz(0x6FA2, 0x38F5, 0x0390)},
                          Tag{"bXYZ", xyz(0x24A0, 0x0F84, 0xB6CF)},
                          Tag{"rTRC", curve},
                          Tag{"gTRC", curve},
                          Tag{"bTRC", curve}};
    ByteString table = ByteString().u32(tags.size());
    ByteString contents;
    for (const Tag& tag : tags) {
        const auto offset = static_cast<std::uint32_t>(128 + 4 + tags.size() * 12 + contents.size());
        table.add(tag.name).u32(offset).u32(static_cast<std::uint32_t>(tag.content.size()));
        contents.add(tag.content);
    }
    ByteString profile = ByteString().u32(static_cast<std::uint32_t>(128 + table.size() + contents.size()));
    profile.add(4, '\0').u32(0x02400000).add("mntrRGB XYZ ").add(12, '\0').add("acsp").add(28, '\0');
    profile.u32(0xF6D6).u32(0x10000).u32(0xD32D).add(48, '\0');
    return profile.add(table).add(contents);
}

ByteString quadrantRows() {
    ByteString rows;
    for (std::size_t y = 0; y < 32; ++y)
        for (std::size_t x = 0; x < 64; ++x) {
            const Pixel pixel = pixelAt(quadrants(), x, y);
            for (std::size_t c = 0; c < 3; ++c) rows.u8(static_cast<unsigned>(pixel[c]));
        }
    return rows;
}

TEST(Decoding, TurnsColoursOfOtherProfilesIntoSRGBUnlessTheyAreEncodedAnew) {
    const ByteString profile = swappedProfile();
    const std::string jpeg(bytesOf(fileNamed("quadrants.jpg")).text());
    const std::string webp(bytesOf(fileNamed("quadrants.webp")).text());
    ByteString packed = "profile\0\0"_z;
    {
        // Deflated without compression: one stored block.
        const auto length = static_cast<unsigned>(profile.size());
        ByteString stored = ByteString("\x78\x01\x01").number(static_cast<std::uint16_t>(length), true);
        stored.number(static_cast<std::uint16_t>(~length), true).add(profile);
        std::uint32_t a = 1, b = 0;
        for (const std::byte value : profile.bytes()) {
            a = (a + std::to_integer<std::uint32_t>(value)) % 65521;
            b = (b + a) % 65521;
        }
        packed.add(stored).u32(b << 16 | a);
    }
    ByteString chunk = ByteString("ICCP").number(static_cast<std::uint32_t>(profile.size()), true).add(profile);
    if (profile.size() % 2 == 1) chunk.u8(0);
    const ByteString canvas = "VP8X\x0a\0\0\0\x20\0\0\0\x3f\0\0\x1f\0\0"_z;
    const auto riffLength = static_cast<std::uint32_t>(4 + canvas.size() + chunk.size() + webp.size() - 12);
    struct Row {
        const char* name;
        ByteString file;
    };
    for (const auto& [name, file] :
         {Row{"JPEG", ByteString(jpeg.substr(0, 2))
                          .add(jpegSegment(0xE2, ByteString("ICC_PROFILE\0\1\1"_z).add(profile)))
                          .add(jpeg.substr(2))},
          Row{"PNG", rgbPng(64, 32, pngChunk("iCCP", packed), quadrantRows())},
          Row{"WebP",
              ByteString("RIFF").number(riffLength, true).add("WEBP").add(canvas).add(chunk).add(webp.substr(12))}}) {
        EXPECT_EQ(colorsOf(decoded(dataOf(file))), "GRBW") << name;
        EXPECT_EQ(colorsOf(thumbnail(dataOf(file), 16)), "GRBW") << name;
        // Encoded anew, the pixels stay in their own colours, and what says so comes along.
        const UIImageRef image = UIImage::imageWithData(dataOf(file));
        const Data again = UIImageJPEGRepresentation(image, 1);
        EXPECT_EQ(colorsOf(decoded(again)), "GRBW") << name;
        EXPECT_NE(bytesOf(again).text().find(profile.text()), std::string_view::npos) << name;
        EXPECT_EQ(colorsOf(decoded(UIImagePNGRepresentation(image))), "GRBW") << name;
    }
    // A profile that makes no sense counts as none.
    ByteString broken = ByteString(jpeg.substr(0, 2));
    broken.add(jpegSegment(0xE2, ByteString("ICC_PROFILE\0\1\1"_z).add(std::string(profile.text().substr(0, 140)))));
    EXPECT_EQ(colorsOf(decoded(dataOf(broken.add(jpeg.substr(2))))), "RGBW");
    // Light that a PNG tells as linear.
    const ByteString linear = rgbPng(1, 1, pngChunk("gAMA", ByteString().u32(100000)), "\x37\x37\x37");
    EXPECT_NEAR(pixelAt(decoded(dataOf(linear)), 0, 0)[0], 127, 3);
}

TEST(Decoding, SixteenBitsAndAlphaSurviveAPng) {
    const auto color = [](std::size_t x, std::size_t y) {
        return Pixel{static_cast<int>(x * 4099 + 3), static_cast<int>(y * 8191 + 1), 40503, 65535 - int(x) * 1000};
    };
    for (const auto alphaInfo : {CGImageAlphaInfo::last, CGImageAlphaInfo::noneSkipLast, CGImageAlphaInfo::first}) {
        const CGImageRef original = bitmap(9, 7, color, alphaInfo, 16);
        const UIImageRef image = UIImage::imageWithData(UIImagePNGRepresentation(UIImage::imageWithCGImage(original)));
        const CGImageRef again = image->cgImage();
        ASSERT_TRUE(again);
        EXPECT_EQ(again->bitsPerComponent, 16U);
        for (std::size_t y = 0; y < 7; ++y)
            for (std::size_t x = 0; x < 9; ++x) ASSERT_EQ(pixelAt(again, x, y), pixelAt(original, x, y));
    }
    // What is multiplied in memory is not in the file.
    struct Row {
        Pixel stored, file;
    };
    for (const auto& [stored, file] : {Row{{100, 50, 25, 128}, {199, 100, 50, 128}}, Row{{0, 0, 0, 0}, {0, 0, 0, 0}},
                                       Row{{10, 20, 255, 255}, {10, 20, 255, 255}}}) {
        const Pixel pixel = stored;
        const CGImageRef image = bitmap(
            3, 3, [&](auto, auto) { return pixel; }, CGImageAlphaInfo::premultipliedFirst);
        const CGImageRef again = decoded(UIImagePNGRepresentation(UIImage::imageWithCGImage(image)));
        ASSERT_TRUE(again);
        EXPECT_EQ(pixelAt(again, 1, 1), file);
    }
    // JPEG has no alpha: white shines through.
    const CGImageRef half = bitmap(
        16, 16,
        [](auto, auto) {
            return Pixel{255, 0, 0, 128};
        },
        CGImageAlphaInfo::last);
    const CGImageRef opaque = decoded(UIImageJPEGRepresentation(UIImage::imageWithCGImage(half), 1));
    ASSERT_TRUE(opaque);
    EXPECT_NEAR(pixelAt(opaque, 8, 8)[0], 255, 3);
    EXPECT_NEAR(pixelAt(opaque, 8, 8)[1], 127, 3);
}

/// A JPEG XL codestream that begins with its size, 30 bits each, and says nothing more.
ByteString hugeJpegXl(std::uint32_t side) {
    std::vector<bool> bits;
    const auto put = [&](std::uint64_t value, int count) {
        for (int i = 0; i < count; ++i) bits.push_back((value >> i & 1U) != 0);
    };
    put(0, 1), put(3, 2), put(side - 1, 30), put(0, 3), put(3, 2), put(side - 1, 30), put(1, 1);
    bits.resize((bits.size() + 7) / 8 * 8);
    ByteString file("\xFF\x0A");
    for (std::size_t at = 0; at < bits.size(); at += 8) {
        unsigned value = 0;
        for (std::size_t i = 0; i < 8; ++i) value |= static_cast<unsigned>(bits[at + i]) << i;
        file.u8(value);
    }
    return file.add(64, '\x5A');
}

/// The file with other bytes at the first place of `mark`, `distance` behind its beginning.
ByteString patched(const char* file, std::string_view mark, std::size_t distance, const ByteString& bytes) {
    std::string content(bytesOf(fileNamed(file)).text());
    return content.replace(content.find(mark) + distance, bytes.size(), bytes.text());
}

TEST(Decoding, RefusesPicturesThatClaimToBeHuge) {
    constexpr std::uint32_t kSide = 60000;
    ByteString jpeg = ByteString("\xFF\xD8");
    jpeg.add(jpegSegment(0xC2, ByteString().u8(8).u16(65000).u16(65000).u8(3).add("\1\x22\0\2\x11\0\3\x11\0"_z)));
    jpeg.add(jpegSegment(0xDA, "\3\1\0\2\0\3\0\0\0\0"_z)).add(200, '\x11');
    TiffBuilder tiff;
    tiff.longs(TiffBuilder::first, 256, {kSide}).longs(TiffBuilder::first, 257, {kSide});
    tiff.shorts(TiffBuilder::first, 258, {8, 8, 8}).shorts(TiffBuilder::first, 259, {1});
    tiff.shorts(TiffBuilder::first, 262, {2}).longs(TiffBuilder::first, 273, {8});
    tiff.shorts(TiffBuilder::first, 277, {3}).longs(TiffBuilder::first, 278, {kSide});
    tiff.longs(TiffBuilder::first, 279, {100});
    const TemporaryFolder folder;
    const ByteString sides = ByteString().u32(kSide).u32(kSide);
    const ByteString littleSides = ByteString().number(kSide, true).number(kSide, true);
    struct Row {
        const char* name;
        ByteString file;
    };
    for (const auto& [name, file] :
         {Row{"interlaced PNG", rgbPng(kSide, kSide, {}, std::string(300, '\0'), true)},
          Row{"PNG", rgbPng(kSide, kSide, {}, std::string(300, '\0'))}, Row{"progressive JPEG", jpeg},
          Row{"GIF", ByteString("GIF89a\x60\xEA\x60\xEA\0\0\0\x2C\0\0\0\0\x60\xEA\x60\xEA\0\2\1\x11\0\x3B"_z)},
          Row{"WebP", ByteString("RIFF\x1e\0\0\0WEBPVP8X\x0a\0\0\0\2\0\0\0\x5F\xEA\0\x5F\xEA\0"_z).add(8, '\0')},
          Row{"TIFF", tiff.build()}, Row{"JPEG XL", hugeJpegXl(kSide)},
          Row{"BMP", patched("quadrants.bmp", "BM", 18, littleSides)},
          Row{"JPEG 2000", patched("quadrants.jp2", "\xFF\x4F\xFF\x51", 8, sides)},
          Row{"HEIC", patched("quadrants.heic", "ispe", 8, sides)},
          Row{"AVIF", patched("quadrants.avif", "ispe", 8, sides)}}) {
        const std::string path = folder.write("picture", file.text());
        for (const int limit : {0, 100}) {
            CGImageFault fault{};
            EXPECT_FALSE(limit == 0 ? decoded(dataOf(file), 0, &fault) : thumbnail(dataOf(file), limit, &fault))
                << name << " " << limit;
            EXPECT_TRUE(fault == CGImageFault::tooLarge || fault == CGImageFault::damaged) << name << " " << limit;
            const DecodingCost cost = costOfDecoding(
                path, {.longerSide = static_cast<std::size_t>(limit), .pixelLimit = codecs::kPixelLimit});
            EXPECT_NE(cost.fault, codecs::DecodeFault::none) << name << " " << limit;
            EXPECT_LT(cost.memory, 200 << 20) << name << " takes memory for what is not there";
        }
    }
}

TEST(Decoding, WhatIsThereOfATruncatedPictureIsShown) {
    const CGImageRef original = bitmap(256, 256, [](std::size_t x, std::size_t y) {
        return Pixel{static_cast<int>(x), static_cast<int>(y),
                     static_cast<int>((x * x * 31 + x * y * 17 + y * y * 7) % 256), 255};
    });
    const UIImageRef image = UIImage::imageWithCGImage(original);
    struct Row {
        const char* name;
        Data file;
        int tolerance;
    };
    for (const auto& [name, file, tolerance] :
         {Row{"JPEG", UIImageJPEGRepresentation(image, 1), 20}, Row{"PNG", UIImagePNGRepresentation(image), 0}}) {
        ASSERT_TRUE(file) << name;
        const auto cut = [&file = file](std::size_t length) {
            return std::make_shared<const std::vector<std::byte>>(file->begin(),
                                                                  file->begin() + static_cast<std::ptrdiff_t>(length));
        };
        const CGImageRef part = decoded(cut(file->size() / 2));
        ASSERT_EQ(sizeOf(part), "256 x 256") << name;
        for (const std::size_t x : {3, 100, 250})
            for (std::size_t c = 0; c < 3; ++c)
                EXPECT_NEAR(pixelAt(part, x, 40)[c], pixelAt(original, x, 40)[c], tolerance) << name;
        EXPECT_EQ(sizeOf(thumbnail(cut(file->size() / 2), 64)), "64 x 64") << name;
        for (const std::size_t length : {std::size_t{8}, std::size_t{30}}) {
            CGImageFault fault{};
            EXPECT_FALSE(decoded(cut(length), 0, &fault)) << name << " " << length;
        }
    }
}

TEST(Decoding, SaysWhatCannotBeDecoded) {
    CGImageFault fault{};
    EXPECT_FALSE(CGImageSourceCreateImageAtIndex(nullptr, 0, {}, &fault));
    EXPECT_EQ(fault, CGImageFault::unsupported);
    EXPECT_FALSE(UIImage::imageWithData(dataOf("neither a picture nor anything else")));
    EXPECT_FALSE(UIImage::imageWithData(nullptr));
    EXPECT_FALSE(UIImage::imageWithContentsOfFile("/nowhere.jpg"));
    EXPECT_FALSE(UIImageJPEGRepresentation(nullptr, 1));
    // A head that can be read, and nothing behind it: there is a size, but no picture.
    const UIImageRef head = UIImage::imageWithData(dataOf(png({})));
    ASSERT_TRUE(head);
    EXPECT_EQ(head->size(), (CGSize{64, 48}));
    EXPECT_FALSE(head->cgImage());
    EXPECT_FALSE(UIImagePNGRepresentation(head));
}

CGImageRef frameOf(const std::string& path, bool isUpright, CGSize maximum, double seconds,
                   std::string* error = nullptr) {
    AVAssetImageGenerator generator(AVAsset::assetWithURL(path));
    generator.appliesPreferredTrackTransform = isUpright;
    generator.maximumSize = maximum;
    CGImageRef frame;
    DispatchSemaphore done;
    generator.generateCGImageAsynchronouslyForTime(seconds, [&](const CGImageRef& image, const std::string& why) {
        frame = image;
        if (error) *error = why;
        done.signal();
    });
    done.wait();
    return frame;
}

TEST(MovieFrames, AreUprightOnRequestAndFit) {
    const std::string movie = pathOfFileNamed("sideways.mp4");
    EXPECT_EQ(colorsOf(frameOf(movie, true, {}, 0)), "GWRB");
    EXPECT_EQ(sizeOf(frameOf(movie, true, {}, 0)), "32 x 64");
    EXPECT_EQ(colorsOf(frameOf(movie, false, {}, 0)), "RGBW");
    EXPECT_EQ(sizeOf(frameOf(movie, false, {}, 0)), "64 x 32");
    EXPECT_EQ(sizeOf(frameOf(movie, true, {16, 16}, 0.5)), "8 x 16");
    EXPECT_EQ(sizeOf(frameOf(movie, true, {16, 1000}, 0)), "16 x 32");
    EXPECT_EQ(colorsOf(frameOf(movie, true, {}, 99)), "GWRB") << "behind the end the last frame stays";
    std::string error;
    EXPECT_FALSE(frameOf(pathOfFileNamed("quadrants.jpg"), true, {}, 0, &error));
    EXPECT_NE(error, "");
}

}  // namespace
}  // namespace tessaly::test
