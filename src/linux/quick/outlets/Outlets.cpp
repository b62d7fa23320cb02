#include "linux/quick/outlets/Outlets.h"

#include <QtDebug>

namespace tessaly::quick {
namespace {

void complain(const InterfaceOwner& owner, const QString& name) {
    qWarning("interface %s: no outlet %s of that kind", owner.interfaceName().data(), qPrintable(name));
}

}  // namespace

template <class Adapter, class Outlet>
Adapter* Outlets::adapter(const QString& name) {
    if (auto* const known = made_.value(name)) return qobject_cast<Adapter*>(known);
    auto object = std::dynamic_pointer_cast<Outlet>(owner_->outletNamed(name.toStdString()));
    if (!object) {
        complain(*owner_, name);
        return nullptr;
    }
    auto* const made = new Adapter(std::move(object), this);
    made_.insert(name, made);
    return made;
}

ViewOutlet* Outlets::view(const QString& name) { return adapter<ViewOutlet, UIView>(name); }
LabelOutlet* Outlets::label(const QString& name) { return adapter<LabelOutlet, UILabel>(name); }
ImageOutlet* Outlets::image(const QString& name) { return adapter<ImageOutlet, UIImageView>(name); }
ButtonOutlet* Outlets::button(const QString& name) { return adapter<ButtonOutlet, UIButton>(name); }
SwitchOutlet* Outlets::toggle(const QString& name) { return adapter<SwitchOutlet, UISwitch>(name); }
ProgressOutlet* Outlets::progress(const QString& name) { return adapter<ProgressOutlet, UIProgressView>(name); }
IndicatorOutlet* Outlets::indicator(const QString& name) {
    return adapter<IndicatorOutlet, UIActivityIndicatorView>(name);
}
ConstraintOutlet* Outlets::constraint(const QString& name) {
    return adapter<ConstraintOutlet, NSLayoutConstraint>(name);
}
CollectionViewOutlet* Outlets::collection(const QString& name) {
    return adapter<CollectionViewOutlet, UICollectionView>(name);
}
MapOutlet* Outlets::map(const QString& name) { return adapter<MapOutlet, MKMapView>(name); }

Outlets* Outlets::owner(const QString& name) {
    if (auto* const known = made_.value(name)) return qobject_cast<Outlets*>(known);
    auto object = std::dynamic_pointer_cast<InterfaceOwner>(owner_->outletNamed(name.toStdString()));
    if (!object) {
        complain(*owner_, name);
        return nullptr;
    }
    auto* const made = new Outlets(std::move(object), this);
    made_.insert(name, made);
    return made;
}

ViewOutlet* Outlets::self() {
    static const QString kSelf;
    if (auto* const known = made_.value(kSelf)) return qobject_cast<ViewOutlet*>(known);
    auto view = std::dynamic_pointer_cast<UIView>(owner_);
    if (!view) return nullptr;
    auto* const made = new ViewOutlet(std::move(view), this);
    made_.insert(kSelf, made);
    return made;
}

}  // namespace tessaly::quick
