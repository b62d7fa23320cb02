#include "linux/quick/outlets/ViewOutlet.h"

#include <QEasingCurve>
#include <cmath>
#include <numbers>

namespace tessaly::quick {
namespace {

using Kind = UIGestureRecognizer::Kind;
using State = UIGestureRecognizerState;

int easing(UIViewAnimationCurve curve) {
    switch (curve) {
        case UIViewAnimationCurve::linear:
            return QEasingCurve::Linear;
        case UIViewAnimationCurve::easeIn:
            return QEasingCurve::InQuad;
        case UIViewAnimationCurve::easeInOut:
        case UIViewAnimationCurve::easeOut:
            break;
    }
    return QEasingCurve::OutCubic;
}

CGPoint point(const QPointF& at) { return {at.x(), at.y()}; }

void report(const UIView& view, Kind kind, State state, const UIGestureRecognizer::Touches& touches) {
    // A copy: what a gesture does may change the view.
    const auto recognizers = view.gestureRecognizers();
    for (const auto& recognizer : recognizers) {
        if (recognizer->kind() == kind) recognizer->report(state, touches);
    }
}

State phaseState(int phase) { return phase == 0 ? State::began : phase == 1 ? State::changed : State::ended; }

}  // namespace

QColor toQt(const UIColor& color) {
    const auto& c = color.resolved(UITraitCollection::currentTraitCollection().userInterfaceStyle());
    return QColor::fromRgbF(static_cast<float>(c.red), static_cast<float>(c.green), static_cast<float>(c.blue),
                            static_cast<float>(c.alpha));
}

QString toQt(std::string_view text) { return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size())); }

ViewOutlet::ViewOutlet(std::shared_ptr<UIView> view, QObject* parent) : QObject(parent), view_(std::move(view)) {
    observation_ = view_->observe([this] { announce(); });
    traits_ = UITraitCollection::currentTraitCollection().observe([this] { announce(); });
}

void ViewOutlet::announce() {
    const bool still = UITraitCollection::currentTraitCollection().reducesMotion();
    const int duration = still ? 0 : static_cast<int>(std::lround(UIView::inheritedAnimationDuration() * 1000));
    const int curve = easing(UIView::inheritedAnimationCurve());
    // First how, then what: a binding's animation looks at the duration when the value arrives.
    if (duration != animationDuration_ || curve != animationEasing_) {
        animationDuration_ = duration;
        animationEasing_ = curve;
        emit animationChanged();
    }
    emit changed();
}

qreal ViewOutlet::rotationDegrees() const { return view_->rotation() * 180 / std::numbers::pi; }

bool ViewOutlet::handles(Kind kind) const {
    for (const auto& recognizer : view_->gestureRecognizers()) {
        if (recognizer->kind() == kind) return true;
    }
    return false;
}

void ViewOutlet::reportFrame(qreal x, qreal y, qreal width, qreal height) {
    view_->setFrame({{x, y}, {width, height}});
}

void ViewOutlet::tapped(const QPointF& at) { report(*view_, Kind::tap, State::ended, {point(at), {}, {}, 1}); }

void ViewOutlet::longPressed(const QPointF& at) {
    report(*view_, Kind::longPress, State::ended, {point(at), {}, {}, 1});
}

void ViewOutlet::panned(int phase, const QPointF& at, const QPointF& translation, const QPointF& velocity) {
    report(*view_, Kind::pan, phaseState(phase), {point(at), point(translation), point(velocity), 1});
}

void ViewOutlet::pinched(int phase, const QPointF& centre, qreal scale) {
    report(*view_, Kind::pinch, phaseState(phase), {point(centre), {}, {}, scale});
}

}  // namespace tessaly::quick
