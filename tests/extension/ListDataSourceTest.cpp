#include <algorithm>

#include "extension/DetailScreenFixture.h"
#include "extension/LoadingMoreCollectionViewCell.h"
#include "settings/PersistanceManager.h"

namespace tessaly::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// The containing app's list.
struct List : UIViewController, ExifListViewController, UICollectionViewDelegateFlowLayout {
    std::optional<NSIndexPath> selected;
    void didSelectItemAtIndexPath(UICollectionView&, NSIndexPath indexPath) override { selected = indexPath; }
};

struct ListCell : UICollectionViewCell, ExifDataListItemCell {
    std::string_view interfaceName() const noexcept override { return {}; }
    NSIndexPath shown;
    bool displaysAlbum = false;
    void showItem(const ExifInformationRef&, NSIndexPath indexPath, bool shouldDisplayAlbumName) override {
        shown = indexPath;
        displaysAlbum = shouldDisplayAlbumName;
    }
};

class ListDataSource : public testing::Test {
protected:
    ListDataSource() {
        PHPhotoLibrary::setSharedPhotoLibrary(library);
        settings.setTessalyViewType(0);
        registerDetailScenes();
        navigation->pushViewController(list, false);
        view->setFrame({{0, 0}, kPhone});
        view->registerClass<LoadingMoreCollectionViewCell>("LoadingMoreCollectionViewCellID");
        view->setDelegate(list);
        view->setDataSource(source);
        view->setPrefetchDataSource(source);
        source->collectionView = view;
        source->weakParentViewController = list;
    }
    ~ListDataSource() override {
        settings.setTessalyViewType(0);
        settings.setLocationFilter(0);
        settings.setShouldHidePhotosWithoutExifDetails(false);
        PHPhotoLibrary::setSharedPhotoLibrary(nullptr);
        while (DispatchQueue::pumpMainQueue()) continue;
    }

    PHAssetRef add(const std::string& identifier, bool hasPlace = false) {
        const auto asset = library->add(identifier, PHAssetMediaTypeImage, path);
        if (hasPlace) asset->location.emplace().coordinate = {50, 10};
        return asset;
    }
    /// Assets "0", "1", ...; every other one with a place.
    void addAssets(std::size_t count) {
        std::vector<PHAssetRef> assets;
        for (std::size_t i = 0; i < count; ++i) assets.push_back(add(std::to_string(i), i % 2 == 0));
        source->fetchResult = PHFetchResult<PHAsset>(std::make_shared<FixedAssets>(assets));
    }
    void loadMore() {
        bool done = false;
        source->loadMoreResultsWithCompletionBlock([&] { done = true; });
        ASSERT_TRUE(pumpUntil([&] { return done; }));
    }
    [[nodiscard]] std::shared_ptr<ExifPhotoDetailViewController> opened() const {
        return std::dynamic_pointer_cast<ExifPhotoDetailViewController>(navigation->topViewController());
    }
    bool waitUntilOpened() const {
        return pumpUntil([&] { return opened() != nullptr; });
    }
    [[nodiscard]] std::vector<std::string> openedAssets() const {
        std::vector<std::string> identifiers;
        for (const auto& record : opened()->dataSource->exifDataItemsArray)
            identifiers.push_back(record->phAsset->localIdentifier);
        return identifiers;
    }

    const TemporaryFolder folder;
    const std::string path = folder.write("photo.jpg", detailPhoto());
    const std::shared_ptr<DetailLibrary> library = std::make_shared<DetailLibrary>();
    PersistanceManager& settings = PersistanceManager::sharedInstance();
    const std::shared_ptr<List> list = std::make_shared<List>();
    const std::shared_ptr<UINavigationController> navigation = std::make_shared<UINavigationController>();
    const std::shared_ptr<UICollectionView> view = std::make_shared<UICollectionView>();
    const std::shared_ptr<ExifDataListDataSource> source = std::make_shared<ExifDataListDataSource>();
};

TEST_F(ListDataSource, LoadsBatchAfterBatch) {
    addAssets(101);
    struct Batch {
        std::size_t loaded;
        bool hasMore;
    };
    for (const auto& [loaded, hasMore] : {Batch{50, true}, Batch{100, true}, Batch{101, false}, Batch{101, false}}) {
        loadMore();
        EXPECT_EQ(source->exifDataItemsArray.size(), loaded);
        EXPECT_EQ(source->hasMoreExifObjects, hasMore);
        EXPECT_EQ(view->numberOfSections(), hasMore ? 2U : 1U);
    }
    for (std::size_t i = 0; i < 101; ++i)
        EXPECT_EQ(source->exifDataItemsArray[i]->phAsset->localIdentifier, std::to_string(i));
}

