#pragma once
#include "platform/UIKit/UITraitCollection.h"

namespace tessaly {

/// A colour in sRGB, components 0 to 1, not multiplied by alpha; or a pair of them, one of which is chosen by the style
/// each time it is drawn.
struct UIColor {
    struct Components {
        double red = 0, green = 0, blue = 0, alpha = 0;
        friend bool operator==(const Components&, const Components&) = default;
    };

    Components light;
    Components dark;

    /// Transparent black.
    constexpr UIColor() = default;
    constexpr UIColor(double red, double green, double blue, double alpha = 1)
        : light{red, green, blue, alpha}, dark(light) {}
    /// The light colour's and the dark colour's own choices for their styles.
    [[nodiscard]] static constexpr UIColor dynamic(const UIColor& light, const UIColor& dark) noexcept {
        UIColor color;
        color.light = light.light;
        color.dark = dark.dark;
        return color;
    }
    [[nodiscard]] static constexpr UIColor colorWithWhite(double white, double alpha = 1) noexcept {
        return {white, white, white, alpha};
    }
    [[nodiscard]] constexpr const Components& resolved(UIUserInterfaceStyle style) const noexcept {
        return style == UIUserInterfaceStyle::dark ? dark : light;
    }
    [[nodiscard]] constexpr UIColor colorWithAlphaComponent(double alpha) const noexcept {
        UIColor color = *this;
        color.light.alpha = color.dark.alpha = alpha;
        return color;
    }

    [[nodiscard]] static constexpr UIColor clearColor() noexcept { return {}; }
    [[nodiscard]] static constexpr UIColor blackColor() noexcept { return colorWithWhite(0); }
    [[nodiscard]] static constexpr UIColor whiteColor() noexcept { return colorWithWhite(1); }
    [[nodiscard]] static constexpr UIColor lightGrayColor() noexcept { return colorWithWhite(2.0 / 3); }
    [[nodiscard]] static constexpr UIColor darkGrayColor() noexcept { return colorWithWhite(1.0 / 3); }
    [[nodiscard]] static constexpr UIColor blueColor() noexcept { return {0, 0, 1}; }
    [[nodiscard]] static constexpr UIColor systemRedColor() noexcept {
        return dynamic({1, 59 / 255.0, 48 / 255.0}, {1, 69 / 255.0, 58 / 255.0});
    }
    friend bool operator==(const UIColor&, const UIColor&) = default;
};

}  // namespace tessaly
