#include <algorithm>
#include <utility>

#include "acquisition/LocalImageFiles.h"
#include "extension/ExifDataListDataSource.h"
#include "extension/ExifPhotoDetailViewController.h"
#include "platform/Foundation/Dispatch.h"
#include "platform/Foundation/Log.h"

namespace tessaly {
namespace {

/// The records of those that exist, in order. Waits for them.
std::vector<ExifInformationRef> recordsOf(const std::vector<std::string>& identifiers) {
    std::vector<ExifInformationRef> records;
    for (const std::string& identifier : identifiers)
        if (auto record = LocalImageFiles::exifInfoOfPHAssetWithID(identifier)) records.push_back(std::move(record));
    return records;
}

}  // namespace

void ExifDataListDataSource::checkAndGoToExifDetailsScreenForPHAssetID() {
    if (!onLoadOpenPHAssetIDsArray.empty()) {
        openAssets(std::exchange(onLoadOpenPHAssetIDsArray, {}),
                   std::exchange(onLoadOpenPHAssetIDsArrayCurrentIndexPosition, 0));
    } else if (!onLoadOpenPHAssetID.empty()) {
        const std::string identifier = std::exchange(onLoadOpenPHAssetID, {});
        if (!selectLoadedAsset(identifier)) openAssets({identifier}, 0);
    } else {
        checkAndGoToExifDetailsScreenForEXIFInfo();
    }
}

void ExifDataListDataSource::checkAndGoToExifDetailsScreenForEXIFInfo() {
    if (onLoadOpenEXIFInformation) pushDetailScreen({std::exchange(onLoadOpenEXIFInformation, nullptr)}, 0);
}

bool ExifDataListDataSource::selectLoadedAsset(const std::string& identifier) {
    const auto found = std::ranges::find_if(exifDataItemsArray, [&](const ExifInformationRef& record) {
        return record->phAsset && record->phAsset->localIdentifier == identifier;
    });
    const auto view = collectionView.lock();
    const auto list = std::dynamic_pointer_cast<UICollectionViewDelegateFlowLayout>(weakParentViewController.lock());
    if (found == exifDataItemsArray.end() || !view || !list) return false;
    list->didSelectItemAtIndexPath(*view, {static_cast<std::size_t>(found - exifDataItemsArray.begin()), 0});
    return true;
}

void ExifDataListDataSource::openAssets(std::vector<std::string> identifiers, std::size_t currentIndex) {
    DispatchQueue::global().async([weak = weakSelf(), identifiers = std::move(identifiers), currentIndex] {
        auto records = recordsOf(identifiers);
        if (records.empty()) return;
        DispatchQueue::main().async([weak, records = std::move(records), currentIndex] {
            if (const auto source = weak.lock()) source->pushDetailScreen(records, currentIndex);
        });
    });
}

void ExifDataListDataSource::pushDetailScreen(std::vector<ExifInformationRef> records, std::size_t currentIndex) {
    const auto parent = weakParentViewController.lock();
    const auto navigation = parent ? parent->navigationController() : nullptr;
    const auto screen = std::dynamic_pointer_cast<ExifPhotoDetailViewController>(
        UIStoryboard::instantiateViewControllerWithIdentifier(kDetailSceneIdentifier));
    if (!navigation || !screen) return log("nothing to open a detail screen on");
    screen->isInContainingApp = true;
    screen->dataSource->exifDataItemsArray = std::move(records);
    screen->currentIndexPath = {currentIndex, 0};
    if (const auto list = std::dynamic_pointer_cast<ExifListViewController>(parent)) {
        list->exifPhotoDetailViewController = screen;
        screen->exifListViewController = list;
    }
    navigation->pushViewController(screen, true);
}

}  // namespace tessaly
