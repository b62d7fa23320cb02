#include "platform/UIKit/UICollectionView.h"

#include <algorithm>
#include <cmath>
#include <iterator>

namespace tessaly {
namespace {

/// How far beyond its edges a view keeps pieces, in parts of its own length: the next page of a paged view, so that it
/// is there when the finger draws it in, and half a screen of rows.
constexpr double kPagedReach = 1;
constexpr double kListReach = 0.5;

bool samePlace(const UICollectionViewLayoutAttributes& a, const UICollectionViewLayoutAttributes& b) {
    return a.indexPath == b.indexPath && a.kind == b.kind;
}

}  // namespace

void UICollectionView::setDataSource(std::weak_ptr<UICollectionViewDataSource> source) {
    dataSource_ = std::move(source);
    reloadData();
}

void UICollectionView::setDelegate(const std::weak_ptr<UICollectionViewDelegateFlowLayout>& delegate) {
    delegate_ = delegate;
    setScrollDelegate(delegate.lock());
}

void UICollectionView::setCollectionViewLayout(std::shared_ptr<UICollectionViewFlowLayout> layout) {
    layout_ = std::move(layout);
    invalidateLayout();
}

void UICollectionView::registerFactory(const std::string& forReuseIdentifier, Factory factory) {
    factories_[forReuseIdentifier] = std::move(factory);
}

std::shared_ptr<UICollectionReusableView> UICollectionView::dequeueReusableViewWithReuseIdentifier(
    const std::string& identifier) {
    if (auto& waiting = reusable_[identifier]; !waiting.empty()) {
        auto view = std::move(waiting.back());
        waiting.pop_back();
        view->prepareForReuse();
        return view;
    }
    const auto factory = factories_.find(identifier);
    if (factory == factories_.end()) return nullptr;
    auto view = factory->second();
    view->setReuseIdentifier(identifier);
    view->awakeFromNib();
    return view;
}

void UICollectionView::needsLayout() {
    if (needsLayout_) return;
    needsLayout_ = true;
    changed();
}

void UICollectionView::reloadData() {
    needsReload_ = true;
    layout_->invalidateLayout();
    needsLayout_ = false;  // To be told even if nobody laid out since the last reload.
    needsLayout();
}

void UICollectionView::reloadItemsAtIndexPaths(const std::vector<NSIndexPath>& indexPaths) {
    stale_.insert(indexPaths.begin(), indexPaths.end());
    layout_->invalidateLayout();
    needsLayout();
}

void UICollectionView::invalidateLayout() {
    layout_->invalidateLayout();
    needsLayout();
}

void UICollectionView::boundsChanged() {
    const CGRect bounds{contentOffset(), boundsSize()};
    if (layout_->shouldInvalidateLayoutForBoundsChange(laidOutBounds_, bounds)) layout_->invalidateLayout();
    needsLayout();
}

void UICollectionView::didMove() {
    if (!layingOut_) needsLayout();
}

void UICollectionView::countItems() {
    itemCounts_.clear();
    const auto source = dataSource();
    if (!source) return;
    const std::size_t sections = source->numberOfSectionsInCollectionView(*this);
    for (std::size_t section = 0; section < sections; ++section) {
        itemCounts_.push_back(source->numberOfItemsInSection(*this, section));
    }
}

std::size_t UICollectionView::numberOfSections() {
    if (needsReload_ && !layingOut_) countItems();
    return itemCounts_.size();
}

std::size_t UICollectionView::numberOfItemsInSection(std::size_t section) {
    if (needsReload_ && !layingOut_) countItems();
    return section < itemCounts_.size() ? itemCounts_[section] : 0;
}

CGRect UICollectionView::wantedRect() const noexcept {
    const double reach = isPagingEnabled() ? kPagedReach : kListReach;
    const CGSize size = boundsSize();
    const CGPoint offset = contentOffset();
    if (layout_->scrollDirection == UICollectionViewScrollDirection::vertical) {
        return {{0, offset.y - size.height * reach}, {size.width, size.height * (1 + 2 * reach)}};
    }
    return {{offset.x - size.width * reach, 0}, {size.width * (1 + 2 * reach), size.height}};
}

std::shared_ptr<UICollectionReusableView> UICollectionView::makePiece(const UICollectionViewLayoutAttributes& at) {
    const auto source = dataSource();
    if (!source) return nullptr;
    if (!at.kind.empty()) return source->viewForSupplementaryElementOfKind(*this, at.kind, at.indexPath);
    auto cell = source->cellForItemAtIndexPath(*this, at.indexPath);
    if (const auto told = delegate(); cell && told) told->willDisplayCell(*this, cell, at.indexPath);
    return cell;
}

void UICollectionView::retire(const Piece& piece) {
    if (!piece.view) return;
    if (const auto told = delegate(); told && piece.attributes.kind.empty()) {
        told->didEndDisplayingCell(*this, piece.view, piece.attributes.indexPath);
    }
    reusable_[piece.view->reuseIdentifier()].push_back(piece.view);
}

std::set<NSIndexPath> UICollectionView::itemsOfPieces() const {
    std::set<NSIndexPath> items;
    for (const Piece& piece : pieces_)
        if (piece.attributes.kind.empty()) items.insert(piece.attributes.indexPath);
    return items;
}

void UICollectionView::tellPrefetching(const std::set<NSIndexPath>& before) {
    const auto told = prefetchDataSource_.lock();
    if (!told) return;
    const std::set<NSIndexPath> now = itemsOfPieces();
    std::vector<NSIndexPath> came, went;
    std::ranges::set_difference(now, before, std::back_inserter(came));
    std::ranges::set_difference(before, now, std::back_inserter(went));
    if (!went.empty()) told->cancelPrefetchingForItemsAtIndexPaths(*this, went);
    if (!came.empty()) told->prefetchItemsAtIndexPaths(*this, came);
}

CGPoint UICollectionView::withinContent(CGPoint offset) const noexcept {
    const CGSize content = layout_->collectionViewContentSize();
    const UIEdgeInsets& inset = contentInset();
    const CGPoint last{std::max(-inset.left, content.width + inset.right - boundsSize().width),
                       std::max(-inset.top, content.height + inset.bottom - boundsSize().height)};
    return {std::clamp(offset.x, -inset.left, last.x), std::clamp(offset.y, -inset.top, last.y)};
}

void UICollectionView::clampOffset() {
    // Only a content that has shrunk pulls the view back; a finger may draw it past its end.
    if (isDragging() || isDecelerating()) return;
    setContentOffset(withinContent(contentOffset()));
}

void UICollectionView::showPieces() {
    const auto wanted = layout_->layoutAttributesForElementsInRect(wantedRect());
    std::vector<Piece> kept;
    for (Piece& piece : pieces_) {
        const bool stale = piece.attributes.kind.empty() && stale_.contains(piece.attributes.indexPath);
        const bool stays =
            !stale && std::ranges::any_of(wanted, [&](const auto& at) { return samePlace(at, piece.attributes); });
        if (stays) {
            kept.push_back(std::move(piece));
        } else {
            retire(piece);
        }
    }
    stale_.clear();
    pieces_.clear();
    for (const auto& at : wanted) {
        const auto old =
            std::ranges::find_if(kept, [&](const Piece& piece) { return samePlace(piece.attributes, at); });
        auto view = old == kept.end() ? makePiece(at) : old->view;
        if (!view) continue;
        view->setFrame(at.frame);
        pieces_.push_back({at, std::move(view)});
    }
}

void UICollectionView::layoutIfNeeded() {
    if (!needsLayout_ || layingOut_ || boundsSize().width <= 0 || boundsSize().height <= 0) return;
    layingOut_ = true;
    needsLayout_ = false;
    const std::set<NSIndexPath> before = needsReload_ ? std::set<NSIndexPath>() : itemsOfPieces();
    if (needsReload_) {
        countItems();
        for (const Piece& piece : std::exchange(pieces_, {})) retire(piece);
        needsReload_ = false;
    }
    if (!layout_->isValid()) {
        layout_->prepareLayout(*this);
        setContentSize(layout_->collectionViewContentSize());
        clampOffset();
    }
    laidOutBounds_ = {contentOffset(), boundsSize()};
    showPieces();
    tellPrefetching(before);
    layingOut_ = false;
    changed();
    // A piece that was just made may have asked for another layout.
    if (!layout_->isValid()) needsLayout();
}

const std::vector<UICollectionView::Piece>& UICollectionView::pieces() {
    layoutIfNeeded();
    return pieces_;
}

std::vector<std::shared_ptr<UICollectionViewCell>> UICollectionView::visibleCells() {
    std::vector<std::shared_ptr<UICollectionViewCell>> cells;
    for (const Piece& piece : pieces()) {
        if (piece.attributes.kind.empty()) cells.push_back(piece.view);
    }
    return cells;
}

std::shared_ptr<UICollectionViewCell> UICollectionView::cellForItemAtIndexPath(NSIndexPath indexPath) {
    for (const Piece& piece : pieces()) {
        if (piece.attributes.kind.empty() && piece.attributes.indexPath == indexPath) return piece.view;
    }
    return nullptr;
}

std::optional<NSIndexPath> UICollectionView::indexPathForItemAtPoint(CGPoint point) {
    layoutIfNeeded();
    for (const auto& at : layout_->layoutAttributesForElementsInRect({point, {0.001, 0.001}})) {
        if (at.kind.empty()) return at.indexPath;
    }
    return std::nullopt;
}

void UICollectionView::scrollToItemAtIndexPath(NSIndexPath indexPath, bool animated) {
    layoutIfNeeded();
    const auto at = layout_->layoutAttributesForItemAtIndexPath(indexPath);
    if (!at) return;
    const bool vertical = layout_->scrollDirection == UICollectionViewScrollDirection::vertical;
    const CGPoint beginning =
        vertical ? CGPoint{contentOffset().x, at->frame.origin.y} : CGPoint{at->frame.origin.x, 0};
    setContentOffset(withinContent(beginning), animated);
}

void UICollectionView::userSelected(NSIndexPath indexPath) {
    const auto told = delegate();
    if (told && told->shouldHighlightItemAtIndexPath(*this, indexPath)) {
        told->didSelectItemAtIndexPath(*this, indexPath);
    }
}

}  // namespace tessaly
