#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <thread>

#include "acquisition/ExifManager.h"
#include "acquisition/UIImage+Resize.h"
#include "codecs/Pictures.h"
#include "platform/Foundation/Dispatch.h"
#include "support/TemporaryFolder.h"

// Pictures that are not made before somebody looks at them.
namespace tessaly::test {
namespace {

using namespace UIImageResize;

std::string pointsOf(const UIImageRef& image) {
    if (!image) return "none";
    return std::to_string(std::lround(image->size().width)) + " x " + std::to_string(std::lround(image->size().height));
}

std::ptrdiff_t openDescriptors() {
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), std::filesystem::directory_iterator());
}

TEST(PicturesOnDemand, AreMadeOnceForAllAndAgainWhenNobodyHoldsThem) {
    std::atomic<int> made = 0;
    const UIImageRef image = UIImage::imageMadeOnDemand({64, 32}, [&made] {
        ++made;
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        return quadrants();
    });
    EXPECT_EQ(image->size(), (CGSize{64, 32}));
    EXPECT_EQ(made, 0);
    const UIImageRef turned = image->copy(1, UIImageOrientation::right);
    CGImageRef first, second;
    std::thread one([&] { first = image->cgImage(); });
    std::thread other([&] { second = turned->cgImage(); });
    one.join();
    other.join();
    EXPECT_EQ(made, 1);
    EXPECT_EQ(first, second) << "a copy shares its bitmap";
    first = nullptr;
    EXPECT_EQ(image->cgImage(), second) << "held still";
    second = nullptr;
    EXPECT_EQ(colorsOf(image->cgImage()), "RGBW");
    EXPECT_EQ(made, 2);
    EXPECT_EQ(pointsOf(UIImage::imageWithData(UIImageJPEGRepresentation(turned, 0.9))), "32 x 64");
}

TEST(PicturesOnDemand, AreNotMadeInVainTwice) {
    int asked = 0;
    const auto nothing = [&asked] {
        ++asked;
        return CGImageRef();
    };
    const UIImageRef broken = UIImage::imageMadeOnDemand({64, 32}, nothing);
    EXPECT_FALSE(broken->cgImage() || broken->cgImage() || UIImagePNGRepresentation(broken));
    EXPECT_EQ(asked, 1);
    EXPECT_FALSE(UIImage::imageMadeOnDemand({0, 32}, nothing)) << "without a size it is made at once";
    EXPECT_EQ(pointsOf(UIImage::imageMadeOnDemand({}, [] { return quadrants(); })), "64 x 32");
}

// Each waits for a block of the shared threads, all of which may be waiting for the same picture.
TEST(PicturesOnDemand, LeaveASharedThreadToTheirMaker) {
    const UIImageRef image = UIImage::imageMadeOnDemand({64, 32}, [] {
        CGImageRef made;
        DispatchQueue::global().sync([&made] { made = quadrants(); });
        return made;
    });
    DispatchGroup group;
    std::atomic<int> seen = 0;
    for (int i = 0; i < 40; ++i)
        group.async(DispatchQueue::global(DispatchPriority::high), [&] { seen += image->cgImage() ? 1 : 0; });
    group.wait();
    EXPECT_EQ(seen, 40);
}

TEST(PicturesOnDemand, HaveTheSizeThatTheirHeadTold) {
    const auto jpegOf = [](std::size_t width, std::size_t height) {
        return UIImageJPEGRepresentation(UIImage::imageWithCGImage(quadrants(width, height)), 0.8);
    };
    const auto pngOf = [](std::size_t width, std::size_t height) {
        return UIImagePNGRepresentation(UIImage::imageWithCGImage(quadrants(width, height)));
    };
    struct Row {
        const char* why;
        Data data;
        const char* expected;
    };
    std::vector<Row> rows{{"never enlarged", pngOf(300, 200), "300 x 200"},
                          {"at the limit", pngOf(512, 511), "512 x 511"},
                          {"the averages of a PNG round up", pngOf(1541, 1031), "512 x 343"},
                          {"the eighths of a JPEG round up", jpegOf(2049, 1363), "512 x 341"},
                          {"a line", pngOf(3000, 1), "512 x 1"},
                          {"a decoder that turns by itself", fileNamed("quadrants.heic"), "64 x 32"},
                          {"an animation", fileNamed("animated.gif"), "64 x 32"}};
    const Data large = jpegOf(1201, 601);
    for (unsigned orientation = 1; orientation <= 8; ++orientation)
        rows.push_back(
            {"orientation", withOrientation(large, orientation), orientation < 5 ? "512 x 256" : "256 x 512"});
    for (const auto& [why, data, expected] : rows) {
        const UIImageRef image = thumbNailImageFromImageSource(CGImageSourceCreateWithData(data));
        EXPECT_EQ(pointsOf(image), expected) << why;
        ASSERT_TRUE(image);
        EXPECT_EQ(sizeOf(image->cgImage()), expected) << why;
    }
}

TEST(PicturesOnDemand, HoldNoFilesOpen) {
    const TemporaryFolder folder;
    const std::string path = folder.write("photo.jpg", bytesOf(fileNamed("quadrants.jpg")));
    const std::ptrdiff_t before = openDescriptors();
    std::vector<UIImageRef> images;
    for (int i = 0; i < 200; ++i)
        images.push_back(ExifManager::exifinformationFromNSURL(NSURL::fileURLWithPath(path))->thumbNailImage);
    EXPECT_EQ(openDescriptors(), before);
    EXPECT_EQ(colorsOf(images.front()->cgImage()), "RGBW");

    const auto source = CGImageSourceCreateWithURL(path);
    std::filesystem::remove(path);
    EXPECT_FALSE(images.back()->cgImage()) << "gone before anybody looked";
    EXPECT_EQ(colorsOf(thumbNailImageFromImageSource(source)->cgImage()), "RGBW")
        << "only the open source has it still";
}

}  // namespace
}  // namespace tessaly::test
