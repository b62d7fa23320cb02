#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cmath>
#include <limits>

#include "platform/Foundation/NSTimeZone.h"
#include "support/TemporaryFolder.h"
#include "tessaly/FileWalk.h"
#include "tessaly/Json.h"
#include "tessaly/OrderedWork.h"
#include "tessaly/RecordJson.h"
#include "tessaly/Shard.h"
#include "tessaly/Suggestion.h"
#include "tessaly/Utf8.h"

namespace tessaly::cli {
namespace {

TEST(OrderedWork, DeliversInOrderAndKeepsFew) {
    for (const std::size_t threads : {1U, 2U, 5U}) {
        std::atomic<int> working{0};
        std::vector<int> delivered;
        int added = 0;
        int most = 0;
        {
            OrderedWork<int> work(
                threads,
                [&](int& item) {
                    ++working;
                    if (item % 7 == 0) ::usleep(300);
                    item *= 2;
                },
                [&](const int& item) { delivered.push_back(item); });
            for (; added < 500; ++added) {
                work.add(added);
                most = std::max(most, added + 1 - static_cast<int>(delivered.size()));
            }
            work.finish();
        }
        EXPECT_EQ(working, 500);
        ASSERT_EQ(delivered.size(), 500U);
        for (int i = 0; i < 500; ++i) ASSERT_EQ(delivered[static_cast<std::size_t>(i)], 2 * i) << threads;
        EXPECT_LE(most, static_cast<int>(threads * 4)) << "memory does not grow with the tree";
    }
}

TEST(Shard, PutsEveryPathIntoExactlyOnePart) {
    std::array<int, 8> sizes{};
    for (int i = 0; i < 8000; ++i) {
        const std::string path = "/2020/" + std::to_string(i % 30) + "/IMG_" + std::to_string(i) + ".jpg";
        int holders = 0;
        for (std::uint64_t part = 1; part <= 8; ++part) {
            if (!Shard{part, 8}.holds(path)) continue;
            ++holders;
            ++sizes[part - 1];
        }
        ASSERT_EQ(holders, 1) << path;
    }
    for (const int size : sizes) EXPECT_NEAR(size, 1000, 150) << "parts are about equal";
    EXPECT_TRUE((Shard{1, 2}.holds("/a.jpg"))) << "other versions and machines cut the same way";
    EXPECT_TRUE((Shard{2, 2}.holds("/b.jpg")));
}

TEST(Shard, ParsesOnlyPartsThatExist) {
    EXPECT_TRUE(Shard::parse("1/1"));
    EXPECT_EQ(Shard::parse("3/16")->count, 16U);
    for (const char* text :
         {"", "1", "0/2", "3/2", "-1/2", "1/0", "a/b", "1/2/3", "1 /2", "99999999999999999999/99999999999999999999"})
        EXPECT_FALSE(Shard::parse(text)) << text;
}

TEST(Suggestion, FindsSlipsOfTheFingerOnly) {
    constexpr std::array<std::string_view, 4> words{"Make", "Model", "ISOSpeedRatings", "GPS"};
    EXPECT_EQ(closest("Mkae", words), "Make");
    EXPECT_EQ(closest("model", words), "Model");
    EXPECT_EQ(closest("ISOSpeedRating", words), "ISOSpeedRatings");
    EXPECT_FALSE(closest("Lens", words));
    EXPECT_FALSE(closest("x", words)) << "a short word is near to everything";
    EXPECT_FALSE(closest("Make", {}));
    EXPECT_EQ(suggestion("Mkae", words), "; did you mean 'Make'?");
    EXPECT_EQ(suggestion("nothing of the kind", words), "");
}

TEST(Json, WritesEveryValueAsJson) {
    const auto written = [](const Value& value) {
        std::string out;
        JsonWriter(out).value(value);
        return out;
    };
    EXPECT_EQ(written({}), "null");
    EXPECT_EQ(written(true), "true");
    EXPECT_EQ(written(std::int64_t{-1} << 62), "-4611686018427387904");
    EXPECT_EQ(written(0.1), "0.1");
    EXPECT_EQ(written(std::numeric_limits<double>::infinity()), "null");
    EXPECT_EQ(written(std::nan("")), "null");
    EXPECT_EQ(written("a\"\\\n\t\x7F\x1F/"), R"("a\"\\\n\u0009\u007f\u001f/")");
    EXPECT_EQ(written("caf\xC3\xA9 \xE9 \xF0\x9F"), "\"caf\xC3\xA9 \xEF\xBF\xBD \xEF\xBF\xBD\xEF\xBF\xBD\"");
    EXPECT_EQ(written(Array{1, Array(), Dictionary{{"a", Value("b")}}}), R"([1,[],{"a":"b"}])");
    EXPECT_EQ(written(std::make_shared<const std::vector<std::byte>>(3)), R"({"bytes":3})");
}

TEST(Json, WritesDatesInTheZoneOfTheUser) {
    NSTimeZone::setDefaultTimeZone("Asia/Kolkata");
    EXPECT_EQ(iso8601(NSDate{0}), "1970-01-01T05:30:00+05:30");
    NSTimeZone::setDefaultTimeZone("America/St_Johns");
    EXPECT_EQ(iso8601(NSDate{1'593'000'000.9}), "2020-06-24T09:30:00-02:30");
    NSTimeZone::setDefaultTimeZone("UTC");
    EXPECT_EQ(iso8601(NSDate{-0.5}), "1969-12-31T23:59:59+00:00") << "before 1970, downwards";
}

TEST(Columns, AreCountedAsATerminalDoes) {
    EXPECT_EQ(displayWidth("abc"), 3U);
    EXPECT_EQ(displayWidth("caf\xC3\xA9"), 4U);
    EXPECT_EQ(displayWidth("cafe\xCC\x81"), 4U) << "a combining accent takes none";
    EXPECT_EQ(displayWidth("\xE6\x97\xA5\xE6\x9C\xAC"), 4U) << "Japanese takes two each";
    EXPECT_EQ(printable("a\x1b[31mb\nc\xC2\x9B"
                        "d\xFF"),
              "a [31mb c d\xEF\xBF\xBD")
        << "nothing steers the terminal";
}

TEST(Columns, BreakAtBlanksWhereThereAreAny) {
    using testing::ElementsAre;
    EXPECT_THAT(wrapped("one two three", 8), ElementsAre("one two", "three"));
    EXPECT_THAT(wrapped("abcdefghij", 4), ElementsAre("abcd", "efgh", "ij"));
    EXPECT_THAT(wrapped("a abcdefgh", 4), ElementsAre("a", "abcd", "efgh"));
    EXPECT_THAT(wrapped("\xE6\x97\xA5\xE6\x9C\xAC\xE8\xAA\x9E", 5),
                ElementsAre("\xE6\x97\xA5\xE6\x9C\xAC", "\xE8\xAA\x9E"));
    EXPECT_THAT(wrapped("", 10), ElementsAre(""));
    for (std::size_t width = 1; width < 12; ++width)
        for (const std::string& line : wrapped("some words of several lengths", width))
            EXPECT_LE(displayWidth(line), width) << width;
}

TEST(FileWalk, VisitsFilesInOrderAndNoLoops) {
    const test::TemporaryFolder folder;
    for (const char* name : {"b/2.jpg", "b/10.jpg", "a.jpg", ".hidden/h.jpg", "c.jpg"}) folder.write(name, "x");
    const std::string root = folder.path().string();
    ASSERT_EQ(::symlink(root.c_str(), (root + "/b/loop").c_str()), 0);
    ASSERT_EQ(::symlink((root + "/a.jpg").c_str(), (root + "/link.jpg").c_str()), 0);
    ASSERT_EQ(::symlink("/nowhere", (root + "/dangling").c_str()), 0);
    std::vector<std::string> seen;
    std::vector<std::string> complaints;
    const auto complain = [&](const std::string& path, const std::string&) { complaints.push_back(path); };
    EXPECT_TRUE(walkTree(
        root,
        [&](const std::string& path) {
            seen.push_back(path.substr(root.size()));
            return true;
        },
        complain));
    EXPECT_EQ(seen,
              (std::vector<std::string>{"/.hidden/h.jpg", "/a.jpg", "/b/10.jpg", "/b/2.jpg", "/c.jpg", "/link.jpg"}));
    EXPECT_TRUE(complaints.empty());
    EXPECT_TRUE(walkTree(
        root + "/nowhere", [](const std::string&) { return true; }, complain));
    EXPECT_EQ(complaints.size(), 1U);
    int visited = 0;
    EXPECT_FALSE(walkTree(
        root, [&](const std::string&) { return ++visited < 2; }, complain))
        << "stopped when asked to";
    EXPECT_EQ(visited, 2);
}

}  // namespace
}  // namespace tessaly::cli
