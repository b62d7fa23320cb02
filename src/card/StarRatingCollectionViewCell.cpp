#include "card/StarRatingCollectionViewCell.h"

#include "platform/Foundation/NSBundle.h"
#include "platform/UIKit/UITraitCollection.h"
#include "settings/Apperance.h"

namespace tessaly {
namespace {

constexpr double kLabelSize = 14;  // Points at the plain text size, as the rows above and below.
constexpr double kSideMargins = 2;
constexpr double kColumnMargin = 5;

void fill(UIButton& star, bool filled) {
    star.setSelected(filled);
    star.setImageNamed(filled ? "star_filled" : "star");
}

}  // namespace

void StarRatingCollectionViewCell::awakeFromNib() {
    exifKeyLabel->setFont(Apperance::scaledFontForBodyMetricsWithFont({"", kLabelSize}));
    exifKeyLabel->setTextColor(Apperance::secondaryTextColor());
    updateFonts();
    updateRatingWithValue(0);
    for (const auto& star : stars()) {
        star->setTintColor(Apperance::tintColor());
        // The row is told as one thing.
        star->setAccessibility(&UIAccessibility::elementsHidden, true);
    }
    exifKeyLabel->setAccessibility(&UIAccessibility::elementsHidden, true);
}

void StarRatingCollectionViewCell::updateFonts() {
    exifKeyLabel->setFont({std::string(Apperance::fontNameWithCurrentSettings()), exifKeyLabel->font().pointSize});
}

void StarRatingCollectionViewCell::updateRatingWithValue(std::int64_t rating) {
    const std::int64_t filled = rating >= 1 && rating <= 5 ? rating : 0;
    std::int64_t position = 0;
    // Here and not once for all: the interface may have another language by now.
    exifKeyLabel->setText(localized("Star Rating"));
    for (const auto& star : stars()) fill(*star, ++position <= filled);
    UIAccessibility told = accessibility();
    told.isElement = true;
    told.label = exifKeyLabel->text();
    told.value = std::to_string(filled);
    setAccessibility(told);
}

void StarRatingCollectionViewCell::setPresentingCollectionView(const std::shared_ptr<UICollectionView>& view) {
    presentingCollectionView_ = view;
    updateWidth();
}

void StarRatingCollectionViewCell::updateWidth() {
    widthConstraint->setActive(shouldAutoResize);
    const auto presenting = presentingCollectionView();
    if (!shouldAutoResize || !presenting) return;
    const double width = presenting->boundsSize().width;
    const bool isColumn = !shouldBeFullWidth && UITraitCollection::currentTraitCollection().isPad();
    widthConstraint->setConstant(isColumn ? width * 0.5 - kColumnMargin : width - kSideMargins);
}

}  // namespace tessaly
