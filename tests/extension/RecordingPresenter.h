#pragma once
#include <functional>
#include <memory>
#include <vector>

#include "platform/UIKit/Presenter.h"

namespace tessaly::test {

/// What came over the screen, in order, in a window that everything appears in at once.
class RecordingPresenter final : public Presenter {
public:
    RecordingPresenter() { setShared(this); }
    ~RecordingPresenter() override { setShared(nullptr); }
    void present(const UIViewControllerRef& controller, bool, std::function<void()> completion) override {
        presented.push_back(controller);
        if (completion) completion();
    }
    void dismiss(const UIViewControllerRef&, bool, std::function<void()> completion) override {
        if (completion) completion();
    }
    /// The last one, if it is of that kind.
    template <class Controller>
    [[nodiscard]] std::shared_ptr<Controller> last() const {
        return presented.empty() ? nullptr : std::dynamic_pointer_cast<Controller>(presented.back());
    }
    std::vector<UIViewControllerRef> presented;
};

}  // namespace tessaly::test
