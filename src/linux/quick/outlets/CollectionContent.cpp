#include "linux/quick/outlets/CollectionContent.h"

#include <QKeyEvent>
#include <QQuickWindow>

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
    QQuickItem* before = nullptr;
    for (const auto& piece : outlet_->collection()->pieces()) {
        QQuickItem* const item = itemFor(piece.view);
        if (!item) continue;
        place(*item, piece.attributes.frame);
        item->setVisible(true);
        // The keyboard walks in the order of the items, and cells are used again in any order.
        if (before) item->stackAfter(before);
        before = item;
    }
    for (auto& [cell, shown] : shown_) {
        if (!shown.inUse && shown.item) shown.item->setVisible(false);
    }
    followPage();
}

/// The pages beside the one in sight exist already: the keyboard is not to walk into them.
void CollectionContent::followPage() {
    const auto collection = outlet_->collection();
    if (!collection->isPagingEnabled()) return;
    const double middle = collection->contentOffset().x + collection->boundsSize().width / 2;
    QQuickItem* now = nullptr;
    for (const auto& piece : collection->pieces()) {
        QQuickItem* const item = itemFor(piece.view);
        const CGRect& frame = piece.attributes.frame;
        const bool isCurrent = frame.origin.x <= middle && middle < frame.origin.x + frame.size.width;
        if (item && isCurrent) now = item;
        if (item) item->setEnabled(isCurrent);
    }
    if (now == current_) return;
    current_ = now;
    emit currentChanged();
}

const UICollectionView::Piece* CollectionContent::pieceOf(const QQuickItem* item) const {
    if (!outlet_ || !item) return nullptr;
    for (const auto& piece : outlet_->collection()->pieces()) {
        const auto found = shown_.find(piece.view.get());
        if (found == shown_.end() || !found->second.item) continue;
        if (found->second.item == item || found->second.item->isAncestorOf(item)) return &piece;
    }
    return nullptr;
}

bool CollectionContent::isHeader(const UICollectionView::Piece& piece) const {
    return outlet_->collection()->cellForItemAtIndexPath(piece.attributes.indexPath) != piece.view;
}

bool CollectionContent::press(const QQuickItem* item) {
    const auto* const piece = pieceOf(item);
    if (!piece || isHeader(*piece)) return false;
    const auto collection = outlet_->collection();
    const NSIndexPath at = piece->attributes.indexPath;
    const auto told = collection->delegate();
    if (!told || !told->shouldHighlightItemAtIndexPath(*collection, at)) return false;
    collection->userSelected(at);
    return true;
}

void CollectionContent::openMenu(const QQuickItem* item) {
    const auto* const piece = pieceOf(item);
    if (!piece || isHeader(*piece)) return;
    const CGRect& frame = piece->attributes.frame;
    outlet_->longPressed({frame.origin.x + frame.size.width / 2, frame.origin.y + frame.size.height / 2});
}

/// Of keys that a cell's own controls had no use for.
void CollectionContent::keyPressEvent(QKeyEvent* event) {
    const QQuickItem* const focused = window() ? window()->activeFocusItem() : nullptr;
    const auto* const piece = pieceOf(focused);
    event->ignore();
    if (!piece || isHeader(*piece)) return;
    const bool isPlain = event->modifiers() == Qt::NoModifier || event->modifiers() == Qt::KeypadModifier;
    const bool isEnter = isPlain && (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter);
    const bool isMenu = event->key() == Qt::Key_Menu || event->matches(QKeySequence::Copy) ||
                        (event->key() == Qt::Key_F10 && event->modifiers() == Qt::ShiftModifier);
    if ((isEnter || (isPlain && event->key() == Qt::Key_Space)) && press(focused)) return event->accept();
    if (!isEnter && !isMenu) return;
    openMenu(focused);
    event->accept();
}

void CollectionContent::tapAt(qreal x, qreal y) {
    if (!outlet_) return;
    const auto collection = outlet_->collection();
    const CGPoint at{mirrored_ ? width() - x : x, y};
    if (const auto indexPath = collection->indexPathForItemAtPoint(at)) collection->userSelected(*indexPath);
}

}  // namespace tessaly::quick
