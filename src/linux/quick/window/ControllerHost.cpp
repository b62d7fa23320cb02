#include "linux/quick/window/ControllerHost.h"

#include <QCoreApplication>
#include <QKeyEvent>
#include <QQuickWindow>

#include "linux/quick/outlets/Interfaces.h"

namespace tessaly::quick {

ControllerHost::ControllerHost(QQuickItem* parent) : QQuickItem(parent) {}

ControllerHost::~ControllerHost() { exchange(nullptr); }

void ControllerHost::show(const UIViewControllerRef& controller) {
    stack_ = std::dynamic_pointer_cast<UINavigationController>(controller);
    stackObservation_ = {};
    if (!stack_) return exchange(controller);
    stackObservation_ = stack_->observe([this] { followStack(); });
    followStack();
}

void ControllerHost::followStack() { exchange(stack_->topViewController()); }

void ControllerHost::exchange(const UIViewControllerRef& controller) {
    if (shown_ == controller) return;
    if (shown_) {
        shown_->viewWillDisappear(true);
        // Not at once: the one who asked may stand in a handler of the interface.
        if (interface_) {
            interface_->setVisible(false);
            interface_->deleteLater();
        }
        interface_ = nullptr;
        shown_->viewDidDisappear(true);
    }
    shown_ = controller;
    hasAppeared_ = false;
    navigation_.follow(controller ? controller->navigationItemRef() : nullptr);
    hud_.follow(controller ? controller->view() : nullptr);
    if (controller && width() > 0 && height() > 0) appear();
}

/// Waits for a size: a screen is never laid out without one.
void ControllerHost::appear() {
    shown_->view()->setFrame({{0, 0}, {width(), height()}});
    shown_->loadViewIfNeeded();
    shown_->viewWillAppear(true);
    interface_ = Interfaces::shared().create(shown_, this);
    if (interface_) {
        interface_->setSize(size());
        interface_->forceActiveFocus();
    }
    hasAppeared_ = true;
    shown_->viewDidLayoutSubviews();
    shown_->viewDidAppear(true);
}

void ControllerHost::leave() {
    const UIViewControllerRef leaving = shown_;
    if (leaving) leaving->dismissViewController(true);
}

void ControllerHost::geometryChange(const QRectF& now, const QRectF& before) {
    QQuickItem::geometryChange(now, before);
    if (!shown_ || now.isEmpty() || now.size() == before.size()) return;
    hasAppeared_ ? polish() : appear();
}

void ControllerHost::keyPressEvent(QKeyEvent* event) {
    event->ignore();
    const QQuickItem* const focused = window() ? window()->activeFocusItem() : nullptr;
    // What was pressed within the screen has passed it already.
    if (!interface_ || !focused || focused == interface_ || interface_->isAncestorOf(focused)) return;
    QCoreApplication::sendEvent(interface_, event);
}

/// Once a frame at most, however fast the window is dragged.
void ControllerHost::updatePolish() {
    if (shown_ && hasAppeared_ && interface_ && interface_->size() != size()) resize();
}

void ControllerHost::resize() {
    UIViewControllerTransitionCoordinator coordinator;
    shown_->viewWillTransitionToSize({width(), height()}, coordinator);
    shown_->view()->setFrame({{0, 0}, {width(), height()}});
    interface_->setSize(size());
    coordinator.run();
    shown_->viewDidLayoutSubviews();
}

}  // namespace tessaly::quick
