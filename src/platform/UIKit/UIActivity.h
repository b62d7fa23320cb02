#pragma once
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <utility>

#include "platform/UIKit/UIActivityViewController.h"

namespace tessaly {

enum class UIActivityCategory : std::uint8_t { action, share };

/// Something that a share sheet offers to do with the items. Main thread.
class UIActivity {
public:
    UIActivity() = default;
    UIActivity(const UIActivity&) = delete;
    UIActivity& operator=(const UIActivity&) = delete;
    virtual ~UIActivity() = default;

    [[nodiscard]] virtual UIActivityCategory activityCategory() const noexcept { return UIActivityCategory::action; }
    /// Tells it from others.
    [[nodiscard]] virtual std::string_view activityType() const noexcept = 0;
    /// In the user's language.
    [[nodiscard]] virtual std::string activityTitle() const = 0;
    /// Of the program's resources.
    [[nodiscard]] virtual std::string_view activityImageName() const noexcept = 0;
    [[nodiscard]] virtual bool canPerformWithActivityItems(std::span<const UIActivityItem>) const { return true; }
    virtual void prepareWithActivityItems(std::span<const UIActivityItem>) {}
    /// A screen of its own that is shown instead of performActivity; null for none.
    [[nodiscard]] virtual UIViewControllerRef activityViewController() { return nullptr; }
    virtual void performActivity() { activityDidFinish(true); }

    /// The sheet's: told once, when it is over.
    void setCompletion(std::function<void(bool completed)> completion) { completion_ = std::move(completion); }

protected:
    void activityDidFinish(bool completed) {
        if (const auto completion = std::exchange(completion_, nullptr)) completion(completed);
    }

private:
    std::function<void(bool)> completion_;
};

}  // namespace tessaly
