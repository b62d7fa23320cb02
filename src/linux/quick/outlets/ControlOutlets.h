#pragma once
#include <QFont>

#include "linux/quick/outlets/ViewOutlet.h"
#include "platform/UIKit/NSLayoutConstraint.h"
#include "platform/UIKit/UIControls.h"

namespace tessaly::quick {

/// The face that stands in for a name: the shipped humanist sans, in the weight that comes nearest.
[[nodiscard]] QFont toQt(const UIFont& font);

class LabelOutlet : public tessaly::quick::ViewOutlet {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Outlets come from their owner")
    Q_PROPERTY(QString text READ text NOTIFY changed)
    Q_PROPERTY(QFont font READ font NOTIFY changed)
    Q_PROPERTY(QColor color READ color NOTIFY changed)
    Q_PROPERTY(bool centered READ centered NOTIFY changed)

public:
    LabelOutlet(const std::shared_ptr<UILabel>& label, QObject* parent)
        : ViewOutlet(label, parent), label_(label.get()) {}
    [[nodiscard]] QString text() const { return toQt(label_->text()); }
    [[nodiscard]] QFont font() const { return toQt(label_->font()); }
    [[nodiscard]] QColor color() const { return toQt(label_->textColor()); }
    [[nodiscard]] bool centered() const { return label_->textAlignment() == NSTextAlignment::center; }

private:
    UILabel* label_;
};

/// The picture is the picture item's; here is what a named image needs.
class ImageOutlet : public tessaly::quick::ViewOutlet {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Outlets come from their owner")
    Q_PROPERTY(QString imageName READ imageName NOTIFY changed)
    Q_PROPERTY(bool hasPicture READ hasPicture NOTIFY changed)

public:
    ImageOutlet(const std::shared_ptr<UIImageView>& image, QObject* parent)
        : ViewOutlet(image, parent), image_(image.get()) {}
    [[nodiscard]] QString imageName() const { return toQt(image_->imageName()); }
    [[nodiscard]] bool hasPicture() const { return image_->image() != nullptr; }
    [[nodiscard]] const UIImageView& imageView() const { return *image_; }

private:
    UIImageView* image_;
};

class ControlOutlet : public tessaly::quick::ViewOutlet {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Outlets come from their owner")
    Q_PROPERTY(bool enabled READ isEnabled NOTIFY changed)
    Q_PROPERTY(bool selected READ isSelected NOTIFY changed)

public:
    ControlOutlet(std::shared_ptr<UIControl> control, QObject* parent)
        : ViewOutlet(control, parent), control_(std::move(control)) {}
    [[nodiscard]] bool isEnabled() const { return control_->isEnabled(); }
    [[nodiscard]] bool isSelected() const { return control_->isSelected(); }
    Q_INVOKABLE void touched() {
        const auto keep = control_;
        keep->sendAction();
    }

private:
    std::shared_ptr<UIControl> control_;
};

class ButtonOutlet : public tessaly::quick::ControlOutlet {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Outlets come from their owner")
    Q_PROPERTY(QString title READ title NOTIFY changed)
    Q_PROPERTY(QColor titleColor READ titleColor NOTIFY changed)
    Q_PROPERTY(QString imageName READ imageName NOTIFY changed)

public:
    ButtonOutlet(const std::shared_ptr<UIButton>& button, QObject* parent)
        : ControlOutlet(button, parent), button_(button.get()) {}
    [[nodiscard]] QString title() const { return toQt(button_->title()); }
    [[nodiscard]] QColor titleColor() const { return toQt(button_->titleColor()); }
    [[nodiscard]] QString imageName() const { return toQt(button_->imageName()); }

private:
    UIButton* button_;
};

class SwitchOutlet : public tessaly::quick::ControlOutlet {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Outlets come from their owner")
    Q_PROPERTY(bool on READ isOn NOTIFY changed)

public:
    SwitchOutlet(const std::shared_ptr<UISwitch>& control, QObject* parent)
        : ControlOutlet(control, parent), switch_(control.get()) {}
    [[nodiscard]] bool isOn() const { return switch_->isOn(); }
    Q_INVOKABLE void moved(bool on) { switch_->userSet(on); }

private:
    UISwitch* switch_;
};

class ProgressOutlet : public tessaly::quick::ViewOutlet {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Outlets come from their owner")
    Q_PROPERTY(qreal progress READ progress NOTIFY changed)

public:
    ProgressOutlet(const std::shared_ptr<UIProgressView>& bar, QObject* parent)
        : ViewOutlet(bar, parent), bar_(bar.get()) {}
    [[nodiscard]] qreal progress() const { return bar_->progress(); }

private:
    UIProgressView* bar_;
};

class IndicatorOutlet : public tessaly::quick::ViewOutlet {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Outlets come from their owner")
    Q_PROPERTY(bool animating READ animating NOTIFY changed)

public:
    IndicatorOutlet(const std::shared_ptr<UIActivityIndicatorView>& indicator, QObject* parent)
        : ViewOutlet(indicator, parent), indicator_(indicator.get()) {}
    [[nodiscard]] bool animating() const { return indicator_->isAnimating(); }

private:
    UIActivityIndicatorView* indicator_;
};

/// A constraint, with the animation of its last change.
class ConstraintOutlet : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Outlets come from their owner")
    Q_PROPERTY(qreal constant READ constant NOTIFY changed)
    Q_PROPERTY(bool active READ isActive NOTIFY changed)
    Q_PROPERTY(int animationDuration READ animationDuration NOTIFY animationChanged)

public:
    ConstraintOutlet(std::shared_ptr<NSLayoutConstraint> constraint, QObject* parent);
    [[nodiscard]] qreal constant() const { return constraint_->constant(); }
    [[nodiscard]] bool isActive() const { return constraint_->isActive(); }
    [[nodiscard]] int animationDuration() const { return animationDuration_; }

signals:
    void changed();
    void animationChanged();

private:
    std::shared_ptr<NSLayoutConstraint> constraint_;
    Observable::Observation observation_;
    int animationDuration_ = 0;
};

}  // namespace tessaly::quick
