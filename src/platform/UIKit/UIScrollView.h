#pragma once
#include <functional>
#include <memory>
#include <optional>

#include "platform/UIKit/UIView.h"

namespace tessaly {

struct UIEdgeInsets {
    double top = 0, left = 0, bottom = 0, right = 0;
    friend bool operator==(const UIEdgeInsets&, const UIEdgeInsets&) = default;
};

class UIScrollView;

/// Hears of scrolling. Offsets and velocities are in points (a second).
class UIScrollViewDelegate {
public:
    UIScrollViewDelegate() = default;
    UIScrollViewDelegate(const UIScrollViewDelegate&) = delete;
    UIScrollViewDelegate& operator=(const UIScrollViewDelegate&) = delete;
    virtual ~UIScrollViewDelegate() = default;
    virtual void scrollViewDidScroll(UIScrollView&) {}
    virtual void scrollViewWillBeginDragging(UIScrollView&) {}
    virtual void scrollViewWillEndDragging(UIScrollView&, CGPoint /*withVelocity*/, CGPoint /*targetContentOffset*/) {}
    virtual void scrollViewDidEndDragging(UIScrollView&, bool /*willDecelerate*/) {}
    virtual void scrollViewDidEndDecelerating(UIScrollView&) {}
    virtual void scrollViewDidEndScrollingAnimation(UIScrollView&) {}
};

/// Shows a part of a larger content. The screen moves it under the fingers and reports that.
class UIScrollView : public UIView {
public:
    [[nodiscard]] std::shared_ptr<UIScrollViewDelegate> scrollDelegate() const { return delegate_.lock(); }
    void setScrollDelegate(std::weak_ptr<UIScrollViewDelegate> delegate) { delegate_ = std::move(delegate); }

    [[nodiscard]] CGPoint contentOffset() const noexcept { return contentOffset_; }
    /// Animated only where a screen shows it; the delegate hears of every step, and of the end of an animation.
    void setContentOffset(CGPoint offset, bool animated = false);
    /// Where it stands, or an animation is taking it.
    [[nodiscard]] CGPoint destination() const noexcept { return destination_.value_or(contentOffset_); }
    [[nodiscard]] CGSize contentSize() const noexcept { return contentSize_; }
    void setContentSize(CGSize size) { assign(contentSize_, size); }
    [[nodiscard]] const UIEdgeInsets& contentInset() const noexcept { return contentInset_; }
    void setContentInset(const UIEdgeInsets& inset) { assign(contentInset_, inset); }
    [[nodiscard]] bool isPagingEnabled() const noexcept { return pagingEnabled_; }
    void setPagingEnabled(bool enabled) { assign(pagingEnabled_, enabled); }
    [[nodiscard]] bool isScrollEnabled() const noexcept { return scrollEnabled_; }
    void setScrollEnabled(bool enabled) { assign(scrollEnabled_, enabled); }
    [[nodiscard]] bool isDragging() const noexcept { return dragging_; }
    [[nodiscard]] bool isDecelerating() const noexcept { return decelerating_; }

    // The screen's reports.
    void userScrolled(CGPoint offset);
    void userBeganDragging();
    void userEndedDragging(CGPoint velocity, CGPoint target, bool willDecelerate);
    void userEndedDecelerating();
    void scrollingAnimationEnded();
    /// Whoever draws: takes an offset to scroll to with an animation.
    void setAnimatedScroller(std::function<void(CGPoint)> scroller) { animatedScroller_ = std::move(scroller); }

protected:
    /// The offset has changed, and the delegate was not told yet.
    virtual void didMove() {}

private:
    void moveTo(CGPoint offset);

    std::weak_ptr<UIScrollViewDelegate> delegate_;
    std::function<void(CGPoint)> animatedScroller_;
    CGPoint contentOffset_;
    std::optional<CGPoint> destination_;  ///< Of the animation that is under way.
    CGSize contentSize_;
    UIEdgeInsets contentInset_;
    bool pagingEnabled_ = false;
    bool scrollEnabled_ = true;
    bool dragging_ = false;
    bool decelerating_ = false;
};

}  // namespace tessaly
