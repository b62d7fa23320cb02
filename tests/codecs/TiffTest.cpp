#include <gtest/gtest.h>

#include "codecs/Pictures.h"
#include "platform/ImageIO/CGImageSource.h"
#include "support/TiffBuilder.h"

// Numbers of every depth and kind, in strips, tiles and planes.
namespace tessaly::test {
namespace {

constexpr unsigned kWidth = 3;

struct Numbers {
    unsigned bits, format;
    ByteString row;  ///< Black, the middle, and white.
};

enum class Arrangement : std::uint8_t { gray, colors, planes };

/// In colours, each pixel has the number three times.
ByteString tiffOf(const Numbers& numbers, Arrangement arrangement, bool isTiled, unsigned compression = 1) {
    constexpr std::uint32_t kTile = 16;
    const bool isColor = arrangement != Arrangement::gray;
    ByteString part = numbers.row;
    if (arrangement == Arrangement::colors) {
        const std::size_t size = numbers.bits / 8;
        part = ByteString();
        for (std::size_t i = 0; i < kWidth * 3; ++i) part.add(numbers.row.text().substr(i / 3 * size, size));
    }
    const std::size_t rowSize = std::size_t{kTile} * numbers.bits / 8 * (arrangement == Arrangement::colors ? 3 : 1);
    if (isTiled) part.add(rowSize * kTile - part.size(), '\0');
    const auto first = TiffBuilder::first;
    TiffBuilder tiff;
    tiff.longs(first, 256, {kWidth}).longs(first, 257, {1}).shorts(first, 259, {compression});
    if (isColor)
        tiff.shorts(first, 258, {numbers.bits, numbers.bits, numbers.bits})
            .shorts(first, 339, {numbers.format, numbers.format, numbers.format});
    else
        tiff.shorts(first, 258, {numbers.bits}).shorts(first, 339, {numbers.format});
    tiff.shorts(first, 262, {isColor ? 2U : 1U}).shorts(first, 277, {isColor ? 3U : 1U});
    tiff.shorts(first, 284, {arrangement == Arrangement::planes ? 2U : 1U});
    if (isTiled) tiff.longs(first, 322, {kTile}).longs(first, 323, {kTile});
    constexpr std::uint32_t kPixels = 1000;
    const auto size = static_cast<std::uint32_t>(part.size());
    const unsigned offsets = isTiled ? 324 : 273, sizes = isTiled ? 325 : 279;
    if (arrangement == Arrangement::planes)
        tiff.longs(first, offsets, {kPixels, kPixels, kPixels}).longs(first, sizes, {size, size, size});
    else
        tiff.longs(first, offsets, {kPixels}).longs(first, sizes, {size});
    ByteString file = tiff.build();
    return file.add(kPixels - file.size(), '\0').add(part);
}

/// Of the first colour, from 0 to 255.
int levelOf(const CGImageRef& image, std::size_t x) {
    return image ? pixelAt(image, x, 0)[0] >> (image->bitsPerComponent - 8) : -1;
}

TEST(TiffNumbers, OfEveryDepthAndKindReachFromBlackToWhite) {
    for (const Numbers& numbers :
         {Numbers{2, 1, "\x2C"}, Numbers{4, 1, "\x08\xF0"_z}, Numbers{8, 1, "\0\x80\xFF"_z},
          Numbers{10, 1, "\0\x20\x0F\xFC"_z}, Numbers{12, 1, "\0\x08\0\xFF\xF0"_z},
          Numbers{16, 1, "\0\0\0\x80\xFF\xFF"_z}, Numbers{24, 1, "\0\0\0\0\0\x80\xFF\xFF\xFF"_z},
          Numbers{32, 1, "\0\0\0\0\0\0\0\x80\xFF\xFF\xFF\xFF"_z},
          Numbers{64, 1, "\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\x80\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF"_z},
          Numbers{8, 2, "\x80\0\x7F"_z}, Numbers{16, 2, "\0\x80\0\0\xFF\x7F"_z},
          Numbers{32, 2, "\0\0\0\x80\0\0\0\0\xFF\xFF\xFF\x7F"_z}, Numbers{16, 3, "\0\0\0\x38\0\x3C"_z},
          Numbers{24, 3, "\0\0\0\0\0\x3E\0\0\x3F"_z}, Numbers{32, 3, "\0\0\0\0\0\0\0\x3F\0\0\x80\x3F"_z},
          Numbers{64, 3, "\0\0\0\0\0\0\0\0\0\0\0\0\0\0\xE0\x3F\0\0\0\0\0\0\xF0\x3F"_z},
          // Beyond white, not a number, and below black.
          Numbers{16, 3, "\0\x7E\0\x38\0\x44"_z}, Numbers{32, 3, "\0\0\x80\xBF\0\0\0\x3F\0\0\x80\x7F"_z}})
        for (const auto arrangement : {Arrangement::gray, Arrangement::colors, Arrangement::planes})
            for (const bool isTiled : {false, true}) {
                if (arrangement == Arrangement::colors && numbers.bits % 8 != 0) continue;
                SCOPED_TRACE(std::to_string(numbers.bits) + " of kind " + std::to_string(numbers.format) +
                             ", arranged " + std::to_string(static_cast<int>(arrangement)) +
                             (isTiled ? ", tiles" : ""));
                const auto source = CGImageSourceCreateWithData(dataOf(tiffOf(numbers, arrangement, isTiled)));
                const CGImageRef image = CGImageSourceCreateImageAtIndex(source, 0, {});
                const int middle = numbers.bits == 2 ? 170 : 128;  // Of four levels there is none.
                EXPECT_EQ(levelOf(image, 0), 0);
                EXPECT_NEAR(levelOf(image, 1), middle, 8);
                EXPECT_EQ(levelOf(image, 2), 255);
                // All three in one pixel: rows and planes that are averaged.
                const CGImageRef one = CGImageSourceCreateThumbnailAtIndex(
                    source, 0, {{kCGImageSourceThumbnailMaxPixelSize, std::int64_t{1}}});
                EXPECT_NEAR(levelOf(one, 0), (middle + 255) / 3, 8);
            }
}

// The same red (L* 40, a* 60, b* 40) in every numbering of Lab.
TEST(TiffNumbers, OfLabHaveASignOrAMiddle) {
    struct Row {
        unsigned photometric, bits;
        ByteString pixel;
        bool isOfD65 = false;  ///< Says so; D50 else.
    };
    constexpr unsigned kCie = 8, kIcc = 9, kItu = 10;
    for (const auto& [photometric, bits, pixel, isOfD65] :
         {Row{kCie, 8, "\x64\x3C\x26", true}, Row{kCie, 8, "\x66\x3C\x28"}, Row{kCie, 16, "\x66\x66\0\x3C\0\x28"_z},
          Row{kIcc, 8, "\x66\xBC\xA8"}, Row{kIcc, 16, "\0\x66\0\xBC\0\xA8"_z}, Row{kItu, 8, "\x66\xDA\x93"}})
        for (const unsigned format : {1U, 2U}) {
            SCOPED_TRACE(std::to_string(photometric) + " in " + std::to_string(bits));
            const auto size = bits / 8;
            TiffBuilder tiff;
            const auto first = TiffBuilder::first;
            tiff.longs(first, 256, {1}).longs(first, 257, {1}).shorts(first, 258, {bits, bits, bits});
            tiff.shorts(first, 259, {1}).shorts(first, 262, {photometric}).longs(first, 273, {1000});
            tiff.shorts(first, 277, {3}).longs(first, 279, {3 * size}).shorts(first, 339, {format, format, format});
            if (isOfD65) tiff.rationals(first, 318, {{3127, 10000}, {3290, 10000}});
            ByteString file = tiff.build();
            file.add(1000 - file.size(), '\0').add(pixel);
            const auto source = CGImageSourceCreateWithData(dataOf(file));
            const CGImageRef image = CGImageSourceCreateImageAtIndex(source, 0, {});
            ASSERT_TRUE(image);
            const int shift = static_cast<int>(image->bitsPerComponent) - 8;
            const auto& made = pixelAt(image, 0, 0);
            EXPECT_NEAR(made[0] >> shift, 183, 2);
            EXPECT_NEAR(made[1] >> shift, 25, 7);
            EXPECT_NEAR(made[2] >> shift, 34, 4);
        }
}

TEST(TiffNumbers, RefusesWhatNoDecoderTakes) {
    const Numbers deep{12, 1, "\0\x08\0\xFF\xF0"_z};
    const Numbers complex{64, 6, ByteString().add(24, '\0')};
    for (const ByteString& file : {tiffOf(deep, Arrangement::gray, false, 7),      // JPEG of 12 bits
                                   tiffOf(deep, Arrangement::gray, false, 34712),  // a compression nobody has
                                   tiffOf(complex, Arrangement::gray, false)}) {
        CGImageFault fault{};
        EXPECT_FALSE(CGImageSourceCreateImageAtIndex(CGImageSourceCreateWithData(dataOf(file)), 0, {}, &fault));
        EXPECT_EQ(fault, CGImageFault::unsupported);
    }
}

}  // namespace
}  // namespace tessaly::test
