#include <algorithm>
#include <numbers>

#include "extension/DetailRecord.h"
#include "extension/ExifPhotoDetailViewController.h"
#include "platform/Foundation/NSBundle.h"
#include "platform/UIKit/UITraitCollection.h"
#include "settings/PersistanceManager.h"

// The bar of actions at the bottom of the screen, with its drawer of settings, and the banner above it.
namespace tessaly {
namespace {

// Points.
constexpr double kBarHeight = 190;
constexpr double kClosedDrawer = -115;
constexpr double kLargestBar = 1.6;                 // It grows with the letters so far.
constexpr double kOpenDrawerWithoutDeleting = -42;  // What is overwritten leaves no original to delete.
constexpr double kOpenDrawer = 0;
constexpr double kBannerShown = 0;
constexpr double kBannerHidden = -300;

// Seconds.
constexpr double kDrawerTurning = 0.2;
constexpr double kSliding = 0.25;
constexpr double kBannerStays = 4;

constexpr UIColor kSuccess{61 / 255.0, 136 / 255.0, 43 / 255.0};

void describeSwitch(UISwitch& control, UILabel& label, const std::string& text, const std::string& name) {
    label.setText(text);
    control.setAccessibility(&UIAccessibility::label, name);
    control.setAccessibility(&UIAccessibility::hint, text);
}

}  // namespace

void ExifPhotoDetailViewController::expandRemoveEXIFBarButtonTapped() {
    isBottomBarSettingsExpanded = !isBottomBarSettingsExpanded;
    describeExpandButton();
    updateOverwriteSettingsBarUI();
    UIView::animateWithDuration(kDrawerTurning, UIViewAnimationCurve::linear, [this] {
        expandButtonImageView->setRotation(isBottomBarSettingsExpanded ? 0 : std::numbers::pi);
    });
}

void ExifPhotoDetailViewController::describeExpandButton() {
    expandButton->setSelected(isBottomBarSettingsExpanded);
    expandButton->setAccessibility(&UIAccessibility::label, localized("Options"));
    expandButton->setAccessibility(&UIAccessibility::hint,
                                   localized(isBottomBarSettingsExpanded ? "Expanded" : "Collapsed"));
}

void ExifPhotoDetailViewController::overWriteImageSwitchValueChanged() {
    PersistanceManager::sharedInstance().setOverwriteImageForExifChange(overwriteSwitch->isOn());
    updateOverwriteSettingsBarUI();
}

void ExifPhotoDetailViewController::deletePhotoAfterCreatingDuplicateSwitchChanged() {
    PersistanceManager::sharedInstance().setDeleteOriginalPhotoAfterCreatingImageWithoutExif(
        deleteOriginalPhotoAfterRemovingExifSwitch->isOn());
}

void ExifPhotoDetailViewController::refreshDeleteOverWriteSettingsUI() {
    const std::string overwrite = localized("Overwrite");
    describeSwitch(*overwriteSwitch, *overwriteSwitchLabel, overwrite, overwrite);
    overwriteSwitchLabel->setAccessibility(&UIAccessibility::label, overwrite);
    describeSwitch(*deleteOriginalPhotoAfterRemovingExifSwitch, *deleteOriginalPhotoAfterRemovingExifSwitchLabel,
                   localized("Delete Original image after creating new copy ?"), localized("Delete Original image"));
    const PersistanceManager& settings = PersistanceManager::sharedInstance();
    overwriteSwitch->setOn(settings.overwriteImageForExifChange());
    deleteOriginalPhotoAfterRemovingExifSwitch->setOn(settings.deleteOriginalPhotoAfterCreatingImageWithoutExif());
    updateOverwriteSettingsBarUI();
}

void ExifPhotoDetailViewController::updateOverwriteSettingsBarUI() {
    overWriteHintLabel->setText(
        PersistanceManager::sharedInstance().overwriteImageForExifChange()
            ? localized("Overwrite edit or removes EXIF data on same image (Other apps can revert changes and get back "
                        "EXIF data)")
            : localized("Since Overwrite is turned off, it will create new copy of same image with edited changes or "
                        "without EXIF data"));
    bottomBarBottomToViewControllerBottomLayoutConstraint->setConstant(bottomBarConstraintValueForCurrentState());
    bottomBarHeightConstraint->setConstant(kBarHeight);
}

double ExifPhotoDetailViewController::bottomBarConstraintValueForCurrentState() const {
    if (!isBottomBarSettingsExpanded) return kClosedDrawer;
    return PersistanceManager::sharedInstance().overwriteImageForExifChange() ? kOpenDrawerWithoutDeleting
                                                                              : kOpenDrawer;
}

double ExifPhotoDetailViewController::closedBottomBarHeight() const {
    if (bottomButtonHolderView->isHidden()) return 0;
    const double letters = bodyTextScale(UITraitCollection::currentTraitCollection().preferredContentSizeCategory());
    return (kBarHeight + kClosedDrawer) * std::clamp(letters, 1.0, kLargestBar);
}

bool ExifPhotoDetailViewController::isBottomBarHidden() const {
    return bottomBarBottomToViewControllerBottomLayoutConstraint->constant() == -bottomBarHeightConstraint->constant();
}

void ExifPhotoDetailViewController::showBottomBarView() {
    if (!isBottomBarHidden()) return;
    UIView::animateWithDuration(kSliding, [this] {
        bottomBarBottomToViewControllerBottomLayoutConstraint->setConstant(bottomBarConstraintValueForCurrentState());
    });
}

void ExifPhotoDetailViewController::hideBottomBarView() {
    if (isBottomBarHidden()) return;
    bottomBarBottomToViewControllerBottomLayoutConstraint->setConstant(-bottomBarHeightConstraint->constant());
}

void ExifPhotoDetailViewController::updateBottomBarBasedOnSettingsAndPreviewType() {
    messageHolderView->setHidden(true);
    bottomButtonHolderView->setHidden(!isInContainingApp || is3DTouchPreview);
    // Only what leads somewhere is offered.
    editEXIFButton->setHidden(!UIStoryboard::hasScene(kEditExifTransition));
    // The page that stands there was made before the bar was.
    for (const auto& page : collectionView->visibleCells()) willDisplayCell(*collectionView, page, {});
}

void ExifPhotoDetailViewController::showMessage(const std::string& message, bool withSuccessStatus) {
    if (messageHideTimer) messageHideTimer->invalidate();
    messageHolderView->setBackgroundColor(withSuccessStatus ? kSuccess : UIColor::systemRedColor());
    successOrErrorMessageLabel->setTextColor(UIColor::whiteColor());
    successOrErrorMessageLabel->setText(message);
    messageHolderView->setHidden(false);
    isMessageOfPage_ = true;
    UIView::animateWithDuration(
        kSliding, [this] { messageViewBottomToBottomBarTopVerticalSpaceConstraint->setConstant(kBannerShown); });
    messageHideTimer = NSTimer::scheduledTimer(kBannerStays, false, [screen = weakSelf()] {
        if (const auto self = screen.lock()) self->hideMessageView();
    });
}

std::string ExifPhotoDetailViewController::messageAbout(const ExifInformationRef& record,
                                                        const std::string& message) const {
    return !record || record == currentRecord() ? message : fileName(*record) + ": " + message;
}

void ExifPhotoDetailViewController::showMessageAbout(const ExifInformationRef& record, const std::string& message,
                                                     bool withSuccessStatus) {
    showMessage(messageAbout(record, message), withSuccessStatus);
    isMessageOfPage_ = !record || record == currentRecord();
}

void ExifPhotoDetailViewController::hideMessageView() {
    successOrErrorMessageLabel->setText("");
    UIView::animateWithDuration(
        kSliding, [this] { messageViewBottomToBottomBarTopVerticalSpaceConstraint->setConstant(kBannerHidden); });
}

}  // namespace tessaly
