#pragma once
#include <mutex>

#include "platform/CoreGraphics/CGGeometry.h"

namespace tessaly {

/// The device's main screen. Without a window it is a configuration value: a common phone's.
struct UIScreen {
    /// Points that there are to draw on. A desktop's program has those of its window.
    CGSize bounds{390, 844};
    double scale = 3;                 ///< Pixels a point.
    CGSize nativeBounds{1170, 2532};  ///< Pixels of the screen itself, however large the window on it is.

    /// As it is now: windows move and grow while other threads ask.
    [[nodiscard]] static UIScreen mainScreen() {
        const std::lock_guard lock(mutex());
        return current();
    }
    static void setMainScreen(const UIScreen& screen) {
        const std::lock_guard lock(mutex());
        current() = screen;
    }

private:
    [[nodiscard]] static std::mutex& mutex() {
        static std::mutex mutex;
        return mutex;
    }
    [[nodiscard]] static UIScreen& current() {
        static UIScreen screen;
        return screen;
    }
};

}  // namespace tessaly
