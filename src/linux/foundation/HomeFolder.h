#pragma once
#include <string>

namespace tessaly {

/// $HOME where it is an absolute path, else what the system knows of the user (services and su often set none).
/// "" where neither says anything.
[[nodiscard]] std::string homeFolder();

/// A folder of the XDG Base Directory Specification 0.8: $`variable` where it is an absolute path, else `below` the
/// home folder. "" without a home.
[[nodiscard]] std::string baseFolder(const char* variable, const char* below);

}  // namespace tessaly
