#pragma once
#include "platform/UIKit/Observable.h"

namespace tessaly {

/// A relation of an interface file that its owner may move or switch off.
class NSLayoutConstraint : public Observable {
public:
    explicit NSLayoutConstraint(double constant = 0, bool active = true) : constant_(constant), active_(active) {}
    /// Points.
    [[nodiscard]] double constant() const noexcept { return constant_; }
    void setConstant(double constant) { assign(constant_, constant); }
    [[nodiscard]] bool isActive() const noexcept { return active_; }
    void setActive(bool active) { assign(active_, active); }

private:
    double constant_;
    bool active_;
};

}  // namespace tessaly
