#include "platform/UIKit/UIView.h"

#include "platform/Foundation/NSTimer.h"
#include "platform/UIKit/UICollectionViewCell.h"

namespace tessaly {
namespace {

struct Animation {
    double duration = 0;
    UIViewAnimationCurve curve = UIViewAnimationCurve::easeInOut;
};

Animation& currentAnimation() {
    static Animation animation;
    return animation;
}

InterfaceMeasurer*& measurer() {
    static InterfaceMeasurer* shared = nullptr;
    return shared;
}

constexpr double kPlainRowHeight = 44;

}  // namespace

UITraitCollection& UITraitCollection::currentTraitCollection() {
    static UITraitCollection traits;
    return traits;
}

void UIView::setFrame(const CGRect& frame) {
    const bool resized = frame.size != frame_.size;
    assign(frame_, frame);
    if (resized) boundsChanged();
}

void UIView::addGestureRecognizer(std::shared_ptr<UIGestureRecognizer> recognizer) {
    recognizers_.push_back(std::move(recognizer));
    changed();
}

void UIView::animateWithDuration(double duration, UIViewAnimationCurve curve, const std::function<void()>& animations,
                                 std::function<void()> completion) {
    const Animation outer = currentAnimation();
    currentAnimation() = {duration, curve};
    animations();
    currentAnimation() = outer;
    if (completion) NSTimer::scheduledTimer(duration, false, std::move(completion));
}

double UIView::inheritedAnimationDuration() noexcept { return currentAnimation().duration; }
UIViewAnimationCurve UIView::inheritedAnimationCurve() noexcept { return currentAnimation().curve; }

InterfaceMeasurer* InterfaceMeasurer::shared() noexcept { return measurer(); }
void InterfaceMeasurer::setShared(InterfaceMeasurer* shared) noexcept { measurer() = shared; }

CGSize UICollectionReusableView::systemLayoutSizeFittingWidth(double width) {
    InterfaceMeasurer* const measurer = InterfaceMeasurer::shared();
    return measurer ? measurer->fittingSize(*this, width) : CGSize{width, kPlainRowHeight};
}

}  // namespace tessaly
