#pragma once
#include <memory>

#include "metadata/ExifInformation.h"
#include "platform/Foundation/NSTimer.h"
#include "platform/MapKit/MKMapView.h"
#include "platform/UIKit/NSLayoutConstraint.h"
#include "platform/UIKit/UICollectionView.h"
#include "platform/UIKit/UIViewController.h"

namespace tessaly {

class PhotoDirectionAnnotationView;

/// The list's map: where the photo was taken, and in which direction its camera was moving. For records that have a
/// place; one without stands at 0°, 0°.
class ExifPhotoLocationMapCollectionViewCell : public UICollectionViewCell, public MKMapViewDelegate {
public:
    [[nodiscard]] std::string_view interfaceName() const noexcept override {
        return "ExifPhotoLocationMapCollectionViewCell";
    }
    /// The card's height in points, by the device.
    [[nodiscard]] static double heightOfCard(bool isPad) noexcept { return isPad ? 500 : 281; }
    /// By how many degrees the arrow is turned on a map whose camera looks in the direction `mapHeading`.
    [[nodiscard]] static double angleForHeading(double heading, double mapHeading) noexcept;

    std::weak_ptr<UIViewController> parentViewController;
    bool shouldBeFullWidth = false;
    CGSize constraintsSize;

    std::shared_ptr<MKMapView> mapView = outlet<MKMapView>("mapView");
    std::shared_ptr<UIView> mapHolderView = outlet<UIView>("mapHolderView");
    std::shared_ptr<UILabel> mapViewLabel = outlet<UILabel>("mapViewLabel");
    std::shared_ptr<UIButton> openInMapsButton = outlet<UIButton>("openInMapsButton");
    std::shared_ptr<UIView> contentHolderView = outlet<UIView>("contentHolderView");
    std::shared_ptr<NSLayoutConstraint> widthConstraint = outlet<NSLayoutConstraint>("widthConstraint");
    std::shared_ptr<NSLayoutConstraint> heightConstraint = outlet<NSLayoutConstraint>("heightConstraint");
    std::shared_ptr<PhotoDirectionAnnotationView> annotationView;  ///< The arrow, once there was one.
    std::shared_ptr<NSTimer> updateUITimer;

    void awakeFromNib() override;
    /// Shows that record's place from now on.
    void setExifInformation(const ExifInformationRef& record);
    [[nodiscard]] const ExifInformationRef& exifInformation() const noexcept { return exifInformation_; }
    void setPresentingCollectionView(const std::shared_ptr<UICollectionView>& view);
    void updateWidth();

    [[nodiscard]] MKAnnotationViewRef viewForAnnotation(MKMapView& map, const MKAnnotationRef& annotation) override;
    void regionDidChangeAnimated(MKMapView& map, bool animated) override;
    void rotateAnnotationView(const MKAnnotationViewRef& view, double toHeading);

    /// Asks which program shall show the place.
    void openInMapsApp();
    void openUsingAppleMaps() const;

    /// Turns the arrow ten times a second while the map is being turned.
    void startHandleUITimer();
    void stopHandleUITimer();
    void handleUIForMapRegionChange();

protected:
    void boundsChanged() override { updateWidth(); }

private:
    /// In the language that is chosen now.
    void updateTexts();
    [[nodiscard]] CLLocation location() const;

    ExifInformationRef exifInformation_;
    std::weak_ptr<UICollectionView> presentingCollectionView_;
};

}  // namespace tessaly
