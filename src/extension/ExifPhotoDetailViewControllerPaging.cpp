#include <algorithm>
#include <cmath>
#include <utility>

#include "extension/ExifPhotoDetailViewController.h"
#include "extension/ExifPhotoDetailsCollectionViewCell.h"
#include "settings/Apperance.h"
#include "settings/PersistanceManager.h"

/// Which page is shown, how large it is, and what scrolling it does to the others.
namespace tessaly {
namespace {

constexpr std::size_t kLoadingMoreSection = 1;
constexpr double kLoadingMoreHeight = 80;
constexpr double kLoadingMoreTabletWidth = 320;
/// Widths of pages are added up: the sum may lie a hair before the page's beginning.
constexpr double kRounding = 1e-6;

using Page = ExifPhotoDetailsCollectionViewCell;

CGSize loadingMoreSize() {
    const bool isPad = UITraitCollection::currentTraitCollection().isPad();
    return {isPad ? kLoadingMoreTabletWidth : Apperance::mainScreenBounds().width, kLoadingMoreHeight};
}

double less(double length, double a, double b) { return std::min(length, length - a - b); }

bool isAtEnd(const UIScrollView& view) {
    const double end = std::trunc(view.contentSize().height - view.frame().size.height);
    return std::abs(std::trunc(view.contentOffset().y) - end) <= 1;
}

}  // namespace

CGSize ExifPhotoDetailViewController::sizeForItemAtIndexPath(UICollectionView& view, UICollectionViewFlowLayout& layout,
                                                             NSIndexPath indexPath) {
    if (indexPath.section == kLoadingMoreSection) return loadingMoreSize();
    const CGSize bounds = view.boundsSize();
    const UIEdgeInsets& content = view.contentInset();
    const UIEdgeInsets& section = layout.sectionInset;
    return {less(bounds.width, content.left + content.right, section.left + section.right),
            less(bounds.height, content.top + content.bottom, section.top + section.bottom)};
}

void ExifPhotoDetailViewController::willDisplayCell(UICollectionView&,
                                                    const std::shared_ptr<UICollectionViewCell>& cell, NSIndexPath) {
    const auto page = std::dynamic_pointer_cast<Page>(cell);
    if (!page) return;
    page->exifListViewController = exifListViewController;
    // The last rows can be brought above the bar.
    page->collectionView->setContentInset({0, 0, closedBottomBarHeight(), 0});
}

std::size_t ExifPhotoDetailViewController::pageIndex() const {
    const double width = collectionView->boundsSize().width;
    const double offset = collectionView->contentOffset().x;
    return width > 0 && offset > 0 ? static_cast<std::size_t>(offset / width + kRounding) : 0;
}

std::size_t ExifPhotoDetailViewController::pageInSight() const {
    const double width = collectionView->boundsSize().width;
    // Until the page has been brought into sight, and while the screen is away, the offset says nothing.
    if (width <= 0 || width != laidOutWidth_ || !collectionView->dataSource())
        return currentIndexPath.value_or(NSIndexPath()).item;
    return static_cast<std::size_t>(std::max(0.0, std::round(collectionView->destination().x / width)));
}

bool ExifPhotoDetailViewController::scrollToCurrentPage() {
    const NSIndexPath page = currentIndexPath.value_or(NSIndexPath());
    if (collectionView->boundsSize().width <= 0) return false;
    if (page.item >= collectionView->numberOfItemsInSection(page.section)) return false;
    collectionView->scrollToItemAtIndexPath(page, false);
    return true;
}

void ExifPhotoDetailViewController::pageChanged() {
    const NSIndexPath page{pageInSight(), 0};
    if (std::exchange(currentIndexPath, page).value_or(NSIndexPath()) != page && isMessageOfPage_) hideMessageView();
    updateNavigationBarTitleForCurrentExifInformation();
}

void ExifPhotoDetailViewController::viewDidLayoutSubviews() {
    const double width = collectionView->boundsSize().width;
    // The offset that showed a page shows parts of two when pages get another width.
    const bool isResized = std::exchange(laidOutWidth_, width) != width && !collectionView->isDragging();
    if (initialScrollDone && !isResized) return;
    if (!scrollToCurrentPage()) return;
    updateNavigationBarTitleForCurrentExifInformation();
    collectionView->invalidateLayout();
}

void ExifPhotoDetailViewController::viewWillTransitionToSize(CGSize,
                                                             UIViewControllerTransitionCoordinator& coordinator) {
    const auto alongside = [weak = weakSelf()] {
        const auto controller = weak.lock();
        if (!controller) return;
        controller->collectionView->invalidateLayout();
        controller->collectionView->layoutIfNeeded();
        controller->collectionView->reloadData();
        controller->scrollToCurrentPage();
    };
    const auto completion = [weak = weakSelf()] {
        const auto controller = weak.lock();
        if (!controller) return;
        controller->updateNavigationBarTitleForCurrentExifInformation();
        controller->collectionView->invalidateLayout();
        controller->collectionView->layoutIfNeeded();
    };
    coordinator.animateAlongsideTransition(alongside, completion);
}

void ExifPhotoDetailViewController::scrollViewDidScroll(UIScrollView& view) {
    if (isPages(view) && pageInSight() != currentIndexPath.value_or(NSIndexPath()).item) pageChanged();
    if (dataSource->hasMoreExifObjects && isAtEnd(view)) dataSource->loadMoreResultsWithCompletionBlock(nullptr);
}

bool ExifPhotoDetailViewController::isListOfNeighbour(const UIScrollView& view) const {
    return std::ranges::any_of(collectionView->visibleCells(), [&](const auto& cell) {
        const auto page = std::dynamic_pointer_cast<Page>(cell);
        return page && page->collectionView.get() == &view && page->indexPath.item != pageIndex();
    });
}

void ExifPhotoDetailViewController::scrollViewDetailsDidScroll(UIScrollView& view) {
    // A neighbour with fewer rows stops at its end, which says nothing about where the person is.
    if (!isListOfNeighbour(view)) dataSource->detailsViewScrollOffset = view.contentOffset();
}

void ExifPhotoDetailViewController::scrollViewWillBeginDragging(UIScrollView& view) {
    if (!isPages(view)) previousContentOffset = view.contentOffset();
}

void ExifPhotoDetailViewController::scrollViewWillEndDragging(UIScrollView& view, CGPoint withVelocity, CGPoint) {
    if (isPages(view)) return;
    if (PersistanceManager::sharedInstance().shouldHideDeleteAndRemveExifBarOnDetailScreen()) return;
    if (withVelocity.y > 0) {
        hideBottomBarView();
    } else {
        showBottomBarView();
    }
}

void ExifPhotoDetailViewController::scrollViewDidEndDragging(UIScrollView& view, bool willDecelerate) {
    if (!isPages(view)) return scrollAllVisibleCellsToSameOffset();
    if (!willDecelerate) pageChanged();
}

void ExifPhotoDetailViewController::scrollViewDidEndDecelerating(UIScrollView& view) {
    if (!isPages(view)) return scrollAllVisibleCellsToSameOffset();
    pageChanged();
}

void ExifPhotoDetailViewController::scrollViewDidEndScrollingAnimation(UIScrollView& view) {
    if (!isPages(view)) return scrollAllVisibleCellsToSameOffset();
    pageChanged();
}

void ExifPhotoDetailViewController::scrollAllVisibleCellsToSameOffset() {
    for (const auto& cell : collectionView->visibleCells()) {
        const auto page = std::dynamic_pointer_cast<Page>(cell);
        if (page && page->indexPath.item != pageIndex())
            page->collectionView->setContentOffset(dataSource->detailsViewScrollOffset, false);
    }
}

}  // namespace tessaly
