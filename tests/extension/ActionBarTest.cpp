#include <numbers>

#include "ActionsFixture.h"

namespace tessaly::test {
namespace {

class ActionBar : public ActionsTest {
protected:
    [[nodiscard]] double bottom() const {
        return screen->bottomBarBottomToViewControllerBottomLayoutConstraint->constant();
    }
};

TEST_F(ActionBar, StandsWhereTheDrawerAndTheSettingPutIt) {
    struct Case {
        const char* why;
        bool isExpanded, overwrites;
        double bottom;
        const char* hint;
    };
    const Case cases[] = {
        {"closed", false, false, -115, "Since Overwrite is turned off"},
        {"closed, whatever is set", false, true, -115, "Overwrite edit or removes"},
        {"open, with the switch for originals", true, false, 0, "Since Overwrite is turned off"},
        {"open, without it", true, true, -42, "Overwrite edit or removes"},
    };
    for (const auto& [why, isExpanded, overwrites, expected, hint] : cases) {
        screen->isBottomBarSettingsExpanded = !isExpanded;
        screen->overwriteSwitch->setOn(overwrites);
        screen->overWriteImageSwitchValueChanged();
        EXPECT_EQ(PersistanceManager::sharedInstance().overwriteImageForExifChange(), overwrites);
        screen->expandRemoveEXIFBarButtonTapped();
        EXPECT_EQ(bottom(), expected) << why;
        EXPECT_EQ(screen->bottomBarHeightConstraint->constant(), 190) << why;
        EXPECT_EQ(screen->expandButtonImageView->rotation(), isExpanded ? 0 : std::numbers::pi) << why;
        EXPECT_TRUE(screen->overWriteHintLabel->text().starts_with(hint)) << why;
    }
}

TEST_F(ActionBar, SlidesOutAndBackToWhereItWas) {
    UITraitCollection& traits = UITraitCollection::currentTraitCollection();
    const std::pair<UIContentSizeCategory, double> heights[] = {
        {UIContentSizeCategoryExtraSmall, 75}, {&kContentSizeCategories.back(), 120}, {UIContentSizeCategoryLarge, 75}};
    for (const auto& [letters, height] : heights) {
        traits.setPreferredContentSizeCategory(letters);
        EXPECT_EQ(screen->closedBottomBarHeight(), height) << *letters << ": it grows with the letters so far";
    }
    screen->isBottomBarSettingsExpanded = true;
    screen->updateOverwriteSettingsBarUI();
    screen->showBottomBarView();
    EXPECT_EQ(bottom(), 0) << "it is there already";
    screen->hideBottomBarView();
    screen->hideBottomBarView();
    EXPECT_EQ(bottom(), -190);
    EXPECT_TRUE(screen->isBottomBarHidden());
    double duration = 0;
    const auto seen = screen->bottomBarBottomToViewControllerBottomLayoutConstraint->observe(
        [&] { duration = UIView::inheritedAnimationDuration(); });
    screen->showBottomBarView();
    EXPECT_EQ(bottom(), 0);
    EXPECT_EQ(duration, 0.25);
}

TEST_F(ActionBar, TakesItsSwitchesFromTheSettings) {
    PersistanceManager::sharedInstance().setDeleteOriginalPhotoAfterCreatingImageWithoutExif(true);
    screen->refreshDeleteOverWriteSettingsUI();
    const auto& deletes = screen->deleteOriginalPhotoAfterRemovingExifSwitch;
    EXPECT_TRUE(deletes->isOn());
    EXPECT_FALSE(screen->overwriteSwitch->isOn());
    EXPECT_EQ(deletes->accessibility().label, "Delete Original image");
    EXPECT_EQ(deletes->accessibility().hint, "Delete Original image after creating new copy ?");
    EXPECT_EQ(screen->deleteOriginalPhotoAfterRemovingExifSwitchLabel->text(), deletes->accessibility().hint);
    EXPECT_EQ(screen->overwriteSwitch->accessibility().label, "Overwrite");
}

TEST_F(ActionBar, IsShownInTheContainingAppOnly) {
    for (const bool isApp : {false, true})
        for (const bool isPreview : {false, true}) {
            screen->isInContainingApp = isApp;
            screen->is3DTouchPreview = isPreview;
            screen->messageHolderView->setHidden(false);
            screen->updateBottomBarBasedOnSettingsAndPreviewType();
            EXPECT_EQ(screen->bottomButtonHolderView->isHidden(), !isApp || isPreview);
            EXPECT_TRUE(screen->messageHolderView->isHidden());
            EXPECT_EQ(screen->editEXIFButton->isHidden(), !UIStoryboard::hasScene(kEditExifTransition));
        }
}

TEST_F(ActionBar, BannerOfANewMessageStaysItsWholeTime) {
    const auto& distance = screen->messageViewBottomToBottomBarTopVerticalSpaceConstraint;
    screen->messageHolderView->setHidden(true);
    screen->showMessage("first", false);
    const auto timer = screen->messageHideTimer;
    EXPECT_EQ(distance->constant(), 0);
    EXPECT_FALSE(screen->messageHolderView->isHidden());
    EXPECT_FALSE(isSuccess());
    screen->showMessage("second", true);
    EXPECT_FALSE(timer->isValid()) << "it would hide the second banner early";
    EXPECT_TRUE(screen->messageHideTimer->isValid());
    EXPECT_EQ(banner(), "second");
    EXPECT_EQ(screen->messageHolderView->backgroundColor(), UIColor(61 / 255.0, 136 / 255.0, 43 / 255.0));
    EXPECT_EQ(screen->successOrErrorMessageLabel->textColor(), UIColor::whiteColor());
    const auto shown = std::chrono::steady_clock::now();
    EXPECT_TRUE(DispatchQueue::pumpMainQueueUntil([&] { return banner().empty(); }, std::chrono::seconds(10)));
    EXPECT_GT(std::chrono::steady_clock::now() - shown, std::chrono::milliseconds(3900));
    EXPECT_EQ(distance->constant(), -300);
    EXPECT_FALSE(screen->messageHideTimer->isValid()) << "once";
}

}  // namespace
}  // namespace tessaly::test
