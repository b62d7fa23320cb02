#include "WaylandSeat.h"

#include <wayland-client.h>

#include <cstdint>
#include <memory>
#include <string_view>

namespace tessaly::viewer {
namespace {

void globalIsThere(void* hasSeat, wl_registry*, std::uint32_t, const char* interface, std::uint32_t) {
    if (std::string_view(interface) == wl_seat_interface.name) *static_cast<bool*>(hasSeat) = true;
}
void globalIsGone(void*, wl_registry*, std::uint32_t) {}

constexpr wl_registry_listener kListener{globalIsThere, globalIsGone};

}  // namespace

bool waylandHasSeat() {
    const std::unique_ptr<wl_display, decltype(&wl_display_disconnect)> display(wl_display_connect(nullptr),
                                                                                wl_display_disconnect);
    if (!display) return true;
    const std::unique_ptr<wl_registry, decltype(&wl_registry_destroy)> registry(wl_display_get_registry(display.get()),
                                                                                wl_registry_destroy);
    bool hasSeat = false;
    wl_registry_add_listener(registry.get(), &kListener, &hasSeat);
    return wl_display_roundtrip(display.get()) < 0 || hasSeat;
}

}  // namespace tessaly::viewer
