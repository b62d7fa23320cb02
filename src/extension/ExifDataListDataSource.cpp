#include "extension/ExifDataListDataSource.h"

#include <algorithm>
#include <array>

#include "acquisition/ExifManager.h"
#include "extension/LoadingMoreCollectionViewCell.h"
#include "extension/MBProgressHUD.h"
#include "platform/Foundation/Dispatch.h"
#include "platform/Foundation/Format.h"
#include "platform/Foundation/NSBundle.h"
#include "settings/Apperance.h"
#include "settings/PersistanceManager.h"

namespace tessaly {
namespace {

constexpr std::size_t kLoadingMoreSection = 1;
constexpr NSIndexPath kLoadingMoreRow{0, kLoadingMoreSection};
constexpr std::size_t kListBatch = 50;
constexpr std::size_t kGridBatch = 100;
constexpr double kProgressDuration = 0.25;

/// How the user wants to see the list: tessalyViewType.
enum ViewType : std::uint64_t { list = 0, grid = 1, otherList = 2, otherGrid = 3 };

ViewType viewType() { return static_cast<ViewType>(PersistanceManager::sharedInstance().tessalyViewType()); }

bool isGrid(ViewType type) { return type == grid || type == otherGrid; }

/// "" for a type that shows nothing.
std::string itemIdentifier(ViewType type) {
    if (type == list || type == otherList) return "ExifDataCollectionListViewCellID";
    if (!isGrid(type)) return {};
    return PersistanceManager::sharedInstance().shouldShowExifDetailsOnGridView()
               ? "ExifGridWithDetailsCollectionViewCellID"
               : "ExifGridCollectionViewCellID";
}

std::shared_ptr<UICollectionViewCell> loadingMoreCell(UICollectionView& view) {
    const auto cell = view.dequeue<LoadingMoreCollectionViewCell>("LoadingMoreCollectionViewCellID");
    if (!cell) return nullptr;
    cell->activityIndicator->startAnimating();
    cell->activityIndicator->setHidden(false);
    return cell;
}

void hideOverlays(const std::shared_ptr<UIViewController>& controller) {
    if (controller) MBProgressHUD::hideAllHUDsForView(controller->view(), true);
}

}  // namespace

/// What is read in one go.
struct ExifDataListDataSource::Batch {
    PHFetchResult<PHAsset> source;
    NSRange range;
    std::size_t size;  ///< Of a full one.
};

ExifDataListDataSource::~ExifDataListDataSource() = default;

std::size_t ExifDataListDataSource::numberOfSectionsInCollectionView(UICollectionView&) {
    return hasMoreExifObjects ? kLoadingMoreSection + 1 : kLoadingMoreSection;
}

std::size_t ExifDataListDataSource::numberOfItemsInSection(UICollectionView&, std::size_t section) {
    return section == kLoadingMoreSection ? 1 : exifDataItemsArray.size();
}

std::shared_ptr<UICollectionViewCell> ExifDataListDataSource::cellForItemAtIndexPath(UICollectionView& view,
                                                                                     NSIndexPath indexPath) {
    return indexPath.section == kLoadingMoreSection ? loadingMoreCell(view) : itemCell(view, indexPath);
}

std::shared_ptr<UICollectionViewCell> ExifDataListDataSource::itemCell(UICollectionView& view,
                                                                       NSIndexPath indexPath) const {
    const ViewType type = viewType();
    const std::string identifier = itemIdentifier(type);
    if (identifier.empty() || indexPath.item >= exifDataItemsArray.size()) return nullptr;
    auto cell = view.dequeue<UICollectionViewCell>(identifier);
    if (!cell) return nullptr;
    if (const auto item = std::dynamic_pointer_cast<ExifDataListItemCell>(cell))
        item->showItem(exifDataItemsArray[indexPath.item], indexPath, shouldDisplayAlbumName);
    if (!isGrid(type)) Apperance::setAppearanceOnView(*cell);
    return cell;
}

std::vector<ExifInformationRef> ExifDataListDataSource::photosAt(const std::vector<NSIndexPath>& indexPaths) const {
    std::vector<ExifInformationRef> photos;
    for (const NSIndexPath& at : indexPaths) {
        if (at.section == kLoadingMoreSection || at.item >= exifDataItemsArray.size()) continue;
        const ExifInformationRef& record = exifDataItemsArray[at.item];
        if (record->phAsset && record->mediaType() == PHAssetMediaTypeImage) photos.push_back(record);
    }
    return photos;
}

void ExifDataListDataSource::prefetchItemsAtIndexPaths(UICollectionView&, const std::vector<NSIndexPath>& indexPaths) {
    for (const auto& record : photosAt(indexPaths)) record->prefetchAsset();
}

void ExifDataListDataSource::cancelPrefetchingForItemsAtIndexPaths(UICollectionView&,
                                                                   const std::vector<NSIndexPath>& indexPaths) {
    for (const auto& record : photosAt(indexPaths)) {
        record->cancelPrefetch();
        record->setCachedThumbNailImage(nullptr);
    }
}

void ExifDataListDataSource::loadMoreResultsWithCompletionBlock(std::function<void()> block) {
    if (isLoadingMoreExifObjects) {
        if (block) block();
        return;
    }
    updateProgressOnLoading(0, false);
    isLoadingMoreExifObjects = true;
    const auto parent = weakParentViewController.lock();
    if (exifDataItemsArray.empty() && viewType() != otherList && parent) {
        firstLoadingSpinnerHUD = MBProgressHUD::showHUDAddedTo(parent->view(), true);
        firstLoadingSpinnerHUD->setMode(MBProgressHUDMode::horizontalBar);
    }
    read(nextBatch(), std::move(block));
}

ExifDataListDataSource::Batch ExifDataListDataSource::nextBatch() const {
    Batch batch{fetchResult.value_or(PHFetchResult<PHAsset>()), {}, isGrid(viewType()) ? kGridBatch : kListBatch};
    const std::size_t count = batch.source.count();
    const std::size_t loaded = std::min(unFilteredExifDataItemsArray.size(), count);
    batch.range = {loaded, std::min(count - loaded, batch.size)};
    return batch;
}

void ExifDataListDataSource::read(const Batch& batch, std::function<void()> block) {
    const auto onMain = [weak = weakSelf()](auto work) {
        DispatchQueue::main().async([weak, work] {
            if (const auto source = weak.lock()) work(*source);
        });
    };
    const auto report = [onMain](bool containsICloud, float average) {
        onMain([=](ExifDataListDataSource& source) { source.updateProgressOnLoading(average, containsICloud); });
    };
    const auto finish = [onMain, size = batch.size, block = std::move(block)](const auto& records) {
        onMain([records, size, block](ExifDataListDataSource& source) {
            source.finishedBatch(records, size);
            if (block) block();
        });
    };
    DispatchQueue::global(DispatchPriority::high).async([batch, report, finish] {
        ExifManager::exifDataArrayInPHFetchResults(batch.source, batch.range, report, finish);
    });
}

void ExifDataListDataSource::finishedBatch(const std::vector<ExifInformationRef>& records, std::size_t batchSize) {
    hasMoreExifObjects = !records.empty() && records.size() >= batchSize;
    unFilteredExifDataItemsArray.insert(unFilteredExifDataItemsArray.end(), records.begin(), records.end());
    const auto shown = ExifManager::exifDataItemsArrayAndFilterFromExifArray(records);
    exifDataItemsArray.insert(exifDataItemsArray.end(), shown.begin(), shown.end());
    isLoadingMoreExifObjects = false;
    reload();
    checkAndGoToExifDetailsScreenForPHAssetID();
    hideOverlays(weakParentViewController.lock());
    firstLoadingSpinnerHUD = nullptr;
}

void ExifDataListDataSource::updateProgressOnLoading(double progress, bool containsICloud) {
    const auto view = collectionView.lock();
    if (!view || view->numberOfSections() <= kLoadingMoreSection) {
        if (!firstLoadingSpinnerHUD) return;
        firstLoadingSpinnerHUD->setLabelText(messageForProgress(progress, containsICloud));
        firstLoadingSpinnerHUD->setProgress(progress);
        return;
    }
    const auto row =
        std::dynamic_pointer_cast<LoadingMoreCollectionViewCell>(view->cellForItemAtIndexPath(kLoadingMoreRow));
    if (!row) return;
    // A new batch starts over: the bar would run backwards.
    UIView::animateWithDuration(progress > 0 ? kProgressDuration : 0,
                                [&] { row->progressView->setProgress(progress); });
    row->loadingMessageLabel->setText(messageForProgress(progress, containsICloud));
}

std::string ExifDataListDataSource::messageForProgress(double progress, bool containsICloud) {
    if (!containsICloud) return {};
    return formatted(localized("Downloading photos from iCloud :- %0.2f%%"), progress * 100);
}

void ExifDataListDataSource::setupObservers() {
    // Settings are set on any thread.
    const auto observe = [this](std::string_view name, void (ExifDataListDataSource::*refresh)()) {
        const auto block = [weak = weakSelf(), refresh](const NSNotification&) {
            DispatchQueue::main().async([weak, refresh] {
                if (const auto source = weak.lock()) (source.get()->*refresh)();
            });
        };
        observers_.push_back(NSNotificationCenter::defaultCenter().addObserver(name, block));
    };
    removeObservers();
    observe(PersistanceManagerHidePhotosWithoutExifDetailsValueChangedEvent, &ExifDataListDataSource::filterAgain);
    observe(PersistanceManagerDateFormatOrPreferenceChangedEvent, &ExifDataListDataSource::reload);
    observe(ExifDataListNeedRefresh, &ExifDataListDataSource::reload);
}

void ExifDataListDataSource::removeObservers() { observers_.clear(); }

void ExifDataListDataSource::filterAgain() {
    // A list that was handed its records shows them all.
    if (!unFilteredExifDataItemsArray.empty())
        exifDataItemsArray = ExifManager::exifDataItemsArrayAndFilterFromExifArray(unFilteredExifDataItemsArray);
    reload();
}

void ExifDataListDataSource::reload() {
    if (const auto view = collectionView.lock()) view->reloadData();
}

}  // namespace tessaly
