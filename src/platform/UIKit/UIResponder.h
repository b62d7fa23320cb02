#pragma once
#include <memory>

#include "platform/Foundation/NSURL.h"

namespace tessaly {

/// One of the chain that a request is handed along: screen, what shows it, the application.
class UIResponder {
public:
    UIResponder() = default;
    UIResponder(const UIResponder&) = delete;
    UIResponder& operator=(const UIResponder&) = delete;
    virtual ~UIResponder() = default;
    /// Null at the chain's end.
    [[nodiscard]] virtual UIResponder* nextResponder() const noexcept { return nullptr; }
    /// Whether it can be asked to open a URL.
    [[nodiscard]] virtual bool respondsToOpenURL() const noexcept { return false; }
    virtual void openURL(const NSURL&) {}
    /// What it is called in log lines.
    [[nodiscard]] virtual const char* className() const noexcept { return "UIResponder"; }
};

/// The program as the end of every chain: hands URLs to whatever program the desktop has for them.
class UIApplication : public UIResponder {
public:
    [[nodiscard]] bool respondsToOpenURL() const noexcept override { return true; }
    /// Whether the desktop has a program for such URLs.
    [[nodiscard]] virtual bool canOpenURL(const NSURL&) const { return true; }
    [[nodiscard]] const char* className() const noexcept override { return "UIApplication"; }

    /// Null until a screen has set it.
    [[nodiscard]] static UIApplication* sharedApplication() noexcept { return shared_; }
    static void setSharedApplication(UIApplication* application) noexcept { shared_ = application; }

private:
    static inline UIApplication* shared_ = nullptr;
};

}  // namespace tessaly
