#include <gtest/gtest.h>

#include "codecs/Pictures.h"
#include "platform/ImageIO/CGImageSource.h"
#include "support/Containers.h"

// The picture of a layered file: every packing, depth and set of colours.
namespace tessaly::test {
namespace {

CGImageRef decoded(const ByteString& file, CGImageFault* fault = nullptr) {
    return CGImageSourceCreateImageAtIndex(CGImageSourceCreateWithData(dataOf(file)), 0, {}, fault);
}

/// Red, green, blue and white in quadrants: what channel `c` has there, 0 to 255.
unsigned quadrant(unsigned c, unsigned x, unsigned y) {
    static constexpr unsigned colors[4][3] = {{255, 0, 0}, {0, 255, 0}, {0, 0, 255}, {255, 255, 255}};
    return colors[(y >= 16 ? 2 : 0) + (x >= 32 ? 1 : 0)][c];
}

/// The same colours as Lab.
unsigned lab(unsigned c, unsigned x, unsigned y) {
    static constexpr unsigned colors[4][3] = {{138, 209, 198}, {224, 49, 209}, {75, 196, 16}, {255, 128, 128}};
    return colors[(y >= 16 ? 2 : 0) + (x >= 32 ? 1 : 0)][c];
}

ByteString row(const Psd& psd, unsigned channel, unsigned y) {
    ByteString samples;
    for (unsigned x = 0; x < psd.width; ++x) {
        // Inks are told as what is left of the light; the fourth is the alpha of RGB, and black of CMYK.
        unsigned value = channel == 3 ? 255 : psd.mode == 1 ? (x >= 32 ? 255U : 0U) : quadrant(channel, x, y);
        if (psd.mode == 9) value = lab(channel, x, y);
        if (psd.mode == 2) value = (y >= 16 ? 2U : 0U) + (x >= 32 ? 1U : 0U);
        if (psd.depth == 8) samples.u8(value);
        if (psd.depth == 16) samples.u16(value * 257);
        if (psd.depth == 32) samples.u32(value != 0 ? 0x3F800000U : 0);
    }
    return samples;
}

/// PackBits of whatever it is: pairs of the same bytes, one by one.
ByteString packed(const ByteString& bytes) {
    ByteString made;
    for (const char byte : bytes.text()) made.u8(0).add(1, byte);
    return made;
}

ByteString pixelsOf(const Psd& psd, bool isPacked) {
    ByteString rows, lengths;
    for (unsigned channel = 0; channel < psd.channels; ++channel)
        for (unsigned y = 0; y < psd.height; ++y) {
            const ByteString one = isPacked ? packed(row(psd, channel, y)) : row(psd, channel, y);
            if (psd.isLarge)
                lengths.u32(static_cast<std::uint32_t>(one.size()));
            else
                lengths.u16(static_cast<unsigned>(one.size()));
            rows.add(one);
        }
    ByteString made = ByteString().u16(isPacked ? 1 : 0);
    return isPacked ? made.add(lengths).add(rows) : made.add(rows);
}

TEST(PsdPicture, InEveryPackingDepthAndColour) {
    struct Row {
        unsigned mode, channels, depth;
        const char* colors;
        unsigned bits;
    };
    ByteString palette;
    for (unsigned c = 0; c < 3; ++c)
        for (unsigned i = 0; i < 256; ++i) palette.u8(quadrant(c, i % 2 * 32, i / 2 % 2 * 16));
    for (const Row& row :
         {Row{3, 3, 8, "RGBW", 8}, Row{3, 3, 16, "RGBW", 16}, Row{3, 3, 32, "RGBW", 16}, Row{3, 4, 8, "RGBW", 8},
          Row{4, 4, 8, "RGBW", 8}, Row{4, 4, 16, "RGBW", 16}, Row{2, 1, 8, "RGBW", 8}, Row{7, 3, 8, "RGBW", 8},
          Row{7, 5, 16, "RGBW", 16}, Row{9, 3, 8, "RGBW", 8}, Row{9, 3, 16, "RGBW", 16}})
        for (const bool isPacked : {false, true})
            for (const bool isLarge : {false, true}) {
                Psd psd{.isLarge = isLarge, .channels = row.channels, .depth = row.depth, .mode = row.mode};
                if (row.mode == 2) psd.palette = palette;
                if (row.channels == 4 && row.mode == 3)
                    psd.layers = isLarge ? ByteString().u64(2).u16(0xFFFF) : ByteString().u32(2).u16(0xFFFF);
                psd.pixels = pixelsOf(psd, isPacked);
                const CGImageRef image = decoded(psd.build());
                EXPECT_EQ(sizeOf(image), "64 x 32") << row.mode << " " << row.depth << isPacked << isLarge;
                // Plain inks without a profile are no pure colours.
                EXPECT_EQ(colorsOf(image, row.mode == 4 || row.mode == 7 ? 140 : 30), row.colors)
                    << row.mode << " " << row.depth << isPacked << isLarge;
                if (image) {
                    EXPECT_EQ(image->bitsPerComponent, row.bits);
                }
            }
    Psd gray{.channels = 1, .mode = 1};
    gray.pixels = pixelsOf(gray, true);
    const CGImageRef image = decoded(gray.build());
    ASSERT_TRUE(image);
    EXPECT_EQ(pixelAt(image, 10, 10), (Pixel{0, 0, 0, 255}));
    EXPECT_EQ(pixelAt(image, 50, 10), (Pixel{255, 255, 255, 255}));
}

TEST(PsdPicture, TakesTheWhiteOutOfWhatIsTransparent) {
    // Half transparent black, as it is shown on white.
    Psd psd{.channels = 4, .width = 1, .height = 1, .layers = ByteString().u32(2).u16(0xFFFF)};
    psd.pixels = ByteString().u16(0).u8(127).u8(127).u8(127).u8(128);
    const CGImageRef image = decoded(psd.build());
    ASSERT_TRUE(image);
    EXPECT_NEAR(pixelAt(image, 0, 0)[0], 0, 2);
    EXPECT_EQ(pixelAt(image, 0, 0)[3], 128);
}

TEST(PsdPicture, FillsNoMemoryForWhatIsNotThere) {
    Psd psd{.width = 200'000, .height = 200'000};
    psd.pixels = ByteString().u16(0).add(100, 'x');
    CGImageFault fault{};
    EXPECT_FALSE(decoded(psd.build(), &fault));
    EXPECT_NE(fault, CGImageFault::none);
    // Rows that are packed wrongly, or end: what came before them is shown.
    Psd cut;
    const ByteString pixels = pixelsOf(cut, false);
    cut.pixels = std::string(pixels.text().substr(0, pixels.size() - 100));
    EXPECT_EQ(sizeOf(decoded(cut.build())), "64 x 32");
}

}  // namespace
}  // namespace tessaly::test
