#include "linux/quick/outlets/ControlOutlets.h"

#include <cmath>

namespace tessaly::quick {

QFont toQt(const UIFont& font) {
    QFont face;
    // The asked-for face is sturdier than its stand-in at the same weight.
    if (font.fontName == "AvenirNext-Medium") {
        face.setWeight(QFont::DemiBold);
    } else {
        face.setWeight(QFont::Medium);
    }
    face.setFamily(QStringLiteral("Inter"));
    face.setPixelSize(std::max(1, static_cast<int>(std::lround(font.pointSize))));
    return face;
}

ConstraintOutlet::ConstraintOutlet(std::shared_ptr<NSLayoutConstraint> constraint, QObject* parent)
    : QObject(parent), constraint_(std::move(constraint)) {
    observation_ = constraint_->observe([this] {
        const bool still = UITraitCollection::currentTraitCollection().reducesMotion();
        const int duration = still ? 0 : static_cast<int>(std::lround(UIView::inheritedAnimationDuration() * 1000));
        if (duration != animationDuration_) {
            animationDuration_ = duration;
            emit animationChanged();
        }
        emit changed();
    });
}

}  // namespace tessaly::quick
