#include "extension/ExifDataDetailsListDataSource.h"

#include "extension/ExifPhotoDetailViewController.h"
#include "extension/ExifPhotoDetailsCollectionViewCell.h"

namespace tessaly {

std::size_t ExifDataDetailsListDataSource::numberOfItemsInSection(UICollectionView&, std::size_t) {
    return exifDataItemsArray.size();
}

std::shared_ptr<UICollectionViewCell> ExifDataDetailsListDataSource::cellForItemAtIndexPath(UICollectionView& view,
                                                                                            NSIndexPath indexPath) {
    if (indexPath.section == 1) return ExifDataListDataSource::cellForItemAtIndexPath(view, indexPath);
    if (indexPath.item >= exifDataItemsArray.size()) return nullptr;
    const auto owner = OwnerParentViewController.lock();
    auto page = view.dequeue<ExifPhotoDetailsCollectionViewCell>(kPageIdentifier);
    if (!page) return nullptr;
    page->presentingCollectionView = collectionView;
    page->isEditingEXIF = owner && owner->isEditingEXIF;
    page->shouldDisplayAlbumName = shouldDisplayAlbumName;
    page->setExifInfo(exifDataItemsArray[indexPath.item]);
    page->delegate = page->parentViewController = owner;
    page->indexPath = indexPath;
    page->collectionView->setContentOffset(detailsViewScrollOffset, false);
    return page;
}

std::shared_ptr<UICollectionReusableView> ExifDataDetailsListDataSource::viewForSupplementaryElementOfKind(
    UICollectionView& view, std::string_view kind, NSIndexPath) {
    const bool isKnown = kind == UICollectionElementKindSectionHeader || kind == UICollectionElementKindSectionFooter;
    return isKnown ? view.dequeueReusableViewWithReuseIdentifier(kEmptyViewIdentifier) : nullptr;
}

}  // namespace tessaly
