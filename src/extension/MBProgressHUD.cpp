#include "extension/MBProgressHUD.h"

#include <algorithm>
#include <vector>

namespace tessaly {
namespace {

/// The overlays that are shown, and their views. A hiding takes away all of a view's, so the last one stands for all.
class Overlays : public Observable {
public:
    void add(const std::shared_ptr<UIView>& view, const std::shared_ptr<MBProgressHUD>& overlay) {
        std::erase_if(shown_, [](const Shown& shown) { return shown.view.expired(); });
        shown_.push_back({view, overlay});
        changed();
    }
    void removeAll(const std::shared_ptr<UIView>& view) {
        if (std::erase_if(shown_, [&](const Shown& shown) { return shown.view.lock() == view; }) > 0) changed();
    }
    [[nodiscard]] std::shared_ptr<MBProgressHUD> last(const UIView& view) const {
        const auto found = std::find_if(shown_.rbegin(), shown_.rend(),
                                        [&](const Shown& shown) { return shown.view.lock().get() == &view; });
        return found == shown_.rend() ? nullptr : found->overlay;
    }

private:
    struct Shown {
        std::weak_ptr<UIView> view;
        std::shared_ptr<MBProgressHUD> overlay;
    };
    std::vector<Shown> shown_;
};

Overlays& overlays() {
    static Overlays shared;
    return shared;
}

}  // namespace

// How they come and go is the interface file's: it fades them in both cases.
std::shared_ptr<MBProgressHUD> MBProgressHUD::showHUDAddedTo(const std::shared_ptr<UIView>& view, bool /*animated*/) {
    if (!view) return nullptr;
    auto overlay = std::make_shared<MBProgressHUD>();
    overlays().add(view, overlay);
    return overlay;
}

void MBProgressHUD::hideAllHUDsForView(const std::shared_ptr<UIView>& view, bool /*animated*/) {
    if (view) overlays().removeAll(view);
}

std::shared_ptr<MBProgressHUD> MBProgressHUD::HUDForView(const UIView& view) { return overlays().last(view); }

Observable& MBProgressHUD::all() { return overlays(); }

}  // namespace tessaly
