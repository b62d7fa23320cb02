#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>

#include "codecs/Pictures.h"
#include "linux/codecs/DecodeBudget.h"
#include "platform/ImageIO/CGImageProperties.h"
#include "platform/ImageIO/CGImageSource.h"
#include "platform/UIKit/UIImage.h"
#include "support/Containers.h"
#include "support/DirectDecoding.h"
#include "support/Malformed.h"
#include "support/TemporaryFolder.h"
#include "support/TiffBuilder.h"

// What a decode may take, that it is counted before it is taken, and that damage does not get around it.
namespace tessaly::test {
namespace {

using codecs::DecodedPixels;
using codecs::DecodeFault;
using codecs::DecodeRequest;

constexpr std::uint64_t kMega = 1 << 20;
constexpr std::uint64_t kGiga = 1 << 30;
/// Libraries that are loaded and their tables.
constexpr std::uint64_t kFixed = 64 * kMega;

/// A sanitizer has memory of its own for every byte.
#if defined(__SANITIZE_ADDRESS__)
constexpr bool kIsMeasurable = false;
#else
constexpr bool kIsMeasurable = true;
#endif

const std::vector<std::string>& pictures() {
    static const std::vector<std::string> names{
        "quadrants.jpg", "progressive.jpg", "cmyk.jpg",       "deep-interlaced.png", "quadrants.webp",
        "animated.webp", "deep.tiff",       "palette.tiff",   "animated.gif",        "quadrants.bmp",
        "quadrants.jp2", "quadrants.heic",  "quadrants.avif", "quadrants.jxl",       "sideways.mp4"};
    return names;
}

TEST(DecodeLimits, AreAQuarterOfTheMemoryAndHalfOfTheDisk) {
    struct Row {
        const char* why;
        codecs::MachineMemory memory;
        std::uint64_t expected;
    };
    for (const auto& [why, memory, expected] :
         {Row{"a phone", {3 * kGiga, {}}, 3 * kGiga / 4}, Row{"a desktop", {64 * kGiga, {}}, 2 * kGiga},
          Row{"a small group on a large machine", {64 * kGiga, kGiga}, kGiga / 4},
          Row{"a group larger than the machine", {4 * kGiga, 16 * kGiga}, kGiga},
          Row{"nobody tells", {{}, {}}, kGiga / 2}})
        EXPECT_EQ(codecs::memoryLimit(memory), expected) << why;
    EXPECT_EQ(codecs::diskLimit(3 * kGiga), 3 * kGiga / 2);
    EXPECT_EQ(codecs::diskLimit(900 * kGiga), 4 * kGiga);
}

TEST(DecodeLimits, AFileForPixelsHasNoNameAndItsOwnLimit) {
    const TemporaryFolder folder;
    ::setenv("XDG_CACHE_HOME", folder.path().c_str(), 1);
    {
        const auto file = codecs::PixelFile::open();
        ASSERT_TRUE(file);
        EXPECT_GT(file->limit(), 0U);
        EXPECT_LE(file->limit(), 4 * kGiga);
        EXPECT_EQ(::pwrite(file->descriptor(), "x", 1, 0), 1);
        EXPECT_TRUE(std::filesystem::is_empty(folder.path() / "tessaly"));
    }
    const std::string blocked = folder.write("file", "no folder");
    ::setenv("XDG_CACHE_HOME", blocked.c_str(), 1);
    EXPECT_FALSE(codecs::PixelFile::open());
    ::unsetenv("XDG_CACHE_HOME");
}

TEST(DecodeLimits, AreCountedByEveryCodecBeforeItDecodes) {
    for (const std::string& name : pictures()) {
        DecodedPixels decoded;
        const std::uint64_t bitmap = 64 * 32 * 4;
        EXPECT_EQ(decodeDirectly(pathOfFileNamed(name), {.memoryLimit = bitmap - 1}, decoded), DecodeFault::tooLarge)
            << name;
        EXPECT_FALSE(decoded.image.pixels) << name;
        EXPECT_EQ(decodeDirectly(pathOfFileNamed(name), {.memoryLimit = kGiga}, decoded), DecodeFault::none) << name;
    }
}

TEST(DecodeLimits, AreSmallForWhoeverScalesOrHandsOutRows) {
    for (const char* name : {"quadrants.jpg", "cmyk.jpg", "deep.tiff", "quadrants.bmp"}) {
        DecodedPixels decoded;
        const DecodeRequest request{.longerSide = 8, .memoryLimit = std::uint64_t{64} * 32 * 2};
        EXPECT_EQ(decodeDirectly(pathOfFileNamed(name), request, decoded), DecodeFault::none) << name;
    }
    // Pixels in a file count against the file.
    for (const char* name : {"quadrants.jpg", "quadrants.bmp"}) {
        DecodedPixels decoded;
        EXPECT_EQ(decodeDirectly(pathOfFileNamed(name), {.memoryLimit = 1000, .fileLimit = kMega}, decoded),
                  DecodeFault::none)
            << name;
        EXPECT_EQ(decodeDirectly(pathOfFileNamed(name), {.memoryLimit = kMega, .fileLimit = 100}, decoded),
                  DecodeFault::tooLarge)
            << name;
    }
}

/// A page of bytes that mean nothing, packed by `compression`; `more` are its further fields.
ByteString hollowTiff(std::uint32_t side, unsigned compression, unsigned bits, unsigned planar, bool isTiled,
                      std::uint32_t offset) {
    constexpr unsigned kSamples = 3;
    TiffBuilder tiff;
    const auto first = TiffBuilder::first;
    tiff.longs(first, 256, {side}).longs(first, 257, {side}).shorts(first, 258, {bits, bits, bits});
    tiff.shorts(first, 259, {compression}).shorts(first, 262, {2}).shorts(first, 277, {kSamples});
    tiff.shorts(first, 284, {planar});
    const unsigned offsets = isTiled ? 324 : 273;
    const unsigned counts = isTiled ? 325 : 279;
    if (isTiled) tiff.longs(first, 322, {side}).longs(first, 323, {side});
    if (!isTiled) tiff.longs(first, 278, {side});
    if (planar == 2) {
        tiff.longs(first, offsets, {offset, offset, offset}).longs(first, counts, {90000, 90000, 90000});
    } else {
        tiff.longs(first, offsets, {offset}).longs(first, counts, {90000});
    }
    return tiff.build().add(100000, '\x55');
}

TEST(DecodeLimits, WhatCannotBeInTheFileTakesNoMemory) {
    const TemporaryFolder folder;
    constexpr std::uint32_t kSide = 16000;
    struct Row {
        const char* name;
        ByteString file;
    };
    const std::string grid(bytesOf(fileNamed("grid.avif")).text());
    for (const auto& [name, file] :
         {Row{"strip of pixels", hollowTiff(kSide, 1, 8, 1, false, 300)},
          Row{"planes of pixels", hollowTiff(kSide, 1, 8, 2, false, 300)},
          Row{"one tile of pixels", hollowTiff(kSide, 1, 8, 1, true, 300)},
          Row{"PackBits", hollowTiff(kSide, 32773, 8, 1, false, 300)},
          Row{"deflate", hollowTiff(kSide, 8, 16, 1, false, 300)},
          Row{"one tile of deflate", hollowTiff(kSide, 8, 8, 1, true, 300)},
          Row{"LZW", hollowTiff(kSide, 5, 8, 1, false, 300)},
          Row{"behind the end", hollowTiff(kSide, 8, 8, 1, false, 0x7fffffff)},
          Row{"PNG", rgbPng(kSide, kSide, {}, std::string(300, '\0'))},
          Row{"the last tiles of a grid are cut off", grid.substr(0, grid.size() * 95 / 100)}}) {
        const DecodingCost cost = costOfDecoding(folder.write("picture", file.text()), {.memoryLimit = 2 * kGiga});
        EXPECT_EQ(cost.fault, DecodeFault::damaged) << name;
        EXPECT_EQ(cost.signal, 0) << name;
        if (kIsMeasurable) {
            EXPECT_LT(cost.memory, 24 * kMega) << name;
        }
    }
}

TEST(DecodeLimits, HoldForMalformedPictures) {
    constexpr std::uint32_t kCount = 120;
    constexpr std::uint64_t kLimit = 256 * kMega;
    const TemporaryFolder folder;
    EXPECT_FALSE(CGImageSourceCreateWithURL(folder.write("start", "RIFF"))) << "and nothing behind it";
    for (std::uint32_t number = 0; number < kCount; ++number) {
        const std::string& name = pictures()[number / 3 % pictures().size()];
        const Malformed picture = malformed(*fileNamed(name), 64, 32, number);
        const DecodingCost cost = costOfDecoding(folder.write("picture", picture.bytes), {.memoryLimit = kLimit});
        EXPECT_EQ(cost.signal, 0) << name << " " << picture.how << " (" << number << ")";
        if (kIsMeasurable) {
            EXPECT_LT(cost.memory, kLimit + kFixed) << name << " " << picture.how << " (" << number << ")";
        }
    }
}

TEST(DecodeLimits, WhatIsTooLargeForMemoryLiesInAFile) {
    const TemporaryFolder folder;
    ::setenv("XDG_CACHE_HOME", folder.path().c_str(), 1);
    constexpr std::uint64_t kSmall = 6000;  // of 8192 bytes
    for (const char* name : {"quadrants.jpg", "quadrants.bmp", "deep.tiff"}) {
        codecs::DecodeBudget::set(codecs::DecodeBudget{.memory = kSmall, .disk = kMega});
        const auto source = CGImageSourceCreateWithURL(pathOfFileNamed(name));
        CGImageFault fault{};
        const CGImageRef image = CGImageSourceCreateImageAtIndex(source, 0, {}, &fault);
        EXPECT_EQ(colorsOf(image), "RGBW") << name << ": " << describe(fault);
        codecs::DecodeBudget::set(codecs::DecodeBudget{.memory = kSmall, .disk = kSmall});
        EXPECT_FALSE(CGImageSourceCreateImageAtIndex(source, 0, {}, &fault)) << name;
        EXPECT_EQ(fault, CGImageFault::tooLarge) << name;
        EXPECT_EQ(colorsOf(CGImageSourceCreateThumbnailAtIndex(source, 0, {{kCGImageSourceThumbnailMaxPixelSize, 16}},
                                                               &fault)),
                  "RGBW")
            << name << ": a small one is made all the same";
    }
    codecs::DecodeBudget::set(std::nullopt);
    ::unsetenv("XDG_CACHE_HOME");
}

/// Rows from the bottom, each of its own index, packed in runs with every kind of escape.
TEST(DecodeLimits, BitmapsOfEveryPackingLookAlike) {
    const auto header = [](unsigned bits, unsigned packing, const ByteString& rest) {
        ByteString file("BM");
        const auto little = [](std::uint32_t value) { return ByteString().number(value, true); };
        file.add(little(0)).add(little(0)).add(little(54 + 12 + 16)).add(little(40)).add(little(4)).add(little(4));
        file.number(std::uint16_t{1}, true).number(static_cast<std::uint16_t>(bits), true).add(little(packing));
        file.add(little(0)).add(little(0)).add(little(0)).add(little(4)).add(little(0));
        return file.add(rest);
    };
    // Blue, green, red, filler; the palette follows masks where there are any.
    const ByteString palette("\0\0\xFF\0\0\xFF\0\0\xFF\0\0\0\xFF\xFF\xFF\0"_z);
    const ByteString pad = ByteString().add(12, '\0');
    const std::string indices8("\2\2\3\3\2\2\3\3\0\0\1\1\0\0\1\1", 16);
    struct Row {
        const char* name;
        ByteString file;
    };
    const ByteString masks = ByteString("\0\xF8\0\0\xE0\7\0\0\x1F\0\0\0"_z).add(16, '\0');
    const auto repeated = [](const ByteString& row, int count) {
        ByteString rows;
        for (int i = 0; i < count; ++i) rows.add(row);
        return rows;
    };
    for (const auto& [name, file] :
         {Row{"8 bits", header(8, 0, ByteString(palette).add(pad).add(indices8))},
          Row{"4 bits",
              header(4, 0,
                     ByteString(palette).add(pad).add(repeated("\x22\x33\0\0"_z, 2)).add(repeated("\0\x11\0\0"_z, 2)))},
          Row{"runs of 8 bits", header(8, 1,
                                       ByteString(palette)
                                           .add(pad)
                                           .add("\2\2\2\3\0\0"_z)
                                           .add("\0\4\2\2\3\3\0\0"_z)
                                           .add("\2\0\2\1\0\0"_z)
                                           .add("\2\0\0\2\0\0\2\1\0\1"_z))},
          Row{"runs of 4 bits", header(4, 2,
                                       ByteString(palette)
                                           .add(pad)
                                           .add("\2\x22\2\x33\0\0"_z)
                                           .add("\0\4\x22\x33\0\0"_z)
                                           .add("\2\0\2\x11\0\0\2\0\2\x11\0\1"_z))},
          Row{"masks of 16 bits", header(16, 3,
                                         ByteString(masks)
                                             .add(repeated("\x1F\0\x1F\0\xFF\xFF\xFF\xFF"_z, 2))
                                             .add(repeated("\0\xF8\0\xF8\xE0\7\xE0\7"_z, 2)))}}) {
        const CGImageRef image = CGImageSourceCreateImageAtIndex(CGImageSourceCreateWithData(dataOf(file)), 0, {});
        EXPECT_EQ(sizeOf(image), "4 x 4") << name;
        EXPECT_EQ(colorsOf(image), "RGBW") << name;
    }
}

TEST(EmbeddedPreviews, AreThoseOfThePicturesShape) {
    const auto jpegOf = [](std::size_t width, std::size_t height) {
        return bytesOf(UIImageJPEGRepresentation(UIImage::imageWithCGImage(quadrants(width, height)), 0.9));
    };
    struct Row {
        const char* why;
        std::size_t width, height;
        std::string expected;
    };
    for (const auto& [why, width, height, expected] :
         {Row{"a thumbnail", 32, 16, "32 x 16"}, Row{"bars at its sides", 32, 21, "32 x 21"},
          Row{"of another picture", 16, 64, "none"}}) {
        const ByteString thumbnail = jpegOf(width, height);
        TiffBuilder tiff;
        tiff.longs(TiffBuilder::first, 0x0201, {38})
            .longs(TiffBuilder::first, 0x0202, {static_cast<std::uint32_t>(thumbnail.size())});
        const ByteString block = ByteString("Exif\0\0"_z).add(tiff.build().add(thumbnail));
        const std::string whole(jpegOf(64, 32).text());
        const Data file = dataOf(ByteString(whole.substr(0, 2)).add(jpegSegment(0xE1, block)).add(whole.substr(2)));
        const CGImageRef preview = CGImageSourceCreateEmbeddedPreview(CGImageSourceCreateWithData(file), {});
        EXPECT_EQ(sizeOf(preview), expected) << why;
        if (preview) {
            EXPECT_EQ(colorsOf(preview, 60), "RGBW") << why;
        }
    }
    EXPECT_FALSE(CGImageSourceCreateEmbeddedPreview(CGImageSourceCreateWithData(fileNamed("quadrants.jpg")), {}));
}

}  // namespace
}  // namespace tessaly::test
