#pragma once
#include "platform/CoreGraphics/CGGeometry.h"

namespace tessaly {

/// The device's main screen. Without a window it is a configuration value: a common phone's.
struct UIScreen {
    CGSize bounds{390, 844};  ///< Points.
    double scale = 3;         ///< Pixels a point.

    /// The one in force; assign to it at start-up, before records are made.
    [[nodiscard]] static UIScreen& mainScreen() {
        static UIScreen screen;
        return screen;
    }
};

}  // namespace tessaly
