#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstring>
#include <functional>
#include <limits>
#include <random>

#include "linux/codecs/isolation/Answers.h"

// A decoder's answer may be a lie.
namespace tessaly::test {
namespace {

using namespace codecs;

constexpr Order kOrder{.longerSide = 512, .pixelLimit = 100'000, .memoryLimit = 1 << 20};

Answer picture(std::uint64_t width, std::uint64_t height) {
    Answer answer;
    answer.width = width;
    answer.height = height;
    return answer;
}

TEST(Answers, TellOfPicturesThatWereAskedForOnly) {
    struct Row {
        const char* why;
        std::function<void(Answer&, Order&)> change;
        bool isSound = false;
    };
    constexpr auto kMost = std::numeric_limits<std::uint64_t>::max();
    for (const auto& [why, change, isExpected] :
         {Row{"an ordinary one", [](Answer&, Order&) {}, true},
          Row{"no width", [](Answer&answer, Order&) { answer.width = 0; }},
          Row{"no height", [](Answer&answer, Order&) { answer.height = 0; }},
          Row{"longer than wanted", [](Answer&answer, Order&) { answer.width = 513; }},
          Row{"a product that overflows",
              [](Answer&answer, Order&order) {
                  order = {};
                  answer.width = answer.height = std::uint64_t{1} << 32;
              }},
          Row{"the longest sides of all",
              [](Answer&answer, Order&order) {
                  order = {};
                  answer.width = answer.height = kMost;
              }},
          Row{"more pixels than wanted", [](Answer&answer, Order&) { answer.width = answer.height = 400; }},
          Row{"more bytes than wanted", [](Answer&, Order&order) { order.memoryLimit = 39'999; }},
          Row{"bits of no use", [](Answer&answer, Order&) { answer.bitsPerComponent = 12; }},
          Row{"alpha of no kind", [](Answer&answer, Order&) { answer.alphaInfo = static_cast<CGImageAlphaInfo>(7); }},
          Row{"a profile that nobody wanted", [](Answer&answer, Order&) { answer.profileSize = 1; }},
          Row{"a profile",
              [](Answer&answer, Order&order) {
                  order.keepsProfile = true;
                  answer.profileSize = kProfileLimit;
              },
              true},
          Row{"a profile as large as a picture",
              [](Answer&answer, Order&order) {
                  order.keepsProfile = true;
                  answer.profileSize = kProfileLimit + 1;
              }},
          Row{"a file that nobody gave", [](Answer&answer, Order&) { answer.isInFile = true; }},
          Row{"a fault", [](Answer&answer, Order&) { answer.fault = DecodeFault::damaged; }},
          Row{"an end", [](Answer&answer, Order&) { answer.kind = Answer::Kind::ended; }}}) {
        Answer answer = picture(100, 100);
        Order order = kOrder;
        change(answer, order);
        EXPECT_EQ(isSound(answer, order), isExpected) << why;
    }
}

TEST(Answers, OfAnyBytesNeverExceedTheLimits) {
    std::mt19937_64 random(7);
    int sound = 0;
    for (int round = 0; round < 200'000; ++round) {
        Answer answer = picture(random() >> (random() % 64), random() >> (random() % 64));
        answer.bitsPerComponent = random() % 2 == 0 ? 8 : static_cast<std::uint32_t>(random() % 64);
        answer.isInFile = random() % 4 == 0;
        Order order{.longerSide = random() % 3 == 0 ? random() >> (random() % 64) : 0,
                    .memoryLimit = random() >> (random() % 64),
                    .fileLimit = random() % 2 == 0 ? random() >> (random() % 64) : 0};
        if (order.memoryLimit == 0 || !isSound(answer, order)) continue;
        ++sound;
        const auto bytes = static_cast<long double>(answer.width) * static_cast<long double>(answer.height) *
                           answer.bitsPerComponent / 2;
        ASSERT_LE(bytes, static_cast<long double>(answer.isInFile ? order.fileLimit : order.memoryLimit));
    }
    EXPECT_GT(sound, 1000) << "or nothing was tested";
}

Descriptor memoryOf(std::size_t size, unsigned flags = MFD_ALLOW_SEALING) {
    Descriptor memory(::memfd_create("test", MFD_CLOEXEC | flags));
    EXPECT_EQ(::ftruncate(memory.get(), static_cast<off_t>(size)), 0);
    return memory;
}

TEST(Answers, AreTakenFromMemoryThatNobodyCanChange) {
    for (const std::size_t side : {std::size_t{16}, std::size_t{1024}}) {  // Copied, and mapped.
        const Answer answer = picture(side, side);
        const std::size_t size = side * side * 4;
        const Descriptor memory = memoryOf(size);
        ASSERT_EQ(::pwrite(memory.get(), "red", 3, 0), 3);
        const CGImage image = takeFromMemory(answer, memory);
        ASSERT_TRUE(image.pixels);
        EXPECT_EQ(std::memcmp(image.row(0), "red", 3), 0);
        EXPECT_LT(::pwrite(memory.get(), "blue", 4, 0), 0);
        EXPECT_NE(::ftruncate(memory.get(), 0), 0) << "whoever shortens what is mapped ends the program";
        EXPECT_EQ(std::memcmp(image.row(0), "red", 3), 0);

        EXPECT_FALSE(takeFromMemory(answer, memoryOf(size - 1)).pixels) << "too short";
        EXPECT_FALSE(takeFromMemory(answer, memoryOf(size + 1)).pixels) << "more than the picture";
        EXPECT_FALSE(takeFromMemory(answer, memoryOf(size, 0)).pixels) << "cannot be sealed";
        const Descriptor held = memoryOf(size);
        void* const mapping = ::mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, held.get(), 0);
        EXPECT_FALSE(takeFromMemory(answer, held).pixels) << "somebody can still write to it";
        ::munmap(mapping, size);
    }
}

}  // namespace
}  // namespace tessaly::test
