#include "acquisition/ImageManager.h"

namespace tessaly {

ImageManager& ImageManager::sharedInstance() {
    static ImageManager instance;
    return instance;
}

}  // namespace tessaly
