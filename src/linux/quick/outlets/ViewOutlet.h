#pragma once
#include <QtQml/qqmlregistration.h>
#include <QColor>
#include <QObject>
#include <QPointF>
#include <QString>
#include <memory>

#include "platform/UIKit/UIGestureRecognizer.h"
#include "platform/UIKit/UIView.h"

namespace tessaly::quick {

[[nodiscard]] QColor toQt(const UIColor& color);
[[nodiscard]] QString toQt(std::string_view text);

/// What an interface file sees of a view: its properties to bind to, and where to report what happened to it. It copies
/// values out and passes touches in, and decides nothing. Everything is announced by one signal.
class ViewOutlet : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Outlets come from their owner")
    Q_PROPERTY(bool hidden READ hidden NOTIFY changed)
    Q_PROPERTY(qreal alpha READ alpha NOTIFY changed)
    Q_PROPERTY(qreal rotationDegrees READ rotationDegrees NOTIFY changed)
    Q_PROPERTY(QColor backgroundColor READ backgroundColor NOTIFY changed)
    Q_PROPERTY(QColor tintColor READ tintColor NOTIFY changed)
    Q_PROPERTY(bool hasTintColor READ hasTintColor NOTIFY changed)
    Q_PROPERTY(bool clips READ clips NOTIFY changed)
    Q_PROPERTY(bool touchable READ touchable NOTIFY changed)
    Q_PROPERTY(qreal cornerRadius READ cornerRadius NOTIFY changed)
    Q_PROPERTY(qreal shadowOpacity READ shadowOpacity NOTIFY changed)
    Q_PROPERTY(qreal shadowRadius READ shadowRadius NOTIFY changed)
    Q_PROPERTY(qreal shadowOffsetY READ shadowOffsetY NOTIFY changed)
    Q_PROPERTY(bool isAccessible READ isAccessible NOTIFY changed)
    Q_PROPERTY(bool accessibilityHidden READ accessibilityHidden NOTIFY changed)
    Q_PROPERTY(QString accessibleLabel READ accessibleLabel NOTIFY changed)
    Q_PROPERTY(QString accessibleValue READ accessibleValue NOTIFY changed)
    Q_PROPERTY(QString accessibleHint READ accessibleHint NOTIFY changed)
    Q_PROPERTY(bool handlesTap READ handlesTap NOTIFY changed)
    Q_PROPERTY(bool handlesLongPress READ handlesLongPress NOTIFY changed)
    /// Of the change that was announced last: milliseconds, 0 for at once.
    Q_PROPERTY(int animationDuration READ animationDuration NOTIFY animationChanged)
    Q_PROPERTY(int animationEasing READ animationEasing NOTIFY animationChanged)

public:
    ViewOutlet(std::shared_ptr<UIView> view, QObject* parent);

    [[nodiscard]] bool hidden() const { return view_->isHidden(); }
    [[nodiscard]] qreal alpha() const { return view_->alpha(); }
    [[nodiscard]] qreal rotationDegrees() const;
    [[nodiscard]] QColor backgroundColor() const { return toQt(view_->backgroundColor()); }
    [[nodiscard]] QColor tintColor() const { return toQt(view_->tintColor()); }
    [[nodiscard]] bool hasTintColor() const { return view_->tintColor() != UIColor(); }
    [[nodiscard]] bool clips() const { return view_->clipsToBounds(); }
    [[nodiscard]] bool touchable() const { return view_->isUserInteractionEnabled(); }
    [[nodiscard]] qreal cornerRadius() const { return view_->layer().cornerRadius; }
    [[nodiscard]] qreal shadowOpacity() const { return view_->layer().shadowOpacity; }
    [[nodiscard]] qreal shadowRadius() const { return view_->layer().shadowRadius; }
    [[nodiscard]] qreal shadowOffsetY() const { return view_->layer().shadowOffset.height; }
    [[nodiscard]] bool isAccessible() const { return view_->accessibility().isElement; }
    [[nodiscard]] bool accessibilityHidden() const { return view_->accessibility().elementsHidden; }
    [[nodiscard]] QString accessibleLabel() const { return toQt(view_->accessibility().label); }
    [[nodiscard]] QString accessibleValue() const { return toQt(view_->accessibility().value); }
    [[nodiscard]] QString accessibleHint() const { return toQt(view_->accessibility().hint); }
    [[nodiscard]] bool handlesTap() const { return handles(UIGestureRecognizer::Kind::tap); }
    [[nodiscard]] bool handlesLongPress() const { return handles(UIGestureRecognizer::Kind::longPress); }
    [[nodiscard]] int animationDuration() const { return animationDuration_; }
    [[nodiscard]] int animationEasing() const { return animationEasing_; }
    [[nodiscard]] const std::shared_ptr<UIView>& view() const { return view_; }

    /// The interface file has laid the view out.
    Q_INVOKABLE void reportFrame(qreal x, qreal y, qreal width, qreal height);
    // Gestures, in the view's coordinates.
    Q_INVOKABLE void tapped(const QPointF& at);
    Q_INVOKABLE void longPressed(const QPointF& at);
    /// `phase` is 0 for the beginning, 1 for a step and 2 for the end.
    Q_INVOKABLE void panned(int phase, const QPointF& at, const QPointF& translation, const QPointF& velocity);
    Q_INVOKABLE void pinched(int phase, const QPointF& centre, qreal scale);

signals:
    void changed();
    void animationChanged();

protected:
    /// For what else the adapter observes.
    void announce();

private:
    [[nodiscard]] bool handles(UIGestureRecognizer::Kind kind) const;

    std::shared_ptr<UIView> view_;
    Observable::Observation observation_;
    Observable::Observation traits_;
    int animationDuration_ = 0;
    int animationEasing_ = 0;
};

}  // namespace tessaly::quick
