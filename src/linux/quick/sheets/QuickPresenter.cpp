#include "linux/quick/sheets/QuickPresenter.h"

#include <QQmlEngine>
#include <QQuickWindow>
#include <QVariantMap>
#include <algorithm>

#include "linux/quick/outlets/Interfaces.h"
#include "linux/quick/pictures/PlayerOutlet.h"
#include "linux/quick/sheets/AlertOutlet.h"
#include "linux/quick/sheets/ShareOutlet.h"
#include "linux/quick/window/ControllerHost.h"
#include "platform/Foundation/NSTimer.h"

namespace tessaly::quick {
namespace {

constexpr double kTransition = 0.25;

template <class Outlet, class Controller>
bool adapt(const UIViewControllerRef& controller, const char* property, QVariantMap& properties, QObject*& adapter) {
    auto one = std::dynamic_pointer_cast<Controller>(controller);
    if (!one) return false;
    auto* const made = new Outlet(std::move(one), nullptr);
    properties.insert(QString::fromLatin1(property), QVariant::fromValue(made));
    adapter = made;
    return true;
}

}  // namespace

QuickPresenter::~QuickPresenter() {
    if (shared() == this) setShared(nullptr);
}

QRectF QuickPresenter::anchorOf(const UIViewController& controller) const {
    const auto& popover = controller.popoverPresentationController;
    const Interfaces& interfaces = Interfaces::shared();
    const CGRect& at = popover.sourceRect;
    const auto presenting = controller.presentingViewController();
    const auto* const owner = dynamic_cast<const InterfaceOwner*>(popover.sourceView.get());
    QQuickItem* item = owner ? interfaces.itemOf(*owner) : nullptr;
    if (!item && presenting) item = interfaces.itemOf(*presenting);
    if (!item) return {};
    if (popover.barButtonItem || at == CGRect{}) {
        // The buttons stand in the bar above, at its end.
        return item->mapRectToScene(QRectF(item->width() - 44, -6, 30, 1));
    }
    return item->mapRectToScene(QRectF(at.origin.x, at.origin.y, at.size.width, at.size.height));
}

QQuickItem* QuickPresenter::make(const UIViewControllerRef& controller) {
    QVariantMap properties;
    QObject* adapter = nullptr;
    QString file = toQt(controller->interfaceName());
    const bool known = adapt<AlertOutlet, UIAlertController>(controller, "alert", properties, adapter) ||
                       adapt<ShareOutlet, UIActivityViewController>(controller, "share", properties, adapter) ||
                       adapt<PlayerOutlet, AVPlayerViewController>(controller, "player", properties, adapter);
    if (!known) file = QStringLiteral("ModalScreen");
    properties.insert(QStringLiteral("anchor"), anchorOf(*controller));
    QQmlComponent& component = Interfaces::shared().component(file);
    auto* const item =
        component.isReady() ? qobject_cast<QQuickItem*>(component.createWithInitialProperties(properties)) : nullptr;
    if (!item) {
        qWarning("%s", qPrintable(component.errorString()));
        delete adapter;
        return nullptr;
    }
    if (adapter) adapter->setParent(item);
    item->setParent(&layer_);
    item->setParentItem(&layer_);
    // Its file takes it away, once it has moved out.
    QQmlEngine::setObjectOwnership(item, QQmlEngine::JavaScriptOwnership);
    item->setSize(layer_.size());
    if (!known) item->findChild<ControllerHost*>()->show(controller);
    return item;
}

/// What lies behind is out of reach for the keyboard and for readers, too.
void QuickPresenter::enableTopmost() {
    for (QQuickItem* const behind : layer_.parentItem()->childItems())
        if (behind != &layer_) behind->setEnabled(presented_.empty());
    for (const Presented& one : presented_)
        if (one.item) one.item->setEnabled(one.item == presented_.back().item);
}

void QuickPresenter::present(const UIViewControllerRef& controller, bool animated, std::function<void()> completion) {
    QPointer<QQuickItem> focusBefore = layer_.window() ? layer_.window()->activeFocusItem() : nullptr;
    QQuickItem* const item = make(controller);
    if (item) {
        presented_.push_back({controller, item, focusBefore});
        enableTopmost();
        item->forceActiveFocus();
        QMetaObject::invokeMethod(item, "open", Q_ARG(bool, animated));
    }
    if (completion) NSTimer::scheduledTimer(animated ? kTransition : 0, false, std::move(completion));
}

void QuickPresenter::dismiss(const UIViewControllerRef& controller, bool animated, std::function<void()> completion) {
    const auto at = std::ranges::find(presented_, controller, &Presented::controller);
    if (at != presented_.end()) {
        const Presented leaving = *at;
        presented_.erase(at);
        enableTopmost();
        if (leaving.item) QMetaObject::invokeMethod(leaving.item, "close", Q_ARG(bool, animated));
        if (leaving.focusBefore) leaving.focusBefore->forceActiveFocus();
    }
    if (completion) NSTimer::scheduledTimer(animated ? kTransition : 0, false, std::move(completion));
}

}  // namespace tessaly::quick
