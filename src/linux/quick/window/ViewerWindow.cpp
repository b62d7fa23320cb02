#include "linux/quick/window/ViewerWindow.h"

#include <QFile>
#include <QFontDatabase>
#include <QGuiApplication>
#include <QIcon>
#include <QQmlComponent>
#include <QQmlExtensionPlugin>
#include <QUrl>

#include "platform/UIKit/MemoryWarning.h"
#include "settings/LanguageManager.h"

Q_IMPORT_QML_PLUGIN(TessalyPlugin)

namespace tessaly::quick {
namespace {

/// Keeps the window open and asks for the screen's own way out instead.
class CloseFilter : public QObject {
public:
    explicit CloseFilter(std::function<void()> handler) : handler_(std::move(handler)) {}
    bool eventFilter(QObject*, QEvent* event) override {
        if (event->type() != QEvent::Close) return false;
        event->ignore();
        handler_();
        return true;
    }

private:
    std::function<void()> handler_;
};

/// Receives the signal of the window's interface file.
class DropTarget : public QObject {
    Q_OBJECT
public:
    explicit DropTarget(std::function<void(const std::vector<std::string>&)> handler) : handler_(std::move(handler)) {}
public slots:
    void take(const QString& lines) {
        std::vector<std::string> paths;
        for (const QString& line : lines.split(u'\n'))
            if (const QUrl url(line); url.isLocalFile())
                paths.push_back(QFile::encodeName(url.toLocalFile()).toStdString());
        // Later: whoever drags waits for the answer, and the handler may take a while.
        if (!paths.empty())
            QMetaObject::invokeMethod(
                this, [this, paths] { handler_(paths); }, Qt::QueuedConnection);
    }

private:
    std::function<void(const std::vector<std::string>&)> handler_;
};

}  // namespace

void ViewerWindow::prepareApplication() {
    QGuiApplication::setApplicationName(QStringLiteral("tessaly-viewer"));
    QGuiApplication::setApplicationDisplayName(QStringLiteral("Tessaly"));
    QGuiApplication::setDesktopFileName(QStringLiteral("org.tessaly.Tessaly"));
    QGuiApplication::setHighDpiScaleFactorRoundingPolicy(Qt::HighDpiScaleFactorRoundingPolicy::PassThrough);
    QQuickWindow::setDefaultAlphaBuffer(false);
}

ViewerWindow::ViewerWindow() {
    QQmlComponent& main = interfaces_.component(QStringLiteral("Main"));
    window_.reset(qobject_cast<QQuickWindow*>(main.create()));
    if (!window_) {
        qWarning("%s", qPrintable(main.errorString()));
        return;
    }
    window_->setIcon(QIcon::fromTheme(QStringLiteral("org.tessaly.Tessaly")));
    host_ = window_->findChild<ControllerHost*>(QStringLiteral("rootHost"));
    presenter_ = std::make_unique<QuickPresenter>(*window_->findChild<QQuickItem*>(QStringLiteral("layer")));
    surroundings_ = std::make_unique<Surroundings>(*window_);
    memory_ = NSNotificationCenter::defaultCenter().addObserver(
        UIApplicationDidReceiveMemoryWarningNotification, [this](const NSNotification&) {
            for (UIViewControllerRef shown = host_->controller(); shown; shown = shown->presentedViewController())
                shown->didReceiveMemoryWarning();
        });
    language_ = NSNotificationCenter::defaultCenter().addObserver(LanguageManagerDidChangeLanguageNotification,
                                                                  [this](const NSNotification&) {
                                                                      if (host_->controller())
                                                                          host_->controller()->reloadInterface();
                                                                  });
    const UITraitCollection& traits = UITraitCollection::currentTraitCollection();
    // Outside the block: whoever observes runs a copy of it.
    const auto category = std::make_shared<UIContentSizeCategory>(traits.preferredContentSizeCategory());
    traits_ = traits.observe([this, &traits, category] {
        const auto now = traits.preferredContentSizeCategory();
        if (std::exchange(*category, now) != now && host_->controller()) host_->controller()->reloadInterface();
    });
}

ViewerWindow::~ViewerWindow() {
    if (host_) host_->show(nullptr);
}

void ViewerWindow::setCloseHandler(std::function<void()> handler) {
    closeFilter_ = std::make_unique<CloseFilter>(std::move(handler));
    window_->installEventFilter(closeFilter_.get());
}

void ViewerWindow::setDropHandler(std::function<void(const std::vector<std::string>& paths)> handler) {
    dropTarget_ = std::make_unique<DropTarget>(std::move(handler));
    QObject::connect(window_.get(), SIGNAL(filesDropped(QString)), dropTarget_.get(), SLOT(take(QString)));
}

}  // namespace tessaly::quick

#include "ViewerWindow.moc"
