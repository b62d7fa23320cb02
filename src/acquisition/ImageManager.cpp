#include "acquisition/ImageManager.h"

#include "platform/UIKit/MemoryWarning.h"

namespace tessaly {

ImageManager::ImageManager()
    : memoryWarning_(NSNotificationCenter::defaultCenter().addObserver(
          UIApplicationDidReceiveMemoryWarningNotification,
          [this](const NSNotification&) { imageCachingManager.stopCachingImagesForAllAssets(); })) {}

ImageManager& ImageManager::sharedInstance() {
    static ImageManager instance;
    return instance;
}

}  // namespace tessaly
