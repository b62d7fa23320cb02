#include <atomic>
#include <cmath>
#include <deque>
#include <limits>
#include <list>
#include <map>
#include <mutex>
#include <tuple>

#include "platform/Foundation/Dispatch.h"
#include "platform/Photos/PHImageManager.h"

namespace tessaly {
namespace {

/// Two at a time leave the other threads to what somebody waits for.
constexpr std::size_t kAtOnce = 2;

/// Identifier, width, height, content mode and modification date: an asset that changed has no kept picture.
using Key = std::tuple<std::string, double, double, PHImageContentMode, double>;
constexpr double kBeforeAnyDate = -std::numeric_limits<double>::infinity();

/// All ways to ask for the whole picture are the same one.
CGSize plain(CGSize size) {
    const auto isUsual = [](double side) { return std::isfinite(side) && side > 0; };
    return isUsual(size.width) && isUsual(size.height) ? size : PHImageManagerMaximumSize;
}

Key keyOf(const PHAsset& asset, CGSize targetSize, PHImageContentMode contentMode) {
    const CGSize size = plain(targetSize);
    const double modified = asset.modificationDate ? asset.modificationDate->timeIntervalSince1970 : kBeforeAnyDate;
    return {asset.localIdentifier, size.width, size.height, contentMode, modified};
}

/// The earliest key that differs in the date alone.
Key firstKeyLike(Key key) {
    std::get<4>(key) = kBeforeAnyDate;
    return key;
}

std::size_t bytesOf(const UIImageRef& image) {
    const CGImageRef bitmap = image ? image->cgImage() : nullptr;
    return bitmap ? bitmap->bytesPerRow() * bitmap->height : 0;
}

/// A picture that is to be made.
struct Making {
    Key key;
    PHAssetRef asset;
    CGSize targetSize;
    PHImageContentMode contentMode = PHImageContentMode::aspectFit;
    PHImageRequestOptions options;
    std::atomic<bool> cancelled{false};
};
using MakingRef = std::shared_ptr<Making>;

}  // namespace

/// Shared with the work that is under way: nobody has to wait for it when the manager goes.
struct PHCachingImageManager::Cache : std::enable_shared_from_this<Cache> {
    /// A picture, or the work on it.
    struct Slot {
        MakingRef making;
        UIImageRef image;
        std::size_t bytes = 0;
        std::list<Key>::iterator use;  ///< Of a picture.
    };
    using Slots = std::map<Key, Slot>;

    // Public operations lock; the others are called with the lock held.
    void add(const MakingRef& making) {
        const std::lock_guard lock(mutex_);
        if (slots_.contains(making->key)) return;
        removeLike(making->key);
        slots_[making->key].making = making;
        waiting_.push_back(making);
        startMore();
    }

    void remove(std::span<const Key> keys) {
        const std::lock_guard lock(mutex_);
        for (const Key& key : keys) removeLike(key);
        std::erase_if(waiting_, [](const MakingRef& making) { return making->cancelled.load(); });
    }

    void clear() {
        const std::lock_guard lock(mutex_);
        while (!slots_.empty()) erase(slots_.begin());
        waiting_.clear();
    }

    UIImageRef picture(const Key& key) {
        const std::lock_guard lock(mutex_);
        const auto slot = slots_.find(key);
        if (slot == slots_.end() || !slot->second.image) return nullptr;
        uses_.splice(uses_.begin(), uses_, slot->second.use);
        return slot->second.image;
    }

private:
    /// Whatever the date: an older picture of the same asset is of no use to anybody.
    void removeLike(const Key& key) {
        const Key first = firstKeyLike(key);
        auto slot = slots_.lower_bound(first);
        while (slot != slots_.end() && firstKeyLike(slot->first) == first) slot = erase(slot);
    }

    Slots::iterator erase(Slots::iterator slot) {
        if (slot->second.making) slot->second.making->cancelled = true;
        if (slot->second.image) {
            bytes_ -= slot->second.bytes;
            uses_.erase(slot->second.use);
        }
        return slots_.erase(slot);
    }

