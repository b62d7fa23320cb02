#include <algorithm>

#include "acquisition/ExifManager.h"
#include "acquisition/LocalImageFiles.h"
#include "acquisition/PHAssetResource+Extension.h"
#include "extension/ExifPhotoDetailViewController.h"
#include "extension/MBProgressHUD.h"
#include "platform/AVFoundation/AVPlayerViewController.h"
#include "platform/UIKit/UIDevice.h"
#include "settings/PersistanceManager.h"
#include "viewer/ContentViewerDestination.h"

/// The page's title, and the screens that show its photo or video alone.
namespace tessaly {
namespace {

/// The name that the library keeps for the asset's photo, or else its video; "" for neither.
std::string resourceName(const PHAssetRef& asset) {
    if (!UIDevice::currentDevice().hasSystemVersion("9.0")) return {};
    for (const std::int64_t type : {PHAssetResourceTypePhoto, PHAssetResourceTypeVideo}) {
        const auto resource = PHAssetResourceExtension::assetResourcesForAsset(asset, type);
        if (resource) return resource->originalFilename;
    }
    return {};
}

std::size_t indexOf(const ExifInformationRef& record, const std::vector<ExifInformationRef>& records) {
    const auto found = std::ranges::find(records, record);
    return found == records.end() ? 0 : static_cast<std::size_t>(found - records.begin());
}

}  // namespace

void ExifPhotoDetailViewController::updateNavigationBarTitleForCurrentExifInformation() {
    const ExifInformationRef record = currentRecord();
    if (!record) return;
    if (record->phAsset) return updateNavigationBarTitleUsingPHAsset(record);
    record->setFileNameCached(record->correctedImageFilePathURL().lastPathComponent());
    navigationItem().setTitle(record->fileNameCached());
}

void ExifPhotoDetailViewController::updateNavigationBarTitleUsingPHAsset(const ExifInformationRef& record) {
    if (!record->didFetchedFullInfo && !record->isFetchingFullInfo) fetchFullInfo(record);
    // A screen that appears asks several times; each answer would read the whole file.
    if (awaitedTitle_.lock() == record) return;
    awaitedTitle_ = record;
    const auto show = [weak = weakSelf(), record](const std::string& name, bool isOfFile) {
        if (isOfFile) record->setFileNameCached(name);
        const auto controller = weak.lock();
        if (!controller) return;
        if (controller->awaitedTitle_.lock() == record) controller->awaitedTitle_.reset();
        // The person may have gone on to another page meanwhile.
        if (controller->currentRecord() == record) controller->navigationItem().setTitle(name);
    };
    imageFetchCompletionHandler = [show, asset = record->phAsset](const Data&, const std::string&, UIImageOrientation,
                                                                  const Dictionary& info) {
        const std::string kept = resourceName(asset);
        const std::string name = kept.empty() ? LocalImageFiles::fileNameForPHAsset(nullptr, info) : kept;
        DispatchQueue::main().async([=] { show(name, kept.empty()); });
    };
    PHImageManager::defaultManager().requestImageDataForAsset(record->phAsset, {}, imageFetchCompletionHandler);
}

void ExifPhotoDetailViewController::fetchFullInfo(const ExifInformationRef& record) {
    ExifManager::fetchCompleteExifInformationsFor(record, [record](const ExifInformationRef& fetched) {
        DispatchQueue::main().async([record, fetched] {
            record->metaDataDictionary = fetched->metaDataDictionary;
            record->didFetchedFullInfo = fetched->didFetchedFullInfo;
            record->dimensions = fetched->dimensions;
        });
    });
}

void ExifPhotoDetailViewController::loadImageFor(const ExifInformationRef& record) {
    PHImageRequestOptions options;
    options.deliveryMode = PHImageRequestOptionsDeliveryMode::highQualityFormat;
    options.synchronous = true;
    options.networkAccessAllowed = PersistanceManager::sharedInstance().allowNetworkAccessToDownloadPhotos();
    const auto show = [weak = weakSelf(), record](const UIImageRef& image) {
        record->fullResolutionTempImage = image;
        const auto controller = weak.lock();
        if (!controller) return;
        MBProgressHUD::hideAllHUDsForView(controller->view(), true);
        if (image && image->size() != CGSize()) controller->performSegueWithIdentifier("toContentViewer", record);
    };
    // The request waits for the picture.
    DispatchQueue::global().async([asset = record->phAsset, options, show] {
        PHImageManager::defaultManager().requestImageForAsset(
            asset, PHImageManagerMaximumSize, PHImageContentMode::aspectFit, options,
            [show](const UIImageRef& image, const Dictionary&) {
                DispatchQueue::main().async([show, image] { show(image); });
            });
    });
}

void ExifPhotoDetailViewController::didTapOnImageViewForItem(const ExifInformationRef& record) {
    if (!record || record->mediaType() != PHAssetMediaTypeVideo) return;
    if (!record->imageFilePathURL.empty() || !record->phAsset) return playMovie(record->imageFilePathURL);
    // The library knows where the movie is, and may have to fetch it.
    PHVideoRequestOptions options;
    options.networkAccessAllowed = PersistanceManager::sharedInstance().allowNetworkAccessToDownloadPhotos();
    PHImageManager::defaultManager().requestAVAssetForVideo(
        record->phAsset, options, [weak = weakSelf()](const std::shared_ptr<AVAsset>& movie, const Dictionary&) {
            DispatchQueue::main().async([weak, url = movie ? NSURL::fileURLWithPath(movie->path) : NSURL()] {
                if (const auto self = weak.lock()) self->playMovie(url);
            });
        });
}

void ExifPhotoDetailViewController::playMovie(const NSURL& url) {
    const auto player = AVPlayer::playerWithURL(url);
    const auto screen = std::make_shared<AVPlayerViewController>();
    screen->setPlayer(player);
    presentViewController(screen, true, [player] { player->play(); });
}

void ExifPhotoDetailViewController::prepareForSegue(const UIStoryboardSegue& segue,
                                                    const std::shared_ptr<void>& sender) {
    const auto destination = std::dynamic_pointer_cast<ContentViewerDestination>(segue.destination);
    if (!destination) return;
    const auto record = std::static_pointer_cast<ExifInformation>(sender);
    const auto& records = dataSource->exifDataItemsArray;
    if (segue.identifier == "toContentViewer") {
        destination->takeOver(ContentViewerHandover{records, indexOf(record, records), interactor, weakSelf()});
    } else if (segue.identifier == "toImageFullScreen" && record) {
        destination->takeOver(
            ImageFullScreenHandover{record->fullResolutionTempImage, records, indexOf(record, records), record});
    }
}

std::shared_ptr<Interactor> ExifPhotoDetailViewController::interactionControllerForDismissal() const {
    return interactor->hasStarted ? interactor : nullptr;
}

}  // namespace tessaly
