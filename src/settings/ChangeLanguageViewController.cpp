#include "settings/ChangeLanguageViewController.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>

#include "platform/Foundation/NSBundle.h"
#include "settings/Apperance.h"
#include "settings/LanguageManager.h"
#include "settings/NSBundle+Language.h"
#include "settings/PersistanceManager.h"

namespace tessaly {
namespace {

constexpr const char* kCellIdentifier = "LanguageCellID";
constexpr double kNamePointSize = 17;
constexpr double kNativeNamePointSize = 13;
/// Of a row in the plain text size: two lines and the space around them, which does not grow.
constexpr double kLinesHeight = 40;
constexpr double kRowPadding = 16;

/// A language as its speakers call it. It also stands in that language's own table, but reading eighteen of those would
/// delay the screen.
struct NativeName {
    std::string_view code, name;
};
constexpr std::array kNativeNames{
    NativeName{"zh-Hans", "中文（简体）"},
    NativeName{"zh-Hant", "中文（繁體）"},
    NativeName{"nl", "Nederlands"},
    NativeName{"en", "English"},
    NativeName{"fr", "Français"},
    NativeName{"de", "Deutsch"},
    NativeName{"hi", "हिन्दी"},
    NativeName{"id", "Indonesia"},
    NativeName{"it", "Italiano"},
    NativeName{"ja", "日本語"},
    NativeName{"ko", "한국어"},
    NativeName{"ml", "മലയാളം"},
    NativeName{"pl", "Polski"},
    NativeName{"pt", "Português"},
    NativeName{"ru", "Русский"},
    NativeName{"es", "Español"},
    NativeName{"th", "ไทย"},
    NativeName{"uk", "Українська"},
};

std::string nativeNameOf(std::string_view code) {
    const auto found = std::ranges::find(kNativeNames, code, &NativeName::code);
    return found == kNativeNames.end() ? std::string() : std::string(found->name);
}

bool usesDeviceLanguage() { return PersistanceManager::sharedInstance().shouldUseDeviceLanguage(); }

std::optional<std::size_t> indexOfLanguage(std::string_view code) {
    const auto languages = LanguageManager::languages();
    const auto found = std::ranges::find(languages, code, &InterfaceLanguage::code);
    if (found == languages.end()) return std::nullopt;
    return static_cast<std::size_t>(found - languages.begin());
}

/// The one that the person picked; nullopt while the device decides, and for a code that is not in the list.
std::optional<std::size_t> pickedLanguage() {
    return usesDeviceLanguage() ? std::nullopt : indexOfLanguage(LanguageManager::currentLanguageCode());
}

void pickLanguage(std::size_t index) {
    PersistanceManager::sharedInstance().setShouldUseDeviceLanguage(false);
    LanguageManager::saveLanguageByIndex(index);
}

void followDevice() {
    PersistanceManager::sharedInstance().setShouldUseDeviceLanguage(true);
    LanguageManager::removeCurrentLanguage();
    NSBundleLanguage::setLanguage({});
}

void announceLanguage() {
    NSNotificationCenter::defaultCenter().postNotificationName(LanguageManagerDidChangeLanguageNotification);
}

UIFont fontOfSize(std::string_view name, double points) {
    return Apperance::scaledFontForBodyMetricsWithFont({std::string(name), points});
}

}  // namespace

void LanguageCell::awakeFromNib() {
    checkmarkImageView->setImageNamed("checkmark");
    checkmarkImageView->setHidden(true);
    setAccessibility(&UIAccessibility::isElement, true);
    updateAppearance();
}

void LanguageCell::updateAppearance() {
    Apperance::setAppearanceOnView(*this);
    Apperance::setAppearanceTextColorOnLabel(*nameLabel);
    nativeNameLabel->setTextColor(Apperance::secondaryTextColor());
    checkmarkImageView->setTintColor(Apperance::tintColor());
    nameLabel->setFont(fontOfSize(Apperance::kMediumFontName, kNamePointSize));
    nativeNameLabel->setFont(fontOfSize(Apperance::kRegularFontName, kNativeNamePointSize));
}

void LanguageCell::setNames(const std::string& name, const std::string& nativeName) {
    nameLabel->setText(name);
    nativeNameLabel->setText(nativeName);
    setAccessibility(&UIAccessibility::label, name == nativeName ? name : name + ", " + nativeName);
}

void LanguageCell::setSelected(bool selected) {
    checkmarkImageView->setHidden(!selected);
    assign(selected_, selected);
}

void ChangeLanguageViewController::viewDidLoad() {
    const auto weak = std::weak_ptr(std::static_pointer_cast<ChangeLanguageViewController>(shared_from_this()));
    const auto done =
        std::make_shared<UIBarButtonItem>(UIBarButtonSystemItem::done, [weak](const std::shared_ptr<UIBarButtonItem>&) {
            if (const auto self = weak.lock()) self->dismissViewController(true);
        });
    navigationItem().setRightBarButtonItems({done});
    useDeviceLanguageSwitch->setAction([weak] {
        if (const auto self = weak.lock()) self->useDeviceLanguageChanged();
    });
    collectionView->registerClass<LanguageCell>(kCellIdentifier);
    collectionView->setDelegate(weak);
    collectionView->setDataSource(weak);
    languageObserver_ = NSNotificationCenter::defaultCenter().addObserver(LanguageManagerDidChangeLanguageNotification,
                                                                          [weak](const NSNotification&) {
                                                                              if (const auto self = weak.lock())
                                                                                  self->reloadInterface();
                                                                          });
    reloadInterface();
}

void ChangeLanguageViewController::viewDidLayoutSubviews() {
    if (initialScrollDone_ || collectionView->boundsSize().height <= 0) return;
    initialScrollDone_ = true;
    showSelectedLanguage();
}

void ChangeLanguageViewController::reloadInterface() {
    navigationItem().setTitle(localized("Change Language"));
    useDeviceLanguageLabel->setText(localized("Use Device Language"));
    useDeviceLanguageSwitch->setAccessibility(&UIAccessibility::label, useDeviceLanguageLabel->text());
    useDeviceLanguageSwitch->setOn(usesDeviceLanguage());
    selectLanguageLabel->setText(localized("Select Language"));

    Apperance::setAppearanceOnView(*view());
    Apperance::setAppearanceTextColorOnLabel(*useDeviceLanguageLabel);
    selectLanguageLabel->setTextColor(Apperance::secondaryTextColor());
    useDeviceLanguageSwitch->setTintColor(Apperance::tintColor());
    useDeviceLanguageLabel->setFont(fontOfSize(Apperance::kMediumFontName, kNamePointSize));
    selectLanguageLabel->setFont(fontOfSize(Apperance::kMediumFontName, kNativeNamePointSize));
    collectionView->reloadData();
}

std::size_t ChangeLanguageViewController::numberOfItemsInSection(UICollectionView&, std::size_t) {
    return LanguageManager::languages().size();
}

std::shared_ptr<UICollectionViewCell> ChangeLanguageViewController::cellForItemAtIndexPath(UICollectionView& view,
                                                                                           NSIndexPath indexPath) {
    auto cell = view.dequeue<LanguageCell>(kCellIdentifier);
    const InterfaceLanguage& language = LanguageManager::languages()[indexPath.item];
    cell->updateAppearance();
    cell->setNames(localized(language.nameKey), nativeNameOf(language.code));
    cell->setSelected(pickedLanguage() == indexPath.item);
    return cell;
}

CGSize ChangeLanguageViewController::sizeForItemAtIndexPath(UICollectionView& view, UICollectionViewFlowLayout&,
                                                            NSIndexPath) {
    const double scale = bodyTextScale(UITraitCollection::currentTraitCollection().preferredContentSizeCategory());
    return {view.boundsSize().width, std::round(kLinesHeight * scale) + kRowPadding};
}

void ChangeLanguageViewController::didSelectItemAtIndexPath(UICollectionView&, NSIndexPath indexPath) {
    if (pickedLanguage() == indexPath.item) return;
    pickLanguage(indexPath.item);
    announceLanguage();
}

// Whoever turns the device's language off without having picked another one goes on reading the one that is shown.
void ChangeLanguageViewController::useDeviceLanguageChanged() {
    if (useDeviceLanguageSwitch->isOn()) {
        followDevice();
    } else {
        const auto shown = indexOfLanguage(NSBundle::mainBundle().preferredLocalization());
        pickLanguage(shown.value_or(LanguageManager::currentLanguageIndex()));
    }
    announceLanguage();
    showSelectedLanguage();
}

void ChangeLanguageViewController::showSelectedLanguage() {
    const auto picked = pickedLanguage();
    if (!picked) return;
    collectionView->layoutIfNeeded();
    const NSIndexPath place{*picked, 0};
    const auto row = collectionView->collectionViewLayout().layoutAttributesForItemAtIndexPath(place);
    if (!row) return;
    const double above = row->frame.origin.y - collectionView->contentOffset().y;
    const bool inSight = above >= 0 && above + row->frame.size.height <= collectionView->boundsSize().height;
    if (!inSight) collectionView->scrollToItemAtIndexPath(place, false);
}

}  // namespace tessaly
