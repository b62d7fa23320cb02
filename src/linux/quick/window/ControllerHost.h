#pragma once
#include <QQuickItem>
#include <memory>

#include "linux/quick/window/HudOutlet.h"
#include "linux/quick/window/NavigationOutlet.h"
#include "platform/UIKit/UIViewController.h"

namespace tessaly::quick {

/// The place where a screen stands. It makes the screen's interface and leads the screen through its life: it loads,
/// appears, is laid out, turns with the window, and goes.
class ControllerHost : public QQuickItem {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(tessaly::quick::NavigationOutlet* navigation READ navigation CONSTANT)
    Q_PROPERTY(tessaly::quick::HudOutlet* hud READ hud CONSTANT)

public:
    explicit ControllerHost(QQuickItem* parent = nullptr);
    ~ControllerHost() override;

    /// Of a navigation controller, its top screen. Null takes the screen away.
    void show(const UIViewControllerRef& controller);
    [[nodiscard]] const UIViewControllerRef& controller() const { return shown_; }
    /// The way out of a presented screen that is not a button of its own.
    Q_INVOKABLE void leave();
    [[nodiscard]] NavigationOutlet* navigation() { return &navigation_; }
    [[nodiscard]] HudOutlet* hud() { return &hud_; }

protected:
    void geometryChange(const QRectF& now, const QRectF& before) override;
    void updatePolish() override;
    /// Keys of what stands around the screen, its bar: the screen has the next use for them.
    void keyPressEvent(QKeyEvent* event) override;

private:
    void followStack();
    void exchange(const UIViewControllerRef& controller);
    void appear();
    void resize();

    NavigationOutlet navigation_{this};
    HudOutlet hud_{this};
    std::shared_ptr<UINavigationController> stack_;
    Observable::Observation stackObservation_;
    UIViewControllerRef shown_;
    QQuickItem* interface_ = nullptr;
    bool hasAppeared_ = false;
};

}  // namespace tessaly::quick
