#include "linux/quick/outlets/CollectionViewOutlet.h"

#include <algorithm>

namespace tessaly::quick {

CollectionViewOutlet::CollectionViewOutlet(std::shared_ptr<UICollectionView> view, QObject* parent)
    : ViewOutlet(view, parent), collection_(std::move(view)), reported_(collection_->contentOffset()) {
    offset_ = collection_->observe([this] {
        if (collection_->contentOffset() == reported_) return;
        reported_ = collection_->contentOffset();
        destination_.reset();
        emit scrollRequested(reported_.x, reported_.y, false);
    });
    collection_->setAnimatedScroller([this](CGPoint to) { emit scrollRequested(to.x, to.y, true); });
    sinceReport_.start();
}

CollectionViewOutlet::~CollectionViewOutlet() { collection_->setAnimatedScroller(nullptr); }

bool CollectionViewOutlet::scrollEnabled() const {
    const bool pages =
        collection_->collectionViewLayout().scrollDirection == UICollectionViewScrollDirection::horizontal;
    return collection_->isScrollEnabled() && (!pages || collection_->isPagingEnabled());
}

int CollectionViewOutlet::page() const {
    const double width = collection_->boundsSize().width;
    return width > 0 ? static_cast<int>(collection_->contentOffset().x / width + 0.5) : 0;
}

void CollectionViewOutlet::scrolledTo(qreal x, qreal y) {
    const CGPoint offset{x, y};
    if (offset == reported_) return;
    const double seconds = std::max(0.001, static_cast<double>(sinceReport_.restart()) / 1000);
    velocity_ = {(x - reported_.x) / seconds, (y - reported_.y) / seconds};
    reported_ = offset;
    collection_->userScrolled(offset);
}

void CollectionViewOutlet::dragBegan() {
    velocity_ = {};
    destination_.reset();
    collection_->userBeganDragging();
}

void CollectionViewOutlet::dragEnded(bool moves) {
    collection_->userEndedDragging(velocity_, collection_->contentOffset(), moves);
}

void CollectionViewOutlet::movementEnded() {
    destination_.reset();
    collection_->userEndedDecelerating();
}

void CollectionViewOutlet::animationEnded() {
    destination_.reset();
    collection_->scrollingAnimationEnded();
}

void CollectionViewOutlet::wheeled(bool towardsEnd) {
    collection_->userBeganDragging();
    collection_->userEndedDragging({0, towardsEnd ? 1.0 : -1.0}, collection_->contentOffset(), false);
}

void CollectionViewOutlet::turnPages(int by) { turnToPage(destination_.value_or(page()) + by); }

void CollectionViewOutlet::turnToPage(int index) {
    const int last = itemCount() - 1;
    if (last < 0) return;
    // Before the animation: without motion it has ended when this returns.
    destination_ = std::clamp(index, 0, last);
    collection_->scrollToItemAtIndexPath({static_cast<std::size_t>(*destination_), 0}, true);
}

}  // namespace tessaly::quick
