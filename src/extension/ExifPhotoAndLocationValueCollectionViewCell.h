#pragma once
#include <memory>

#include "extension/DetailPictureLoader.h"
#include "extension/ExifBriefDetailsView.h"
#include "extension/PhotoSizeLocationDateTimeDetailsView.h"
#include "platform/Foundation/NSTimer.h"
#include "platform/UIKit/NSLayoutConstraint.h"
#include "platform/UIKit/UICollectionView.h"

namespace tessaly {

class ExifListViewController;
class ExifPhotoDetailViewController;
class ExifPhotoDetailsCollectionViewCell;

/// The top of a page: the photo, when and where it was taken, and the exposure in brief.
///
/// It shows what small picture the record has at once, and a sharp one as soon as that was decoded elsewhere; it lets
/// go of both when it is given another record.
class ExifPhotoAndLocationValueCollectionViewCell : public UICollectionViewCell {
public:
    [[nodiscard]] std::string_view interfaceName() const noexcept override {
        return "ExifPhotoAndLocationValueCollectionViewCell";
    }

    std::weak_ptr<ExifPhotoDetailViewController> delegate;
    std::weak_ptr<ExifPhotoDetailsCollectionViewCell> parentEXIFDetailCell;
    std::weak_ptr<ExifListViewController> exifListViewController;
    std::weak_ptr<UICollectionView> collectionView;
    NSIndexPath indexPath;  ///< Of the page.
    bool shouldUseCachedImage = false;
    bool shouldBeFullWidth = false;
    bool shouldShowFullResolutionImage = false;

    std::shared_ptr<UIView> contentHolderView = outlet<UIView>("contentHolderView");
    std::shared_ptr<UIView> sepratorView = outlet<UIView>("sepratorView");
    std::shared_ptr<NSLayoutConstraint> widthConstraint = outlet<NSLayoutConstraint>("widthConstraint");
    std::shared_ptr<UIImageView> photoImageView = outlet<UIImageView>("photoImageView");
    std::shared_ptr<UIImageView> playImageView = outlet<UIImageView>("playImageView");
    std::shared_ptr<UIActivityIndicatorView> loadingIndicator = outlet<UIActivityIndicatorView>("loadingIndicator");
    std::shared_ptr<UIImageView> stateImageView = outlet<UIImageView>("stateImageView");
    std::shared_ptr<UILabel> stateLabel = outlet<UILabel>("stateLabel");
    std::shared_ptr<UIButton> favouriteButton = outlet<UIButton>("favouriteButton");
    std::shared_ptr<ExifBriefDetailsView> exifBriefDetailsView = outlet<ExifBriefDetailsView>("exifBriefDetailsView");
    std::shared_ptr<PhotoSizeLocationDateTimeDetailsView> photoSizeLocationDateTimeStampView =
        outlet<PhotoSizeLocationDateTimeDetailsView>("photoSizeLocationDateTimeStampView");

    [[nodiscard]] ExifInformationRef exifInfo() const { return exifInfo_.lock(); }
    void setExifInfo(const ExifInformationRef& record);
    void awakeFromNib() override;
    void updateContent();
    void updateWidth();
    void didTapOnImageView();

protected:
    void boundsChanged() override;

private:
    [[nodiscard]] CGSize pictureSize() const noexcept;
    void showPicture(const UIImageRef& picture);
    /// A picture fills the view, unless that would hide more than half of it.
    void updateContentMode();
    void updatePicture();
    void loadPicture(const ExifInformationRef& record);
    void pictureArrived(const UIImageRef& picture, DetailPictureState state);
    void showState(DetailPictureState state);
    void startSpinnerTimer();
    void stopSpinner();

    std::weak_ptr<ExifInformation> exifInfo_;
    DetailPictureLoader loader_;
    CGSize loadedSize_;  ///< Points, of the picture that is there or under way; empty for none.
    std::shared_ptr<NSTimer> spinnerTimer_;
};

}  // namespace tessaly
