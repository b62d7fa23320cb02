#pragma once
#include <string_view>

namespace tessaly::viewer {

inline constexpr int kSuccess = 0;
inline constexpr int kFailure = 1;  ///< Something that was named could not be shown.
inline constexpr int kUsage = 2;

/// "tessaly-viewer: PATH: what is wrong" on standard error; without a path only what is wrong. Any thread.
void complain(std::string_view path, std::string_view what);
void complain(std::string_view what);

}  // namespace tessaly::viewer
