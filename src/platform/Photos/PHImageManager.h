#pragma once
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/AVFoundation/AVAsset.h"
#include "platform/Photos/PHAssetResource.h"
#include "platform/UIKit/UIImage.h"

namespace tessaly {

// Keys of the info dictionary.
inline constexpr std::string_view PHImageResultIsInCloudKey = "PHImageResultIsInCloudKey";
inline constexpr std::string_view PHImageResultIsDegradedKey = "PHImageResultIsDegradedKey";
inline constexpr std::string_view PHImageResultRequestIDKey = "PHImageResultRequestIDKey";
inline constexpr std::string_view PHImageCancelledKey = "PHImageCancelledKey";
inline constexpr std::string_view PHImageErrorKey = "PHImageErrorKey";
inline constexpr std::string_view PHImageFileURLKey = "PHImageFileURLKey";
inline constexpr std::string_view PHImageFileUTIKey = "PHImageFileUTIKey";

enum class PHImageRequestOptionsDeliveryMode : std::uint8_t {
    opportunistic = 0,
    highQualityFormat = 1,
    fastFormat = 2
};
enum class PHImageRequestOptionsResizeMode : std::uint8_t { none = 0, fast = 1, exact = 2 };
enum class PHImageRequestOptionsVersion : std::uint8_t { current = 0, unadjusted = 1, original = 2 };
enum class PHImageContentMode : std::uint8_t { aspectFit = 0, aspectFill = 1 };

/// For requests of a picture in its own size.
inline constexpr CGSize PHImageManagerMaximumSize{-1, -1};

struct PHImageRequestOptions {
    bool synchronous = false;  ///< The handler is called once, on the caller's thread, before the request returns.
    bool networkAccessAllowed = false;
    PHImageRequestOptionsDeliveryMode deliveryMode = PHImageRequestOptionsDeliveryMode::opportunistic;
    PHImageRequestOptionsResizeMode resizeMode = PHImageRequestOptionsResizeMode::fast;
    PHImageRequestOptionsVersion version = PHImageRequestOptionsVersion::current;
    PHProgressHandler progressHandler;
};

struct PHVideoRequestOptions {
    bool networkAccessAllowed = false;
    PHImageRequestOptionsDeliveryMode deliveryMode = PHImageRequestOptionsDeliveryMode::opportunistic;
    PHImageRequestOptionsVersion version = PHImageRequestOptionsVersion::current;
    PHProgressHandler progressHandler;
};

using PHImageRequestID = std::int32_t;

/// Pictures, bytes and movies of assets. A request that is not synchronous calls its handler on another thread; one
/// that was cancelled still calls it, with PHImageCancelledKey. May be used by several threads.
class PHImageManager {
public:
    using DataHandler =
        std::function<void(const Data& data, const std::string& dataUTI, UIImageOrientation, const Dictionary& info)>;
    using ImageHandler = std::function<void(const UIImageRef& image, const Dictionary& info)>;
    using MovieHandler = std::function<void(const std::shared_ptr<AVAsset>& movie, const Dictionary& info)>;

    PHImageManager();
    PHImageManager(const PHImageManager&) = delete;
    PHImageManager& operator=(const PHImageManager&) = delete;
    virtual ~PHImageManager();
    [[nodiscard]] static PHImageManager& defaultManager();

    /// The whole file. No data with PHImageResultIsInCloudKey set when it is elsewhere and may not be fetched.
    PHImageRequestID requestImageDataForAsset(const PHAssetRef& asset, const PHImageRequestOptions& options,
                                              DataHandler resultHandler);
    /// A picture of about that many pixels, upright. An opportunistic request that is not synchronous may deliver a
    /// smaller one first, marked PHImageResultIsDegradedKey.
    PHImageRequestID requestImageForAsset(const PHAssetRef& asset, CGSize targetSize, PHImageContentMode contentMode,
                                          const PHImageRequestOptions& options, ImageHandler resultHandler);
    /// Null when there is no movie to be had.
    PHImageRequestID requestAVAssetForVideo(const PHAssetRef& asset, const PHVideoRequestOptions& options,
                                            MovieHandler resultHandler);
    void cancelImageRequest(PHImageRequestID identifier);

protected:
    /// A picture that is kept, null for none.
    [[nodiscard]] virtual UIImageRef cached(const PHAsset&, CGSize, PHImageContentMode) const { return nullptr; }

private:
    struct Requests;
    std::shared_ptr<Requests> requests_;
};

/// Makes pictures before they are asked for, and keeps them.
class PHCachingImageManager : public PHImageManager {
public:
    PHCachingImageManager();
    ~PHCachingImageManager() override;
    /// Pictures that are kept take at most so many bytes; the least recently used go first.
    static constexpr std::size_t kMemoryLimit = std::size_t{96} * 1024 * 1024;

    void startCachingImagesForAssets(std::span<const PHAssetRef> assets, CGSize targetSize,
                                     PHImageContentMode contentMode, const PHImageRequestOptions& options);
    void stopCachingImagesForAssets(std::span<const PHAssetRef> assets, CGSize targetSize,
                                    PHImageContentMode contentMode);
    void stopCachingImagesForAllAssets();

protected:
    [[nodiscard]] UIImageRef cached(const PHAsset& asset, CGSize targetSize,
                                    PHImageContentMode contentMode) const override;

private:
    struct Cache;
    std::shared_ptr<Cache> cache_;
};

}  // namespace tessaly