TEST_F(ListDataSource, FetchesThePhotosOfItsRowsAndDropsThemAgain) {
    view->registerClass<ListCell>("ExifDataCollectionListViewCellID");
    view->collectionViewLayout().itemSize = {kPhone.width, 100};
    auto& rows = source->exifDataItemsArray;
    rows = ExifInformation::exifInformationsArrayFrom(std::vector{add("first"), add("film"), add("last")});
    rows[1]->phAsset->mediaType = PHAssetMediaTypeVideo;
    rows.insert(rows.begin() + 2, 40, std::make_shared<ExifInformation>());
    const auto isFetched = [](const ExifInformation& row) {
        return pumpUntil([&] { return row.cachedThumbNailImage() != nullptr; });
    };
    view->layoutIfNeeded();
    EXPECT_TRUE(isFetched(*rows.front()));
    EXPECT_FALSE(rows[1]->imageFetchCompletionHandler()) << "a film is no picture";
    view->scrollToItemAtIndexPath({rows.size() - 1, 0}, false);
    view->layoutIfNeeded();
    EXPECT_FALSE(rows.front()->cachedThumbNailImage() || rows.front()->imageFetchCompletionHandler());
    EXPECT_TRUE(isFetched(*rows.back()));
}

TEST_F(ListDataSource, TakesLargerBatchesForAGridAndLoadsOnceAtATime) {
    settings.setTessalyViewType(1);
    addAssets(120);
    bool done = false;
    bool second = false;
    source->loadMoreResultsWithCompletionBlock([&] { done = true; });
    source->loadMoreResultsWithCompletionBlock([&] { second = true; });
    EXPECT_TRUE(second && !done) << "a load that is under way is not waited for";
    ASSERT_TRUE(source->firstLoadingSpinnerHUD);
    EXPECT_EQ(source->firstLoadingSpinnerHUD->mode(), MBProgressHUDMode::horizontalBar);
    ASSERT_TRUE(pumpUntil([&] { return done; }));
    EXPECT_FALSE(MBProgressHUD::HUDForView(*list->view()));
    EXPECT_EQ(source->exifDataItemsArray.size(), 100U);
}

TEST_F(ListDataSource, CountsWhatTheFiltersHide) {
    addAssets(120);
    settings.setLocationFilter(1);
    loadMore();
    EXPECT_EQ(source->exifDataItemsArray.size(), 25U);
    loadMore();
    EXPECT_EQ(source->unFilteredExifDataItemsArray.size(), 100U) << "the second batch begins behind the first";
    EXPECT_EQ(source->exifDataItemsArray.size(), 50U);
    source->setupObservers();
    settings.setLocationFilter(0);
    settings.setShouldHidePhotosWithoutExifDetails(false);
    EXPECT_TRUE(pumpUntil([&] { return source->exifDataItemsArray.size() == 100; })) << "the setting tells";
}

TEST_F(ListDataSource, TellsTheProgressWhereThePersonLooks) {
    EXPECT_EQ(ExifDataListDataSource::messageForProgress(0.256, true), "Downloading photos from iCloud :- 25.60%");
    EXPECT_EQ(ExifDataListDataSource::messageForProgress(0.5, false), "");
    source->firstLoadingSpinnerHUD = MBProgressHUD::showHUDAddedTo(list->view(), true);
    source->updateProgressOnLoading(0.5, true);
    EXPECT_EQ(source->firstLoadingSpinnerHUD->progress(), 0.5);
    EXPECT_EQ(source->firstLoadingSpinnerHUD->labelText(), "Downloading photos from iCloud :- 50.00%");
    source->hasMoreExifObjects = true;
    view->reloadData();
    source->updateProgressOnLoading(0.75, true);
    const auto row = std::dynamic_pointer_cast<LoadingMoreCollectionViewCell>(view->cellForItemAtIndexPath({0, 1}));
    ASSERT_TRUE(row);
    EXPECT_TRUE(row->activityIndicator->isAnimating() && !row->activityIndicator->isHidden());
    EXPECT_EQ(row->progressView->progress(), 0.75);
    EXPECT_EQ(row->loadingMessageLabel->text(), "Downloading photos from iCloud :- 75.00%");
    EXPECT_EQ(source->firstLoadingSpinnerHUD->progress(), 0.5);
}

