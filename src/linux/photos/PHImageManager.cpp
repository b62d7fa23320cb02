#include "platform/Photos/PHImageManager.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <limits>
#include <mutex>
#include <unordered_map>

#include "platform/AVFoundation/AVAssetImageGenerator.h"
#include "platform/Foundation/Dispatch.h"
#include "platform/Foundation/NSFileManager.h"
#include "platform/ImageIO/CGImageProperties.h"
#include "platform/ImageIO/CGImageSource.h"
#include "platform/Photos/PHPhotoLibrary.h"
#include "platform/UIKit/UIGraphicsImageContext.h"

namespace tessaly {
namespace {

using Delivery = PHImageRequestOptionsDeliveryMode;
using Resize = PHImageRequestOptionsResizeMode;
using Version = PHImageRequestOptionsVersion;

/// Of a picture that comes before the one that was asked for.
constexpr std::size_t kQuickSide = 256;
/// Smaller pictures are there as soon as a quick one would be.
constexpr double kQuickWorthwhile = 2000;

/// The requests that are not finished. Outlives its manager as long as one is under way.
class Registry {
public:
    using Flag = std::shared_ptr<std::atomic<bool>>;

    /// Numbers are not shared with another manager: cancelling at the wrong one then does nothing.
    std::pair<PHImageRequestID, Flag> add() {
        static std::atomic<std::uint32_t> last{0};
        constexpr std::uint32_t kMost = std::numeric_limits<PHImageRequestID>::max();
        const auto identifier = static_cast<PHImageRequestID>(last++ % kMost + 1);
        auto flag = std::make_shared<std::atomic<bool>>(false);
        const std::lock_guard lock(mutex_);
        cancelled_[identifier] = flag;
        return {identifier, flag};
    }

    void cancel(PHImageRequestID identifier) {
        const std::lock_guard lock(mutex_);
        if (const auto request = cancelled_.find(identifier); request != cancelled_.end()) *request->second = true;
    }

    void remove(PHImageRequestID identifier) {
        const std::lock_guard lock(mutex_);
        cancelled_.erase(identifier);
    }

private:
    std::mutex mutex_;
    std::unordered_map<PHImageRequestID, Flag> cancelled_;
};

struct Request {
    std::shared_ptr<Registry> registry;
    PHImageRequestID identifier = 0;
    Registry::Flag cancelled;
    /// The one of the time of the request, which may be the last use of it before the program ends.
    std::shared_ptr<PHPhotoLibrary> library = PHPhotoLibrary::sharedPhotoLibrary();
    PHAssetRef asset;
    bool networkAccessAllowed = false;
    Version version = Version::current;
    PHProgressHandler progressHandler;

    template <class Options>
    Request(std::shared_ptr<Registry> registered, PHAssetRef wanted, const Options& options)
        : registry(std::move(registered)),
          asset(std::move(wanted)),
          networkAccessAllowed(options.networkAccessAllowed),
          version(options.version),
          progressHandler(options.progressHandler) {
        std::tie(identifier, cancelled) = registry->add();
    }

