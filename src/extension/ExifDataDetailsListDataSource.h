#pragma once
#include <memory>

#include "extension/ExifDataListDataSource.h"

namespace tessaly {

class ExifPhotoDetailViewController;

// Reuse identifiers; whoever sets up the collection view registers them.
inline constexpr const char* kPageIdentifier = "ExifPhotoDetailsCollectionViewCellID";
inline constexpr const char* kEmptyViewIdentifier = "UICollectionReusableViewID";

/// A header or footer that shows nothing.
class EmptyReusableView : public UICollectionReusableView {
public:
    [[nodiscard]] std::string_view interfaceName() const noexcept override { return {}; }
};

/// Feeds the detail screen: a page for every record.
class ExifDataDetailsListDataSource : public ExifDataListDataSource {
public:
    std::weak_ptr<ExifPhotoDetailViewController> OwnerParentViewController;
    /// Where the inner lists of all pages stand.
    CGPoint detailsViewScrollOffset;

    [[nodiscard]] std::size_t numberOfSectionsInCollectionView(UICollectionView&) override { return 1; }
    [[nodiscard]] std::size_t numberOfItemsInSection(UICollectionView& view, std::size_t section) override;
    [[nodiscard]] std::shared_ptr<UICollectionViewCell> cellForItemAtIndexPath(UICollectionView& view,
                                                                               NSIndexPath indexPath) override;
    [[nodiscard]] std::shared_ptr<UICollectionReusableView> viewForSupplementaryElementOfKind(
        UICollectionView& view, std::string_view kind, NSIndexPath indexPath) override;
};

}  // namespace tessaly
