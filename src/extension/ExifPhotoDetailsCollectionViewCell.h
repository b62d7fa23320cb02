#pragma once
#include <memory>
#include <optional>
#include <string>

#include "metadata/ExifInformation.h"
#include "platform/UIKit/UICollectionView.h"

namespace tessaly {

class ExifListViewController;
class ExifPhotoAndLocationValueCollectionViewCell;
class ExifPhotoDetailViewController;

/// A page of the detail screen: the photo and its summary on top, then a row for every visible key. It is the data
/// source and the delegate of its own list, and hands what the list's scrolling tells on to the screen.
class ExifPhotoDetailsCollectionViewCell : public UICollectionViewCell,
                                           public UICollectionViewDataSource,
                                           public UICollectionViewDelegateFlowLayout {
public:
    [[nodiscard]] std::string_view interfaceName() const noexcept override {
        return "ExifPhotoDetailsCollectionViewCell";
    }

    std::weak_ptr<UICollectionView> presentingCollectionView;
    bool isEditingEXIF = false;
    bool shouldDisplayAlbumName = false;
    std::weak_ptr<ExifPhotoDetailViewController> delegate;
    std::weak_ptr<ExifPhotoDetailViewController> parentViewController;
    std::weak_ptr<ExifListViewController> exifListViewController;
    NSIndexPath indexPath;
    std::shared_ptr<UICollectionView> collectionView = outlet<UICollectionView>("collectionView");

    [[nodiscard]] const ExifInformationRef& exifInfo() const noexcept { return exifInfo_; }
    /// Shows that record from now on.
    void setExifInfo(const ExifInformationRef& record);
    void awakeFromNib() override;
    void prepareForReuse() override;

    [[nodiscard]] ExifKeys exifVisibleKeysOrderedArrayForCurrentEXIF() const;
    /// The rule for a value that has no row of its own kind.
    [[nodiscard]] CGSize sizeForIndexPath(NSIndexPath indexPath, const KeyResult& withExifValue);
    [[nodiscard]] double maximumCollectionViewWidth() const;
    /// At a point of the list's content; `state` is the gesture's.
    void handleLongPress(const UIGestureRecognizer& gesture);

    [[nodiscard]] std::size_t numberOfItemsInSection(UICollectionView& view, std::size_t section) override;
    [[nodiscard]] std::shared_ptr<UICollectionViewCell> cellForItemAtIndexPath(UICollectionView& view,
                                                                               NSIndexPath indexPath) override;
    [[nodiscard]] std::shared_ptr<UICollectionReusableView> viewForSupplementaryElementOfKind(
        UICollectionView& view, std::string_view kind, NSIndexPath indexPath) override;
    [[nodiscard]] CGSize sizeForItemAtIndexPath(UICollectionView& view, UICollectionViewFlowLayout& layout,
                                                NSIndexPath indexPath) override;
    [[nodiscard]] CGSize referenceSizeForHeaderInSection(UICollectionView& view, UICollectionViewFlowLayout& layout,
                                                         std::size_t section) override;
    [[nodiscard]] double minimumLineSpacingForSection(UICollectionView&, UICollectionViewFlowLayout&,
                                                      std::size_t) override {
        return 0;
    }
    [[nodiscard]] double minimumInteritemSpacingForSection(UICollectionView&, UICollectionViewFlowLayout&,
                                                           std::size_t) override {
        return 0;
    }
    /// A touch does something for the coordinate only.
    [[nodiscard]] bool shouldHighlightItemAtIndexPath(UICollectionView& view, NSIndexPath indexPath) override;
    void didSelectItemAtIndexPath(UICollectionView& view, NSIndexPath indexPath) override;
    void scrollViewDidScroll(UIScrollView& view) override;
    void scrollViewWillBeginDragging(UIScrollView& view) override;
    void scrollViewWillEndDragging(UIScrollView& view, CGPoint withVelocity, CGPoint targetContentOffset) override;
    void scrollViewDidEndDragging(UIScrollView& view, bool willDecelerate) override;
    void scrollViewDidEndDecelerating(UIScrollView& view) override;
    void scrollViewDidEndScrollingAnimation(UIScrollView& view) override;

private:
    [[nodiscard]] std::shared_ptr<ExifPhotoDetailsCollectionViewCell> self() {
        return std::static_pointer_cast<ExifPhotoDetailsCollectionViewCell>(shared_from_this());
    }
    /// nullopt past the visible keys.
    [[nodiscard]] std::optional<ExifKey> keyAt(std::size_t item) const;
    [[nodiscard]] std::shared_ptr<UICollectionViewCell> ratingRow(const ExifKey& key, const ExifValue& value,
                                                                  std::size_t item);
    [[nodiscard]] std::shared_ptr<UICollectionViewCell> mapRow();
    [[nodiscard]] std::shared_ptr<UICollectionViewCell> ordinaryRow(const ExifKey& key, const KeyResult& value,
                                                                    std::size_t item);
    void fillHeader(ExifPhotoAndLocationValueCollectionViewCell& header);
    [[nodiscard]] CGSize ordinaryRowSize(const ExifKey& key, const ExifValue& value);
    [[nodiscard]] double keywordsHeight(const ExifKey& key) const;
    void presentCopySheet(const std::string& text, CGPoint touch);

    ExifInformationRef exifInfo_;
    mutable std::optional<ExifKeys> emptyKeys_;  ///< Rows that are hidden for now; found out once a reload.
};

}  // namespace tessaly
