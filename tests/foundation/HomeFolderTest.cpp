#include <gtest/gtest.h>
#include <pwd.h>
#include <unistd.h>

#include <cstdlib>
#include <optional>
#include <string>

#include "linux/foundation/HomeFolder.h"

namespace tessaly::test {
namespace {

/// A variable of the environment, until the end of the scope.
class Variable {
public:
    Variable(const char* name, const char* value) : name_(name) {
        if (const char* before = std::getenv(name)) before_ = before;
        set(value);
    }
    Variable(const Variable&) = delete;
    Variable& operator=(const Variable&) = delete;
    ~Variable() { set(before_ ? before_->c_str() : nullptr); }

private:
    void set(const char* value) const { static_cast<void>(value ? ::setenv(name_, value, 1) : ::unsetenv(name_)); }
    const char* name_;
    std::optional<std::string> before_;
};

TEST(HomeFolder, ComesFromTheEnvironmentElseFromTheSystem) {
    const passwd* const user = ::getpwuid(::getuid());
    ASSERT_NE(user, nullptr);
    const std::string own = user->pw_dir;
    const struct {
        const char* home;
        const char* data;
        std::string isHome;
        std::string isData;
    } cases[] = {
        {"/h", nullptr, "/h", "/h/share"},    {"/h", "/d", "/h", "/d"},
        {"/h", "relative", "/h", "/h/share"}, {nullptr, nullptr, own, own + "/share"},
        {"", "", own, own + "/share"},        {"relative", nullptr, own, own + "/share"},
    };
    for (const auto& [home, data, isHome, isData] : cases) {
        const Variable homeVariable("HOME", home);
        const Variable dataVariable("XDG_DATA_HOME", data);
        EXPECT_EQ(homeFolder(), isHome);
        EXPECT_EQ(baseFolder("XDG_DATA_HOME", "share"), isData);
    }
}

}  // namespace
}  // namespace tessaly::test
