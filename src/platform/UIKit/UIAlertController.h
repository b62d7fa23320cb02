#pragma once
#include <functional>
#include <string>
#include <vector>

#include "platform/UIKit/UIViewController.h"

namespace tessaly {

enum class UIAlertActionStyle : std::uint8_t { normal, cancel, destructive };
enum class UIAlertControllerStyle : std::uint8_t { actionSheet, alert };

struct UIAlertAction {
    std::string title;
    UIAlertActionStyle style = UIAlertActionStyle::normal;
    std::function<void()> handler;  ///< May be null. Runs after the sheet was dismissed.
};

/// A question with a few answers: a sheet that rises from the bottom of a phone and points at something on a tablet, or
/// an alert in the middle.
class UIAlertController : public UIViewController {
public:
    UIAlertController(std::string title, std::string message, UIAlertControllerStyle preferredStyle)
        : title_(std::move(title)), message_(std::move(message)), style_(preferredStyle) {}
    [[nodiscard]] std::string_view interfaceName() const noexcept override { return "AlertSheet"; }
    [[nodiscard]] const char* className() const noexcept override { return "UIAlertController"; }

    [[nodiscard]] const std::string& title() const noexcept { return title_; }
    [[nodiscard]] const std::string& message() const noexcept { return message_; }
    [[nodiscard]] UIAlertControllerStyle preferredStyle() const noexcept { return style_; }
    [[nodiscard]] const std::vector<UIAlertAction>& actions() const noexcept { return actions_; }
    void addAction(UIAlertAction action) { actions_.push_back(std::move(action)); }
    /// The screen's report: takes the sheet away and runs the action's handler.
    void userChose(std::size_t index);
    /// A touch beside the sheet or Escape: its cancel action, where it has one.
    void userCancelled();

private:
    std::string title_;
    std::string message_;
    UIAlertControllerStyle style_;
    std::vector<UIAlertAction> actions_;
};

}  // namespace tessaly
