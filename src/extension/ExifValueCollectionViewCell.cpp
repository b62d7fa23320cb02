#include "extension/ExifValueCollectionViewCell.h"

#include "platform/UIKit/UIDevice.h"
#include "platform/UIKit/UITraitCollection.h"
#include "settings/Apperance.h"

namespace tessaly {
namespace {

constexpr double kTextSize = 14;  // Points, at the plain text size.
constexpr double kSideMargins = 2;
constexpr double kColumnMargin = 6;

}  // namespace

void ExifValueCollectionViewCell::awakeFromNib() {
    exifKeyLabel->setTextColor(Apperance::secondaryTextColor());
    exifValueLabel->setTextColor(Apperance::textColor());
    // The row is told as one thing.
    exifKeyLabel->setAccessibility(&UIAccessibility::elementsHidden, true);
    exifValueLabel->setAccessibility(&UIAccessibility::elementsHidden, true);
}

void ExifValueCollectionViewCell::updateFonts() {
    const UIFont font =
        Apperance::scaledFontForBodyMetricsWithFont({std::string(Apperance::fontNameWithCurrentSettings()), kTextSize});
    exifKeyLabel->setFont(font);
    exifValueLabel->setFont(font);
    updateLayoutConstraints();
}

void ExifValueCollectionViewCell::updateWidth() {
    const auto list = collectionView.lock();
    if (!list) return;
    double width = list->boundsSize().width;
    if (shouldBeFullWidth) {
        width -= kSideMargins;
    } else if (UITraitCollection::currentTraitCollection().isPad()) {
        width = width * 0.5 - kColumnMargin;
    }
    widthConstraint->setConstant(width);
    contentWidthConstraint->setConstant(width);
}

void ExifValueCollectionViewCell::updateLayoutConstraints() {
    if (!UIDevice::currentDevice().hasSystemVersion("10.0")) return;
    // Categories are compared as the pointers that they are: they stand in one array, in ascending order.
    const bool stacked = UITraitCollection::currentTraitCollection().preferredContentSizeCategory() >
                         UIContentSizeCategoryAccessibilityLarge;
    for (const auto& constraint :
         {exifKeyAlignedVerticallyConstraint, exifKeyHalfWidthConstraint, exifKeyBottomConstraint,
          horizontalSpacingConstraint, exifValueAlignedVerticallyConstraint, exifValueToTopSpacingConstraint}) {
        constraint->setActive(!stacked);
    }
    for (const auto& constraint : {exifKeyTrailingSpaceToSuperView, exifValueToExifKeyVerticalSpacingConstraint,
                                   exifValueleadingSpaceToSuperViewConstraint}) {
        constraint->setActive(stacked);
    }
}

void ExifValueCollectionViewCell::fill(const Content& content) {
    content_ = content;
    exifKeyLabel->setText(content.key);
    exifValueLabel->setText(content.value);
    UIAccessibility told = accessibility();
    told.isElement = true;
    told.label = content.key;
    told.value = content.value;
    setAccessibility(told);
}

}  // namespace tessaly
