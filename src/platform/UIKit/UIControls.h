#pragma once
#include <functional>
#include <memory>
#include <string>

#include "platform/UIKit/UIFont.h"
#include "platform/UIKit/UIImage.h"
#include "platform/UIKit/UIView.h"

/// The outlets that show a text, a picture or a choice.
namespace tessaly {

enum class NSTextAlignment : std::uint8_t { natural, left, center, right };

class UILabel : public UIView {
public:
    [[nodiscard]] const std::string& text() const noexcept { return text_; }
    void setText(const std::string& text) { assign(text_, text); }
    [[nodiscard]] const UIFont& font() const noexcept { return font_; }
    void setFont(const UIFont& font) { assign(font_, font); }
    [[nodiscard]] const UIColor& textColor() const noexcept { return textColor_; }
    void setTextColor(const UIColor& color) { assign(textColor_, color); }
    [[nodiscard]] NSTextAlignment textAlignment() const noexcept { return alignment_; }
    void setTextAlignment(NSTextAlignment alignment) { assign(alignment_, alignment); }

private:
    std::string text_;
    UIFont font_;
    UIColor textColor_ = UIColor::dynamic(UIColor::blackColor(), UIColor::whiteColor());
    NSTextAlignment alignment_ = NSTextAlignment::natural;
};

enum class UIViewContentMode : std::uint8_t { scaleToFill = 0, scaleAspectFit = 1, scaleAspectFill = 2 };

/// Shows a picture, or an image of the program's resources by its name.
class UIImageView : public UIView {
public:
    [[nodiscard]] const UIImageRef& image() const noexcept { return image_; }
    /// Decoded away from the main thread if it is not yet. Null shows nothing.
    void setImage(const UIImageRef& image) { assign(image_, image); }
    [[nodiscard]] const std::string& imageName() const noexcept { return imageName_; }
    /// resources/images/<name>.svg, in the tint colour. "" shows nothing.
    void setImageNamed(const std::string& name) { assign(imageName_, name); }
    [[nodiscard]] UIViewContentMode contentMode() const noexcept { return contentMode_; }
    void setContentMode(UIViewContentMode mode) { assign(contentMode_, mode); }

private:
    UIImageRef image_;
    std::string imageName_;
    UIViewContentMode contentMode_ = UIViewContentMode::scaleToFill;
};

/// Something to touch.
class UIControl : public UIView {
public:
    [[nodiscard]] bool isEnabled() const noexcept { return enabled_; }
    void setEnabled(bool enabled) { assign(enabled_, enabled); }
    [[nodiscard]] bool isSelected() const noexcept { return selected_; }
    void setSelected(bool selected) { assign(selected_, selected); }
    /// What a touch that ends inside, or a changed value, does. Replaces the action before.
    void setAction(std::function<void()> action) { action_ = std::move(action); }
    /// The screen's report of such a touch.
    void sendAction() const {
        if (const auto action = action_; action && enabled_) action();
    }

private:
    bool enabled_ = true;
    bool selected_ = false;
    std::function<void()> action_;
};

enum class UIControlContentHorizontalAlignment : std::uint8_t { center, left, right };

class UIButton : public UIControl {
public:
    [[nodiscard]] const std::string& title() const noexcept { return title_; }
    void setTitle(const std::string& title) { assign(title_, title); }
    [[nodiscard]] const UIColor& titleColor() const noexcept { return titleColor_; }
    void setTitleColor(const UIColor& color) { assign(titleColor_, color); }
    [[nodiscard]] NSTextAlignment titleAlignment() const noexcept { return titleAlignment_; }
    void setTitleAlignment(NSTextAlignment alignment) { assign(titleAlignment_, alignment); }
    [[nodiscard]] const std::string& imageName() const noexcept { return imageName_; }
    void setImageNamed(const std::string& name) { assign(imageName_, name); }
    [[nodiscard]] UIControlContentHorizontalAlignment contentHorizontalAlignment() const noexcept { return alignment_; }
    void setContentHorizontalAlignment(UIControlContentHorizontalAlignment alignment) { assign(alignment_, alignment); }

private:
    std::string title_;
    std::string imageName_;
    UIColor titleColor_ = UIColor::dynamic(UIColor::blackColor(), UIColor::whiteColor());
    NSTextAlignment titleAlignment_ = NSTextAlignment::center;
    UIControlContentHorizontalAlignment alignment_ = UIControlContentHorizontalAlignment::center;
};

class UISwitch : public UIControl {
public:
    [[nodiscard]] bool isOn() const noexcept { return on_; }
    void setOn(bool on) { assign(on_, on); }
    /// The screen's report: the person moved it.
    void userSet(bool on) {
        setOn(on);
        sendAction();
    }

private:
    bool on_ = false;
};

class UIProgressView : public UIView {
public:
    /// 0 to 1.
    [[nodiscard]] double progress() const noexcept { return progress_; }
    void setProgress(double progress) { assign(progress_, progress); }

private:
    double progress_ = 0;
};

class UIActivityIndicatorView : public UIView {
public:
    [[nodiscard]] bool isAnimating() const noexcept { return animating_; }
    void startAnimating() { assign(animating_, true); }
    void stopAnimating() { assign(animating_, false); }

private:
    bool animating_ = false;
};

}  // namespace tessaly
