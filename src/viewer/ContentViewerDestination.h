#pragma once
#include <cstddef>
#include <memory>
#include <vector>

#include "metadata/ExifInformation.h"
#include "platform/UIKit/UIImage.h"
#include "platform/UIKit/UIViewController.h"
#include "viewer/Interactor.h"

/// What the detail screen hands over to the screens that show a photo alone.
namespace tessaly {

/// With the transition "toContentViewer".
struct ContentViewerHandover {
    std::vector<ExifInformationRef> nsMutableExifDataItemsArray;
    std::size_t currentIndex = 0;
    std::shared_ptr<Interactor> interactor;  ///< Shared with the screen that is returned to.
    std::weak_ptr<UIViewController> photoDetailViewController;
};

/// With the transition "toImageFullScreen".
struct ImageFullScreenHandover {
    UIImageRef mainSourceImage;
    std::vector<ExifInformationRef> exifDataItemsArray;
    std::size_t currentIndex = 0;
    ExifInformationRef exifInfo;
};

/// A screen that such a transition may lead to; it is told before it is presented.
class ContentViewerDestination {
public:
    ContentViewerDestination() = default;
    ContentViewerDestination(const ContentViewerDestination&) = delete;
    ContentViewerDestination& operator=(const ContentViewerDestination&) = delete;
    virtual ~ContentViewerDestination() = default;
    virtual void takeOver(const ContentViewerHandover&) {}
    virtual void takeOver(const ImageFullScreenHandover&) {}
};

}  // namespace tessaly
