#pragma once
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/UIKit/CALayer.h"
#include "platform/UIKit/Observable.h"

namespace tessaly {

class UIGestureRecognizer;

/// How screen readers see a view.
struct UIAccessibility {
    bool isElement = false;       ///< It is told as one thing, and what is inside it is not.
    bool elementsHidden = false;  ///< Neither it nor what is inside it is told.
    bool ignoresInvertColors = false;
    std::string label, value, hint;
    std::string identifier;  ///< For tests and assistive scripts, never shown.
    friend bool operator==(const UIAccessibility&, const UIAccessibility&) = default;
};

enum class UIViewAnimationCurve : std::uint8_t { easeInOut, easeIn, easeOut, linear };

/// A rectangle of the screen, as its owner sees it: the interface file decides where it lies and reports that back.
class UIView : public Observable {
public:
    [[nodiscard]] bool isHidden() const noexcept { return hidden_; }
    void setHidden(bool hidden) { assign(hidden_, hidden); }
    [[nodiscard]] double alpha() const noexcept { return alpha_; }
    void setAlpha(double alpha) { assign(alpha_, alpha); }
    [[nodiscard]] const UIColor& backgroundColor() const noexcept { return backgroundColor_; }
    void setBackgroundColor(const UIColor& color) { assign(backgroundColor_, color); }
    [[nodiscard]] const UIColor& tintColor() const noexcept { return tintColor_; }
    void setTintColor(const UIColor& color) { assign(tintColor_, color); }
    /// Clockwise about the centre, in radians: the only transform that the screens use.
    [[nodiscard]] double rotation() const noexcept { return rotation_; }
    void setRotation(double radians) { assign(rotation_, radians); }
    [[nodiscard]] bool clipsToBounds() const noexcept { return clipsToBounds_; }
    void setClipsToBounds(bool clips) { assign(clipsToBounds_, clips); }
    [[nodiscard]] bool isUserInteractionEnabled() const noexcept { return userInteractionEnabled_; }
    void setUserInteractionEnabled(bool enabled) { assign(userInteractionEnabled_, enabled); }
    [[nodiscard]] const CALayer& layer() const noexcept { return layer_; }
    void setLayer(const CALayer& layer) { assign(layer_, layer); }
    [[nodiscard]] const UIAccessibility& accessibility() const noexcept { return accessibility_; }
    void setAccessibility(const UIAccessibility& accessibility) { assign(accessibility_, accessibility); }
    /// Sets one field: view->accessibility(&UIAccessibility::label, text).
    template <class Field>
    void setAccessibility(Field UIAccessibility::*field, const Field& value) {
        assign(accessibility_.*field, value);
    }

    /// In the coordinates of what holds it. Interface files report it; containers that lay out themselves set it.
    [[nodiscard]] const CGRect& frame() const noexcept { return frame_; }
    void setFrame(const CGRect& frame);
    [[nodiscard]] CGSize boundsSize() const noexcept { return frame_.size; }

    void addGestureRecognizer(std::shared_ptr<UIGestureRecognizer> recognizer);
    [[nodiscard]] const std::vector<std::shared_ptr<UIGestureRecognizer>>& gestureRecognizers() const noexcept {
        return recognizers_;
    }

    /// Runs `animations` at once; changes made in it are shown as moving over `duration` seconds. `completion` comes
    /// on the main queue once they have arrived.
    static void animateWithDuration(double duration, const std::function<void()>& animations,
                                    std::function<void()> completion = nullptr) {
        animateWithDuration(duration, UIViewAnimationCurve::easeInOut, animations, std::move(completion));
    }
    static void animateWithDuration(double duration, UIViewAnimationCurve curve,
                                    const std::function<void()>& animations,
                                    std::function<void()> completion = nullptr);
    /// Seconds, 0 outside an animation block; for whoever draws.
    [[nodiscard]] static double inheritedAnimationDuration() noexcept;
    [[nodiscard]] static UIViewAnimationCurve inheritedAnimationCurve() noexcept;

protected:
    /// The frame has another size.
    virtual void boundsChanged() {}

private:
    bool hidden_ = false;
    bool clipsToBounds_ = false;
    bool userInteractionEnabled_ = true;
    double alpha_ = 1;
    double rotation_ = 0;
    UIColor backgroundColor_;
    UIColor tintColor_;
    CALayer layer_;
    UIAccessibility accessibility_;
    CGRect frame_;
    std::vector<std::shared_ptr<UIGestureRecognizer>> recognizers_;
};

}  // namespace tessaly