TEST_F(ListDataSource, ShowsItemsAsTheUserWantsThem) {
    source->exifDataItemsArray = {std::make_shared<ExifInformation>()};
    source->shouldDisplayAlbumName = true;
    EXPECT_FALSE(source->cellForItemAtIndexPath(*view, {0, 0})) << "there is no such cell here";
    const std::string identifiers[] = {"ExifDataCollectionListViewCellID", "ExifGridCollectionViewCellID",
                                       "ExifGridWithDetailsCollectionViewCellID"};
    for (const std::string& identifier : identifiers) view->registerClass<ListCell>(identifier);
    struct Case {
        std::uint64_t viewType;
        bool details;
        std::string identifier;
    };
    for (const auto& [viewType, details, identifier] :
         {Case{0, true, identifiers[0]}, Case{2, false, identifiers[0]}, Case{1, false, identifiers[1]},
          Case{3, true, identifiers[2]}, Case{7, false, ""}}) {
        settings.setTessalyViewType(viewType);
        settings.setShouldShowExifDetailsOnGridView(details);
        const auto cell = source->cellForItemAtIndexPath(*view, {0, 0});
        ASSERT_EQ(cell != nullptr, !identifier.empty());
        if (!cell) continue;
        EXPECT_EQ(cell->reuseIdentifier(), identifier);
        EXPECT_TRUE(std::dynamic_pointer_cast<ListCell>(cell)->displaysAlbum);
    }
    settings.setShouldShowExifDetailsOnGridView(false);
}

TEST_F(ListDataSource, OpensTheAssetsThatWereAskedFor) {
    for (const char* identifier : {"a", "b", "c"}) add(identifier);
    source->onLoadOpenPHAssetIDsArray = {"c", "gone", "a"};
    source->onLoadOpenPHAssetIDsArrayCurrentIndexPosition = 1;
    source->onLoadOpenPHAssetID = "b";
    loadMore();
    ASSERT_TRUE(waitUntilOpened());
    EXPECT_THAT(openedAssets(), ElementsAre("c", "a"));
    EXPECT_EQ(opened()->currentIndexPath, (NSIndexPath{1, 0}));
    EXPECT_TRUE(opened()->isInContainingApp);
    EXPECT_EQ(list->exifPhotoDetailViewController.lock(), opened());
    EXPECT_EQ(opened()->exifListViewController.lock(), list);
    EXPECT_THAT(source->onLoadOpenPHAssetIDsArray, IsEmpty());
    EXPECT_EQ(source->onLoadOpenPHAssetID, "b") << "one request at a time";
}

TEST_F(ListDataSource, ForgetsARequestForWhatIsNotThere) {
    source->onLoadOpenPHAssetIDsArray = {"gone"};
    source->checkAndGoToExifDetailsScreenForPHAssetID();
    source->onLoadOpenPHAssetID = "gone, too";
    source->checkAndGoToExifDetailsScreenForPHAssetID();
    EXPECT_FALSE(DispatchQueue::pumpMainQueueUntil([&] { return opened() != nullptr; }, 50ms));
    EXPECT_THAT(source->onLoadOpenPHAssetIDsArray, IsEmpty());
    EXPECT_EQ(source->onLoadOpenPHAssetID, "");
}

TEST_F(ListDataSource, SelectsAnAssetOfTheListAndReadsAnother) {
    addAssets(3);
    source->onLoadOpenPHAssetID = "2";
    loadMore();
    EXPECT_EQ(list->selected, (NSIndexPath{2, 0}));
    add("elsewhere");
    source->onLoadOpenPHAssetID = "elsewhere";
    source->checkAndGoToExifDetailsScreenForPHAssetID();
    ASSERT_TRUE(waitUntilOpened());
    EXPECT_THAT(openedAssets(), ElementsAre("elsewhere"));
    EXPECT_EQ(opened()->currentIndexPath, (NSIndexPath{0, 0}));
}

TEST_F(ListDataSource, OpensARecordThatIsThere) {
    const auto record = std::make_shared<ExifInformation>();
    source->onLoadOpenEXIFInformation = record;
    source->checkAndGoToExifDetailsScreenForPHAssetID();
    ASSERT_TRUE(opened());
    EXPECT_THAT(opened()->dataSource->exifDataItemsArray, ElementsAre(record));
    EXPECT_EQ(opened()->currentIndexPath, NSIndexPath());
    EXPECT_FALSE(source->onLoadOpenEXIFInformation);
}

}  // namespace
}  // namespace tessaly::test
