#pragma once
#include "platform/Photos/PHImageManager.h"

namespace tessaly {

/// Keeps the pictures that all screens share.
class ImageManager {
public:
    ImageManager() = default;
    ImageManager(const ImageManager&) = delete;
    ImageManager& operator=(const ImageManager&) = delete;
    [[nodiscard]] static ImageManager& sharedInstance();

    PHCachingImageManager imageCachingManager;
};

}  // namespace tessaly
