#include "Display.h"

#include <cstdlib>

namespace tessaly::viewer {

std::string missingDisplay(const std::function<std::string(const char*)>& variable) {
    const bool hasWayland = !variable("WAYLAND_DISPLAY").empty();
    const bool hasX = !variable("DISPLAY").empty();
    const std::string platform = variable("QT_QPA_PLATFORM");
    if (platform.starts_with("wayland") && platform.find(';') == std::string::npos)
        return hasWayland ? "" : "there is no display: WAYLAND_DISPLAY is not set";
    if (platform == "xcb") return hasX ? "" : "there is no display: DISPLAY is not set";
    // Other platforms draw to memory, or to the screen itself.
    if (!platform.empty() || hasWayland || hasX) return {};
    return "there is no display: neither WAYLAND_DISPLAY nor DISPLAY is set";
}

std::string environment(const char* name) {
    const char* const value = std::getenv(name);
    return value ? value : "";
}

}  // namespace tessaly::viewer
