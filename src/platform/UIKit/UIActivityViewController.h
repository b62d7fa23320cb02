#pragma once
#include <string>
#include <variant>
#include <vector>

#include "platform/UIKit/UIViewController.h"

namespace tessaly {

inline constexpr std::string_view UIActivityTypeAssignToContact = "com.apple.UIKit.activity.AssignToContact";
inline constexpr std::string_view UIActivityTypeCopyToPasteboard = "com.apple.UIKit.activity.CopyToPasteboard";
inline constexpr std::string_view UIActivityTypePostToWeibo = "com.apple.UIKit.activity.PostToWeibo";

/// Something to share: a text, or a file's bytes with the name that a saved copy should have.
struct UIActivityItem {
    std::variant<std::string, Data> content;
    std::string suggestedName;  ///< "" for a text.
};

/// The share sheet.
class UIActivityViewController : public UIViewController {
public:
    explicit UIActivityViewController(std::vector<UIActivityItem> activityItems) : items_(std::move(activityItems)) {}
    [[nodiscard]] std::string_view interfaceName() const noexcept override { return "ShareSheet"; }
    [[nodiscard]] const char* className() const noexcept override { return "UIActivityViewController"; }
    [[nodiscard]] const std::vector<UIActivityItem>& activityItems() const noexcept { return items_; }
    std::vector<std::string_view> excludedActivityTypes;

private:
    std::vector<UIActivityItem> items_;
};

}  // namespace tessaly
