#pragma once
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "metadata/ExifInformation.h"
#include "platform/Foundation/NSNotificationCenter.h"
#include "platform/Photos/PHAssetCollection.h"
#include "platform/Photos/PHFetchResult.h"
#include "platform/UIKit/UICollectionView.h"
#include "platform/UIKit/UIViewController.h"

namespace tessaly {

class MBProgressHUD;

/// What a cell for one record of a list or grid is given.
class ExifDataListItemCell {
public:
    ExifDataListItemCell() = default;
    ExifDataListItemCell(const ExifDataListItemCell&) = delete;
    ExifDataListItemCell& operator=(const ExifDataListItemCell&) = delete;
    virtual ~ExifDataListItemCell() = default;
    virtual void showItem(const ExifInformationRef& record, NSIndexPath indexPath, bool shouldDisplayAlbumName) = 0;
};

/// Feeds a list of records that is loaded from the photo library batch by batch. Main thread; batches are read on
/// others.
class ExifDataListDataSource : public UICollectionViewDataSource,
                               public UICollectionViewDataSourcePrefetching,
                               public std::enable_shared_from_this<ExifDataListDataSource> {
public:
    ~ExifDataListDataSource() override;

    std::vector<ExifInformationRef> exifDataItemsArray;
    std::vector<ExifInformationRef> unFilteredExifDataItemsArray;  ///< What was loaded, before the user's filters.
    std::optional<PHFetchResult<PHAsset>> fetchResult;
    PHAssetCollectionRef assetCollection;
    std::weak_ptr<UICollectionView> collectionView;
    bool hasMoreExifObjects = false;
    bool isLoadingMoreExifObjects = false;
    bool shouldDisplayAlbumName = false;
    bool isFavoritesDataSource = false;
    std::weak_ptr<UIViewController> weakParentViewController;
    std::shared_ptr<MBProgressHUD> firstLoadingSpinnerHUD;

    // A request to open a detail screen as soon as the list has loaded.
    std::string onLoadOpenPHAssetID;
    std::vector<std::string> onLoadOpenPHAssetIDsArray;
    std::size_t onLoadOpenPHAssetIDsArrayCurrentIndexPosition = 0;
    ExifInformationRef onLoadOpenEXIFInformation;

    /// The second one, the row that tells that more is being loaded, is there as long as there is more.
    [[nodiscard]] std::size_t numberOfSectionsInCollectionView(UICollectionView& view) override;
    [[nodiscard]] std::size_t numberOfItemsInSection(UICollectionView& view, std::size_t section) override;
    [[nodiscard]] std::shared_ptr<UICollectionViewCell> cellForItemAtIndexPath(UICollectionView& view,
                                                                               NSIndexPath indexPath) override;

    /// Photos of rows that come into sight are fetched, and dropped with their rows: the list is long.
    void prefetchItemsAtIndexPaths(UICollectionView& view, const std::vector<NSIndexPath>& indexPaths) override;
    void cancelPrefetchingForItemsAtIndexPaths(UICollectionView& view,
                                               const std::vector<NSIndexPath>& indexPaths) override;

    /// The block, which may be null, comes on the main queue when the batch is in the list, or at once while another
    /// is under way.
    void loadMoreResultsWithCompletionBlock(std::function<void()> block);
    /// `progress` 0 to 1.
    void updateProgressOnLoading(double progress, bool containsICloud);
    [[nodiscard]] static std::string messageForProgress(double progress, bool containsICloud);
    /// Opens what was asked for, and forgets the request. Records are read on another thread, so the screen may come
    /// later.
    void checkAndGoToExifDetailsScreenForPHAssetID();
    void checkAndGoToExifDetailsScreenForEXIFInfo();
    void setupObservers();
    void removeObservers();

private:
    struct Batch;
    [[nodiscard]] std::weak_ptr<ExifDataListDataSource> weakSelf() { return weak_from_this(); }
    [[nodiscard]] std::shared_ptr<UICollectionViewCell> itemCell(UICollectionView& view, NSIndexPath indexPath) const;
    [[nodiscard]] Batch nextBatch() const;
    /// The photos of the library among the rows.
    [[nodiscard]] std::vector<ExifInformationRef> photosAt(const std::vector<NSIndexPath>& indexPaths) const;
    void read(const Batch& batch, std::function<void()> block);
    void finishedBatch(const std::vector<ExifInformationRef>& records, std::size_t batchSize);
    void filterAgain();
    void reload();
    /// True when a record of the list has that identifier: it was selected.
    bool selectLoadedAsset(const std::string& identifier);
    void openAssets(std::vector<std::string> identifiers, std::size_t currentIndex);
    /// Pushes a detail screen with these records on the parent's stack.
    void pushDetailScreen(std::vector<ExifInformationRef> records, std::size_t currentIndex);

    std::vector<NSNotificationCenter::Observer> observers_;
};

}  // namespace tessaly
