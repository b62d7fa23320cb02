#pragma once
#include <memory>
#include <string>

#include "platform/Foundation/NSNotificationCenter.h"
#include "platform/UIKit/UICollectionView.h"
#include "platform/UIKit/UIViewController.h"

namespace tessaly {

/// A language of the list: its name in the language of the interface, and below that as its speakers call it, for whom
/// cannot read the former. Told as one thing, by both names.
class LanguageCell : public UICollectionViewCell {
public:
    [[nodiscard]] std::string_view interfaceName() const noexcept override { return "LanguageCell"; }
    void awakeFromNib() override;
    /// Sizes and colours that the settings choose.
    void updateAppearance();
    void setNames(const std::string& name, const std::string& nativeName);
    [[nodiscard]] bool isSelected() const noexcept { return selected_; }
    void setSelected(bool selected);

    std::shared_ptr<UILabel> nameLabel = outlet<UILabel>("nameLabel");
    std::shared_ptr<UILabel> nativeNameLabel = outlet<UILabel>("nativeNameLabel");
    std::shared_ptr<UIImageView> checkmarkImageView = outlet<UIImageView>("checkmarkImageView");

private:
    bool selected_ = false;
};

/// The screen that picks the language of the interface: the device's, or one of the list. Every change is in force at
/// once and is announced by LanguageManagerDidChangeLanguageNotification.
class ChangeLanguageViewController : public UIViewController,
                                     public UICollectionViewDataSource,
                                     public UICollectionViewDelegateFlowLayout {
public:
    [[nodiscard]] std::string_view interfaceName() const noexcept override { return "ChangeLanguage"; }
    [[nodiscard]] const char* className() const noexcept override { return "ChangeLanguageViewController"; }

    void viewDidLoad() override;
    void viewDidLayoutSubviews() override;
    void reloadInterface() override;

    [[nodiscard]] std::size_t numberOfItemsInSection(UICollectionView& view, std::size_t section) override;
    [[nodiscard]] std::shared_ptr<UICollectionViewCell> cellForItemAtIndexPath(UICollectionView& view,
                                                                               NSIndexPath indexPath) override;
    [[nodiscard]] CGSize sizeForItemAtIndexPath(UICollectionView& view, UICollectionViewFlowLayout& layout,
                                                NSIndexPath indexPath) override;
    [[nodiscard]] double minimumLineSpacingForSection(UICollectionView&, UICollectionViewFlowLayout&,
                                                      std::size_t) override {
        return 0;
    }
    void didSelectItemAtIndexPath(UICollectionView& view, NSIndexPath indexPath) override;

    std::shared_ptr<UILabel> useDeviceLanguageLabel = outlet<UILabel>("useDeviceLanguageLabel");
    std::shared_ptr<UISwitch> useDeviceLanguageSwitch = outlet<UISwitch>("useDeviceLanguageSwitch");
    /// Heads the list.
    std::shared_ptr<UILabel> selectLanguageLabel = outlet<UILabel>("selectLanguageLabel");
    std::shared_ptr<UICollectionView> collectionView = outlet<UICollectionView>("collectionView");

private:
    void useDeviceLanguageChanged();
    void showSelectedLanguage();

    NSNotificationCenter::Observer languageObserver_;
    bool initialScrollDone_ = false;
};

}  // namespace tessaly
