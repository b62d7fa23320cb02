#pragma once
#include <QClipboard>
#include <QObject>
#include <atomic>

#include "platform/UIKit/UIPasteboard.h"
#include "platform/UIKit/UIResponder.h"

/// What the desktop gives the screens.
namespace tessaly::quick {

/// The clipboard.
class DesktopPasteboard : public UIPasteboard {
public:
    DesktopPasteboard() { setGeneralPasteboard(this); }
    ~DesktopPasteboard() override { setGeneralPasteboard(nullptr); }
    void setString(const std::string& text) override;
    [[nodiscard]] std::string string() const override;
    void setImage(const UIImageRef& image) override;
};

/// Opens URLs with the program that the desktop has for them.
class DesktopApplication : public UIApplication {
public:
    DesktopApplication() { setSharedApplication(this); }
    ~DesktopApplication() override { setSharedApplication(nullptr); }
    [[nodiscard]] bool canOpenURL(const NSURL& url) const override;
    void openURL(const NSURL& url) override;
};

/// Runs the main queue in the event loop.
class MainQueuePump : public QObject {
    Q_OBJECT
public:
    MainQueuePump();
    ~MainQueuePump() override;

protected:
    bool event(QEvent* event) override;

private:
    /// Whether an event is on its way: one is enough, however many blocks arrive meanwhile.
    std::atomic<bool> isWaiting_{false};
};

}  // namespace tessaly::quick
