#pragma once
#include <string_view>

namespace tessaly {

/// Posted when memory runs short: whatever can be made again should be dropped.
inline constexpr std::string_view UIApplicationDidReceiveMemoryWarningNotification =
    "UIApplicationDidReceiveMemoryWarningNotification";

}  // namespace tessaly
