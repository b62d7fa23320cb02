#include "extension/ExifPhotoDetailsCollectionViewCell.h"

#include <algorithm>
#include <utility>

#include "card/StarRatingCollectionViewCell.h"
#include "extension/ExifPhotoAndLocationValueCollectionViewCell.h"
#include "extension/ExifPhotoDetailViewController.h"
#include "extension/ExifValueCollectionViewCell.h"
#include "map/ExifPhotoLocationMapCollectionViewCell.h"
#include "metadata/PreciseValues.h"
#include "platform/Foundation/Format.h"
#include "platform/Foundation/Log.h"
#include "platform/Foundation/NSBundle.h"
#include "platform/UIKit/UIAlertController.h"
#include "platform/UIKit/UIGestureRecognizer.h"
#include "platform/UIKit/UIPasteboard.h"
#include "platform/UIKit/UITraitCollection.h"
#include "settings/AppSettings.h"
#include "settings/PersistanceManager.h"

namespace tessaly {
namespace {

/// Where a sheet points at: a little above the finger, which would hide it.
constexpr double kAboveTouch = 23;
constexpr CGSize kTouchSize{30, 45};

/// What is shown for an index past the rows.
class EmptyCell final : public UICollectionViewCell {
public:
    [[nodiscard]] std::string_view interfaceName() const noexcept override { return {}; }
};

/// The coordinate is what people paste elsewhere: its name would only be in the way. A row counts as the coordinate's
/// by what made it; another key whose name a translation happens to call the same keeps its name.
std::string textToCopy(const ExifValueCollectionViewCell& row) {
    if (row.content().isGPS && row.exifKeyLabel->text() == localized("GPS")) return row.exifValueLabel->text();
    return formatted("%@ %@", row.exifKeyLabel->text(), row.exifValueLabel->text());
}

/// The stars are there to be tapped, too.
ExifKeys emptyKeysOf(ExifInformation& record, const ExifKeys& keys) {
    ExifKeys empty;
    for (const ExifKey& key : keys)
        if (key.key != "StarRating" && isEmptyRow(record, key.key)) empty.push_back(key);
    return empty;
}

}  // namespace

void ExifPhotoDetailsCollectionViewCell::awakeFromNib() {
    UICollectionView& list = *collectionView;
    list.registerClass<ExifPhotoAndLocationValueCollectionViewCell>("ExifPhotoAndLocationValueCollectionViewCellID");
    list.registerClass<ExifValueCollectionViewCell>("ExifValueCollectionViewCellID");
    list.registerClass<StarRatingCollectionViewCell>("StarRatingCollectionViewCellID");
    list.registerClass<ExifPhotoLocationMapCollectionViewCell>("ExifPhotoLocationMapCollectionViewCellID");
    list.registerClass<EmptyCell>("UICollectionViewCellID");
    list.setDelegate(self());
    list.setDataSource(self());
    const std::weak_ptr<ExifPhotoDetailsCollectionViewCell> weakSelf = self();
    list.addGestureRecognizer(std::make_shared<UIGestureRecognizer>(UIGestureRecognizer::Kind::longPress,
                                                                    [weakSelf](const UIGestureRecognizer& gesture) {
                                                                        const auto page = weakSelf.lock();
                                                                        if (page) page->handleLongPress(gesture);
                                                                    }));
}

void ExifPhotoDetailsCollectionViewCell::prepareForReuse() {
    delegate.reset();
    parentViewController.reset();
    presentingCollectionView.reset();
}

void ExifPhotoDetailsCollectionViewCell::setExifInfo(const ExifInformationRef& record) {
    // A library's photo can be had again: what was fetched ahead of the page goes with it.
    if (exifInfo_ && exifInfo_ != record && exifInfo_->phAsset) exifInfo_->setCachedThumbNailImage(nullptr);
    exifInfo_ = record;
    emptyKeys_.reset();
    collectionView->reloadData();
}

ExifKeys ExifPhotoDetailsCollectionViewCell::exifVisibleKeysOrderedArrayForCurrentEXIF() const {
    const bool isVideo = exifInfo_ && exifInfo_->mediaType() == PHAssetMediaTypeVideo;
    const AppSettings& settings = AppSettings::sharedInstance();
    ExifKeys keys = isVideo ? settings.exifVisibleKeysOrderedArray_Video() : settings.exifVisibleKeysOrderedArray();
    const bool hasPlace =
        exifInfo_ && exifInfo_->location && CLLocationCoordinate2DIsValid(exifInfo_->location->coordinate);
    if (!hasPlace) std::erase_if(keys, [](const ExifKey& key) { return key.key == "MapView"; });
    if (!exifInfo_ || !PersistanceManager::sharedInstance().hidesEmptyRows()) return keys;
    if (!emptyKeys_) emptyKeys_ = emptyKeysOf(*exifInfo_, keys);
    std::erase_if(keys,
                  [this](const ExifKey& key) { return std::ranges::find(*emptyKeys_, key) != emptyKeys_->end(); });
    return keys;
}

bool ExifPhotoDetailsCollectionViewCell::shouldHighlightItemAtIndexPath(UICollectionView&, NSIndexPath at) {
    const auto key = at.section == 0 ? keyAt(at.item) : std::nullopt;
    return key && key->key == "GPS";
}

void ExifPhotoDetailsCollectionViewCell::didSelectItemAtIndexPath(UICollectionView& view, NSIndexPath at) {
    if (!shouldHighlightItemAtIndexPath(view, at)) return;
    PersistanceManager& settings = PersistanceManager::sharedInstance();
    settings.setShouldShowGPSInDecimalValues(!settings.shouldShowGPSInDecimalValues());
    view.reloadItemsAtIndexPaths({at});
}

void ExifPhotoDetailsCollectionViewCell::handleLongPress(const UIGestureRecognizer& gesture) {
    if (gesture.state() != UIGestureRecognizerState::ended) return;
    const CGPoint touch = gesture.locationInView();
    const auto at = collectionView->indexPathForItemAtPoint(touch);
    if (!at) {
        log("couldn't find index path");
        return;
    }
    const auto row =
        std::dynamic_pointer_cast<ExifValueCollectionViewCell>(collectionView->cellForItemAtIndexPath(*at));
    if (row && !row->exifValueLabel->text().empty()) presentCopySheet(textToCopy(*row), touch);
}

void ExifPhotoDetailsCollectionViewCell::presentCopySheet(const std::string& text, CGPoint touch) {
    const auto presenter = delegate.lock();
    if (!presenter) return;
    const auto sheet = std::make_shared<UIAlertController>("", "", UIAlertControllerStyle::actionSheet);
    sheet->addAction(
        {formatted(localized("Copy '%@' to clipboard"), text), UIAlertActionStyle::normal, [text, weak = delegate] {
             UIPasteboard::generalPasteboard().setString(text);
             if (const auto screen = weak.lock()) screen->showMessage(localized("Copied"), true);
         }});
    if (UITraitCollection::currentTraitCollection().isPad()) {
        const CGPoint list = collectionView->frame().origin;
        const CGPoint offset = collectionView->contentOffset();
        sheet->popoverPresentationController.sourceView = shared_from_this();
        sheet->popoverPresentationController.sourceRect = {
            {list.x + touch.x - offset.x, list.y + touch.y - offset.y - kAboveTouch}, kTouchSize};
    } else {
        sheet->addAction({localized("Cancel"), UIAlertActionStyle::cancel, nullptr});
    }
    presenter->presentViewController(sheet, true);
}

void ExifPhotoDetailsCollectionViewCell::scrollViewDidScroll(UIScrollView& view) {
    if (const auto told = delegate.lock()) told->scrollViewDetailsDidScroll(view);
}

void ExifPhotoDetailsCollectionViewCell::scrollViewWillBeginDragging(UIScrollView& view) {
    if (const auto told = delegate.lock()) told->scrollViewWillBeginDragging(view);
}

void ExifPhotoDetailsCollectionViewCell::scrollViewWillEndDragging(UIScrollView& view, CGPoint withVelocity,
                                                                   CGPoint targetContentOffset) {
    if (const auto told = delegate.lock()) told->scrollViewWillEndDragging(view, withVelocity, targetContentOffset);
}

void ExifPhotoDetailsCollectionViewCell::scrollViewDidEndDragging(UIScrollView& view, bool willDecelerate) {
    if (const auto told = delegate.lock()) told->scrollViewDidEndDragging(view, willDecelerate);
}

void ExifPhotoDetailsCollectionViewCell::scrollViewDidEndDecelerating(UIScrollView& view) {
    if (const auto told = delegate.lock()) told->scrollViewDidEndDecelerating(view);
}

void ExifPhotoDetailsCollectionViewCell::scrollViewDidEndScrollingAnimation(UIScrollView& view) {
    if (const auto told = delegate.lock()) told->scrollViewDidEndScrollingAnimation(view);
}

}  // namespace tessaly
