#include "linux/quick/outlets/CollectionContent.h"

#include "linux/quick/outlets/Interfaces.h"

namespace tessaly::quick {
namespace {

constexpr double kSliver = 2;  // Points.

}  // namespace

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
    // What is meant to be as wide as the list is told to be a point or two narrower; drawn, that would be a sliver.
    const double missing = width() - frame.size.width;
    const double across = frame.origin.x == 0 && missing > 0 && missing <= kSliver ? width() : frame.size.width;
    const double x = mirrored_ ? width() - frame.origin.x - across : frame.origin.x;
    item.setPosition({x, frame.origin.y});
    item.setSize({across, frame.size.height});
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
