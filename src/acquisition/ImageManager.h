#pragma once
#include "platform/Foundation/NSNotificationCenter.h"
#include "platform/Photos/PHImageManager.h"

namespace tessaly {

/// Keeps the pictures that all screens share.
class ImageManager {
public:
    ImageManager();
    ImageManager(const ImageManager&) = delete;
    ImageManager& operator=(const ImageManager&) = delete;
    [[nodiscard]] static ImageManager& sharedInstance();

    PHCachingImageManager imageCachingManager;

private:
    /// Kept pictures go when memory is short.
    NSNotificationCenter::Observer memoryWarning_;
};

}  // namespace tessaly
