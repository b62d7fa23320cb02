#include "linux/quick/outlets/Interfaces.h"

#include <QUrl>
#include <QVariant>

namespace tessaly::quick {
namespace {

Interfaces* theOne = nullptr;

}  // namespace

Interfaces::Interfaces(QQmlEngine& engine) : engine_(engine), workshop_(std::make_unique<QQuickItem>()) {
    theOne = this;
    InterfaceMeasurer::setShared(this);
}

Interfaces::~Interfaces() {
    if (InterfaceMeasurer::shared() == this) InterfaceMeasurer::setShared(nullptr);
    theOne = nullptr;
}

Interfaces& Interfaces::shared() { return *theOne; }

QQmlComponent& Interfaces::component(const QString& name) {
    QQmlComponent*& known = components_[name];
    if (!known) {
        const QUrl url(QStringLiteral("qrc:/qt/qml/Tessaly/%1.qml").arg(name));
        known = new QQmlComponent(&engine_, url, QQmlComponent::PreferSynchronous, &engine_);
    }
    return *known;
}

QQuickItem* Interfaces::create(const std::shared_ptr<InterfaceOwner>& owner, QQuickItem* parent) {
    QQmlComponent& file = component(toQt(owner->interfaceName()));
    if (!file.isReady()) {
        qWarning("%s", qPrintable(file.errorString()));
        return nullptr;
    }
    auto* const outlets = new Outlets(owner, nullptr);
    QQmlEngine::setObjectOwnership(outlets, QQmlEngine::CppOwnership);
    auto* const item = qobject_cast<QQuickItem*>(file.createWithInitialProperties(
        {{QStringLiteral("outlets"), QVariant::fromValue(outlets)}}, engine_.rootContext()));
    if (!item) {
        qWarning("%s", qPrintable(file.errorString()));
        delete outlets;
        return nullptr;
    }
    outlets->setParent(item);
    item->setParent(parent);
    item->setParentItem(parent);
    if (parent != workshop_.get()) {
        items_.insert(owner.get(), item);
        QObject::connect(item, &QObject::destroyed, item, [this, key = owner.get()] {
            if (theOne == this) items_.remove(key);
        });
    }
    return item;
}

CGSize Interfaces::fittingSize(UICollectionReusableView& owner, double width) {
    QQuickItem*& prototype = prototypes_[&owner];
    if (!prototype) prototype = create(owner.shared_from_this(), workshop_.get());
    if (!prototype) return {width, 44};
    prototype->setWidth(width);
    return {width, prototype->implicitHeight()};
}

}  // namespace tessaly::quick
