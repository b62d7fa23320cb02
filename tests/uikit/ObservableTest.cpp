#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/UIKit/UIControls.h"

namespace tessaly {
namespace {

TEST(Observable, TellsOfChangesOnly) {
    UILabel label;
    int told = 0;
    const auto observation = label.observe([&] { ++told; });
    label.setText("a");
    EXPECT_EQ(told, 1);
    label.setText("a");
    label.setHidden(false);
    EXPECT_EQ(told, 1) << "nothing changed";
    label.setAccessibility(&UIAccessibility::label, std::string("b"));
    EXPECT_EQ(told, 2);
}

TEST(Observable, TellsAfterTheSetterIsDone) {
    UISwitch toggle;
    std::vector<std::string> seen;
    const auto observation = toggle.observe([&] { seen.emplace_back(toggle.isOn() ? "on" : "off"); });
    toggle.setAction([&] { seen.emplace_back("action"); });
    toggle.setOn(true);
    toggle.userSet(false);
    EXPECT_THAT(seen, testing::ElementsAre("on", "off", "action")) << "only a person's touch acts";
    toggle.setEnabled(false);
    seen.clear();
    toggle.sendAction();
    EXPECT_THAT(seen, testing::IsEmpty());
}

TEST(Observable, MayLoseObserversWhileItTells) {
    UIView view;
    std::string told;
    Observable::Observation second, third;
    const auto first = view.observe([&] {
        told += '1';
        third = {};
    });
    second = view.observe([&] {
        told += '2';
        second = {};
    });
    third = view.observe([&] { told += '3'; });
    view.setAlpha(0.5);
    EXPECT_EQ(told, "12") << "one took another out, one itself";
    view.setAlpha(1);
    EXPECT_EQ(told, "121");
}

TEST(Observable, MayGainObserversWhileItTells) {
    UIView view;
    std::vector<Observable::Observation> added;
    int told = 0;
    const auto first = view.observe([&] {
        if (added.size() < 3) added.push_back(view.observe([&] { ++told; }));
    });
    view.setAlpha(0.5);
    view.setAlpha(0.25);
    EXPECT_EQ(added.size(), 2U);
    EXPECT_GE(told, 1) << "from the next change on at the latest";
}

TEST(Observable, IsOutlivedByItsObservers) {
    auto view = std::make_unique<UIView>();
    auto observation = view->observe([] {});
    auto moved = std::move(observation);
    view = nullptr;
    moved = {};

    // A screen may go away because of what it told; nobody is told of it after that.
    auto screen = std::make_unique<UIView>();
    int toldAfterwards = 0;
    const auto closing = screen->observe([&] { screen = nullptr; });
    const auto later = [&] { return screen->observe([&] { ++toldAfterwards; }); }();
    screen->setHidden(true);
    EXPECT_EQ(toldAfterwards, 0);
}

TEST(UIControl, KeepsItsActionWhileItReplacesIt) {
    UIButton button;
    std::string done;
    button.setAction([&button, &done, text = std::string("a long enough text to live on the heap")] {
        button.setAction([&] { done += "second"; });
        done += text.substr(0, 1);
    });
    button.sendAction();
    button.sendAction();
    EXPECT_EQ(done, "asecond");
}

TEST(ContentSizeCategory, GrowsInTheOrderOfItsRanks) {
    const std::string_view* const first = kContentSizeCategories.data();
    for (std::size_t i = 1; i < kContentSizeCategories.size(); ++i) {
        EXPECT_LT(bodyTextScale(first + i - 1), bodyTextScale(first + i)) << kContentSizeCategories[i];
        EXPECT_LT(first + i - 1, first + i);
    }
    for (const std::string_view& category : kContentSizeCategories)
        EXPECT_EQ(contentSizeCategoryOfTextScale(bodyTextScale(&category)), &category) << category;
    struct Case {
        double scale;
        UIContentSizeCategory want;
        const char* why;
    };
    const Case cases[] = {
        {1, UIContentSizeCategoryLarge, "the plain size"},
        {1.05, UIContentSizeCategoryLarge, "nearer to the plain size"},
        {1.25, &kContentSizeCategories[5], "a desktop's large text"},
        {0.1, UIContentSizeCategoryExtraSmall, "below all"},
        {9, UIContentSizeCategoryAccessibilityExtraExtraExtraLarge, "above all"},
    };
    for (const auto& [scale, want, why] : cases) EXPECT_EQ(contentSizeCategoryOfTextScale(scale), want) << why;
    EXPECT_EQ(bodyTextScale(UIContentSizeCategoryLarge), 1);
}

TEST(TraitCollection, TellsWhoeverDraws) {
    UITraitCollection& traits = UITraitCollection::currentTraitCollection();
    int told = 0;
    const auto observation = traits.observe([&] { ++told; });
    traits.setUserInterfaceStyle(UIUserInterfaceStyle::dark);
    traits.setUserInterfaceIdiom(UIUserInterfaceIdiom::pad);
    EXPECT_TRUE(traits.isDark() && traits.isPad());
    traits.setUserInterfaceStyle(UIUserInterfaceStyle::light);
    traits.setUserInterfaceIdiom(UIUserInterfaceIdiom::phone);
    EXPECT_EQ(told, 4);
}

}  // namespace
}  // namespace tessaly
