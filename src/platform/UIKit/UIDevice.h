#pragma once
#include <string>
#include <string_view>

#include "platform/Foundation/NumericSearch.h"

namespace tessaly {

/// The device. What it says of its system is a configuration value: the version whose abilities there are.
struct UIDevice {
    std::string systemVersion = "17.0";

    [[nodiscard]] bool hasSystemVersion(std::string_view orLater) const noexcept {
        return compareNumerically(systemVersion, orLater) >= 0;
    }

    /// The one in force; assign to it at start-up, before records are made.
    [[nodiscard]] static UIDevice& currentDevice() {
        static UIDevice device;
        return device;
    }
};

}  // namespace tessaly
