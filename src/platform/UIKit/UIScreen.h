#pragma once
#include "platform/CoreGraphics/CGGeometry.h"

namespace tessaly {

/// The screen of the device, in points, and how many pixels make a point.
struct UIScreen {
    CGRect bounds;
    double scale = 1;

    /// The main screen. Without a display it is a phone of common size.
    static UIScreen mainScreen();
    /// Says what the main screen is; the screens set it at start, tests as they need.
    static void setMainScreen(const UIScreen& screen);
};

}  // namespace tessaly
