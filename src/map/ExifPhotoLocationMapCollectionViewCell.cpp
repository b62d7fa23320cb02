#include "map/ExifPhotoLocationMapCollectionViewCell.h"

#include <cmath>
#include <numbers>

#include "map/MapImagePin.h"
#include "map/PhotoDirectionAnnotationView.h"
#include "platform/Foundation/Log.h"
#include "platform/Foundation/NSBundle.h"
#include "platform/UIKit/UITraitCollection.h"
#include "settings/Apperance.h"
#include "settings/PersistanceManager.h"
#include "settings/UIColor+Hex.h"

namespace tessaly {
namespace {

constexpr const char* kArrowReuseID = "AnnotatioViewReuseID";
constexpr const char* kPinReuseID = "stao";
constexpr MKCoordinateSpan kSpan{0.05, 0.05};  // Some five kilometres: a town with its surroundings.
constexpr double kSideMargins = 2;
constexpr double kTimerInterval = 0.1;

bool isPad() { return UITraitCollection::currentTraitCollection().isPad(); }

MKAnnotationViewRef makePin() {
    const auto pin = std::make_shared<MKPinAnnotationView>(kPinReuseID);
    pin->rightCalloutAccessoryView = std::make_shared<UIButton>();
    pin->rightCalloutAccessoryView->setImageNamed("info");
    return pin;
}

}  // namespace

double ExifPhotoLocationMapCollectionViewCell::angleForHeading(double heading, double mapHeading) noexcept {
    const double offset = mapHeading < 0 ? -mapHeading : mapHeading > 0 ? 360 - mapHeading : 0;
    double angle = offset + heading;
    if (!std::isfinite(angle)) return 0;
    // A whole turn stays one: only what is beyond it comes down.
    if (angle > 360) angle -= 360 * (std::ceil(angle / 360) - 1);
    return angle;
}

void ExifPhotoLocationMapCollectionViewCell::awakeFromNib() {
    heightConstraint->setConstant(heightOfCard(isPad()));
    Apperance::setAppearanceOnView(*mapHolderView);
    Apperance::setAppearanceOnView(*contentHolderView);
    mapView->setMapType(static_cast<MKMapType>(PersistanceManager::sharedInstance().mapType()));
    openInMapsButton->setTitleColor(colorForCurrentStyleWithLight(UIColor::blackColor(), UIColor::whiteColor()));
    openInMapsButton->setAction([this] { openInMapsApp(); });
    mapViewLabel->setTextColor(Apperance::textColor());
    updateTexts();
}

void ExifPhotoLocationMapCollectionViewCell::updateTexts() {
    openInMapsButton->setTitle(localized("Open in Map app"));
    mapViewLabel->setText(localized("Map Location"));
}

CLLocation ExifPhotoLocationMapCollectionViewCell::location() const {
    return exifInformation_ ? exifInformation_->location.value_or(CLLocation()) : CLLocation();
}

void ExifPhotoLocationMapCollectionViewCell::setExifInformation(const ExifInformationRef& record) {
    exifInformation_ = record;
    updateTexts();
    const CLLocationCoordinate2D coordinate = location().coordinate;
    mapView->setRegion({coordinate, kSpan}, true);
    mapView->setDelegate(std::static_pointer_cast<ExifPhotoLocationMapCollectionViewCell>(shared_from_this()));
    mapView->removeAllAnnotations();
    mapView->addAnnotation(std::make_shared<MapImagePin>(coordinate));
}

void ExifPhotoLocationMapCollectionViewCell::setPresentingCollectionView(
    const std::shared_ptr<UICollectionView>& view) {
    presentingCollectionView_ = view;
    updateWidth();
}

void ExifPhotoLocationMapCollectionViewCell::updateWidth() {
    heightConstraint->setConstant(heightOfCard(isPad()));
    const auto presenting = presentingCollectionView_.lock();
    if (!presenting) return;
    const bool hasMargins = shouldBeFullWidth || isPad();
    widthConstraint->setConstant(presenting->boundsSize().width - (hasMargins ? kSideMargins : 0));
}

MKAnnotationViewRef ExifPhotoLocationMapCollectionViewCell::viewForAnnotation(MKMapView& map,
                                                                              const MKAnnotationRef& annotation) {
    if (std::dynamic_pointer_cast<MKUserLocation>(annotation)) return nullptr;
    // A negative course is an unknown one: an arrow would claim what nobody knows. Due north is a pin, too.
    if (const double course = location().course; std::isfinite(course) && course > 0) {
        annotationView = std::dynamic_pointer_cast<PhotoDirectionAnnotationView>(
            map.dequeueReusableAnnotationViewWithIdentifier(kArrowReuseID));
        if (!annotationView) annotationView = std::make_shared<PhotoDirectionAnnotationView>(kArrowReuseID);
        rotateAnnotationView(annotationView, location().course);
        return annotationView;
    }
    auto pin = map.dequeueReusableAnnotationViewWithIdentifier(kPinReuseID);
    return pin ? pin : makePin();
}

void ExifPhotoLocationMapCollectionViewCell::regionDidChangeAnimated(MKMapView&, bool) {
    rotateAnnotationView(annotationView, location().course);
}

void ExifPhotoLocationMapCollectionViewCell::rotateAnnotationView(const MKAnnotationViewRef& view, double toHeading) {
    const auto arrow = std::dynamic_pointer_cast<PhotoDirectionAnnotationView>(view);
    if (!arrow) return;
    const double offset = angleForHeading(0, mapView->heading());
    const double angle = angleForHeading(toHeading, mapView->heading());
    log("__rotateAnnotationView Map %f , Heading %f and offset %f and %@ ", offset, toHeading, angle,
        arrow->reuseIdentifier());
    arrow->setRotation(angle * std::numbers::pi / 180);
}

void ExifPhotoLocationMapCollectionViewCell::startHandleUITimer() {
    if (updateUITimer) updateUITimer->invalidate();
    const std::weak_ptr<UICollectionReusableView> weakSelf = weak_from_this();
    updateUITimer = NSTimer::scheduledTimer(kTimerInterval, true, [weakSelf] {
        const auto self = std::static_pointer_cast<ExifPhotoLocationMapCollectionViewCell>(weakSelf.lock());
        if (self) self->handleUIForMapRegionChange();
    });
}

void ExifPhotoLocationMapCollectionViewCell::stopHandleUITimer() {
    if (updateUITimer) updateUITimer->invalidate();
    updateUITimer = nullptr;
    handleUIForMapRegionChange();
}

void ExifPhotoLocationMapCollectionViewCell::handleUIForMapRegionChange() {
    log("handleUIForMapRegionChange_TIMER");
    rotateAnnotationView(annotationView, location().course);
}

}  // namespace tessaly