    void startMore() {
        while (running_ < kAtOnce && !waiting_.empty()) {
            ++running_;
            DispatchQueue::global(DispatchPriority::background)
                .async([self = shared_from_this(), making = waiting_.front()] { self->make(making); });
            waiting_.pop_front();
        }
    }

    void make(const MakingRef& making) {
        if (making->cancelled) return finish(making, nullptr);
        PHImageRequestOptions options = making->options;
        options.deliveryMode = PHImageRequestOptionsDeliveryMode::highQualityFormat;
        // A movie's picture is made on another shared thread, for which this one need not wait.
        options.synchronous = making->asset->mediaType != PHAssetMediaTypeVideo;
        options.progressHandler = [making](double progress, const std::string& error, bool& stop,
                                           const Dictionary& info) {
            if (making->options.progressHandler) making->options.progressHandler(progress, error, stop, info);
            if (making->cancelled) stop = true;
        };
        maker_.requestImageForAsset(
            making->asset, making->targetSize, making->contentMode, options,
            [self = shared_from_this(), making](const UIImageRef& image, const Dictionary& info) {
                // A small one that stands in for what is elsewhere is not the picture.
                const bool isPicture = !info[PHImageResultIsDegradedKey].boolValue();
                self->finish(making, isPicture ? image : nullptr);
            });
    }

    void finish(const MakingRef& making, const UIImageRef& image) {
        const std::size_t bytes = bytesOf(image);
        const std::lock_guard lock(mutex_);
        --running_;
        const auto slot = slots_.find(making->key);
        // Somebody may have stopped it, and even begun anew, meanwhile.
        if (slot != slots_.end() && slot->second.making == making) keep(slot, image, bytes);
        startMore();
    }

    void keep(Slots::iterator slot, const UIImageRef& image, std::size_t bytes) {
        if (bytes == 0 || bytes > kMemoryLimit) {
            slots_.erase(slot);
            return;
        }
        while (bytes_ + bytes > kMemoryLimit) erase(slots_.find(uses_.back()));
        bytes_ += bytes;
        slot->second = {nullptr, image, bytes, uses_.insert(uses_.begin(), slot->first)};
    }

    std::mutex mutex_;
    Slots slots_;
    std::list<Key> uses_;  ///< Of the pictures, the latest first.
    std::size_t bytes_ = 0;
    std::deque<MakingRef> waiting_;
    std::size_t running_ = 0;
    PHImageManager maker_;
};

PHCachingImageManager::PHCachingImageManager() : cache_(std::make_shared<Cache>()) {}
PHCachingImageManager::~PHCachingImageManager() { cache_->clear(); }

void PHCachingImageManager::startCachingImagesForAssets(std::span<const PHAssetRef> assets, CGSize targetSize,
                                                        PHImageContentMode contentMode,
                                                        const PHImageRequestOptions& options) {
    // An unedited picture must not be taken for the current one.
    if (options.version != PHImageRequestOptionsVersion::current) return;
    for (const PHAssetRef& asset : assets) {
        if (!asset) continue;
        auto making = std::make_shared<Making>();
        making->key = keyOf(*asset, targetSize, contentMode);
        making->asset = asset;
        making->targetSize = targetSize;
        making->contentMode = contentMode;
        making->options = options;
        cache_->add(making);
    }
}

void PHCachingImageManager::stopCachingImagesForAssets(std::span<const PHAssetRef> assets, CGSize targetSize,
                                                       PHImageContentMode contentMode) {
    std::vector<Key> keys;
    for (const PHAssetRef& asset : assets)
        if (asset) keys.push_back(keyOf(*asset, targetSize, contentMode));
    cache_->remove(keys);
}

void PHCachingImageManager::stopCachingImagesForAllAssets() { cache_->clear(); }

UIImageRef PHCachingImageManager::cached(const PHAsset& asset, CGSize targetSize,
                                         PHImageContentMode contentMode) const {
    return cache_->picture(keyOf(asset, targetSize, contentMode));
}

}  // namespace tessaly
