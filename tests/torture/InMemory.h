#pragma once
#include <unistd.h>

#include <cstdlib>
#include <optional>
#include <string>

namespace tessaly::test {

/// As long as it is there temporary folders are made in memory, where there is such a disk: what is tested is not the
/// disk. TESSALY_TORTURE_FOLDER names another.
class InMemory {
public:
    InMemory() {
        if (const char* before = std::getenv("TMPDIR")) before_ = before;
        const char* wanted = std::getenv("TESSALY_TORTURE_FOLDER");
        const char* folder = wanted ? wanted : "/dev/shm";
        if (::access(folder, W_OK | X_OK) == 0) ::setenv("TMPDIR", folder, 1);
    }
    InMemory(const InMemory&) = delete;
    InMemory& operator=(const InMemory&) = delete;
    ~InMemory() { before_ ? ::setenv("TMPDIR", before_->c_str(), 1) : ::unsetenv("TMPDIR"); }

private:
    std::optional<std::string> before_;
};

}  // namespace tessaly::test
