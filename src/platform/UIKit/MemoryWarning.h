#pragma once
#include <string_view>

namespace tessaly {

/// Posted on the main thread when the machine runs short of memory: what can be had again is to be dropped.
inline constexpr std::string_view UIApplicationDidReceiveMemoryWarningNotification =
    "UIApplicationDidReceiveMemoryWarningNotification";

}  // namespace tessaly
