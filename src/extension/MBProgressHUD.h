#pragma once
#include <memory>
#include <string>

#include "platform/UIKit/UIView.h"

namespace tessaly {

enum class MBProgressHUDMode : std::uint8_t { indeterminate, horizontalBar, round };

/// The overlay that a view carries while something is under way. Main thread.
class MBProgressHUD : public Observable {
public:
    /// Adds one to the view; several may be shown at once and look like one. Null for no view.
    static std::shared_ptr<MBProgressHUD> showHUDAddedTo(const std::shared_ptr<UIView>& view, bool animated);
    static void hideAllHUDsForView(const std::shared_ptr<UIView>& view, bool animated);
    /// The last one that was added to the view; null when it carries none.
    [[nodiscard]] static std::shared_ptr<MBProgressHUD> HUDForView(const UIView& view);
    /// Tells when HUDForView has another answer for some view.
    [[nodiscard]] static Observable& all();

    [[nodiscard]] MBProgressHUDMode mode() const noexcept { return mode_; }
    void setMode(MBProgressHUDMode mode) { assign(mode_, mode); }
    [[nodiscard]] const std::string& labelText() const noexcept { return labelText_; }
    void setLabelText(const std::string& text) { assign(labelText_, text); }
    /// 0 to 1.
    [[nodiscard]] double progress() const noexcept { return progress_; }
    void setProgress(double progress) { assign(progress_, progress); }

private:
    MBProgressHUDMode mode_ = MBProgressHUDMode::indeterminate;
    std::string labelText_;
    double progress_ = 0;
};

}  // namespace tessaly
