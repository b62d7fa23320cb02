#include "linux/quick/CollectionContent.h"

#include "linux/quick/Interfaces.h"

namespace tessaly::quick {

CollectionContent::CollectionContent(QQuickItem* parent) : QQuickItem(parent) {}

CollectionContent::~CollectionContent() = default;

void CollectionContent::setOutlet(CollectionViewOutlet* outlet) {
    if (outlet_ == outlet) return;
    if (outlet_) outlet_->disconnect(this);
    for (auto& [cell, shown] : shown_) delete shown.item;
    shown_.clear();
    outlet_ = outlet;
    if (outlet_) {
        connect(outlet_, &ViewOutlet::changed, this, &QQuickItem::polish);
        connect(outlet_, &QObject::destroyed, this, [this] { outlet_ = nullptr; });
    }
    polish();
    emit outletChanged();
}

void CollectionContent::setMirrored(bool mirrored) {
    if (mirrored_ == mirrored) return;
    mirrored_ = mirrored;
    polish();
    emit mirroredChanged();
}

void CollectionContent::geometryChange(const QRectF& now, const QRectF& before) {
    QQuickItem::geometryChange(now, before);
    if (now.size() != before.size()) polish();
}

QQuickItem* CollectionContent::itemFor(const std::shared_ptr<UICollectionReusableView>& cell) {
    Shown& shown = shown_[cell.get()];
    if (!shown.item) {
        shown.cell = cell;
        shown.item = Interfaces::shared().create(cell, this);
    }
    shown.inUse = true;
    return shown.item;
}

void CollectionContent::place(QQuickItem& item, const CGRect& frame) const {
    const double x = mirrored_ ? width() - frame.origin.x - frame.size.width : frame.origin.x;
    item.setPosition({x, frame.origin.y});
    item.setSize({frame.size.width, frame.size.height});
}

void CollectionContent::updatePolish() {
    if (!outlet_) return;
    for (auto& [cell, shown] : shown_) shown.inUse = false;
    for (const auto& piece : outlet_->collection()->pieces()) {
        QQuickItem* const item = itemFor(piece.view);
        if (!item) continue;
        place(*item, piece.attributes.frame);
        item->setVisible(true);
    }
    for (auto& [cell, shown] : shown_) {
        if (!shown.inUse && shown.item) shown.item->setVisible(false);
    }
}

void CollectionContent::tapAt(qreal x, qreal y) {
    if (!outlet_) return;
    const auto collection = outlet_->collection();
    const CGPoint at{mirrored_ ? width() - x : x, y};
    if (const auto indexPath = collection->indexPathForItemAtPoint(at)) collection->userSelected(*indexPath);
}

}  // namespace tessaly::quick
