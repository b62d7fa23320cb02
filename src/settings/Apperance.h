#pragma once
#include <string>
#include <string_view>

#include "platform/UIKit/UIControls.h"

namespace tessaly {

/// Colours, fonts and pictures of the light and the dark style. Colours follow the style while they are drawn (see
/// colorForCurrentStyleWithLight); every text colour has a contrast of at least 4.5 to 1 on every surface of its
/// style. Main thread.
class Apperance {
public:
    static constexpr std::string_view kRegularFontName = "AvenirNext-Regular";
    static constexpr std::string_view kMediumFontName = "AvenirNext-Medium";

    [[nodiscard]] static const Apperance& sharedInstance() noexcept;

    /// Puts the interface into the dark style while the dark mode setting is on, and back into the device's after that.
    static void updateAppApperance();
    /// What the device prefers, for whoever follows the desktop: in force unless the dark mode setting is on.
    static void setDeviceStyle(UIUserInterfaceStyle style);

    // Surfaces.
    /// Odd and even rows of a list.
    [[nodiscard]] static UIColor lightGrayColor();
    [[nodiscard]] static UIColor ultraLightGrayColor();
    /// A screen's or a cell's ground.
    static void setAppearanceOnView(UIView& view);
    /// A veil over a photo, in the style's opposite: what stands on it takes textColorOnPhotos(). `alpha` is 0 to 1.
    static void setAppearanceOnView(UIView& view, double alpha);
    static void setUltraLighBackgroundColorForSettingsPhotosSearchPromo(UIView& view);

    // Texts and controls.
    [[nodiscard]] static UIColor textColor();
    [[nodiscard]] static UIColor secondaryTextColor();
    /// For what takes something away for good.
    [[nodiscard]] static UIColor destructiveTextColor();
    /// Texts and symbols that can be touched, and what is chosen.
    [[nodiscard]] static UIColor tintColor();
    [[nodiscard]] static UIColor textColorOnPhotos();
    static void setAppearanceTextColorOnLabel(UILabel& label);
    [[nodiscard]] static UIColor tabBarTintColor();
    /// The product's own. As a text it is legible on dark surfaces only: see tintColor().
    [[nodiscard]] static UIColor yellowColor();
    /// Of what cannot be touched now.
    [[nodiscard]] static constexpr double disabledAlpha() noexcept { return 0.4; }

    // Lines and shadows.
    [[nodiscard]] static UIColor borderColorForCurrentColorMode();
    [[nodiscard]] static UIColor sepratorColorForCurrentColorMode();
    /// The layer with a shadow all around a surface of that size.
    [[nodiscard]] static CALayer setShadowEffectForLayer(CALayer layer, CGSize bounds);

    // Fonts. Names that the settings choose are one of the two above.
    [[nodiscard]] static std::string_view fontNameWithCurrentSettings();
    /// The font in the size that the person prefers, where `font` is meant for the plain one; whole points.
    [[nodiscard]] static UIFont scaledFontForBodyMetricsWithFont(UIFont font);
    /// The body's font, in the preferred size but no larger than so many points.
    [[nodiscard]] static UIFont fontStyleWithCurrentSettingsMaximumSize(double points);

    /// The picture's name in the style: "white_" before it while the dark mode setting is on.
    [[nodiscard]] static std::string themedImageFileNameFor(std::string_view name);
    /// Points.
    [[nodiscard]] static CGSize mainScreenBounds();
};

}  // namespace tessaly
