#pragma once
#include <memory>
#include <string>

#include "platform/UIKit/NSLayoutConstraint.h"
#include "platform/UIKit/UICollectionView.h"
#include "platform/UIKit/UIControls.h"

namespace tessaly {

/// An ordinary row: what a value is called, and the value beside it, or below it where the texts are very large.
class ExifValueCollectionViewCell : public UICollectionViewCell {
public:
    /// What stands in a row.
    struct Content {
        std::string key, value;
        /// The key text is the one that "GPS" is localised to, and not merely one that reads the same.
        bool isGPS = false;
        friend bool operator==(const Content&, const Content&) = default;
    };

    [[nodiscard]] std::string_view interfaceName() const noexcept override { return "ExifValueCollectionViewCell"; }

    std::shared_ptr<UILabel> exifKeyLabel = outlet<UILabel>("exifKeyLabel");
    std::shared_ptr<UILabel> exifValueLabel = outlet<UILabel>("exifValueLabel");
    std::shared_ptr<UIView> contentHolderView = outlet<UIView>("contentHolderView");
    std::shared_ptr<NSLayoutConstraint> widthConstraint = outlet<NSLayoutConstraint>("widthConstraint");
    std::shared_ptr<NSLayoutConstraint> contentWidthConstraint = outlet<NSLayoutConstraint>("contentWidthConstraint");
    // Side by side.
    std::shared_ptr<NSLayoutConstraint> exifKeyAlignedVerticallyConstraint =
        outlet<NSLayoutConstraint>("exifKeyAlignedVerticallyConstraint");
    std::shared_ptr<NSLayoutConstraint> exifKeyHalfWidthConstraint =
        outlet<NSLayoutConstraint>("exifKeyHalfWidthConstraint");
    std::shared_ptr<NSLayoutConstraint> exifKeyBottomConstraint = outlet<NSLayoutConstraint>("exifKeyBottomConstraint");
    std::shared_ptr<NSLayoutConstraint> horizontalSpacingConstraint =
        outlet<NSLayoutConstraint>("horizontalSpacingConstraint");
    std::shared_ptr<NSLayoutConstraint> exifValueAlignedVerticallyConstraint =
        outlet<NSLayoutConstraint>("exifValueAlignedVerticallyConstraint");
    std::shared_ptr<NSLayoutConstraint> exifValueToTopSpacingConstraint =
        outlet<NSLayoutConstraint>("exifValueToTopSpacingConstraint");
    // Stacked.
    std::shared_ptr<NSLayoutConstraint> exifKeyTrailingSpaceToSuperView =
        outlet<NSLayoutConstraint>("exifKeyTrailingSpaceToSuperView", 0.0, false);
    std::shared_ptr<NSLayoutConstraint> exifValueToExifKeyVerticalSpacingConstraint =
        outlet<NSLayoutConstraint>("exifValueToExifKeyVerticalSpacingConstraint", 0.0, false);
    std::shared_ptr<NSLayoutConstraint> exifValueleadingSpaceToSuperViewConstraint =
        outlet<NSLayoutConstraint>("exifValueleadingSpaceToSuperViewConstraint", 0.0, false);

    std::weak_ptr<UICollectionView> collectionView;
    bool shouldBeFullWidth = false;

    void awakeFromNib() override;
    void updateFonts();
    /// To the list's width, or to a column of it; without a list nothing happens.
    void updateWidth();
    /// By the preferred text size.
    void updateLayoutConstraints();
    void fill(const Content& content);
    [[nodiscard]] const Content& content() const noexcept { return content_; }

protected:
    void boundsChanged() override { updateWidth(); }

private:
    Content content_;
};

}  // namespace tessaly
