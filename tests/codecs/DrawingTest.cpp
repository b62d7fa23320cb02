#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numbers>

#include "codecs/Pictures.h"
#include "platform/UIKit/UIGraphicsImageContext.h"

// Drawing, looked at pixel by pixel.
namespace tessaly::test {
namespace {

CGImageRef plain(Pixel color, std::size_t width = 8, std::size_t height = 8) {
    return bitmap(
        width, height, [=](auto, auto) { return color; }, CGImageAlphaInfo::last);
}

TEST(Canvas, LaysPicturesOverEachOther) {
    UIGraphicsImageContext context({20, 10}, 2);
    context.draw(plain({255, 0, 0, 255}), {{0, 0}, {10, 10}});
    const UIImageRef first = context.image();
    context.draw(plain({0, 0, 255, 128}), {{5, 0}, {10, 5}});
    const CGImageRef drawn = context.image()->cgImage();
    ASSERT_EQ(sizeOf(drawn), "40 x 20");
    EXPECT_EQ(context.image()->size(), (CGSize{20, 10}));
    EXPECT_EQ(pixelAt(drawn, 2, 2), (Pixel{255, 0, 0, 255}));
    EXPECT_EQ(pixelAt(drawn, 19, 19), (Pixel{255, 0, 0, 255})) << "covered to its very edge";
    EXPECT_EQ(pixelAt(drawn, 20, 19), (Pixel{0, 0, 0, 0}));
    const Pixel mixed = pixelAt(drawn, 14, 4);
    EXPECT_NEAR(mixed[0], 127, 2);
    EXPECT_NEAR(mixed[2], 128, 2);
    EXPECT_EQ(mixed[3], 255);
    const Pixel half = pixelAt(drawn, 25, 4);
    EXPECT_NEAR(half[2], 128, 1) << "multiplied by its alpha";
    EXPECT_NEAR(half[3], 128, 1);
    EXPECT_EQ(pixelAt(first->cgImage(), 14, 4), (Pixel{255, 0, 0, 255})) << "what was given away does not change";
}

TEST(Canvas, MovesAndTurns) {
    UIGraphicsImageContext context({64, 64});
    context.translate(32, 32);
    context.rotate(std::numbers::pi / 2);
    context.draw(quadrants(), {{-32, -32}, {64, 64}});
    EXPECT_EQ(colorsOf(context.image()->cgImage()), "BRWG") << "clockwise";
    UIGraphicsImageContext slanted({64, 64});
    slanted.translate(32, 32);
    slanted.rotate(std::numbers::pi / 4);
    slanted.draw(quadrants(), {{-16, -16}, {32, 32}});
    const CGImageRef image = slanted.image()->cgImage();
    EXPECT_EQ(pixelAt(image, 32, 20), (Pixel{255, 0, 0, 255}));
    EXPECT_EQ(pixelAt(image, 44, 32), (Pixel{0, 255, 0, 255}));
    EXPECT_EQ(pixelAt(image, 20, 32), (Pixel{0, 0, 255, 255}));
    EXPECT_EQ(pixelAt(image, 18, 18), (Pixel{0, 0, 0, 0}));
}

TEST(Canvas, HasLimits) {
    for (const CGSize size : {CGSize{0, 10}, CGSize{-5, 10}, CGSize{1e9, 1e9}, CGSize{std::nan(""), 4},
                              CGSize{std::numeric_limits<double>::infinity(), 1}}) {
        UIGraphicsImageContext context(size);
        context.draw(quadrants(), {{0, 0}, {10, 10}});
        EXPECT_FALSE(context.image()) << size.width << " by " << size.height;
    }
    UIGraphicsImageContext context({10.2, 1});
    context.draw(quadrants(), {{0, 0}, {0, 0}});
    context.draw(CGImageRef(), {{0, 0}, {5, 5}});
    EXPECT_EQ(sizeOf(context.image()->cgImage()), "11 x 1");
    EXPECT_EQ(pixelAt(context.image()->cgImage(), 0, 0)[3], 0);
}

TEST(Canvas, SurvivesRectanglesThatMakeNoSense) {
    UIGraphicsImageContext context({100, 100});
    constexpr double kNone = std::numeric_limits<double>::quiet_NaN();
    constexpr double kEndless = std::numeric_limits<double>::infinity();
    for (const CGRect rect :
         {CGRect{{-1e12, 5}, {5, 5}}, CGRect{{0, 0}, {1e-9, 5}}, CGRect{{0, 0}, {kNone, 5}}, CGRect{{kNone, 0}, {9, 9}},
          CGRect{{0, 0}, {kEndless, 5}}, CGRect{{-kEndless, 0}, {5, 5}}})
        context.draw(quadrants(), rect);
    EXPECT_EQ(sizeOf(context.image()->cgImage()), "100 x 100");
    UIGraphicsImageContext enlarged({100, 100});
    enlarged.draw(quadrants(), {{0, 0}, {1e9, 1e9}});
    EXPECT_EQ(colorsOf(enlarged.image()->cgImage()), "RRRR");
}

TEST(Canvas, ReducesByAnyFactor) {
    struct Row {
        std::size_t width, height;
        double side;
    };
    for (const auto& [width, height, side] :
         {Row{3000, 3000, 20}, Row{3000, 3000, 4}, Row{8000, 64, 30}, Row{4000, 4000, 20}, Row{40000, 64, 100}}) {
        UIGraphicsImageContext context({side, side});
        context.draw(quadrants(width, height), {{0, 0}, {side, side}});
        const CGImageRef image = context.image()->cgImage();
        EXPECT_EQ(colorsOf(image), "RGBW") << width << " by " << height << " to " << side;
        EXPECT_EQ(pixelAt(image, 0, 0), (Pixel{255, 0, 0, 255})) << width << " by " << height << " to " << side;
    }
}

}  // namespace
}  // namespace tessaly::test