    [[nodiscard]] bool isCancelled() const { return *cancelled; }
    /// No cancelling reaches the request any more; whether one has before.
    [[nodiscard]] bool finish() const {
        registry->remove(identifier);
        return *cancelled;
    }
};

/// A request's file, or why there is none.
struct Located {
    std::string path;
    std::string typeIdentifier;
    bool isInCloud = false;
    std::string error;
};

Dictionary infoOf(const Request& request, const Located& file, bool isDegraded = false) {
    Dictionary info{{PHImageResultRequestIDKey, request.identifier},
                    {PHImageResultIsInCloudKey, file.isInCloud ? 1 : 0},
                    {PHImageResultIsDegradedKey, isDegraded}};
    if (!file.path.empty()) info.set(PHImageFileURLKey, NSURL::fileURLWithPath(file.path).absoluteString());
    if (!file.typeIdentifier.empty()) info.set(PHImageFileUTIKey, file.typeIdentifier);
    if (!file.error.empty()) info.set(PHImageErrorKey, file.error);
    return info;
}

Dictionary cancelledInfo(const Request& request) {
    Dictionary info = infoOf(request, {});
    info.set(PHImageCancelledKey, true);
    return info;
}

std::string typeOf(const std::string& path) {
    if (const auto source = CGImageSourceCreateWithURL(path)) return std::string(CGImageSourceGetType(source));
    return AVAsset::assetWithURL(path)->typeIdentifier;
}

bool isVideo(const PHAsset& asset) { return asset.mediaType == PHAssetMediaTypeVideo; }

/// The asset's own file, brought here first where that is allowed.
PHAssetContent fetch(const Request& request) {
    const Dictionary info = infoOf(request, {.path = "", .typeIdentifier = "", .isInCloud = true, .error = ""});
    double reached = 0;
    const auto tell = [&](double progress, const std::string& error) {
        reached = progress;
        bool stop = false;
        if (request.progressHandler) request.progressHandler(progress, error, stop, info);
        if (stop) *request.cancelled = true;
        return !request.isCancelled();
    };
    PHAssetContent content = request.library->content(
        request.asset->localIdentifier, isVideo(*request.asset) ? PHAssetResourceTypeVideo : PHAssetResourceTypePhoto,
        request.networkAccessAllowed, [&](double progress) { return tell(progress, ""); });
    if (!content.path.empty()) return content;
    if (content.error.empty() && (!content.isInCloud || request.networkAccessAllowed))
        content.error = "the file is not there";
    if (request.networkAccessAllowed && !request.isCancelled()) (void)tell(reached, content.error);
    return content;
}

Located locate(const Request& request) {
    Located file;
    if (!request.asset) {
        file.error = "there is no such photo or video";
        return file;
    }
    if (request.version != Version::current)
        if (auto original = request.library->original(request.asset->localIdentifier);
            original && !original->path.empty()) {
            file.path = std::move(original->path);
            file.typeIdentifier = typeOf(file.path);
            return file;
        }
    PHAssetContent content = fetch(request);
    file.path = std::move(content.path);
    file.typeIdentifier = std::move(content.typeIdentifier);
    file.isInCloud = file.path.empty() && content.isInCloud;
    // Being elsewhere is an answer, not a failure, to who did not want it fetched.
    if (file.path.empty() && (request.networkAccessAllowed || !file.isInCloud)) file.error = std::move(content.error);
    if (!file.path.empty() && file.typeIdentifier.empty()) file.typeIdentifier = typeOf(file.path);
    return file;
}

void start(bool synchronous, Block work) {
    if (synchronous) return work();
    DispatchQueue::global().async(std::move(work));
}

void deliverData(const Request& request, const PHImageManager::DataHandler& handler) {
    Located file;
    Data data;
    auto orientation = UIImageOrientation::up;
    if (!request.isCancelled()) file = locate(request);
    if (!request.isCancelled() && !file.path.empty()) {
        data = NSFileManager::contentsAtPath(file.path);
        if (!data) file.error = "the file cannot be read";
        const auto properties = CGImageSourceCopyPropertiesAtIndex(CGImageSourceCreateWithData(data), 0, {});
        if (properties) orientation = imageOrientation((*properties)[kCGImagePropertyOrientation].integerValue());
    }
    if (request.finish()) return handler(nullptr, "", UIImageOrientation::up, cancelledInfo(request));
    handler(data, file.typeIdentifier, orientation, infoOf(request, file));
}

void deliverMovie(const Request& request, const PHImageManager::MovieHandler& handler) {
    Located file;
    std::shared_ptr<AVAsset> movie;
    if (request.asset && !isVideo(*request.asset))
        file.error = "a photo is no movie";
    else if (!request.isCancelled())
        file = locate(request);
    if (!request.isCancelled() && !file.path.empty()) {
        movie = AVAsset::assetWithURL(file.path);
        if (movie->fault != AVAssetFault::none) {
            movie = nullptr;
            file.error = "the movie cannot be opened";
        }
    }
    if (request.finish()) return handler(nullptr, cancelledInfo(request));
    handler(movie, infoOf(request, file));
}

struct ImageRequest : Request {
    CGSize targetSize;
    PHImageContentMode contentMode;
    PHImageRequestOptions options;
    PHImageManager::ImageHandler handler;
    UIImageRef kept;  ///< From the manager's cache.

