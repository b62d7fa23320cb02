#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <memory>
#include <thread>

#include "platform/Foundation/NSUserDefaults.h"
#include "platform/Foundation/PropertyList.h"
#include "support/TemporaryFolder.h"

namespace tessaly::test {
namespace {

class UserDefaults : public testing::Test {
protected:
    std::string suite = std::string("suite.") + testing::UnitTest::GetInstance()->current_test_info()->name();
};

TEST_F(UserDefaults, KeepsEveryKindOfValue) {
    const Data bytes = std::make_shared<const std::vector<std::byte>>(std::vector{std::byte{0}, std::byte{255}});
    const std::pair<const char*, Value> values[] = {
        {"truth", true},          {"whole", std::int64_t{1} << 60},
        {"fraction", 1.0},        {"text", "caf\xC3\xA9 \"\n"},
        {"date", NSDate{1.5}},    {"data", bytes},
        {"array", Array{1, "x"}}, {"dictionary", Dictionary{{"a", 1}}},
    };
    {
        NSUserDefaults defaults(suite);
        for (const auto& [key, value] : values) defaults.setObject(value, key);
        EXPECT_TRUE(defaults.synchronize()) << defaults.lastError();
    }
    const NSUserDefaults defaults(suite);
    for (const auto& [key, value] : values) {
        EXPECT_EQ(defaults.objectForKey(key).kind(), value.kind()) << key;
        EXPECT_EQ(defaults.objectForKey(key), value) << key;
    }
}

TEST_F(UserDefaults, SeesWhatAnotherInstanceWrites) {
    NSUserDefaults one(suite);
    NSUserDefaults other(suite);
    one.setObject(1, "a");
    one.synchronize();
    EXPECT_EQ(other.objectForKey("a"), Value(1));
    other.setObject(2, "b");
    other.synchronize();
    one.setObject(3, "c");
    one.synchronize();
    EXPECT_EQ(one.objectForKey("b"), Value(2)) << "a write keeps what others wrote meanwhile";
    one.removeObjectForKey("b");
    one.synchronize();
    EXPECT_TRUE(other.objectForKey("b").isNull());
}

TEST_F(UserDefaults, KeepsADamagedFileAside) {
    NSUserDefaults first(suite);
    first.setObject(1, "a");
    first.synchronize();
    const std::filesystem::path path = first.path();
    std::ofstream(path) << "{\"a\": 1, broken";
    testing::internal::CaptureStderr();
    NSUserDefaults second(suite);
    EXPECT_TRUE(second.objectForKey("a").isNull());
    second.setObject(2, "b");
    second.synchronize();
    EXPECT_THAT(testing::internal::GetCapturedStderr(), testing::HasSubstr(path.filename().string()));
    std::vector<std::string> kept;
    for (const auto& entry : std::filesystem::directory_iterator(path.parent_path()))
        if (entry.path().filename().string().find(path.filename().string() + ".corrupt") == 0)
            kept.push_back(contentOf(entry.path()));
    EXPECT_EQ(kept, std::vector<std::string>{"{\"a\": 1, broken"});
    EXPECT_EQ(NSUserDefaults(suite).objectForKey("b"), Value(2));
}

TEST_F(UserDefaults, SurvivesBeingKilledWhileItWrites) {
    NSUserDefaults defaults(suite);
    defaults.setObject("always there", "kept");
    defaults.synchronize();
    for (int round = 0; round < 40; ++round) {
        const pid_t child = ::fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            NSUserDefaults writer(suite);
            for (int i = 0;; ++i) {
                writer.setObject(i, "counter");
                writer.synchronize();
            }
        }
        ::usleep(static_cast<useconds_t>(500 + 137 * round));
        ::kill(child, SIGKILL);
        ::waitpid(child, nullptr, 0);
        const NSUserDefaults after(suite);
        ASSERT_EQ(after.objectForKey("kept"), Value("always there")) << "round " << round;
    }
    defaults.setObject(1, "still writable");
    EXPECT_TRUE(defaults.synchronize()) << "no lock is left behind";
    std::size_t files = 0;
    const std::filesystem::path path = defaults.path();
    for (const auto& entry : std::filesystem::directory_iterator(path.parent_path()))
        if (entry.path().filename().string().find(path.filename().string() + ".corrupt") == 0) ++files;
    EXPECT_EQ(files, 0U);
}

TEST_F(UserDefaults, IsSharedByThreads) {
    NSUserDefaults defaults(suite);
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread)
        threads.emplace_back([&defaults, thread] {
            for (int i = 0; i < 25; ++i) {
                defaults.setObject(i, "key" + std::to_string(thread));
                static_cast<void>(defaults.objectForKey("key0"));
                if (i % 5 == 0) defaults.synchronize();
            }
        });
    for (std::thread& thread : threads) thread.join();
    defaults.synchronize();
    for (int thread = 0; thread < 4; ++thread)
        EXPECT_EQ(NSUserDefaults(suite).objectForKey("key" + std::to_string(thread)), Value(24));
}

TEST_F(UserDefaults, HoldsForTheProcessWhereNothingCanBeWritten) {
    const TemporaryFolder folder;
    const std::string file = folder.write("file", "in the way");
    const std::string before = std::getenv("XDG_CONFIG_HOME");
    ::setenv("XDG_CONFIG_HOME", file.c_str(), 1);
    NSUserDefaults defaults(suite);
    ::setenv("XDG_CONFIG_HOME", before.c_str(), 1);
    defaults.setObject(1, "a");
    EXPECT_FALSE(defaults.synchronize());
    EXPECT_FALSE(defaults.lastError().empty());
    EXPECT_EQ(defaults.objectForKey("a"), Value(1));
}

TEST(PropertyList, RefusesWhatIsNotOneWholeValue) {
    for (const char* text :
         {"", "{", "[1,]", "{\"a\"}", "1 2", "nul", "\"\\u12\"", "{\"$date\": \"x\"}", "{\"$data\": \"?\"}"})
        EXPECT_FALSE(valueFromPropertyList(text)) << text;
    EXPECT_FALSE(valueFromPropertyList(std::string(100'000, '['))) << "depth";
    EXPECT_EQ(valueFromPropertyList(" {\"a\": [1, 2.5, \"caf\xC3\xA9\\n\", true]} "),
              Value(Dictionary{{"a", Array{1, 2.5, "caf\xC3\xA9\n", true}}}));
    EXPECT_EQ(propertyListText(1.0), "1.0") << "a fraction stays one";
}

}  // namespace
}  // namespace tessaly::test
