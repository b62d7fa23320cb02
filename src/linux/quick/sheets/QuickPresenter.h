#pragma once
#include <QPointer>
#include <QQuickItem>
#include <functional>
#include <vector>

#include "platform/UIKit/Presenter.h"

namespace tessaly::quick {

/// Puts sheets, alerts and screens into a layer above the window's first screen. Each is an item of the interface file
/// that the controller names; a controller with a plain interface is framed with its navigation bar.
class QuickPresenter : public Presenter {
public:
    /// `layer` fills the window.
    explicit QuickPresenter(QQuickItem& layer) : layer_(layer) { setShared(this); }
    ~QuickPresenter() override;
    void present(const UIViewControllerRef& controller, bool animated, std::function<void()> completion) override;
    void dismiss(const UIViewControllerRef& controller, bool animated, std::function<void()> completion) override;

    /// What has to be told where a popover points, in the window.
    [[nodiscard]] QRectF anchorOf(const UIViewController& controller) const;

private:
    struct Presented {
        UIViewControllerRef controller;
        QPointer<QQuickItem> item;
        QPointer<QQuickItem> focusBefore;
    };
    [[nodiscard]] QQuickItem* make(const UIViewControllerRef& controller);
    void enableTopmost();

    QQuickItem& layer_;
    std::vector<Presented> presented_;
};

}  // namespace tessaly::quick
