#pragma once
#include <QtQml/qqmlregistration.h>

#include <QHash>
#include <QObject>
#include <memory>

#include "linux/quick/map/MapOutlet.h"
#include "linux/quick/outlets/CollectionViewOutlet.h"
#include "linux/quick/outlets/ControlOutlets.h"
#include "platform/UIKit/InterfaceOwner.h"

namespace tessaly::quick {

/// The outlets of one owner, for its interface file to ask for by name. A name that the owner does not have, or has as
/// another kind, is a mistake in the file: it is reported, and null.
class Outlets : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Outlets come from their owner")

public:
    Outlets(std::shared_ptr<InterfaceOwner> owner, QObject* parent) : QObject(parent), owner_(std::move(owner)) {}

    Q_INVOKABLE tessaly::quick::ViewOutlet* view(const QString& name);
    Q_INVOKABLE tessaly::quick::LabelOutlet* label(const QString& name);
    Q_INVOKABLE tessaly::quick::ImageOutlet* image(const QString& name);
    Q_INVOKABLE tessaly::quick::ButtonOutlet* button(const QString& name);
    Q_INVOKABLE tessaly::quick::SwitchOutlet* toggle(const QString& name);
    Q_INVOKABLE tessaly::quick::ProgressOutlet* progress(const QString& name);
    Q_INVOKABLE tessaly::quick::IndicatorOutlet* indicator(const QString& name);
    Q_INVOKABLE tessaly::quick::ConstraintOutlet* constraint(const QString& name);
    Q_INVOKABLE tessaly::quick::CollectionViewOutlet* collection(const QString& name);
    Q_INVOKABLE tessaly::quick::MapOutlet* map(const QString& name);
    /// The outlets of a view that has an interface file of its own.
    Q_INVOKABLE tessaly::quick::Outlets* owner(const QString& name);
    /// The owner itself as a view: a cell's own properties. Null for an owner that is none.
    Q_INVOKABLE tessaly::quick::ViewOutlet* self();

private:
    template <class Adapter, class Outlet>
    Adapter* adapter(const QString& name);

    std::shared_ptr<InterfaceOwner> owner_;
    QHash<QString, QObject*> made_;
};

}  // namespace tessaly::quick
