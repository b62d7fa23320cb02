#include "linux/quick/window/NavigationOutlet.h"

#include "platform/Foundation/NSBundle.h"
#include "settings/LanguageManager.h"

namespace tessaly::quick {
namespace {

std::shared_ptr<UIButton> buttonOf(const UIBarButtonItem& item) {
    return std::dynamic_pointer_cast<UIButton>(item.customView());
}

}  // namespace

BarButtonOutlet::BarButtonOutlet(std::shared_ptr<UIBarButtonItem> item, QObject* parent)
    : QObject(parent), item_(std::move(item)) {
    if (item_->customView()) view_ = item_->customView()->observe([this] { emit changed(); });
    language_ = NSNotificationCenter::defaultCenter().addObserver(LanguageManagerDidChangeLanguageNotification,
                                                                  [this](const NSNotification&) { emit changed(); });
}

QString BarButtonOutlet::title() const {
    if (item_->systemItem() == UIBarButtonSystemItem::done) return toQt(localized("Done"));
    const auto button = buttonOf(*item_);
    return button ? toQt(button->title()) : QString();
}

QString BarButtonOutlet::imageName() const {
    if (item_->systemItem() == UIBarButtonSystemItem::action) return QStringLiteral("share");
    const auto button = buttonOf(*item_);
    return button ? toQt(button->imageName()) : QString();
}

QString BarButtonOutlet::accessibleLabel() const {
    if (item_->systemItem() == UIBarButtonSystemItem::action) return toQt(localized("Share"));
    const auto button = buttonOf(*item_);
    if (button && !button->accessibility().label.empty()) return toQt(button->accessibility().label);
    return title();
}

void BarButtonOutlet::touched() {
    const auto keep = item_;
    const auto button = buttonOf(*keep);
    button ? button->sendAction() : UIBarButtonItem::send(keep);
}

void NavigationOutlet::follow(std::shared_ptr<UINavigationItem> item) {
    item_ = std::move(item);
    if (item_) observation_ = item_->observe([this] { update(); });
    update();
}

void NavigationOutlet::update() {
    UIBarButtonItems items;
    const auto left = item_ ? item_->leftBarButtonItem() : nullptr;
    if (left) items.push_back(left);
    if (item_) items.insert(items.end(), item_->rightBarButtonItems().begin(), item_->rightBarButtonItems().end());
    const QVariantList old = items != shown_ ? left_ + right_ : QVariantList();
    if (items != shown_) {
        left_.clear();
        right_.clear();
        shown_ = items;
        for (const auto& shown : shown_) {
            QObject* const button = new BarButtonOutlet(shown, this);
            (shown == left ? left_ : right_).append(QVariant::fromValue(button));
        }
    }
    emit changed();
    // After the items that show them: those go with the next turn of the loop, too.
    for (const QVariant& one : old) one.value<QObject*>()->deleteLater();
}

}  // namespace tessaly::quick
