#pragma once
#include <memory>

#include "metadata/ExifInformation.h"
#include "platform/UIKit/InterfaceOwner.h"
#include "platform/UIKit/NSLayoutConstraint.h"
#include "platform/UIKit/UIControls.h"

namespace tessaly {

/// The exposure in a line below the photo: aperture, time, sensitivity, focal length and flash, and the camera. A
/// movie has its length and its frame rate there; a record without metadata is told why it has none.
class ExifBriefDetailsView : public UIView,
                             public InterfaceOwner,
                             public std::enable_shared_from_this<ExifBriefDetailsView> {
public:
    [[nodiscard]] std::string_view interfaceName() const noexcept override { return "ExifBriefDetailsView"; }

    std::weak_ptr<ExifInformation> exifInfo;

    std::shared_ptr<UILabel> fStopLabel = outlet<UILabel>("fStopLabel");
    std::shared_ptr<UILabel> exposureTimeInSecondsLabel = outlet<UILabel>("exposureTimeInSecondsLabel");
    std::shared_ptr<UILabel> isoValueLabel = outlet<UILabel>("isoValueLabel");
    std::shared_ptr<UILabel> focalLengthLabel = outlet<UILabel>("focalLengthLabel");
    std::shared_ptr<UILabel> flashModeLabel = outlet<UILabel>("flashModeLabel");
    std::shared_ptr<UILabel> cameraModelLabel = outlet<UILabel>("cameraModelLabel");
    std::shared_ptr<UILabel> noExifDataAvailableLabel = outlet<UILabel>("noExifDataAvailableLabel");
    std::shared_ptr<UILabel> noExifDataAvailableShortMessageLabel =
        outlet<UILabel>("noExifDataAvailableShortMessageLabel");
    std::shared_ptr<UIImageView> flashStatusIndicatorImageView = outlet<UIImageView>("flashStatusIndicatorImageView");
    std::shared_ptr<UIButton> flashStatusTextImageToggleButton = outlet<UIButton>("flashStatusTextImageToggleButton");
    std::shared_ptr<UIView> noExifDataShortMessageHolderView = outlet<UIView>("noExifDataShortMessageHolderView");
    std::shared_ptr<UIButton> noExifInfoButton = outlet<UIButton>("noExifInfoButton");

    /// In force while a movie is shown: names above their values, instead of values in a line.
    std::shared_ptr<NSLayoutConstraint> movieArrangementConstraint =
        outlet<NSLayoutConstraint>("movieArrangementConstraint", 0.0, false);

    void awakeFromNib();
    /// Shows the record; one that is gone leaves everything as it is.
    void updateUI();
    void updateFonts();
    /// The flash's icon for its text, and back.
    void flashButtonTapped();
    /// Takes the short message away, which lies over the long one.
    void noEXIFAvailableInfoButtonTapped();

private:
    void updateMessages(const ExifInformation& record);
    void showPhoto(const ExifInformation& record);
    void showVideo(const ExifInformation& record);
};

}  // namespace tessaly
