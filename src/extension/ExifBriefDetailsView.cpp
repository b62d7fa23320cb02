#include "extension/ExifBriefDetailsView.h"

#include "extension/DetailRecord.h"
#include "platform/Foundation/Format.h"
#include "platform/Foundation/NSBundle.h"
#include "settings/Apperance.h"
#include "settings/UIColor+Hex.h"

namespace tessaly {
namespace {

constexpr double kValueSize = 14;  // Points. The view has no room to grow with the preferred text size.
constexpr double kMessageSize = 12;

/// Why a record has no metadata, as far as that can be told.
std::string longMessage(const ExifInformation& record) {
    if (record.imageResultIsInCloud) {
        return localized("Image is on iCloud. EXIF might be available after downloading Image");
    }
    if (record.isScreenShot) return localized("This is probably a screenshot, which doesn't have EXIF Data");
    return localized(
        "Photos saved to Camera roll from some social networking and photo editing apps remove their EXIF data. "
        "Saving Photos from Airdrop or Mail app retains EXIF data");
}

}  // namespace

void ExifBriefDetailsView::awakeFromNib() {
    for (const auto& label : {fStopLabel, exposureTimeInSecondsLabel, isoValueLabel, focalLengthLabel, flashModeLabel,
                              cameraModelLabel, noExifDataAvailableShortMessageLabel}) {
        label->setFont({"", kValueSize});
        label->setTextColor(Apperance::textColor());
    }
    noExifDataAvailableLabel->setFont({"", kMessageSize});
    noExifDataAvailableLabel->setTextColor(Apperance::textColor());
    flashStatusIndicatorImageView->setTintColor(Apperance::textColor());
    noExifInfoButton->setImageNamed("info");
    const std::weak_ptr<ExifBriefDetailsView> weakSelf = weak_from_this();
    flashStatusTextImageToggleButton->setAction([weakSelf] {
        if (const auto self = weakSelf.lock()) self->flashButtonTapped();
    });
    noExifInfoButton->setAction([weakSelf] {
        if (const auto self = weakSelf.lock()) self->noEXIFAvailableInfoButtonTapped();
    });
}

void ExifBriefDetailsView::updateFonts() {
    const std::string name(Apperance::fontNameWithCurrentSettings());
    for (const auto& label : {fStopLabel, exposureTimeInSecondsLabel, isoValueLabel, focalLengthLabel, flashModeLabel,
                              cameraModelLabel, noExifDataAvailableLabel, noExifDataAvailableShortMessageLabel}) {
        label->setFont({name, label->font().pointSize});
    }
}

void ExifBriefDetailsView::updateUI() {
    const auto record = exifInfo.lock();
    if (!record) return;
    updateFonts();
    updateMessages(*record);
    fStopLabel->setText(formatted(localized("f/%0.1f"), record->aperture_fStop.doubleValue()));
    exposureTimeInSecondsLabel->setText(record->shutterSpeedString());
    isoValueLabel->setText(formatted(localized("ISO %ld"), record->iSOSpeed.integerValue()));
    movieArrangementConstraint->setActive(isVideo(*record));
    if (isVideo(*record)) {
        showVideo(*record);
    } else {
        showPhoto(*record);
    }
    cameraModelLabel->setText(record->cameraModel);
}

void ExifBriefDetailsView::updateMessages(const ExifInformation& record) {
    noExifDataShortMessageHolderView->setHidden(record.exifInfoAvailable);
    noExifDataAvailableLabel->setHidden(record.exifInfoAvailable);
    if (record.exifInfoAvailable) return;
    const std::string message = localized("EXIF data is not available");
    noExifDataAvailableShortMessageLabel->setText(message);
    noExifDataAvailableLabel->setText(longMessage(record));
    noExifInfoButton->setTintColor(colorForCurrentStyleWithLight(UIColor::blackColor(), UIColor::whiteColor()));
    noExifInfoButton->setAccessibility(&UIAccessibility::label, message);
}

void ExifBriefDetailsView::showPhoto(const ExifInformation& record) {
    const ExifValue flash = record.Flash();
    focalLengthLabel->setText(formatted(localized("%ld mm"), record.focalLengthInmm.integerValue()));
    flashModeLabel->setText(flash.exifValueReadableFormat);
    flashModeLabel->setHidden(true);
    flashStatusTextImageToggleButton->setAccessibility(&UIAccessibility::label, flash.exifValueReadableFormat);
    flashStatusIndicatorImageView->setImageNamed(flash.exifValueIconFileName);
    flashStatusIndicatorImageView->setHidden(false);
}

void ExifBriefDetailsView::showVideo(const ExifInformation& record) {
    const ExifValue duration = record.Duration();
    const ExifValue frameRate = record.FramesPerSecond();
    fStopLabel->setText(duration.exifKeyReadableFormat);
    focalLengthLabel->setText(duration.exifValueReadableFormat);
    exposureTimeInSecondsLabel->setText(frameRate.exifKeyReadableFormat);
    flashModeLabel->setText(frameRate.exifValueReadableFormat);
    flashModeLabel->setHidden(false);
    flashStatusTextImageToggleButton->setAccessibility(&UIAccessibility::label, frameRate.exifValueReadableFormat);
    isoValueLabel->setText(localized("Camera"));
    flashStatusIndicatorImageView->setHidden(true);
}

void ExifBriefDetailsView::flashButtonTapped() {
    const auto record = exifInfo.lock();
    if (!record || isVideo(*record)) return;
    const bool showsText = flashModeLabel->isHidden();
    flashModeLabel->setHidden(!showsText);
    flashStatusIndicatorImageView->setHidden(showsText);
}

void ExifBriefDetailsView::noEXIFAvailableInfoButtonTapped() { noExifDataShortMessageHolderView->setHidden(true); }

}  // namespace tessaly
