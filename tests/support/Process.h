#pragma once
#include <string>
#include <vector>

namespace tessaly::test {

struct ProcessResult {
    int status = -1;  ///< Exit status, or 128 and the signal.
    std::string output;
    std::string errors;
};

/// Runs a program with arguments and NAME=VALUE additions to the environment, and waits for it.
[[nodiscard]] ProcessResult runProcess(std::vector<std::string> command,
                                       const std::vector<std::string>& environment = {});

}  // namespace tessaly::test
