#pragma once
#include <QQmlEngine>
#include <QQuickWindow>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "linux/quick/outlets/Interfaces.h"
#include "linux/quick/sheets/QuickPresenter.h"
#include "linux/quick/window/ControllerHost.h"
#include "linux/quick/window/Desktop.h"
#include "linux/quick/window/MemoryWarnings.h"
#include "linux/quick/window/Surroundings.h"
#include "platform/Foundation/NSNotificationCenter.h"
#include "platform/UIKit/UIViewController.h"

namespace tessaly::quick {

/// The window, with everything that a screen needs to stand in it. One a program.
class ViewerWindow {
public:
    ViewerWindow();
    ViewerWindow(const ViewerWindow&) = delete;
    ViewerWindow& operator=(const ViewerWindow&) = delete;
    ~ViewerWindow();

    /// Before the application object: the program's name and the defaults of the toolkit.
    static void prepareApplication();
    /// False, and reported, when the window's own file has a fault.
    [[nodiscard]] bool isValid() const { return window_ != nullptr; }
    [[nodiscard]] QQuickWindow& window() const { return *window_; }
    [[nodiscard]] QQmlEngine& engine() { return engine_; }
    [[nodiscard]] ControllerHost& host() const { return *host_; }
    void setRootViewController(const UIViewControllerRef& controller) { host_->show(controller); }
    /// What the window's close button does instead of closing.
    void setCloseHandler(std::function<void()> handler);
    /// Takes the paths of files and folders that were dropped on the window.
    void setDropHandler(std::function<void(const std::vector<std::string>& paths)> handler);

private:
    MainQueuePump pump_;
    DesktopPasteboard pasteboard_;
    DesktopApplication application_;
    QQmlEngine engine_;
    Interfaces interfaces_{engine_};
    std::unique_ptr<QQuickWindow> window_;
    ControllerHost* host_ = nullptr;
    std::unique_ptr<QuickPresenter> presenter_;
    std::unique_ptr<Surroundings> surroundings_;
    MemoryWarnings memoryWarnings_;
    std::unique_ptr<QObject> closeFilter_, dropTarget_;
    NSNotificationCenter::Observer language_, memory_;
    Observable::Observation traits_;
};

}  // namespace tessaly::quick
