#include <gtest/gtest.h>

#include <csignal>

#include "acquisition/ExifManager.h"
#include "acquisition/UIImage+Resize.h"
#include "codecs/Pictures.h"
#include "platform/Foundation/Dispatch.h"
#include "platform/UIKit/UIScreen.h"
#include "support/Containers.h"
#include "support/TemporaryFolder.h"

// Turning and scaling, looked at pixel by pixel.
namespace tessaly::test {
namespace {

using namespace UIImageResize;

UIImageRef picture(UIImageOrientation orientation = UIImageOrientation::up) {
    return UIImage::imageWithCGImage(quadrants(), 1, orientation);
}

TEST(Resizing, RoundsCorners) {
    const UIImageRef rounded = imageWithRoundedCornersRadius(picture(), 8);
    const CGImageRef image = rounded->cgImage();
    ASSERT_EQ(sizeOf(image), "192 x 96") << "in the screen's pixels";
    EXPECT_EQ(rounded->size(), (CGSize{64, 32}));
    EXPECT_EQ(colorsOf(image), "RGBW");
    for (const std::size_t x : {1, 190})
        for (const std::size_t y : {1, 94}) EXPECT_EQ(pixelAt(image, x, y)[3], 0) << x << " " << y;
    for (const auto& [x, y] : {std::pair{10, 10}, {96, 0}, {0, 48}, {191, 48}, {96, 95}, {181, 85}})
        EXPECT_EQ(pixelAt(image, static_cast<std::size_t>(x), static_cast<std::size_t>(y))[3], 255) << x << " " << y;
}

/// The rows of a bitmap of letters.
std::string lettersOf(const CGImageRef& image) {
    std::string rows;
    for (std::size_t y = 0; y < image->height; ++y) {
        if (y > 0) rows += '/';
        for (std::size_t x = 0; x < image->width; ++x) rows += static_cast<char>(pixelAt(image, x, y)[1]);
    }
    return rows;
}

TEST(Resizing, FixesOrientationPixelForPixel) {
    struct Row {
        UIImageOrientation orientation;
        const char* upright;
        float degrees;
    };
    for (const auto& [orientation, upright, degrees] :
         {Row{UIImageOrientation::up, "abc/def", 0}, Row{UIImageOrientation::down, "fed/cba", 180},
          Row{UIImageOrientation::left, "cf/be/ad", 90}, Row{UIImageOrientation::right, "da/eb/fc", -90},
          Row{UIImageOrientation::upMirrored, "cba/fed", 0}, Row{UIImageOrientation::downMirrored, "def/abc", 0},
          Row{UIImageOrientation::leftMirrored, "ad/be/cf", 0},
          Row{UIImageOrientation::rightMirrored, "fc/eb/da", 0}}) {
        EXPECT_EQ(degreeOfOrientation(orientation), degrees);
        EXPECT_EQ(imageOrientation(exifOrientation(orientation)), orientation);
        for (const unsigned bits : {8U, 16U}) {
            const auto letters = [](std::size_t x, std::size_t y) {
                return Pixel{1, static_cast<int>('a' + x + 3 * y), 2, 3};
            };
            const CGImageRef stored = bitmap(3, 2, letters, CGImageAlphaInfo::first, bits);
            const UIImageRef fixed = fixOrientation(UIImage::imageWithCGImage(stored, 1, orientation));
            EXPECT_EQ(lettersOf(fixed->cgImage()), upright);
            EXPECT_EQ(fixed->imageOrientation(), UIImageOrientation::up);
            EXPECT_EQ(fixed->cgImage()->bitsPerComponent, bits);
            EXPECT_EQ(pixelAt(fixed->cgImage(), 0, 0)[3], 3);
        }
    }
    EXPECT_EQ(imageOrientation(0), UIImageOrientation::up);
    EXPECT_EQ(imageOrientation(9), UIImageOrientation::up);
    EXPECT_FALSE(fixOrientation(nullptr));
    const UIImageRef sharp = fixOrientation(UIImage::imageWithCGImage(quadrants(), 2, UIImageOrientation::right));
    EXPECT_EQ(sizeOf(sharp->cgImage()), "16 x 32") << "as large as it is displayed, in points";
    EXPECT_EQ(colorsOf(sharp->cgImage()), "BRWG");
    EXPECT_EQ(pixelAt(sharp->cgImage(), 0, 0), (Pixel{0, 0, 255, 255})) << "to its very corner";
}

TEST(ResizingDeathTest, APictureWithoutABitmapCannotBeFixed) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    const UIImageRef broken = UIImage::imageWithData(dataOf(png({})))->copy(1, UIImageOrientation::right);
    EXPECT_EXIT(static_cast<void>(fixOrientation(broken)), testing::KilledBySignal(SIGABRT), "cannot be turned");
}

TEST(Resizing, TurnsTheBitmapIntoASquare) {
    struct Row {
        float degrees;
        UIImageOrientation orientation;
        const char* edges;  ///< Top, right, bottom and left; a point where nothing was drawn.
    };
    using enum UIImageOrientation;
    for (const auto& [degrees, orientation, edges] :
         {Row{0, up, ".GBR"}, Row{90, up, "R.GB"}, Row{180, up, "WR.G"}, Row{-90, up, "GWR."}, Row{450, up, "R.GB"},
          Row{90, right, ".RWB"}}) {
        const CGImageRef turned = rotateImage(picture(orientation), degrees)->cgImage();
        ASSERT_EQ(sizeOf(turned), "64 x 64") << degrees;
        const std::pair<std::size_t, std::size_t> points[] = {{20, 4}, {59, 24}, {20, 59}, {4, 24}};
        std::string colors;
        for (const auto& [x, y] : points) {
            const Pixel pixel = pixelAt(turned, x, y);
            const bool red = pixel[0] > 128, green = pixel[1] > 128, blue = pixel[2] > 128;
            colors += pixel[3] < 128 ? '.' : red && green && blue ? 'W' : red ? 'R' : green ? 'G' : 'B';
        }
        EXPECT_EQ(colors, edges) << degrees << ": from the picture's own corner, the bitmap whatever its orientation";
    }
    const UIImageRef reset =
        rotateUIImage(UIImage::imageWithCGImage(quadrants(), 3, UIImageOrientation::left), UIImageOrientation::down);
    EXPECT_EQ(reset->imageOrientation(), UIImageOrientation::up);
    EXPECT_EQ(reset->size(), (CGSize{64, 32}));
}

TEST(Resizing, FitsAndFills) {
    struct Row {
        CGSize size;
        const char* fitted;  // In points of a screen with three pixels each.
        const char* filled;  // In pixels.
    };
    for (const auto& [size, fitted, filled] :
         {Row{{10, 10}, "30 x 15", "10 x 10"}, Row{{10, 2}, "12 x 6", "10 x 2"}, Row{{5, 100}, "15 x 8", "5 x 100"},
          Row{{100, 100}, "64 x 32", "64 x 32"}, Row{{64, 32}, "64 x 32", "64 x 32"}}) {
        EXPECT_EQ(sizeOf(imageWithImageScaledToFitToSize(picture(), size)->cgImage()), fitted) << size.width;
        EXPECT_EQ(sizeOf(imageWithImageScaledToFillToSize(picture(), size)->cgImage()), filled) << size.width;
    }
    const UIImageRef sideways = picture(UIImageOrientation::right);
    EXPECT_EQ(colorsOf(imageWithImageScaledToFitToSize(sideways, {10, 10})->cgImage()), "BRWG");
    EXPECT_EQ(sizeOf(imageWithImageScaledToFitToSize(sideways, {10, 10})->cgImage()), "15 x 30");
    // The middle of what is too wide or too high stays.
    EXPECT_EQ(colorsOf(imageWithImageScaledToFillToSize(picture(), {16, 16})->cgImage()), "RGBW");
    const auto stripe = [](std::size_t at) {
        return at >= 20 && at < 40 ? Pixel{0, 255, 0, 255} : Pixel{255, 0, 0, 255};
    };
    for (const auto& stripes : {bitmap(60, 20, [&](std::size_t x, auto) { return stripe(x); }),
                                bitmap(20, 60, [&](auto, std::size_t y) { return stripe(y); })})
        EXPECT_EQ(colorsOf(imageWithImageScaledToFillToSize(UIImage::imageWithCGImage(stripes), {10, 10})->cgImage()),
                  "GGGG");
    EXPECT_EQ(sizeOf(scaleTo(picture(), {20, 40})->cgImage()), "60 x 120");
    EXPECT_EQ(scaleTo(picture(), {20, 40})->size(), (CGSize{20, 40}));
    const UIImageRef same = picture();
    EXPECT_EQ(scaleTo(same, {0, 40}), same) << "no such size: the picture itself";
    for (const auto& nothing :
         {imageWithImageScaledToFitToSize(nullptr, {1, 1}), imageWithImageScaledToFillToSize(nullptr, {1, 1}),
          scaleTo(nullptr, {1, 1}), rotateImage(nullptr, 90), imageWithRoundedCornersRadius(nullptr, 2)})
        EXPECT_FALSE(nothing);
}

TEST(Resizing, AThumbnailOfASidewaysFile) {
    const Data large = UIImageJPEGRepresentation(UIImage::imageWithCGImage(quadrants(1200, 600)), 0.9);
    const UIImageRef small = thumbNailImageFromImageSource(CGImageSourceCreateWithData(withOrientation(large, 6)));
    ASSERT_TRUE(small);
    EXPECT_EQ(sizeOf(small->cgImage()), "256 x 512");
    EXPECT_EQ(colorsOf(small->cgImage()), "BRWG");
    EXPECT_EQ(small->imageOrientation(), UIImageOrientation::up);
    EXPECT_FALSE(thumbNailImageFromImageSource(nullptr));
    const UIImageRef head = thumbNailImageFromImageSource(CGImageSourceCreateWithData(dataOf(png({}))));
    ASSERT_TRUE(head);
    EXPECT_FALSE(head->cgImage()) << "a head with nothing behind it";
}

// What is kept decoded has its alpha where a canvas wants it; what stays in its file has it as the decoder says.
TEST(Resizing, OnlySmallPlainPicturesAreKeptDecoded) {
    const auto pngOf = [](std::size_t width, std::size_t height, unsigned bits, CGImageAlphaInfo alphaInfo) {
        const int full = bits == 16 ? 65535 : 255;
        return UIImagePNGRepresentation(UIImage::imageWithCGImage(bitmap(
            width, height,
            [=](auto, auto) {
                return Pixel{full, 0, 0, full / 2};
            },
            alphaInfo, bits)));
    };
    struct Row {
        const char* name;
        Data data;
        CGImageAlphaInfo expected;
    };
    for (const auto& [name, data, expected] :
         {Row{"small", pngOf(10, 10, 8, CGImageAlphaInfo::last), CGImageAlphaInfo::premultipliedFirst},
          Row{"a megapixel", pngOf(1024, 1024, 8, CGImageAlphaInfo::last), CGImageAlphaInfo::premultipliedFirst},
          Row{"more", pngOf(1024, 1025, 8, CGImageAlphaInfo::last), CGImageAlphaInfo::last},
          Row{"deep", pngOf(10, 10, 16, CGImageAlphaInfo::last), CGImageAlphaInfo::last},
          Row{"opaque", pngOf(10, 10, 8, CGImageAlphaInfo::noneSkipLast), CGImageAlphaInfo::noneSkipLast},
          Row{"animated", fileNamed("animated.webp"), CGImageAlphaInfo::last}}) {
        const UIImageRef image = imageFromRAWData(data);
        ASSERT_TRUE(image && image->cgImage()) << name;
        EXPECT_EQ(image->cgImage()->alphaInfo, expected) << name;
        EXPECT_EQ(image->scale(), UIScreen::mainScreen().scale) << name;
    }
    EXPECT_EQ(pixelAt(imageFromRAWData(pngOf(4, 4, 8, CGImageAlphaInfo::last))->cgImage(), 1, 1),
              (Pixel{127, 0, 0, 127}));
    EXPECT_EQ(imageFromRAWData(fileNamed("animated.gif"))->frameCount(), 2U);
    EXPECT_EQ(imageFromRAWData(withOrientation(fileNamed("quadrants.jpg"), 6))->imageOrientation(),
              UIImageOrientation::right);
    EXPECT_FALSE(imageFromRAWData(dataOf("nothing")));
    EXPECT_FALSE(imageFromRAWData(dataOf(png({})))) << "small, and yet not to be decoded";
    EXPECT_FALSE(imageFromRAWData(nullptr));
}

TEST(Resizing, TheFirstPictureOfAMovieIsUpright) {
    const auto url = NSURL::fileURLWithPath(pathOfFileNamed("sideways.mp4"));
    const auto record = ExifManager::exifInformationFromVideoURL(url);
    ASSERT_TRUE(record->thumbNailImage);
    EXPECT_EQ(record->thumbNailImage, record->cachedThumbNailImage());
    EXPECT_EQ(record->thumbNailImage->size(), (CGSize{32, 64}));
    EXPECT_EQ(sizeOf(record->thumbNailImage->cgImage()), "32 x 64");
    EXPECT_EQ(colorsOf(record->thumbNailImage->cgImage()), "GWRB");
}

TEST(Resizing, AVeryLargePictureComesByWayOfAFile) {
    const TemporaryFolder folder;
    ::setenv("TMPDIR", folder.path().c_str(), 1);
    DispatchSemaphore done;
    UIImageRef received = picture();
    const auto shared = imageWithVeryLargeNSData(fileNamed("quadrants.jpg"), [&](const UIImageRef& image) {
        received = image;
        done.signal();
    });
    done.wait();
    EXPECT_FALSE(received) << "the completion comes before the picture";
    EXPECT_FALSE(shared->image) << "only the main queue sets it";
    EXPECT_TRUE(DispatchQueue::pumpMainQueueUntil([&] { return shared->image != nullptr; }, std::chrono::seconds(20)));
    EXPECT_EQ(colorsOf(shared->image->cgImage()), "RGBW");
    EXPECT_EQ(contentOf(folder.path() / "largeImage.temp.jpg"), bytesOf(fileNamed("quadrants.jpg")).text());

    const auto nothing = imageWithVeryLargeNSData(nullptr, [&](const UIImageRef&) { done.signal(); });
    done.wait();
    while (DispatchQueue::pumpMainQueue()) {
    }
    EXPECT_FALSE(nothing->image);
    ::unsetenv("TMPDIR");
}

}  // namespace
}  // namespace tessaly::test
