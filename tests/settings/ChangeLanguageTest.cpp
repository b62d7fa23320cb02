#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/Foundation/NSBundle.h"
#include "platform/Foundation/NSLocale.h"
#include "platform/Foundation/NSUserDefaults.h"
#include "platform/UIKit/Presenter.h"
#include "settings/Apperance.h"
#include "settings/ChangeLanguageViewController.h"
#include "settings/LanguageManager.h"
#include "settings/NSBundle+Language.h"
#include "settings/PersistanceManager.h"
#include "settings/UIColor+Hex.h"

namespace tessaly {
namespace {

constexpr std::size_t kGerman = 5, kJapanese = 9, kUkrainian = 17;

/// The screen on a phone, of a person who has picked no language.
class ChangeLanguage : public testing::Test {
protected:
    ChangeLanguage() { forget(); }
    ~ChangeLanguage() override { forget(); }

    static void forget() {
        PersistanceManager::sharedInstance().setShouldUseDeviceLanguage(true);
        LanguageManager::removeCurrentLanguage();
        NSBundleLanguage::setLanguage("");
        UITraitCollection::currentTraitCollection().setPreferredContentSizeCategory(UIContentSizeCategoryLarge);
    }
    void open() {
        screen = std::make_shared<ChangeLanguageViewController>();
        screen->loadViewIfNeeded();
        screen->viewDidLayoutSubviews();  // The list has no height yet.
        screen->collectionView->setFrame({{0, 120}, {390, 700}});
        screen->viewDidLayoutSubviews();
    }
    std::shared_ptr<LanguageCell> row(std::size_t index) const {
        return std::dynamic_pointer_cast<LanguageCell>(screen->collectionView->cellForItemAtIndexPath({index, 0}));
    }
    /// Those that are marked, among the rows that exist.
    std::vector<std::size_t> marked() const {
        std::vector<std::size_t> found;
        for (const auto& piece : screen->collectionView->pieces()) {
            const auto cell = std::dynamic_pointer_cast<LanguageCell>(piece.view);
            EXPECT_EQ(cell->isSelected(), !cell->checkmarkImageView->isHidden());
            if (cell->isSelected()) found.push_back(piece.attributes.indexPath.item);
        }
        return found;
    }
    void pick(std::size_t index) const { screen->collectionView->userSelected({index, 0}); }
    static std::string storedCode() {
        return NSUserDefaults("standard").objectForKey("currentLanguageKey").description();
    }

