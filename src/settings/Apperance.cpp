#include "settings/Apperance.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <utility>

#include "platform/Foundation/Format.h"
#include "platform/UIKit/UIScreen.h"
#include "settings/PersistanceManager.h"
#include "settings/UIColor+Hex.h"

namespace tessaly {
namespace {

constexpr double kBodyPointSize = 17;

constexpr UIColor rgb(int red, int green, int blue) { return {red / 255.0, green / 255.0, blue / 255.0}; }

constexpr UIColor kYellow = rgb(220, 198, 83);
constexpr UIColor kNightRow{0.0917, 0.09117, 0.09117};

/// A light and a dark colour. The light texts are as dark as the darkest light surface, the odd rows, asks for.
struct Pair {
    UIColor light, dark;
};
constexpr Pair kText{UIColor::blackColor(), UIColor::whiteColor()};
constexpr Pair kSecondaryText{rgb(100, 100, 100), rgb(160, 160, 160)};
constexpr Pair kDestructiveText{rgb(200, 30, 20), rgb(255, 105, 97)};
constexpr Pair kTint{rgb(128, 98, 0), kYellow};
constexpr Pair kPromo{rgb(243, 243, 243), rgb(33, 33, 33)};

UIColor colorOf(const Pair& pair) { return colorForCurrentStyleWithLight(pair.light, pair.dark); }

/// The device's own style, while the dark mode setting holds another one in force.
std::optional<UIUserInterfaceStyle>& overriddenStyle() {
    static std::optional<UIUserInterfaceStyle> style;
    return style;
}

double preferredScale() {
    return bodyTextScale(UITraitCollection::currentTraitCollection().preferredContentSizeCategory());
}

}  // namespace

const Apperance& Apperance::sharedInstance() noexcept {
    static const Apperance shared;
    return shared;
}

void Apperance::updateAppApperance() {
    UITraitCollection& traits = UITraitCollection::currentTraitCollection();
    auto& overridden = overriddenStyle();
    const bool dark = PersistanceManager::sharedInstance().isDarkModeOn();
    if (dark && !overridden) {
        overridden = traits.userInterfaceStyle();
        traits.setUserInterfaceStyle(UIUserInterfaceStyle::dark);
    } else if (!dark && overridden) {
        traits.setUserInterfaceStyle(*std::exchange(overridden, std::nullopt));
    }
}

void Apperance::setDeviceStyle(UIUserInterfaceStyle style) {
    if (auto& overridden = overriddenStyle()) {
        overridden = style;
    } else {
        UITraitCollection::currentTraitCollection().setUserInterfaceStyle(style);
    }
}

UIColor Apperance::lightGrayColor() {
    return colorForCurrentStyleWithLight(colorWithHexString("ECECEC"), blackOLEDSafe());
}

UIColor Apperance::ultraLightGrayColor() {
    return colorForCurrentStyleWithLight(colorWithHexString("F6F6F6"), kNightRow);
}

void Apperance::setAppearanceOnView(UIView& view) { view.setBackgroundColor(themeColor()); }

// Opposite to the screens' ground, unlike the operation above: these views lie over a photo, and a veil in the ground's
// own colour would let a white label vanish in a bright sky. Black in the light style and white in the dark one keep a
// bar apart from the photo and from the page around it, and textColorOnPhotos() is their counterpart.
void Apperance::setAppearanceOnView(UIView& view, double alpha) {
    view.setBackgroundColor(
        colorForCurrentStyleWithLight(UIColor::colorWithWhite(0, alpha), UIColor::colorWithWhite(1, alpha)));
}

void Apperance::setUltraLighBackgroundColorForSettingsPhotosSearchPromo(UIView& view) {
    view.setBackgroundColor(colorOf(kPromo));
}

UIColor Apperance::textColor() { return colorOf(kText); }
UIColor Apperance::secondaryTextColor() { return colorOf(kSecondaryText); }
UIColor Apperance::destructiveTextColor() { return colorOf(kDestructiveText); }
UIColor Apperance::tintColor() { return colorOf(kTint); }
UIColor Apperance::textColorOnPhotos() { return colorOf({kText.dark, kText.light}); }
void Apperance::setAppearanceTextColorOnLabel(UILabel& label) { label.setTextColor(textColor()); }
UIColor Apperance::tabBarTintColor() { return colorOf({UIColor::blackColor(), kYellow}); }
UIColor Apperance::yellowColor() { return kYellow; }

UIColor Apperance::borderColorForCurrentColorMode() { return colorOf({UIColor::blackColor(), UIColor::whiteColor()}); }

UIColor Apperance::sepratorColorForCurrentColorMode() {
    return colorOf({UIColor::lightGrayColor(), UIColor::darkGrayColor()});
}

CALayer Apperance::setShadowEffectForLayer(CALayer layer, CGSize bounds) {
    layer.shadowOffset = {};
    layer.shadowRadius = 2;
    layer.shadowOpacity = 0.5;
    layer.shadowPath = CGRect{{}, bounds};
    layer.shadowColor = colorOf({UIColor::blackColor(), UIColor::lightGrayColor()});
    return layer;
}

std::string_view Apperance::fontNameWithCurrentSettings() {
    const bool light = PersistanceManager::sharedInstance().isUsingLightFontOnExifDetailsScreen();
    return light ? kRegularFontName : kMediumFontName;
}

UIFont Apperance::scaledFontForBodyMetricsWithFont(UIFont font) {
    font.pointSize = std::round(font.pointSize * preferredScale());
    return font;
}

UIFont Apperance::fontStyleWithCurrentSettingsMaximumSize(double points) {
    UIFont font = scaledFontForBodyMetricsWithFont({std::string(fontNameWithCurrentSettings()), kBodyPointSize});
    font.pointSize = std::min(font.pointSize, points);
    return font;
}

std::string Apperance::themedImageFileNameFor(std::string_view name) {
    return PersistanceManager::sharedInstance().isDarkModeOn() ? formatted("white_%@", name) : std::string(name);
}

CGSize Apperance::mainScreenBounds() { return UIScreen::mainScreen().bounds; }

}  // namespace tessaly
