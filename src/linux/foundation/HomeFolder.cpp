#include "linux/foundation/HomeFolder.h"

#include <pwd.h>
#include <unistd.h>

#include <array>
#include <cstdlib>

namespace tessaly {

std::string homeFolder() {
    if (const char* home = std::getenv("HOME"); home && *home == '/') return home;
    passwd user{};
    passwd* found = nullptr;
    std::array<char, 4096> texts{};
    ::getpwuid_r(::getuid(), &user, texts.data(), texts.size(), &found);
    return found && found->pw_dir && *found->pw_dir == '/' ? found->pw_dir : std::string();
}

std::string baseFolder(const char* variable, const char* below) {
    if (const char* set = std::getenv(variable); set && *set == '/') return set;
    const std::string home = homeFolder();
    return home.empty() ? home : home + '/' + below;
}

}  // namespace tessaly