    std::shared_ptr<ChangeLanguageViewController> screen;
    int announced = 0;
    NSNotificationCenter::Observer observer = NSNotificationCenter::defaultCenter().addObserver(
        LanguageManagerDidChangeLanguageNotification, [this](const NSNotification&) {
            ++announced;
            textWhenAnnounced = localized("Cancel");
        });
    std::string textWhenAnnounced;
};

TEST_F(ChangeLanguage, ListsEveryLanguageInItsOwnWords) {
    open();
    EXPECT_EQ(screen->navigationItem().title(), "Change Language");
    EXPECT_EQ(screen->useDeviceLanguageLabel->text(), "Use Device Language");
    EXPECT_EQ(screen->selectLanguageLabel->text(), "Select Language");
    EXPECT_TRUE(screen->useDeviceLanguageSwitch->isOn());
    EXPECT_EQ(screen->useDeviceLanguageSwitch->accessibility().label, "Use Device Language");
    EXPECT_EQ(screen->useDeviceLanguageSwitch->tintColor(), Apperance::tintColor());
    EXPECT_EQ(screen->view()->backgroundColor(), themeColor());
    const UIFont large{"AvenirNext-Medium", 17}, heading{"AvenirNext-Medium", 13}, small{"AvenirNext-Regular", 13};
    struct Style {
        const UILabel& label;
        UIFont font;
        UIColor color;
    };
    for (const auto& [label, font, color] :
         {Style{*screen->useDeviceLanguageLabel, large, Apperance::textColor()},
          Style{*screen->selectLanguageLabel, heading, Apperance::secondaryTextColor()},
          Style{*row(0)->nameLabel, large, Apperance::textColor()},
          Style{*row(0)->nativeNameLabel, small, Apperance::secondaryTextColor()}}) {
        EXPECT_EQ(label.font(), font) << label.text();
        EXPECT_EQ(label.textColor(), color) << label.text();
    }
    EXPECT_EQ(row(0)->checkmarkImageView->imageName(), "checkmark");
    EXPECT_EQ(row(0)->checkmarkImageView->tintColor(), Apperance::tintColor());
    EXPECT_EQ(row(0)->backgroundColor(), themeColor());
    EXPECT_EQ(row(0)->frame().size, (CGSize{390, 56}));
    EXPECT_THAT(marked(), testing::IsEmpty()) << "the device decides";
    const auto languages = LanguageManager::languages();
    ASSERT_EQ(screen->collectionView->numberOfItemsInSection(0), languages.size());
    NSBundle bundle(NSBundle::mainBundle().folder());
    for (std::size_t index = 0; index < languages.size(); ++index) {
        screen->collectionView->scrollToItemAtIndexPath({index, 0}, false);
        const auto cell = row(index);
        ASSERT_TRUE(cell) << index;
        bundle.setLanguage(languages[index].code);
        EXPECT_EQ(cell->nameLabel->text(), languages[index].nameKey);
        EXPECT_EQ(cell->nativeNameLabel->text(), bundle.localizedStringForKey(languages[index].nameKey, "", ""))
            << "the name that its own translation uses";
    }
    EXPECT_EQ(row(kUkrainian)->accessibility().label, "Ukrainian, Українська");
    screen->collectionView->scrollToItemAtIndexPath({0, 0}, false);
    EXPECT_EQ(row(3)->accessibility().label, "English") << "not twice";
    EXPECT_TRUE(row(3)->accessibility().isElement);
}

TEST_F(ChangeLanguage, SpeaksThePickedLanguageAtOnce) {
    open();
    pick(kGerman);
    EXPECT_EQ(announced, 1);
    EXPECT_EQ(textWhenAnnounced, "Abbrechen") << "told after the texts have changed";
    EXPECT_EQ(storedCode(), "de");
    EXPECT_FALSE(PersistanceManager::sharedInstance().shouldUseDeviceLanguage());
    EXPECT_FALSE(screen->useDeviceLanguageSwitch->isOn());
    EXPECT_THAT(marked(), testing::ElementsAre(kGerman));
    EXPECT_EQ(screen->navigationItem().title(), localized("Change Language"));
    EXPECT_NE(screen->navigationItem().title(), "Change Language");
    EXPECT_EQ(row(kJapanese)->nameLabel->text(), "Japanisch");
    EXPECT_EQ(row(kJapanese)->nativeNameLabel->text(), "日本語");
    pick(kGerman);
    EXPECT_EQ(announced, 1) << "picked already";
    pick(kJapanese);
    EXPECT_EQ(announced, 2);
    EXPECT_THAT(marked(), testing::ElementsAre(kJapanese));
}

TEST_F(ChangeLanguage, FollowsTheDeviceAgain) {
    open();
    pick(kJapanese);
    screen->useDeviceLanguageSwitch->userSet(true);
    EXPECT_EQ(announced, 2);
    EXPECT_EQ(textWhenAnnounced, "Cancel") << "without a restart";
    EXPECT_EQ(storedCode(), "");
    EXPECT_TRUE(PersistanceManager::sharedInstance().shouldUseDeviceLanguage());
    EXPECT_THAT(marked(), testing::IsEmpty());
    EXPECT_EQ(screen->navigationItem().title(), "Change Language");

    screen->useDeviceLanguageSwitch->userSet(false);
    EXPECT_EQ(announced, 3);
    EXPECT_EQ(storedCode(), "en") << "the language that was shown";
    EXPECT_THAT(marked(), testing::ElementsAre(3U));
}

TEST_F(ChangeLanguage, OpensAtThePickedLanguage) {
    PersistanceManager::sharedInstance().setShouldUseDeviceLanguage(false);
    LanguageManager::saveLanguageByIndex(kUkrainian);
    open();
    EXPECT_THAT(marked(), testing::ElementsAre(kUkrainian));
    const auto& list = *screen->collectionView;
    EXPECT_EQ(list.contentOffset().y, list.contentSize().height - 700) << "and not beyond the end";
    screen->collectionView->setContentOffset({0, 7}, false);
    screen->viewDidLayoutSubviews();
    pick(kJapanese);
    EXPECT_EQ(list.contentOffset().y, 7) << "once, and stays where the finger was";
}

TEST_F(ChangeLanguage, GrowsItsRowsWithTheText) {
    open();
    const double plain = row(0)->frame().size.height;
    EXPECT_GE(plain, 44);
    UITraitCollection::currentTraitCollection().setPreferredContentSizeCategory(
        UIContentSizeCategoryAccessibilityExtraExtraExtraLarge);
    screen->reloadInterface();
    const auto cell = row(0);
    EXPECT_EQ(cell->nameLabel->font().pointSize, 53);
    EXPECT_GT(cell->frame().size.height, 2 * plain);
    EXPECT_GT(cell->frame().size.height, cell->nameLabel->font().pointSize + cell->nativeNameLabel->font().pointSize);
}

TEST_F(ChangeLanguage, LeavesWithItsDoneItem) {
    struct Window : Presenter {
        void present(const UIViewControllerRef&, bool, std::function<void()>) override {}
        void dismiss(const UIViewControllerRef& controller, bool, std::function<void()>) override { gone = controller; }
        UIViewControllerRef gone;
    } window;
    Presenter::setShared(&window);
    const auto parent = std::make_shared<UIViewController>();
    screen = std::make_shared<ChangeLanguageViewController>();
    parent->presentViewController(screen, true);
    const auto items = screen->navigationItem().rightBarButtonItems();
    ASSERT_EQ(items.size(), 1U);
    EXPECT_EQ(items[0]->systemItem(), UIBarButtonSystemItem::done);
    UIBarButtonItem::send(items[0]);
    EXPECT_EQ(window.gone, screen);
    Presenter::setShared(nullptr);
    window.gone = nullptr;
    const std::weak_ptr<UIViewController> left = screen;
    screen = nullptr;
    EXPECT_TRUE(left.expired()) << "no block holds it";
    NSNotificationCenter::defaultCenter().postNotificationName(LanguageManagerDidChangeLanguageNotification);
}

}  // namespace
}  // namespace tessaly
