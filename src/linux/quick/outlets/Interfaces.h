#pragma once
#include <QHash>
#include <QPointer>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItem>
#include <map>
#include <memory>

#include "linux/quick/outlets/Outlets.h"
#include "platform/UIKit/UICollectionViewCell.h"

namespace tessaly::quick {

/// Makes items of interface files and connects them with their owners' outlets; lays cells out to measure them. There
/// is one an engine.
class Interfaces : public InterfaceMeasurer {
public:
    explicit Interfaces(QQmlEngine& engine);
    ~Interfaces() override;
    [[nodiscard]] static Interfaces& shared();

    /// The item is the parent's, and its outlets are the item's. Null, and reported, when the file has a fault.
    [[nodiscard]] QQuickItem* create(const std::shared_ptr<InterfaceOwner>& owner, QQuickItem* parent);
    /// The last item that was made for the owner and that is shown; null without one.
    [[nodiscard]] QQuickItem* itemOf(const InterfaceOwner& owner) const { return items_.value(&owner); }
    /// A component of the module by its file's name.
    [[nodiscard]] QQmlComponent& component(const QString& name);
    [[nodiscard]] QQmlEngine& engine() const { return engine_; }

    [[nodiscard]] CGSize fittingSize(UICollectionReusableView& owner, double width) override;

private:
    QQmlEngine& engine_;
    QHash<QString, QQmlComponent*> components_;
    QHash<const InterfaceOwner*, QPointer<QQuickItem>> items_;
    /// The items that measure, by their owner; nobody sees them.
    std::unique_ptr<QQuickItem> workshop_;
    std::map<const UICollectionReusableView*, QQuickItem*> prototypes_;
};

}  // namespace tessaly::quick
