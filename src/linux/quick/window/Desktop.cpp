#include "linux/quick/window/Desktop.h"

#include <QCoreApplication>
#include <QDesktopServices>
#include <QEvent>
#include <QGuiApplication>
#include <QProcess>
#include <QUrl>

#include "linux/desktop/DesktopEntries.h"
#include "linux/quick/outlets/ViewOutlet.h"
#include "linux/quick/pictures/PictureItem.h"
#include "platform/Foundation/Dispatch.h"

namespace tessaly::quick {
namespace {

const auto kPump = static_cast<QEvent::Type>(QEvent::registerEventType());

}  // namespace

void DesktopPasteboard::setString(const std::string& text) { QGuiApplication::clipboard()->setText(toQt(text)); }
std::string DesktopPasteboard::string() const { return QGuiApplication::clipboard()->text().toStdString(); }
void DesktopPasteboard::setImage(const UIImageRef& image) {
    if (const QImage picture = toQt(image); !picture.isNull()) QGuiApplication::clipboard()->setImage(picture);
}

/// Of schemes, programs say that they take them as of types (Desktop Entry Specification 1.5).
bool DesktopApplication::canOpenURL(const NSURL& url) const {
    const QString scheme = QUrl(toQt(url.absoluteString())).scheme();
    if (scheme == QStringLiteral("tessalyapp") || scheme == QStringLiteral("file")) return true;
    desktop::DesktopEntries entries;
    return !entries.applicationsFor("x-scheme-handler/" + scheme.toStdString()).empty();
}

/// The program's own links are its own business, whether or not the desktop was told of them.
void DesktopApplication::openURL(const NSURL& url) {
    const QString text = toQt(url.absoluteString());
    if (text.startsWith(QStringLiteral("tessalyapp:"))) {
        QProcess::startDetached(QCoreApplication::applicationFilePath(), {text});
    } else {
        QDesktopServices::openUrl(QUrl(text));
    }
}

MainQueuePump::MainQueuePump() {
    const auto wake = [this] {
        if (!isWaiting_.exchange(true)) QCoreApplication::postEvent(this, new QEvent(kPump));
    };
    DispatchQueue::setMainQueueWaker(wake);
    wake();
}

MainQueuePump::~MainQueuePump() { DispatchQueue::setMainQueueWaker(nullptr); }

bool MainQueuePump::event(QEvent* event) {
    if (event->type() != kPump) return QObject::event(event);
    isWaiting_ = false;
    DispatchQueue::pumpMainQueue();
    return true;
}

}  // namespace tessaly::quick
