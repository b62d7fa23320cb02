#include "linux/quick/window/Theme.h"

#include <QCoreApplication>
#include <QEvent>

#include "platform/Foundation/NSBundle.h"
#include "platform/UIKit/UIViewAppearance.h"
#include "settings/Apperance.h"
#include "settings/LanguageManager.h"
#include "settings/UIColor+Hex.h"

namespace tessaly::quick {
namespace {

constexpr int kTransition = 250;

const UITraitCollection& traits() { return UITraitCollection::currentTraitCollection(); }

}  // namespace

Theme::Theme(QObject* parent) : QObject(parent) {
    if (auto* const application = QCoreApplication::instance()) application->installEventFilter(this);
    traits_ = UITraitCollection::currentTraitCollection().observe([this] { emit changed(); });
    language_ = NSNotificationCenter::defaultCenter().addObserver(LanguageManagerDidChangeLanguageNotification,
                                                                  [this](const NSNotification&) { emit changed(); });
}

bool Theme::eventFilter(QObject* watched, QEvent* event) {
    const auto type = event->type();
    const bool isKey = type == QEvent::KeyPress;
    if ((isKey || type == QEvent::MouseButtonPress || type == QEvent::TouchBegin) && isKey != byKeyboard_) {
        byKeyboard_ = isKey;
        emit byKeyboardChanged();
    }
    return QObject::eventFilter(watched, event);
}

Theme* Theme::create(QQmlEngine*, QJSEngine*) { return new Theme; }

bool Theme::dark() const { return traits().isDark(); }
bool Theme::wide() const { return traits().isPad(); }
bool Theme::mirrored() const {
    return UIViewAppearance::appearance().semanticContentAttribute == UISemanticContentAttribute::forceRightToLeft;
}
qreal Theme::textScale() const { return bodyTextScale(traits().preferredContentSizeCategory()); }
int Theme::duration() const { return traits().reducesMotion() ? 0 : kTransition; }
QColor Theme::surface() const {
    return toQt(colorForCurrentStyleWithLight(UIColor::whiteColor(), UIColor::blackColor()));
}
QColor Theme::raised() const {
    return toQt(colorForCurrentStyleWithLight(UIColor::whiteColor(), UIColor::colorWithWhite(0.11)));
}
QColor Theme::row() const { return toQt(Apperance::ultraLightGrayColor()); }
QColor Theme::text() const { return toQt(Apperance::textColor()); }
QColor Theme::secondaryText() const { return toQt(Apperance::secondaryTextColor()); }
QColor Theme::accent() const { return toQt(Apperance::tintColor()); }
QColor Theme::star() const { return toQt(Apperance::yellowColor()); }
QColor Theme::destructive() const { return toQt(Apperance::destructiveTextColor()); }
QColor Theme::hairline() const {
    return toQt(colorForCurrentStyleWithLight(UIColor::colorWithWhite(0, 0.13), UIColor::colorWithWhite(1, 0.16)));
}
QColor Theme::scrim() const { return QColor(0, 0, 0, 115); }
QString Theme::localized(const QString& key) const { return toQt(tessaly::localized(key.toStdString())); }

}  // namespace tessaly::quick
