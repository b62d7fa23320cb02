#pragma once
#include <functional>
#include <string>

namespace tessaly::viewer {

/// What is missing for a window, as a message; "" where a display is named. Whether it is there shows when it is
/// opened.
/// @param variable  the environment's value of a name, "" for none.
[[nodiscard]] std::string missingDisplay(const std::function<std::string(const char* name)>& variable);

/// "" for a variable that is not set.
[[nodiscard]] std::string environment(const char* name);

}  // namespace tessaly::viewer
