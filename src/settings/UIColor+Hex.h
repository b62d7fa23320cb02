#pragma once
#include <string_view>

#include "platform/UIKit/UIColor.h"

/// Colours by their text, and by the style of the interface. Main thread.
namespace tessaly {

/// "RRGGBB", or "AARRGGBB" with alpha first; "#" anywhere is passed over and case does not matter. Any other length is
/// transparent black.
[[nodiscard]] UIColor colorWithHexString(std::string_view text);
/// Two hexadecimal digits as a part of 255. Ends at what is no digit: "Z0" is 0.
[[nodiscard]] float colorComponentWithHexString(std::string_view digits) noexcept;

/// A black whose pixels stay lit: self-lighting screens smear when theirs have to wake up during scrolling.
[[nodiscard]] UIColor blackOLEDSafe() noexcept;
/// White or black, by the style.
[[nodiscard]] UIColor themeColor();

/// The choice between a light and a dark style's colour. From system version 13 on it is made each time the colour is
/// drawn; before that at once, by the dark mode setting.
[[nodiscard]] UIColor colorForCurrentStyleWithLight(const UIColor& light, const UIColor& dark);

}  // namespace tessaly
