#include <gtest/gtest.h>

#include <fstream>

#include "linux/imageio/ByteSource.h"
#include "linux/imageio/IsoBox.h"
#include "support/Containers.h"
#include "support/TemporaryFolder.h"

namespace tessaly::test {
namespace {

using imageio::asText;
using imageio::ByteOrder;
using imageio::ByteReader;
using imageio::ByteSource;

/// A file whose every byte tells where it stands.
std::string patterned(std::size_t size) {
    std::string text(size, '\0');
    for (std::size_t i = 0; i < size; ++i) text[i] = static_cast<char>(i * 7 + i / 251);
    return text;
}

TEST(ByteSource, AnswersTheSameFromFilesAndMemory) {
    const TemporaryFolder folder;
    const std::string content = patterned(300'000);
    FileFault fault{};
    auto file = ByteSource::openFile(folder.write("file", content), fault);
    ASSERT_TRUE(file);
    ByteSource memory(imageio::asBytes(content));
    // Forwards, backwards, across blocks, at the very end.
    const std::pair<std::uint64_t, std::uint64_t> requests[] = {
        {0, 10},      {32'760, 20}, {100'000, 70'000}, {99'990, 20}, {299'990, 10},
        {150'000, 1}, {5, 32'768},  {200'000, 4},      {200'004, 4}, {0, 300'000},
    };
    for (const auto& [offset, length] : requests) {
        const auto expected = std::string_view(content).substr(offset, length);
        ASSERT_TRUE(file->bytes(offset, length)) << offset;
        EXPECT_EQ(asText(*file->bytes(offset, length)), expected) << offset;
        EXPECT_EQ(asText(*memory.bytes(offset, length)), expected) << offset;
    }
    for (ByteSource* source : {&*file, &memory}) {
        EXPECT_EQ(source->size(), 300'000U);
        EXPECT_FALSE(source->bytes(299'999, 2));
        EXPECT_FALSE(source->bytes(300'001, 0));
        EXPECT_FALSE(source->bytes(UINT64_MAX, 2)) << "the end of a request may not wrap round";
        EXPECT_FALSE(source->bytes(5, UINT64_MAX));
        EXPECT_EQ(source->bytesUpTo(299'998, 100).size(), 2U);
        EXPECT_TRUE(source->bytesUpTo(300'000, 1).empty());
    }
}

TEST(ByteSource, KeepsViewsAndLimitsItsMemory) {
    const TemporaryFolder folder;
    const std::string content = patterned(40 * 1024 * 1024);
    FileFault fault{};
    auto file = ByteSource::openFile(folder.write("file", content), fault);
    ASSERT_TRUE(file);
    const auto head = file->bytes(0, 100);
    std::size_t answered = 0;
    for (std::uint64_t at = 0; at + 1000 <= content.size(); at += 1000)
        if (file->bytes(at, 1000)) answered += 1000;
    EXPECT_LE(answered, ByteSource::kMemoryLimit) << "what it keeps is bounded";
    EXPECT_GT(answered, ByteSource::kMemoryLimit / 2);
    EXPECT_EQ(asText(*head), std::string_view(content).substr(0, 100)) << "an early view still stands";
    EXPECT_FALSE(file->bytes(0, ByteSource::kMemoryLimit + 1));
}

TEST(ByteSource, GivesPartsThatCannotSeeTheirNeighbours) {
    const TemporaryFolder folder;
    const std::string content = patterned(100'000);
    FileFault fault{};
    auto file = ByteSource::openFile(folder.write("file", content), fault);
    ASSERT_TRUE(file);
    ByteSource part = file->part(50'000, 1000);
    EXPECT_EQ(part.size(), 1000U);
    EXPECT_EQ(asText(*part.bytes(10, 20)), std::string_view(content).substr(50'010, 20));
    EXPECT_FALSE(part.bytes(990, 11));
    ByteSource inner = part.part(900, 500);
    EXPECT_EQ(inner.size(), 100U);
    EXPECT_EQ(asText(*inner.bytes(99, 1)), std::string_view(content).substr(50'999, 1));
    EXPECT_EQ(file->part(99'990, 1000).size(), 10U);
    EXPECT_EQ(file->part(200'000, 10).size(), 0U);
}

TEST(ByteSource, EndsWhereAFileHasShrunk) {
    const TemporaryFolder folder;
    const std::string path = folder.write("file", patterned(200'000));
    FileFault fault{};
    auto file = ByteSource::openFile(path, fault);
    ASSERT_TRUE(file);
    std::filesystem::resize_file(path, 60'000);
    EXPECT_TRUE(file->bytes(0, 100));
    EXPECT_FALSE(file->bytes(150'000, 100));
}

TEST(ByteReader, NeverPassesItsEnd) {
    const ByteString bytes = ByteString().u8(1).u16(0x0203).u32(0x04050607).u64(0x08090A0B0C0D0E0F);
    ByteReader reader(bytes.bytes());
    EXPECT_EQ(reader.read<std::uint8_t>(), 1);
    EXPECT_EQ(reader.read<std::uint16_t>(), 0x0203);
    EXPECT_EQ(reader.read<std::uint32_t>(ByteOrder::little), 0x07060504U);
    EXPECT_EQ(reader.position(), 7U);
    EXPECT_FALSE(reader.take(9));
    EXPECT_FALSE(reader.skip(UINT64_MAX));
    EXPECT_EQ(reader.position(), 7U) << "a read that fails does not move";
    EXPECT_EQ(reader.read<std::uint64_t>(), 0x08090A0B0C0D0E0FU);
    EXPECT_EQ(reader.remaining(), 0U);
    EXPECT_FALSE(reader.read<std::uint8_t>());
    EXPECT_TRUE(reader.seek(15));
    EXPECT_FALSE(reader.seek(16));
}

TEST(IsoBoxes, EndAtTheFirstThatCannotBeOne) {
    struct Case {
        const char* why;
        ByteString bytes;
        std::vector<std::string> types;
        std::uint64_t lastLength;
    };
    const Case cases[] = {
        {"two boxes", box("aaaa", {"1234"}).add(box("bbbb", {})), {"aaaa", "bbbb"}, 0},
        {"a long size", ByteString().u32(1).add("long").u64(20).add("1234").add(box("next", {})), {"long", "next"}, 0},
        {"to the end of its parent", ByteString().u32(0).add("rest").add("123456"), {"rest"}, 6},
        {"longer than its parent", ByteString().u32(5000).add("lies").add("12"), {"lies"}, 2},
        {"shorter than its own head", box("aaaa", {}).add(ByteString().u32(4).add("tiny")), {"aaaa"}, 0},
        {"a long size that is short", ByteString().u32(1).add("long").u64(8), {}, 0},
        {"not even a head", box("aaaa", {}).add("abc"), {"aaaa"}, 0},
    };
    for (const auto& [why, bytes, types, lastLength] : cases) {
        ByteSource source(bytes.bytes());
        imageio::IsoBoxes boxes(source);
        std::vector<std::string> found;
        std::uint64_t length = 0;
        while (const auto next = boxes.next()) {
            found.emplace_back(next->type());
            length = next->length;
        }
        EXPECT_EQ(found, types) << why;
        EXPECT_EQ(length, lastLength) << why;
    }
}

}  // namespace
}  // namespace tessaly::test