    ImageRequest(std::shared_ptr<Registry> registered, PHAssetRef wanted, const PHImageRequestOptions& wishes)
        : Request(std::move(registered), std::move(wanted), wishes), options(wishes) {}

    [[nodiscard]] bool isExact() const { return options.resizeMode == Resize::exact; }
    [[nodiscard]] bool isFast() const { return options.deliveryMode == Delivery::fastFormat; }
    /// Whether one handler call more than the last is welcome.
    [[nodiscard]] bool wantsQuickFirst() const {
        return options.deliveryMode == Delivery::opportunistic && !options.synchronous;
    }
    void deliverQuick(const UIImageRef& image, const Located& file) const { handler(image, infoOf(*this, file, true)); }
    void deliver(const UIImageRef& image, const Located& file, bool isDegraded = false) const {
        if (finish()) return handler(nullptr, cancelledInfo(*this));
        handler(image, infoOf(*this, file, isDegraded));
    }
};
using ImageRequestRef = std::shared_ptr<const ImageRequest>;

/// How large a picture to decode, and what to make of it.
struct PicturePlan {
    std::size_t longerSide = 0;  ///< 0 for the picture's own size.
    CGSize exact;                ///< Zero for the picture as it was decoded.
};

bool isNumberOfPixels(double side) { return std::isfinite(side) && side > 0; }

/// `own` is the whole picture's size, upright.
PicturePlan planOf(const ImageRequest& request, CGSize own) {
    const CGSize target = request.targetSize;
    if (!isNumberOfPixels(target.width) || !isNumberOfPixels(target.height)) return {};
    if (!(own.width > 0) || !(own.height > 0)) return {};
    const bool fills = request.contentMode == PHImageContentMode::aspectFill;
    const double horizontal = target.width / own.width;
    const double vertical = target.height / own.height;
    const double factor = fills ? std::max(horizontal, vertical) : std::min(horizontal, vertical);
    const auto whole = [](double side) { return std::max(1.0, std::round(side)); };

    PicturePlan plan;
    if (request.isExact())
        plan.exact = fills ? CGSize{whole(target.width), whole(target.height)}
                           : CGSize{whole(own.width * factor), whole(own.height * factor)};
    if (factor >= 1) return plan;
    // What fills must not fall short by a fraction of a pixel, what fits must not stick out by one.
    constexpr double kRoundingError = 1e-6;
    const double longer = std::max(own.width, own.height) * factor;
    const double side =
        fills || request.isExact() ? std::ceil(longer - kRoundingError) : std::floor(longer + kRoundingError);
    plan.longerSide = static_cast<std::size_t>(std::max(1.0, side));
    return plan;
}

/// The middle of the picture, scaled so that it covers the size just so.
UIImageRef cutTo(CGSize size, const UIImageRef& image) {
    if (!image || size == CGSize{} || image->size() == size) return image;
    const CGSize own = image->size();
    const double factor = std::max(size.width / own.width, size.height / own.height);
    const CGSize scaled{own.width * factor, own.height * factor};
    UIGraphicsImageContext context(size);
    context.draw(image, {{(size.width - scaled.width) / 2, (size.height - scaled.height) / 2}, scaled});
    return context.image();
}

/// A cached picture may have been made for a request that was content with less.
bool satisfies(const ImageRequest& request, const UIImageRef& kept) {
    if (!request.isExact()) return true;
    const CGSize exact = planOf(request, kept->size()).exact;
    return exact == CGSize{} || exact == kept->size();
}

CGSize uprightSize(const CGImageSourceRef& source, const PHAsset& asset) {
    const auto properties = CGImageSourceCopyPropertiesAtIndex(source, 0, {}).value_or(Dictionary());
    CGSize size{properties[kCGImagePropertyPixelWidth].doubleValue(),
                properties[kCGImagePropertyPixelHeight].doubleValue()};
    if (!(size.width > 0) || !(size.height > 0))
        return {static_cast<double>(asset.pixelWidth), static_cast<double>(asset.pixelHeight)};
    if (isSideways(imageOrientation(properties[kCGImagePropertyOrientation].integerValue())))
        std::swap(size.width, size.height);
    return size;
}

UIImageRef decoded(const CGImageSourceRef& source, std::size_t longerSide, std::string& error) {
    Dictionary options{{kCGImageSourceCreateThumbnailWithTransform, true},
                       {kCGImageSourceCreateThumbnailFromImageAlways, true}};
    if (longerSide > 0) options.set(kCGImageSourceThumbnailMaxPixelSize, longerSide);
    CGImageFault fault = CGImageFault::none;
    const CGImageRef bitmap = CGImageSourceCreateThumbnailAtIndex(source, 0, options, &fault);
    if (!bitmap) error = describe(fault == CGImageFault::none ? CGImageFault::damaged : fault);
    return UIImage::imageWithCGImage(bitmap);
}

/// Whether a small picture comes much sooner than the planned one: JPEG is decoded at an eighth of its size for much
/// less than at its full size, other formats are not.
bool isQuickWorthwhile(const CGImageSourceRef& source, CGSize own, const PicturePlan& plan) {
    return CGImageSourceGetType(source) == "public.jpeg" && std::max(own.width, own.height) > kQuickWorthwhile &&
           (plan.longerSide == 0 || plan.longerSide > 2 * kQuickSide);
}

void deliverStill(const ImageRequest& request, Located file) {
    const auto source = CGImageSourceCreateWithURL(file.path);
    if (!source) {
        file.error = "the file is no picture that can be read";
        return request.deliver(nullptr, file);
    }
    const CGSize own = uprightSize(source, *request.asset);
    const PicturePlan plan = planOf(request, own);
    const bool wantsQuick = request.isFast() || (request.wantsQuickFirst() && !request.kept);
    if (wantsQuick && isQuickWorthwhile(source, own, plan)) {
        std::string ignored;
        if (const UIImageRef quick = decoded(source, kQuickSide, ignored)) {
            if (request.isFast()) return request.deliver(quick, file, true);
            if (!request.isCancelled()) request.deliverQuick(quick, file);
        }
    }
    UIImageRef image;
    if (!request.isCancelled()) image = decoded(source, plan.longerSide, file.error);
    if (image) {
        image = cutTo(plan.exact, image);
        if (!image) file.error = describe(CGImageFault::outOfMemory);
    }
    request.deliver(image, file);
}

void deliverFrame(const ImageRequestRef& request, const Located& file) {
    const auto movie = AVAsset::assetWithURL(file.path);
    const AVAssetTrack* track = movie->firstVideoTrack();
    CGSize own = track ? track->naturalSize : CGSize{};
    if (track && track->rotationDegrees % 180 != 0) std::swap(own.width, own.height);
    const PicturePlan plan = planOf(*request, own);

    AVAssetImageGenerator generator(movie);
    generator.appliesPreferredTrackTransform = true;
    // Half a pixel more, so that the way through a quotient does not end one short.
    const double side = plan.longerSide > 0 ? static_cast<double>(plan.longerSide) + 0.5 : 0;
    generator.maximumSize = {side, side};
    const auto deliver = [request, file, plan](const CGImageRef& bitmap, const std::string& error) {
        Located result = file;
        const UIImageRef image = cutTo(plan.exact, UIImage::imageWithCGImage(bitmap));
        if (!image) result.error = error.empty() ? std::string(describe(CGImageFault::outOfMemory)) : error;
        request->deliver(image, result);
    };
    // The generator needs a shared thread of its own: only who asked for it waits for it on one.
    if (!request->options.synchronous) return generator.generateCGImageAsynchronouslyForTime(0, deliver);
    DispatchSemaphore done;
    CGImageRef bitmap;
    std::string error;
    generator.generateCGImageAsynchronouslyForTime(0,
                                                   [&, done](const CGImageRef& made, const std::string& why) mutable {
                                                       bitmap = made;
                                                       error = why;
                                                       done.signal();
                                                   });
    done.wait();
    deliver(bitmap, error);
}

/// The small picture that the library keeps of what is elsewhere; null for none, and when the file is here.
UIImageRef standIn(const ImageRequest& request) {
    if (!request.asset) return nullptr;
    const std::string path = request.library->rendition(request.asset->localIdentifier);
    if (path.empty()) return nullptr;
    const auto type = isVideo(*request.asset) ? PHAssetResourceTypeVideo : PHAssetResourceTypePhoto;
    const PHAssetContent content = request.library->content(request.asset->localIdentifier, type, false, {});
    const auto source = content.isInCloud && content.path.empty() ? CGImageSourceCreateWithURL(path) : nullptr;
    if (!source) return nullptr;
    const PicturePlan plan = planOf(request, uprightSize(source, *request.asset));
    std::string ignored;
    return cutTo(plan.exact, decoded(source, plan.longerSide, ignored));
}

void deliverImage(const ImageRequestRef& request) {
    if (request->isCancelled()) return request->deliver(nullptr, {});
    if (request->kept) {
        const bool isEnough = satisfies(*request, request->kept);
        if (isEnough || request->isFast()) return request->deliver(request->kept, {}, !isEnough);
        if (request->wantsQuickFirst()) request->deliverQuick(request->kept, {});
    }
    const Located elsewhere{.path = "", .typeIdentifier = "", .isInCloud = true, .error = ""};
    const bool mayFetch = request->networkAccessAllowed;
    if (!mayFetch || request->isFast() || (request->wantsQuickFirst() && !request->kept))
        if (const UIImageRef image = standIn(*request); image && !request->isCancelled()) {
            if (!mayFetch || request->isFast()) return request->deliver(image, elsewhere, true);
            request->deliverQuick(image, elsewhere);
        }
    const Located file = locate(*request);
    if (file.path.empty() || request->isCancelled()) return request->deliver(nullptr, file);
    if (isVideo(*request->asset)) return deliverFrame(request, file);
    deliverStill(*request, file);
}

}  // namespace

struct PHImageManager::Requests : Registry {};

PHImageManager::PHImageManager() : requests_(std::make_shared<Requests>()) {}
PHImageManager::~PHImageManager() = default;

PHImageManager& PHImageManager::defaultManager() {
    static PHImageManager manager;
    return manager;
}

PHImageRequestID PHImageManager::requestImageDataForAsset(const PHAssetRef& asset, const PHImageRequestOptions& options,
                                                          DataHandler resultHandler) {
    const auto request = std::make_shared<const Request>(requests_, asset, options);
    start(options.synchronous, [request, handler = std::move(resultHandler)] { deliverData(*request, handler); });
    return request->identifier;
}

PHImageRequestID PHImageManager::requestImageForAsset(const PHAssetRef& asset, CGSize targetSize,
                                                      PHImageContentMode contentMode,
                                                      const PHImageRequestOptions& options,
                                                      ImageHandler resultHandler) {
    const auto request = std::make_shared<ImageRequest>(requests_, asset, options);
    request->targetSize = targetSize;
    request->contentMode = contentMode;
    request->handler = std::move(resultHandler);
    // Here, not when the request's turn comes: the manager may have gone by then.
    if (asset && options.version == Version::current) request->kept = cached(*asset, targetSize, contentMode);
    start(options.synchronous, [request] { deliverImage(request); });
    return request->identifier;
}

PHImageRequestID PHImageManager::requestAVAssetForVideo(const PHAssetRef& asset, const PHVideoRequestOptions& options,
                                                        MovieHandler resultHandler) {
    const auto request = std::make_shared<const Request>(requests_, asset, options);
    start(false, [request, handler = std::move(resultHandler)] { deliverMovie(*request, handler); });
    return request->identifier;
}

void PHImageManager::cancelImageRequest(PHImageRequestID identifier) { requests_->cancel(identifier); }

}  // namespace tessaly
