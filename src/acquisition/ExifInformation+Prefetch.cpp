#include "acquisition/ImageManager.h"
#include "metadata/ExifInformation.h"
#include "platform/Foundation/Log.h"
#include "settings/PersistanceManager.h"

// What a record fetches before it is shown. It stands here, for metadata does not know who keeps the pictures.
namespace tessaly {
namespace {

constexpr std::size_t kMebibyte = 1'048'576;
/// A thumbnail is not worth more in memory.
constexpr std::size_t kMostMebibytes = 51;

PHImageRequestOptions quickly() {
    PHImageRequestOptions options;
    options.networkAccessAllowed = PersistanceManager::sharedInstance().allowNetworkAccessToDownloadPhotos();
    options.deliveryMode = PHImageRequestOptionsDeliveryMode::fastFormat;
    options.resizeMode = PHImageRequestOptionsResizeMode::fast;
    options.synchronous = false;
    return options;
}

}  // namespace

void ExifInformation::prefetchAsset() {
    if (cachedThumbNailImage()) return log("PREFETCH_ASSET_NOT_NEEDED");
    log("PREFETCH_ASSET_");
    const std::weak_ptr<ExifInformation> weak = weak_from_this();
    const std::uint64_t prefetch = ++prefetches_;
    DispatchQueue::global(DispatchPriority::high).async([weak, prefetch] {
        const ImageFetchHandler keep = [weak](const Data& data, const std::string&, UIImageOrientation,
                                              const Dictionary&) {
            const ExifInformationRef self = weak.lock();
            if (!self || !data || data->size() / kMebibyte >= kMostMebibytes) return;
            self->setCachedThumbNailImage(UIImage::imageWithData(data));
            log("PREFETCH_ASSET_ COMPLETE");
        };
        // The handler is put in on the main queue, too: otherwise it would outlast a cancellation that came first.
        DispatchQueue::main().async([weak, prefetch, keep, options = quickly()] {
            const ExifInformationRef self = weak.lock();
            if (!self || self->prefetches_ != prefetch) return;
            self->setImageFetchCompletionHandler(keep);
            const auto pass = [weak](const Data& data, const std::string& type, UIImageOrientation orientation,
                                     const Dictionary& info) {
                const ExifInformationRef record = weak.lock();
                const ImageFetchHandler handler = record ? record->imageFetchCompletionHandler() : nullptr;
                if (handler) handler(data, type, orientation, info);
            };
            self->imageRequestID = ImageManager::sharedInstance().imageCachingManager.requestImageDataForAsset(
                self->phAsset, options, pass);
        });
    });
}

void ExifInformation::cancelPrefetch() {
    ++prefetches_;
    setImageFetchCompletionHandler(nullptr);
    if (imageScaleDownOperation) imageScaleDownOperation->cancel();
    ImageManager::sharedInstance().imageCachingManager.cancelImageRequest(imageRequestID);
}

}  // namespace tessaly
