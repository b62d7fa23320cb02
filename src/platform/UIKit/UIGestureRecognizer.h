#pragma once
#include <cstdint>
#include <functional>

#include "platform/CoreGraphics/CGGeometry.h"

namespace tessaly {

enum class UIGestureRecognizerState : std::uint8_t { possible, began, changed, ended, cancelled, failed };

/// A movement of fingers on a view that means something. The screen reports it; the action is told.
class UIGestureRecognizer {
public:
    enum class Kind : std::uint8_t { tap, longPress, pan, pinch };
    using Action = std::function<void(const UIGestureRecognizer&)>;

    /// Where the fingers are and how they moved.
    struct Touches {
        CGPoint location;     ///< In the view's coordinates, points.
        CGPoint translation;  ///< Since it began, points.
        CGPoint velocity;     ///< Points a second.
        double scale = 1;     ///< Distance of the fingers, 1 when it began.
    };

    UIGestureRecognizer(Kind kind, Action action) : kind_(kind), action_(std::move(action)) {}
    [[nodiscard]] Kind kind() const noexcept { return kind_; }
    [[nodiscard]] UIGestureRecognizerState state() const noexcept { return state_; }
    [[nodiscard]] const Touches& touches() const noexcept { return touches_; }
    [[nodiscard]] CGPoint locationInView() const noexcept { return touches_.location; }
    [[nodiscard]] CGPoint translationInView() const noexcept { return touches_.translation; }

    /// The screen's report. An end or a failure puts the recognizer back to possible after the action.
    void report(UIGestureRecognizerState state, const Touches& touches) {
        state_ = state;
        touches_ = touches;
        if (action_) action_(*this);
        if (state >= UIGestureRecognizerState::ended) state_ = UIGestureRecognizerState::possible;
    }

private:
    Kind kind_;
    Action action_;
    UIGestureRecognizerState state_ = UIGestureRecognizerState::possible;
    Touches touches_;
};

}  // namespace tessaly
