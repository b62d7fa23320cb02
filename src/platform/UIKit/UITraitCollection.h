#pragma once
#include <array>
#include <cstdint>
#include <string_view>

#include "platform/UIKit/Observable.h"

namespace tessaly {

enum class UIUserInterfaceStyle : std::uint8_t { unspecified = 0, light = 1, dark = 2 };
enum class UIUserInterfaceIdiom : std::uint8_t { phone = 0, pad = 1 };

/// A size of text that a person prefers: one of the constants below, told apart by identity.
using UIContentSizeCategory = const std::string_view*;

/// In ascending order, in one array: a category ranks above another exactly when it stands behind it.
inline constexpr std::array<std::string_view, 12> kContentSizeCategories{"XS",
                                                                         "S",
                                                                         "M",
                                                                         "L",
                                                                         "XL",
                                                                         "XXL",
                                                                         "XXXL",
                                                                         "AccessibilityM",
                                                                         "AccessibilityL",
                                                                         "AccessibilityXL",
                                                                         "AccessibilityXXL",
                                                                         "AccessibilityXXXL"};
inline constexpr UIContentSizeCategory UIContentSizeCategoryExtraSmall = &kContentSizeCategories[0];
inline constexpr UIContentSizeCategory UIContentSizeCategoryLarge = &kContentSizeCategories[3];
inline constexpr UIContentSizeCategory UIContentSizeCategoryAccessibilityMedium = &kContentSizeCategories[7];
inline constexpr UIContentSizeCategory UIContentSizeCategoryAccessibilityLarge = &kContentSizeCategories[8];
inline constexpr UIContentSizeCategory UIContentSizeCategoryAccessibilityExtraExtraExtraLarge =
    &kContentSizeCategories[11];

/// How many times its plain size a text of the body style has in that category: 1 for "L".
[[nodiscard]] constexpr double bodyTextScale(UIContentSizeCategory category) noexcept {
    constexpr std::array<double, 12> kScales{0.82, 0.88, 0.94, 1, 1.12, 1.24, 1.35, 1.65, 1.94, 2.35, 2.76, 3.12};
    return kScales[static_cast<std::size_t>(category - kContentSizeCategories.data())];
}

/// The category whose scale is nearest to a desktop's text scaling factor.
[[nodiscard]] constexpr UIContentSizeCategory contentSizeCategoryOfTextScale(double scale) noexcept {
    UIContentSizeCategory best = UIContentSizeCategoryLarge;
    const auto distance = [scale](UIContentSizeCategory category) {
        const double difference = bodyTextScale(category) - scale;
        return difference < 0 ? -difference : difference;
    };
    for (const std::string_view& category : kContentSizeCategories) {
        if (distance(&category) < distance(best)) best = &category;
    }
    return best;
}

/// What the surroundings ask of a screen. There is one, of the main window; whoever draws observes it. Main thread.
class UITraitCollection : public Observable {
public:
    [[nodiscard]] static UITraitCollection& currentTraitCollection();

    [[nodiscard]] UIUserInterfaceStyle userInterfaceStyle() const noexcept { return style_; }
    void setUserInterfaceStyle(UIUserInterfaceStyle style) { assign(style_, style); }
    [[nodiscard]] bool isDark() const noexcept { return style_ == UIUserInterfaceStyle::dark; }
    /// pad from 600 points of width on.
    [[nodiscard]] UIUserInterfaceIdiom userInterfaceIdiom() const noexcept { return idiom_; }
    void setUserInterfaceIdiom(UIUserInterfaceIdiom idiom) { assign(idiom_, idiom); }
    [[nodiscard]] bool isPad() const noexcept { return idiom_ == UIUserInterfaceIdiom::pad; }
    [[nodiscard]] UIContentSizeCategory preferredContentSizeCategory() const noexcept { return category_; }
    void setPreferredContentSizeCategory(UIContentSizeCategory category) { assign(category_, category); }
    /// Whether animations are to be left out.
    [[nodiscard]] bool reducesMotion() const noexcept { return reducesMotion_; }
    void setReducesMotion(bool reduces) { assign(reducesMotion_, reduces); }

private:
    UIUserInterfaceStyle style_ = UIUserInterfaceStyle::light;
    UIUserInterfaceIdiom idiom_ = UIUserInterfaceIdiom::phone;
    UIContentSizeCategory category_ = UIContentSizeCategoryLarge;
    bool reducesMotion_ = false;
};

}  // namespace tessaly
