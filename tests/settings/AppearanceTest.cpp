#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "platform/UIKit/UIDevice.h"
#include "platform/UIKit/UIScreen.h"
#include "settings/Apperance.h"
#include "settings/PersistanceManager.h"
#include "settings/UIColor+Hex.h"

namespace tessaly {
namespace {

using Style = UIUserInterfaceStyle;
using Components = UIColor::Components;

/// The light style on a current system in the plain text size, before and after each test.
class Appearance : public testing::Test {
protected:
    Appearance() { reset(); }
    ~Appearance() override { reset(); }

    static void reset() {
        settings().setIsDarkModeOn(false);
        settings().setIsUsingLightFontOnExifDetailsScreen(true);
        PersistanceManager::invertColorsEnabled = false;
        UIDevice::currentDevice() = {};
        Apperance::updateAppApperance();
        traits().setUserInterfaceStyle(Style::light);
        traits().setPreferredContentSizeCategory(UIContentSizeCategoryLarge);
    }
    static PersistanceManager& settings() { return PersistanceManager::sharedInstance(); }
    static UITraitCollection& traits() { return UITraitCollection::currentTraitCollection(); }
};

double relativeLuminance(const Components& color) {
    const auto linear = [](double part) {
        return part <= 0.04045 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(color.red) + 0.7152 * linear(color.green) + 0.0722 * linear(color.blue);
}

/// As WCAG 2.1 defines it: 1 to 21.
double contrast(const Components& a, const Components& b) {
    const double first = relativeLuminance(a), second = relativeLuminance(b);
    return (std::max(first, second) + 0.05) / (std::min(first, second) + 0.05);
}

Components over(const Components& veil, double ground) {
    const auto mixed = [&](double part) { return part * veil.alpha + ground * (1 - veil.alpha); };
    return {mixed(veil.red), mixed(veil.green), mixed(veil.blue), 1};
}

UIColor backgroundAfter(void (*set)(UIView&)) {
    UIView view;
    set(view);
    return view.backgroundColor();
}

TEST_F(Appearance, ReadsColoursFromTheirTexts) {
    struct Case {
        const char* text;
        Components want;
        const char* why;
    };
    const Components clear;
    const double part = 0x80 / 255.0F;
    const Case cases[] = {
        {"#80FF0000", {1, 0, 0, part}, "eight digits: alpha first"},
        {"FF0080", {1, 0, part, 1}, "six digits: opaque"},
        {"ff0080", {1, 0, part, 1}, "small letters"},
        {"#F#F#0080", {1, 0, part, 1}, "marks anywhere"},
        {"FFF", clear, "three digits"},
        {"", clear, "nothing"},
        {"#######", clear, "nothing but marks"},
        {"FFFFFFFFF", clear, "nine digits"},
        {"GG0080", {0, 0, part, 1}, "no digits: nothing of that part"},
        {"-1+1 1", {0, 0, 0, 1}, "signs and blanks are no digits"},
    };
    for (const auto& [text, want, why] : cases) EXPECT_EQ(colorWithHexString(text).light, want) << why;
    EXPECT_FLOAT_EQ(colorComponentWithHexString("7F"), 127 / 255.0F);
}

TEST_F(Appearance, ChoosesWhileDrawingOrByTheSettingOnOldSystems) {
    struct Case {
        const char* system;
        bool darkMode;
        bool inverted;
        UIColor want;
    };
    const UIColor light(1, 0, 0), dark(0, 0, 1);
    const Case cases[] = {
        {"13.0", true, false, UIColor::dynamic(light, dark)},
        {"13", false, false, UIColor::dynamic(light, dark)},
        {"17.0", false, false, UIColor::dynamic(light, dark)},
        {"12.9", false, false, light},
        {"9.3", true, false, dark},
        {"9.3", true, true, light},
    };
    for (const auto& [system, darkMode, inverted, want] : cases) {
        UIDevice::currentDevice().systemVersion = system;
        settings().setIsDarkModeOn(darkMode);
        PersistanceManager::invertColorsEnabled = inverted;
        EXPECT_EQ(colorForCurrentStyleWithLight(light, dark), want) << system << darkMode << inverted;
    }
}

TEST_F(Appearance, HasTheColoursOfBothStyles) {
    struct Case {
        const char* name;
        UIColor color;
        Components light, dark;
    };
    const auto grey = [](double part) { return Components{part, part, part, 1}; };
    const auto rgb = [](int red, int green, int blue) {
        return Components{red / 255.0, green / 255.0, blue / 255.0, 1};
    };
    const Components yellow = rgb(220, 198, 83);
    UIView veil;
    Apperance::setAppearanceOnView(veil, 0.5);
    const Case cases[] = {
        {"yellow", Apperance::yellowColor(), yellow, yellow},
        {"text", Apperance::textColor(), grey(0), grey(1)},
        {"secondary", Apperance::secondaryTextColor(), rgb(100, 100, 100), rgb(160, 160, 160)},
        {"tint", Apperance::tintColor(), rgb(128, 98, 0), yellow},
        {"destructive", Apperance::destructiveTextColor(), rgb(200, 30, 20), rgb(255, 105, 97)},
        {"on photos", Apperance::textColorOnPhotos(), grey(1), grey(0)},
        {"even rows", Apperance::ultraLightGrayColor(), grey(0xF6 / 255.0F), {0.0917, 0.09117, 0.09117, 1}},
        {"odd rows", Apperance::lightGrayColor(), grey(0xEC / 255.0F), grey(5 / 255.0)},
        {"promotion", backgroundAfter(Apperance::setUltraLighBackgroundColorForSettingsPhotosSearchPromo),
         grey(243 / 255.0), grey(33 / 255.0)},
        {"border", Apperance::borderColorForCurrentColorMode(), grey(0), grey(1)},
        {"separator", Apperance::sepratorColorForCurrentColorMode(), grey(2 / 3.0), grey(1 / 3.0)},
        {"tab bar", Apperance::tabBarTintColor(), grey(0), yellow},
        {"ground", backgroundAfter(Apperance::setAppearanceOnView), grey(1), grey(0)},
        {"veil", veil.backgroundColor(), {0, 0, 0, 0.5}, {1, 1, 1, 0.5}},
    };
    for (const auto& [name, color, light, dark] : cases) {
        EXPECT_EQ(color.resolved(Style::light), light) << name;
        EXPECT_EQ(color.resolved(Style::unspecified), light) << name;
        EXPECT_EQ(color.resolved(Style::dark), dark) << name;
    }
    EXPECT_EQ(Apperance::disabledAlpha(), 0.4);
}

TEST_F(Appearance, IsLegible) {
    struct Named {
        const char* name;
        UIColor color;
    };
    const Named texts[] = {
        {"text", Apperance::textColor()},          {"secondary", Apperance::secondaryTextColor()},
        {"tint", Apperance::tintColor()},          {"destructive", Apperance::destructiveTextColor()},
        {"tab bar", Apperance::tabBarTintColor()},
    };
    const Named surfaces[] = {
        {"ground", backgroundAfter(Apperance::setAppearanceOnView)},
        {"even rows", Apperance::ultraLightGrayColor()},
        {"odd rows", Apperance::lightGrayColor()},
        {"promotion", backgroundAfter(Apperance::setUltraLighBackgroundColorForSettingsPhotosSearchPromo)},
    };
    for (const Style style : {Style::light, Style::dark}) {
        for (const auto& [text, color] : texts)
            for (const auto& [surface, ground] : surfaces)
                EXPECT_GE(contrast(color.resolved(style), ground.resolved(style)), 4.5)
                    << text << " on " << surface << (style == Style::dark ? ", dark" : ", light");
        // A bar's title and symbols are large, for which 3 to 1 is asked; the veil's strength is the screens' own.
        UIView bar;
        Apperance::setAppearanceOnView(bar, 0.5);
        for (const double photo : {0.0, 0.5, 1.0})
            EXPECT_GE(contrast(Apperance::textColorOnPhotos().resolved(style),
                               over(bar.backgroundColor().resolved(style), photo)),
                      3)
                << "over a photo of " << photo << (style == Style::dark ? ", dark" : ", light");
    }
    EXPECT_NEAR(contrast({0, 0, 0, 1}, {1, 1, 1, 1}), 21, 1e-9) << "the yardstick itself";
}

TEST_F(Appearance, FollowsTheDarkModeSettingAndGivesTheDeviceItsStyleBack) {
    traits().setUserInterfaceStyle(Style::light);
    for (int again = 0; again < 2; ++again) {
        Apperance::updateAppApperance();
        EXPECT_EQ(traits().userInterfaceStyle(), Style::light);
    }
    EXPECT_EQ(Apperance::themedImageFileNameFor("backButton"), "backButton");

    settings().setIsDarkModeOn(true);
    Apperance::updateAppApperance();
    Apperance::updateAppApperance();
    EXPECT_EQ(traits().userInterfaceStyle(), Style::dark);
    EXPECT_EQ(Apperance::themedImageFileNameFor("backButton"), "white_backButton");

    Apperance::setDeviceStyle(Style::light);
    EXPECT_EQ(traits().userInterfaceStyle(), Style::dark) << "the setting is stronger than the desktop";
    PersistanceManager::invertColorsEnabled = true;
    Apperance::updateAppApperance();
    EXPECT_EQ(traits().userInterfaceStyle(), Style::light) << "inverted colours are dark enough";

    PersistanceManager::invertColorsEnabled = false;
    settings().setIsDarkModeOn(false);
    Apperance::setDeviceStyle(Style::dark);
    Apperance::updateAppApperance();
    EXPECT_EQ(traits().userInterfaceStyle(), Style::dark) << "the desktop is dark by itself";
}

TEST_F(Appearance, ScalesFontsWithThePreferredSize) {
    struct Case {
        UIContentSizeCategory category;
        double of14, body, upTo24;
    };
    const Case cases[] = {
        {UIContentSizeCategoryExtraSmall, 11, 14, 14},
        {UIContentSizeCategoryLarge, 14, 17, 17},
        {UIContentSizeCategoryAccessibilityMedium, 23, 28, 24},
        {UIContentSizeCategoryAccessibilityExtraExtraExtraLarge, 44, 53, 24},
    };
    for (const auto& [category, of14, body, upTo24] : cases) {
        traits().setPreferredContentSizeCategory(category);
        EXPECT_EQ(Apperance::scaledFontForBodyMetricsWithFont({"Face", 14}), (UIFont{"Face", of14})) << *category;
        EXPECT_EQ(Apperance::fontStyleWithCurrentSettingsMaximumSize(100), (UIFont{"AvenirNext-Regular", body}));
        EXPECT_EQ(Apperance::fontStyleWithCurrentSettingsMaximumSize(24).pointSize, upTo24) << *category;
    }
    settings().setIsUsingLightFontOnExifDetailsScreen(false);
    EXPECT_EQ(Apperance::fontStyleWithCurrentSettingsMaximumSize(10), (UIFont{"AvenirNext-Medium", 10}));
}

TEST_F(Appearance, CastsShadowsAllAround) {
    CALayer layer;
    layer.cornerRadius = 8;
    const CALayer shadowed = Apperance::setShadowEffectForLayer(layer, {120, 80});
    EXPECT_EQ(shadowed.shadowPath, (CGRect{{0, 0}, {120, 80}}));
    EXPECT_EQ(shadowed.shadowOffset, CGSize());
    EXPECT_EQ(shadowed.shadowRadius, 2);
    EXPECT_EQ(shadowed.shadowOpacity, 0.5);
    EXPECT_EQ(shadowed.shadowColor, UIColor::dynamic(UIColor::blackColor(), UIColor::lightGrayColor()));
    EXPECT_EQ(shadowed.cornerRadius, 8) << "the rest of the layer stays";
    EXPECT_EQ(Apperance::mainScreenBounds(), UIScreen::mainScreen().bounds);
}

}  // namespace
}  // namespace tessaly
