#include "extension/DetailPictureLoader.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "acquisition/ImageManager.h"
#include "platform/ImageIO/CGImageProperties.h"
#include "platform/ImageIO/CGImageSource.h"
#include "platform/UIKit/UIScreen.h"
#include "settings/PersistanceManager.h"

namespace tessaly {
namespace {

constexpr double kLongestSide = 4096;  // Pixels: 64 MB of a square.

/// Of its own, so that nothing else waits before a page's picture, and so narrow that a quick swipe over many large
/// photos has no more than two of them decoded at once. What was cancelled is passed over.
OperationQueue& pictureQueue() {
    static OperationQueue queue(2);
    return queue;
}

CGSize uprightDimensions(const ExifInformation& record) {
    const auto orientation = imageOrientation(record.metaDataDictionary[kCGImagePropertyOrientation].integerValue());
    const CGSize stored = record.dimensions;
    return isSideways(orientation) ? CGSize{stored.height, stored.width} : stored;
}

struct DetailPicture {
    UIImageRef image;
    DetailPictureState state = DetailPictureState::undecodable;
};

DetailPicture decoded(const CGImageSourceRef& source, std::int64_t pixelSize) {
    if (!source) return {};
    const Dictionary options{{kCGImageSourceCreateThumbnailWithTransform, true},
                             {kCGImageSourceCreateThumbnailFromImageAlways, true},
                             {kCGImageSourceThumbnailMaxPixelSize, pixelSize}};
    CGImageFault fault{};
    if (auto image = UIImage::imageWithCGImage(CGImageSourceCreateThumbnailAtIndex(source, 0, options, &fault)))
        return {std::move(image), DetailPictureState::whole};
    if (fault != CGImageFault::tooLarge && fault != CGImageFault::outOfMemory) return {};
    if (auto preview = UIImage::imageWithCGImage(CGImageSourceCreateEmbeddedPreview(source, options)))
        return {std::move(preview), DetailPictureState::preview};
    return {nullptr, DetailPictureState::tooLarge};
}

}  // namespace

struct DetailPictureLoader::Request {
    Completion completion;

    /// From any thread.
    static void deliver(const std::weak_ptr<Request>& request, DetailPicture picture) {
        DispatchQueue::main().async([request, picture = std::move(picture)] {
            if (const auto self = request.lock()) self->completion(picture.image, picture.state);
        });
    }
};

std::int64_t DetailPictureLoader::pixelSizeFilling(const ExifInformation& record, CGSize points) {
    const double scale = UIScreen::mainScreen().scale;
    const CGSize shown{std::max(1.0, points.width * scale), std::max(1.0, points.height * scale)};
    const CGSize photo = uprightDimensions(record);
    double side = std::max(shown.width, shown.height);
    if (photo.width >= 1 && photo.height >= 1) {
        const double factor = std::max(shown.width / photo.width, shown.height / photo.height);
        side = std::max(photo.width, photo.height) * std::min(1.0, factor);
    }
    return std::llround(std::clamp(std::ceil(side), 1.0, kLongestSide));
}

void DetailPictureLoader::load(const ExifInformationRef& record, CGSize points, Completion completion) {
    cancel();
    request_ = std::make_shared<Request>(Request{std::move(completion)});
    if (record->phAsset) {
        loadAsset(*record, points, request_);
    } else {
        loadFile(*record, points, request_);
    }
}

void DetailPictureLoader::cancel() {
    request_ = nullptr;
    if (const auto operation = std::exchange(operation_, nullptr)) operation->cancel();
    if (const auto request = std::exchange(assetRequest_, std::nullopt)) {
        ImageManager::sharedInstance().imageCachingManager.cancelImageRequest(*request);
    }
}

void DetailPictureLoader::loadAsset(const ExifInformation& record, CGSize points,
                                    const std::weak_ptr<Request>& request) {
    PHImageRequestOptions options;
    options.networkAccessAllowed = PersistanceManager::sharedInstance().allowNetworkAccessToDownloadPhotos();
    const double scale = UIScreen::mainScreen().scale;
    assetRequest_ = ImageManager::sharedInstance().imageCachingManager.requestImageForAsset(
        record.phAsset, {points.width * scale, points.height * scale}, PHImageContentMode::aspectFill, options,
        [request](const UIImageRef& image, const Dictionary& info) {
            if (info[PHImageCancelledKey].boolValue()) return;
            // A rough picture that there is none of says nothing of the good one.
            if (!image && info[PHImageResultIsDegradedKey].boolValue()) return;
            const bool isInCloud = info[PHImageResultIsInCloudKey].boolValue();
            Request::deliver(request, {image, image       ? DetailPictureState::whole
                                              : isInCloud ? DetailPictureState::inCloud
                                                          : DetailPictureState::undecodable});
        });
}

void DetailPictureLoader::loadFile(const ExifInformation& record, CGSize points,
                                   const std::weak_ptr<Request>& request) {
    const std::string path = record.imageFilePathURL.empty() ? record.imageFilePath : record.imageFilePathURL.path();
    const std::int64_t pixelSize = pixelSizeFilling(record, points);
    operation_ = std::make_shared<BlockOperation>(
        [path, data = record.imageData, picture = record.thumbNailImage, pixelSize, request](const BlockOperation&) {
            DetailPicture made;
            if (data) {
                made = decoded(CGImageSourceCreateWithData(data), pixelSize);
            } else if (!path.empty()) {
                made = decoded(CGImageSourceCreateWithURL(path), pixelSize);
            } else if (picture && picture->cgImage()) {
                made = {picture, DetailPictureState::whole};  // It was handed over as a picture: there is no other.
            }
            Request::deliver(request, std::move(made));
        });
    pictureQueue().addOperation(operation_);
}

}  // namespace tessaly
