#include "linux/quick/window/HudOutlet.h"

#include "linux/quick/outlets/ViewOutlet.h"

namespace tessaly::quick {

HudOutlet::HudOutlet(QObject* parent) : QObject(parent) {
    all_ = MBProgressHUD::all().observe([this] { update(); });
}

void HudOutlet::follow(std::shared_ptr<UIView> view) {
    view_ = std::move(view);
    update();
}

void HudOutlet::update() {
    const auto hud = view_ ? MBProgressHUD::HUDForView(*view_) : nullptr;
    if (hud == hud_) return;
    hud_ = hud;
    one_ = hud_ ? hud_->observe([this] { emit changed(); }) : Observable::Observation();
    emit changed();
}

QString HudOutlet::text() const { return hud_ ? toQt(hud_->labelText()) : QString(); }

qreal HudOutlet::progress() const {
    return hud_ && hud_->mode() != MBProgressHUDMode::indeterminate ? hud_->progress() : -1;
}

}  // namespace tessaly::quick
