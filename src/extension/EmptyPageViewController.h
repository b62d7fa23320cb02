#pragma once
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/UIKit/UIControls.h"
#include "platform/UIKit/UIViewController.h"

namespace tessaly {

/// A window without photos: why there are none, what can be done about that, and the buttons that do it. Texts are
/// English keys, looked up whenever the language changes.
class EmptyPageViewController : public UIViewController {
public:
    struct Reason {
        std::string_view label;  ///< With a place for the name, where there is one. "" shows `name` alone.
        std::string name;
    };
    struct Choice {
        std::string_view label;
        std::function<void()> chosen;
    };
    struct Content {
        std::vector<Reason> reasons;  ///< The first few are shown.
        std::string_view advice;
        std::vector<Choice> choices;  ///< One or two, the likelier first.
    };

    /// `closed` is the Done item's.
    EmptyPageViewController(Content content, std::function<void()> closed);
    [[nodiscard]] std::string_view interfaceName() const noexcept override { return "EmptyPage"; }
    [[nodiscard]] const char* className() const noexcept override { return "EmptyPageViewController"; }
    void viewDidLoad() override;
    void reloadInterface() override;

    std::shared_ptr<UIImageView> iconImageView = outlet<UIImageView>("iconImageView");
    std::shared_ptr<UILabel> messageLabel = outlet<UILabel>("messageLabel");
    std::shared_ptr<UILabel> adviceLabel = outlet<UILabel>("adviceLabel");
    std::shared_ptr<UIButton> firstButton = outlet<UIButton>("firstButton");
    std::shared_ptr<UIButton> secondButton = outlet<UIButton>("secondButton");

private:
    Content content_;
    std::function<void()> closed_;
};

}  // namespace tessaly
