#include "platform/UIKit/UIScrollView.h"

namespace tessaly {

void UIScrollView::moveTo(CGPoint offset) {
    if (!assign(contentOffset_, offset)) return;
    didMove();
    if (const auto delegate = scrollDelegate()) delegate->scrollViewDidScroll(*this);
}

void UIScrollView::setContentOffset(CGPoint offset, bool animated) {
    // It may be passing the place that it is sent to.
    if (animated && animatedScroller_ && offset != destination()) {
        destination_ = offset;
        animatedScroller_(offset);
        return;
    }
    if (animated && destination_) return;
    destination_.reset();
    moveTo(offset);
    if (animated) scrollingAnimationEnded();
}

void UIScrollView::userScrolled(CGPoint offset) { moveTo(offset); }

void UIScrollView::userBeganDragging() {
    destination_.reset();
    dragging_ = true;
    decelerating_ = false;
    if (const auto delegate = scrollDelegate()) delegate->scrollViewWillBeginDragging(*this);
}

void UIScrollView::userEndedDragging(CGPoint velocity, CGPoint target, bool willDecelerate) {
    const auto delegate = scrollDelegate();
    if (delegate) delegate->scrollViewWillEndDragging(*this, velocity, target);
    dragging_ = false;
    decelerating_ = willDecelerate;
    if (delegate) delegate->scrollViewDidEndDragging(*this, willDecelerate);
}

void UIScrollView::userEndedDecelerating() {
    destination_.reset();
    decelerating_ = false;
    if (const auto delegate = scrollDelegate()) delegate->scrollViewDidEndDecelerating(*this);
}

void UIScrollView::scrollingAnimationEnded() {
    destination_.reset();
    if (const auto delegate = scrollDelegate()) delegate->scrollViewDidEndScrollingAnimation(*this);
}

}  // namespace tessaly
