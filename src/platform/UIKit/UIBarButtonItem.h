#pragma once
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/UIKit/UIControls.h"

namespace tessaly {

enum class UIBarButtonSystemItem : std::uint8_t { none, done, action };

/// A button of a navigation bar: a system one, or a view of the screen's own.
class UIBarButtonItem : public Observable {
public:
    using Action = std::function<void(const std::shared_ptr<UIBarButtonItem>&)>;

    UIBarButtonItem(UIBarButtonSystemItem systemItem, Action action)
        : systemItem_(systemItem), action_(std::move(action)) {}
    explicit UIBarButtonItem(std::shared_ptr<UIView> customView) : customView_(std::move(customView)) {}

    [[nodiscard]] UIBarButtonSystemItem systemItem() const noexcept { return systemItem_; }
    [[nodiscard]] const std::shared_ptr<UIView>& customView() const noexcept { return customView_; }
    [[nodiscard]] const std::string& accessibilityIdentifier() const noexcept { return identifier_; }
    void setAccessibilityIdentifier(const std::string& identifier) { assign(identifier_, identifier); }
    /// The screen's report of a touch.
    static void send(const std::shared_ptr<UIBarButtonItem>& item) {
        if (item->action_) item->action_(item);
    }

private:
    UIBarButtonSystemItem systemItem_ = UIBarButtonSystemItem::none;
    std::shared_ptr<UIView> customView_;
    Action action_;
    std::string identifier_;
};

using UIBarButtonItems = std::vector<std::shared_ptr<UIBarButtonItem>>;

/// What a screen puts into the bar above it.
class UINavigationItem : public Observable {
public:
    [[nodiscard]] const std::string& title() const noexcept { return title_; }
    void setTitle(const std::string& title) { assign(title_, title); }
    [[nodiscard]] const std::shared_ptr<UIBarButtonItem>& leftBarButtonItem() const noexcept { return left_; }
    void setLeftBarButtonItem(const std::shared_ptr<UIBarButtonItem>& item) { assign(left_, item); }
    [[nodiscard]] const std::shared_ptr<UIBarButtonItem>& backBarButtonItem() const noexcept { return back_; }
    void setBackBarButtonItem(const std::shared_ptr<UIBarButtonItem>& item) { assign(back_, item); }
    /// From the right edge inwards.
    [[nodiscard]] const UIBarButtonItems& rightBarButtonItems() const noexcept { return right_; }
    void setRightBarButtonItems(const UIBarButtonItems& items) { assign(right_, items); }

private:
    std::string title_;
    std::shared_ptr<UIBarButtonItem> left_, back_;
    UIBarButtonItems right_;
};

}  // namespace tessaly
