#include "linux/quick/window/Surroundings.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QGuiApplication>
#include <QMap>
#include <QPalette>
#include <QScreen>
#include <cmath>

#include "platform/UIKit/UIScreen.h"
#include "platform/UIKit/UITraitCollection.h"
#include "settings/Apperance.h"
#include "settings/PersistanceManager.h"

namespace tessaly::quick {
namespace {

const QString kService = QStringLiteral("org.freedesktop.portal.Desktop");
const QString kPath = QStringLiteral("/org/freedesktop/portal/desktop");
const QString kInterface = QStringLiteral("org.freedesktop.portal.Settings");
const QString kAppearance = QStringLiteral("org.freedesktop.appearance");
const QString kGnomeInterface = QStringLiteral("org.gnome.desktop.interface");
const QString kGnomeA11y = QStringLiteral("org.gnome.desktop.a11y.interface");

/// From this width on a window has a tablet's layout.
constexpr int kTabletWidth = 600;
constexpr uint kPrefersDark = 1;

using Settings = QMap<QString, QVariantMap>;

UITraitCollection& traits() { return UITraitCollection::currentTraitCollection(); }

bool paletteIsDark() {
    const QPalette palette = QGuiApplication::palette();
    return palette.color(QPalette::Window).lightness() < palette.color(QPalette::WindowText).lightness();
}

}  // namespace

Surroundings::Surroundings(QQuickWindow& window) : window_(window) {
    connect(&window, &QWindow::widthChanged, this, &Surroundings::followWindow);
    connect(&window, &QWindow::heightChanged, this, &Surroundings::followWindow);
    connect(&window, &QWindow::screenChanged, this, &Surroundings::followWindow);
    Apperance::setDeviceStyle(paletteIsDark() ? UIUserInterfaceStyle::dark : UIUserInterfaceStyle::light);
    followWindow();
    askPortal();
}

void Surroundings::followWindow() {
    UIScreen screen = UIScreen::mainScreen();
    screen.bounds = {static_cast<double>(window_.width()), static_cast<double>(window_.height())};
    screen.scale = window_.effectiveDevicePixelRatio();
    if (const QScreen* const whole = window_.screen())
        screen.nativeBounds = {std::round(whole->size().width() * screen.scale),
                               std::round(whole->size().height() * screen.scale)};
    UIScreen::setMainScreen(screen);
    traits().setUserInterfaceIdiom(window_.width() >= kTabletWidth ? UIUserInterfaceIdiom::pad
                                                                   : UIUserInterfaceIdiom::phone);
}

void Surroundings::askPortal() {
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) return;
    qDBusRegisterMetaType<Settings>();
    bus.connect(kService, kPath, kInterface, QStringLiteral("SettingChanged"), this,
                SLOT(portalSettingChanged(QString, QString, QDBusVariant)));
    QDBusMessage call = QDBusMessage::createMethodCall(kService, kPath, kInterface, QStringLiteral("ReadAll"));
    call << QStringList{kAppearance, kGnomeInterface, kGnomeA11y};
    auto* const watcher = new QDBusPendingCallWatcher(bus.asyncCall(call), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this](QDBusPendingCallWatcher* finished) {
        const QDBusPendingReply<Settings> reply = *finished;
        finished->deleteLater();
        if (reply.isError()) return;
        const Settings all = reply.value();
        for (auto group = all.begin(); group != all.end(); ++group) {
            for (auto one = group->begin(); one != group->end(); ++one) apply(group.key(), one.key(), one.value());
        }
    });
}

void Surroundings::portalSettingChanged(const QString& nameSpace, const QString& key, const QDBusVariant& value) {
    apply(nameSpace, key, value.variant());
}

void Surroundings::apply(const QString& nameSpace, const QString& key, const QVariant& value) {
    if (nameSpace == kAppearance && key == QStringLiteral("color-scheme")) {
        Apperance::setDeviceStyle(value.toUInt() == kPrefersDark ? UIUserInterfaceStyle::dark
                                                                 : UIUserInterfaceStyle::light);
    } else if (key == QStringLiteral("text-scaling-factor")) {
        traits().setPreferredContentSizeCategory(contentSizeCategoryOfTextScale(value.toDouble()));
    } else if (key == QStringLiteral("enable-animations")) {
        traits().setReducesMotion(!value.toBool());
    } else if (key == QStringLiteral("inverted-colors")) {
        PersistanceManager::invertColorsEnabled = value.toBool();
        Apperance::updateAppApperance();
    }
}

}  // namespace tessaly::quick
