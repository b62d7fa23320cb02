#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/mman.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <csignal>
#include <filesystem>
#include <thread>

#include "linux/codecs/isolation/DecoderProcess.h"
#include "linux/codecs/isolation/IsolatedDecoding.h"
#include "platform/ImageIO/CGImageSource.h"
#include "platform/ImageIO/DecoderIsolation.h"
#include "support/Process.h"
#include "support/TemporaryFolder.h"

// What a decoder can do to this computer that a file has taken over: the module of these tests does what it is told.
namespace tessaly::test {
namespace {

using namespace codecs;

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kHasSanitizer = true;
#else
constexpr bool kHasSanitizer = false;
#endif

constexpr DecodeRequest kRequest{.pixelLimit = 1000, .memoryLimit = std::uint64_t{256} << 20};

CGImageFault faultAfter(std::string_view deed, const DecodeRequest& request = kRequest) {
    imageio::ByteSource source(std::as_bytes(std::span(deed)));
    CGImageFault fault{};
    const CGImage image = decodeIsolated({"misbehaving"}, source, request, fault).image;
    EXPECT_EQ(static_cast<bool>(image.pixels), fault == CGImageFault::none) << deed;
    return fault;
}

std::string quadrants(const char* extension) { return std::string(TESSALY_CODEC_FILES "/quadrants.") + extension; }

TEST(Isolation, ATakenOverDecoderReachesNothing) {
    ASSERT_EQ(faultAfter("nothing"), CGImageFault::none);
    for (const char* deed : {"read a file", "write a file", "read its own memory", "look for a file", "connect",
                             "reach the network", "start a program", "make a copy", "trace the program",
                             "read the program", "end the program", "queue calls", "crash"}) {
        EXPECT_EQ(faultAfter(deed), CGImageFault::damaged) << deed;
        EXPECT_EQ(faultAfter("nothing"), CGImageFault::none) << "the next picture after one that would " << deed;
    }
    EXPECT_FALSE(std::filesystem::exists("/tmp/tessaly-misbehaving"));
}

TEST(Isolation, TimeAndMemoryHaveLimits) {
    DecodeRequest hasty = kRequest;
    hasty.timeLimit = 1;
    EXPECT_EQ(faultAfter("spin", hasty), CGImageFault::damaged);
    if (!kHasSanitizer) {
        EXPECT_EQ(faultAfter("eat"), CGImageFault::outOfMemory);
    }
    EXPECT_EQ(faultAfter("nothing"), CGImageFault::none);
}

// Each time both have seen some pictures: a computer may be as slow as it likes to start the next decoder.
TEST(Isolation, NobodyNoticesThatDecodersAreKilled) {
    constexpr int kPictures = 60;
    constexpr int kBetweenKills = 5;
    std::array<std::atomic<int>, 2> asked{};
    std::array<int, 2> shown{};
    const auto page = [&](std::size_t reader) {
        for (int i = 0; i < kPictures; ++i) {
            const auto source = CGImageSourceCreateWithURL(quadrants(i % 2 == 0 ? "jpg" : "webp"));
            const Dictionary options{{kCGImageSourceThumbnailMaxPixelSize, 16}};
            shown[reader] += CGImageSourceCreateThumbnailAtIndex(source, 0, options) ? 1 : 0;
            ++asked[reader];
        }
    };
    std::thread first([&] { page(0); });
    std::thread second([&] { page(1); });
    for (int next = kBetweenKills; next < kPictures; next += kBetweenKills) {
        while (std::min<int>(asked[0], asked[1]) < next) std::this_thread::sleep_for(std::chrono::milliseconds(1));
        if (const auto process = DecoderProcess::running("pixels")) ::kill(process->process(), SIGKILL);
    }
    first.join();
    second.join();
    EXPECT_THAT(shown, testing::Each(kPictures));
}

TEST(Isolation, PixelsMayLieInAFile) {
    const TemporaryFolder folder;
    const Descriptor file(::open(folder.path().c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0600));
    ASSERT_TRUE(file);
    FileFault ignored{};
    auto source = imageio::ByteSource::openFile(quadrants("jpg"), ignored);
    ASSERT_TRUE(source);
    DecodeRequest request = kRequest;
    request.pixelLimit = request.fileLimit = 1 << 20;
    CGImageFault fault{};
    const CGImage image = decodeIsolated({"pixels", Codec::jpeg}, *source, request, fault, 0, file.get()).image;
    EXPECT_EQ(fault, CGImageFault::none);
    ASSERT_TRUE(image.pixels);
    EXPECT_EQ(::lseek(file.get(), 0, SEEK_END), static_cast<off_t>(image.bytesPerRow() * image.height));
    EXPECT_GT(std::to_integer<int>(image.row(0)[0]), 200) << "the first quadrant is red";
}

TEST(Isolation, LargePicturesAreMappedAndCannotBeChanged) {
    FileFault ignored{};
    auto source = imageio::ByteSource::openFile(TESSALY_SAMPLE, ignored);
    ASSERT_TRUE(source);
    DecodeRequest request = kRequest;
    request.pixelLimit = 1 << 28;
    CGImageFault fault{};
    const CGImage image = decodeIsolated({"pixels", Codec::jpeg}, *source, request, fault).image;
    ASSERT_TRUE(image.pixels);
    ASSERT_GT(image.pixels.size(), std::size_t{1} << 20) << "a small one would be copied";
    EXPECT_DEATH(const_cast<std::byte*>(image.pixels.get())[0] = std::byte{1}, "");
}

TEST(Isolation, IsToldAndAMissingDecoderToo) {
    EXPECT_TRUE(decoderIsolation().isIsolated) << decoderIsolation().description;
    EXPECT_THAT(runProcess({TESSALY_PROGRAM, "--version"}).output, testing::HasSubstr("\nDecoders: isolated (seccomp"));
    const TemporaryFolder folder;
    const std::string lonely = (folder.path() / "tessaly").string();
    std::filesystem::copy_file(TESSALY_PROGRAM, lonely);
    if (std::filesystem::exists(TESSALY_INSTALLED_DECODER)) GTEST_SKIP() << "it would find the installed one";
    EXPECT_THAT(runProcess({lonely, "--version"}).output, testing::HasSubstr("\nDecoders: none: "));
    const auto refused = runProcess({lonely, "thumb", TESSALY_SAMPLE, "-o", (folder.path() / "picture.jpg").string()});
    EXPECT_EQ(refused.status, 1);
    EXPECT_THAT(refused.errors, testing::HasSubstr("tessaly-decoder is not installed or does not run"));
}

}  // namespace
}  // namespace tessaly::test
