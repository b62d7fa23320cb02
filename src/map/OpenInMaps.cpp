#include "map/ExifPhotoLocationMapCollectionViewCell.h"
#include "platform/Foundation/Format.h"
#include "platform/Foundation/NSBundle.h"
#include "platform/UIKit/UIAlertController.h"
#include "platform/UIKit/UITraitCollection.h"

namespace tessaly {
namespace {

/// Says so where no program takes such places, instead of doing nothing.
bool isOpenable(const NSURL& url, UIViewController& screen) {
    const UIApplication* const application = UIApplication::sharedApplication();
    if (!application || application->canOpenURL(url)) return true;
    const auto alert = std::make_shared<UIAlertController>(localized("No program on this device opens maps."), "",
                                                           UIAlertControllerStyle::alert);
    alert->addAction({localized("Done"), UIAlertActionStyle::cancel, nullptr});
    screen.presentViewController(alert, true);
    return false;
}

}  // namespace

/// The desktop's own maps program is the one that it has for places (RFC 5870).
void ExifPhotoLocationMapCollectionViewCell::openUsingAppleMaps() const {
    const CLLocationCoordinate2D at = location().coordinate;
    UIApplication* const application = UIApplication::sharedApplication();
    const NSURL url = NSURL::URLWithString(formatted("geo:%f,%f", at.latitude, at.longitude));
    const auto parent = parentViewController.lock();
    if (application && (!parent || isOpenable(url, *parent))) application->openURL(url);
}

void ExifPhotoLocationMapCollectionViewCell::openInMapsApp() {
    const auto parent = parentViewController.lock();
    if (!parent) return;
    const CLLocationCoordinate2D at = location().coordinate;
    const NSURL url = NSURL::URLWithString(
        formatted("comgooglemaps://?center=%f,%f&q=%f,%f", at.latitude, at.longitude, at.latitude, at.longitude));
    const auto sheet =
        std::make_shared<UIAlertController>(localized("Open in Maps"), "", UIAlertControllerStyle::actionSheet);
    if (UITraitCollection::currentTraitCollection().isPad()) {
        sheet->popoverPresentationController.sourceView =
            std::static_pointer_cast<ExifPhotoLocationMapCollectionViewCell>(shared_from_this());
        sheet->popoverPresentationController.sourceRect = openInMapsButton->frame();
    }
    // A chosen answer takes the sheet away by itself.
    sheet->addAction({localized("Cancel"), UIAlertActionStyle::cancel, nullptr});
    sheet->addAction({"Apple Maps", UIAlertActionStyle::normal, [weak = weak_from_this()] {
                          const auto cell =
                              std::dynamic_pointer_cast<ExifPhotoLocationMapCollectionViewCell>(weak.lock());
                          if (cell) cell->openUsingAppleMaps();
                      }});
    sheet->addAction({"Google Maps", UIAlertActionStyle::normal, [weak = std::weak_ptr(parent), url] {
                          if (const auto screen = weak.lock(); screen && isOpenable(url, *screen)) screen->openURL(url);
                      }});
    parent->presentViewController(sheet, true);
}

}  // namespace tessaly
