#pragma once
#include <functional>

#include "platform/UIKit/UIViewController.h"

namespace tessaly {

/// Puts screens, sheets and alerts over others. The window is one; tests record with another.
class Presenter {
public:
    Presenter() = default;
    Presenter(const Presenter&) = delete;
    Presenter& operator=(const Presenter&) = delete;
    virtual ~Presenter() = default;
    /// `completion`, which may be null, comes when it stands there.
    virtual void present(const UIViewControllerRef& controller, bool animated, std::function<void()> completion) = 0;
    virtual void dismiss(const UIViewControllerRef& controller, bool animated, std::function<void()> completion) = 0;

    /// Null without a window: nothing is presented then, and completions come at once.
    [[nodiscard]] static Presenter* shared() noexcept { return shared_; }
    static void setShared(Presenter* presenter) noexcept { shared_ = presenter; }

private:
    static inline Presenter* shared_ = nullptr;
};

}  // namespace tessaly
