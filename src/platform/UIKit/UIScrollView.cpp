#include "platform/UIKit/UIScrollView.h"

namespace tessaly {

void UIScrollView::moveTo(CGPoint offset) {
    if (!assign(contentOffset_, offset)) return;
    didMove();
    if (const auto delegate = scrollDelegate()) delegate->scrollViewDidScroll(*this);
}

void UIScrollView::setContentOffset(CGPoint offset, bool animated) {
    if (animated && animatedScroller_ && offset != contentOffset_) {
        animatedScroller_(offset);
        return;
    }
    moveTo(offset);
    if (animated) scrollingAnimationEnded();
}

void UIScrollView::userScrolled(CGPoint offset) { moveTo(offset); }

void UIScrollView::userBeganDragging() {
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
    decelerating_ = false;
    if (const auto delegate = scrollDelegate()) delegate->scrollViewDidEndDecelerating(*this);
}

void UIScrollView::scrollingAnimationEnded() {
    if (const auto delegate = scrollDelegate()) delegate->scrollViewDidEndScrollingAnimation(*this);
}

}  // namespace tessaly
