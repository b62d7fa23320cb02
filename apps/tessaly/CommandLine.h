#pragma once
#include <string>
#include <vector>

namespace tessaly::cli {

inline constexpr int kSuccess = 0;
inline constexpr int kFailure = 1;  ///< A file could not be read, a setting not be written.
inline constexpr int kUsage = 2;

/// Runs the program on its arguments (without its own name) and returns its exit status.
[[nodiscard]] int run(std::vector<std::string> arguments);

}  // namespace tessaly::cli
