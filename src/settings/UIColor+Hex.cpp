#include <charconv>
#include <string>

#include "platform/UIKit/UIDevice.h"
#include "settings/PersistanceManager.h"
#include "settings/UIColor+Hex.h"

namespace tessaly {

float colorComponentWithHexString(std::string_view digits) noexcept {
    unsigned value = 0;
    std::from_chars(digits.data(), digits.data() + digits.size(), value, 16);
    return static_cast<float>(value) / 255.0F;
}

UIColor colorWithHexString(std::string_view text) {
    std::string digits(text);
    std::erase(digits, '#');
    if (digits.size() != 6 && digits.size() != 8) return UIColor::clearColor();
    const auto component = [&, first = digits.size() - 6](std::size_t index) {
        return colorComponentWithHexString(std::string_view(digits).substr(first + 2 * index, 2));
    };
    const float alpha = digits.size() == 8 ? colorComponentWithHexString(std::string_view(digits).substr(0, 2)) : 1;
    return {component(0), component(1), component(2), alpha};
}

UIColor blackOLEDSafe() noexcept { return UIColor::colorWithWhite(5 / 255.0); }

UIColor themeColor() { return colorForCurrentStyleWithLight(UIColor::whiteColor(), UIColor::blackColor()); }

UIColor colorForCurrentStyleWithLight(const UIColor& light, const UIColor& dark) {
    if (UIDevice::currentDevice().hasSystemVersion("13")) return UIColor::dynamic(light, dark);
    return PersistanceManager::sharedInstance().isDarkModeOn() ? dark : light;
}

}  // namespace tessaly
