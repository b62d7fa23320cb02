#include <algorithm>
#include <unordered_map>

#include "card/StarRatingCollectionViewCell.h"
#include "extension/ExifPhotoAndLocationValueCollectionViewCell.h"
#include "extension/ExifPhotoDetailViewController.h"
#include "extension/ExifPhotoDetailsCollectionViewCell.h"
#include "extension/ExifValueCollectionViewCell.h"
#include "map/ExifPhotoLocationMapCollectionViewCell.h"
#include "platform/Foundation/Dispatch.h"
#include "platform/Foundation/NSBundle.h"
#include "platform/UIKit/UIDevice.h"
#include "platform/UIKit/UIScreen.h"
#include "platform/UIKit/UITraitCollection.h"
#include "settings/Apperance.h"

/// Which rows a page has, and how large they are.
namespace tessaly {
namespace {

constexpr double kHeaderHeightPhone = 281, kHeaderHeightPad = 500;
constexpr double kRatingHeight = 40, kOtherHeight = 34, kKeywordHeight = 20;
constexpr double kVeilOverPhoto = 0.75;

bool isPad() { return UITraitCollection::currentTraitCollection().isPad(); }

/// Every other row of a phone's column. A tablet's two columns form a checkerboard.
UIColor stripe(std::size_t item) {
    const bool isUltraLight = isPad() ? item % 4 == 0 || item % 4 == 3 : item % 2 == 0;
    return isUltraLight ? Apperance::ultraLightGrayColor() : Apperance::lightGrayColor();
}

/// The cell, and what its interface file shows of it.
template <class Row>
void paint(Row& row, std::size_t item) {
    const UIColor color = stripe(item);
    row.setBackgroundColor(color);
    row.contentHolderView->setBackgroundColor(color);
}

ExifValueCollectionViewCell::Content contentOf(const ExifKey& key, const KeyResult& result) {
    const auto* const value = std::get_if<ExifValue>(&result);
    if (!value) return {key.key, localized("Not available"), false};
    return {value->exifKeyReadableFormat, value->exifValueReadableFormat, value->uniqueID == "GPS"};
}

/// Heights that were measured: laying out a row takes far longer than looking it up, and pages repeat their texts.
class MeasuredHeights {
public:
    /// `row` has its fonts, its width and its content.
    double heightOf(ExifValueCollectionViewCell& row) {
        const double width = row.widthConstraint->constant();
        InterfaceMeasurer* const measurer = InterfaceMeasurer::shared();
        if (!measurer) return row.systemLayoutSizeFittingWidth(width).height;
        if (measurer != measurer_ || heights_.size() >= kLimit) heights_.clear();
        measurer_ = measurer;
        const auto [known, isNew] = heights_.try_emplace(keyOf(row, width), 0);
        if (isNew) known->second = row.systemLayoutSizeFittingWidth(width).height;
        return known->second;
    }

private:
    static constexpr std::size_t kLimit = 8192;  // Some hundred pages.

    /// All that a height depends on; the category also decides whether the texts stand one above the other.
    static std::string keyOf(const ExifValueCollectionViewCell& row, double width) {
        const UIFont& font = row.exifKeyLabel->font();
        const UIContentSizeCategory category =
            UITraitCollection::currentTraitCollection().preferredContentSizeCategory();
        std::string key;
        for (const std::string& part : {row.content().key, row.content().value, font.fontName,
                                        std::to_string(font.pointSize), std::to_string(width), std::string(*category)})
            key.append(part).push_back('\0');
        return key;
    }

    InterfaceMeasurer* measurer_ = nullptr;
    std::unordered_map<std::string, double> heights_;
};

MeasuredHeights& measuredHeights() {
    static MeasuredHeights heights;
    return heights;
}

/// The row that others are measured with, for as long as the program runs.
ExifValueCollectionViewCell& prototypeRow() {
    static const std::shared_ptr<ExifValueCollectionViewCell> row = [] {
        auto made = std::make_shared<ExifValueCollectionViewCell>();
        made->awakeFromNib();
        return made;
    }();
    return *row;
}

}  // namespace

std::optional<ExifKey> ExifPhotoDetailsCollectionViewCell::keyAt(std::size_t item) const {
    const ExifKeys keys = exifVisibleKeysOrderedArrayForCurrentEXIF();
    return item < keys.size() ? std::optional(keys[item]) : std::nullopt;
}

std::size_t ExifPhotoDetailsCollectionViewCell::numberOfItemsInSection(UICollectionView&, std::size_t section) {
    if (section != 0) return 1;
    emptyKeys_.reset();
    return exifInfo_ ? exifVisibleKeysOrderedArrayForCurrentEXIF().size() : 0;
}

std::shared_ptr<UICollectionViewCell> ExifPhotoDetailsCollectionViewCell::cellForItemAtIndexPath(UICollectionView& view,
                                                                                                 NSIndexPath at) {
    const auto key = at.section == 0 && exifInfo_ ? keyAt(at.item) : std::nullopt;
    if (!key) return view.dequeueReusableViewWithReuseIdentifier("UICollectionViewCellID");
    const KeyResult result = exifInfo_->performCustomSelector(key->key);
    const auto* const value = std::get_if<ExifValue>(&result);
    if (value && value->uniqueID == "StarRating") return ratingRow(*key, *value, at.item);
    if (value && value->uniqueID == "MapView") return mapRow();
    return ordinaryRow(*key, result, at.item);
}

std::shared_ptr<UICollectionViewCell> ExifPhotoDetailsCollectionViewCell::ratingRow(const ExifKey& key,
                                                                                    const ExifValue& value,
                                                                                    std::size_t item) {
    auto row = collectionView->dequeue<StarRatingCollectionViewCell>("StarRatingCollectionViewCellID");
    row->updateFonts();
    row->updateRatingWithValue(Value(value.exifRAWValue).integerValue());
    row->setPresentingCollectionView(presentingCollectionView.lock());
    paint(*row, item);
    const std::weak_ptr<ExifPhotoDetailsCollectionViewCell> weakSelf = self();
    row->updateRatingBlock = [weakSelf, name = key.key](std::int64_t rating) {
        const auto page = weakSelf.lock();
        if (!page || !page->exifInfo_) return;
        const KeyResult current = page->exifInfo_->performCustomSelector(name);
        ExifValue edited = std::holds_alternative<ExifValue>(current) ? std::get<ExifValue>(current) : ExifValue();
        edited.exifRAWValue = edited.exifValueReadableFormat = std::to_string(rating);
        page->exifInfo_->addToEditedExifValues(edited);
    };
    return row;
}

std::shared_ptr<UICollectionViewCell> ExifPhotoDetailsCollectionViewCell::mapRow() {
    auto row =
        collectionView->dequeue<ExifPhotoLocationMapCollectionViewCell>("ExifPhotoLocationMapCollectionViewCellID");
    row->setExifInformation(exifInfo_);
    row->setPresentingCollectionView(presentingCollectionView.lock());
    row->parentViewController = parentViewController.lock();
    return row;
}

std::shared_ptr<UICollectionViewCell> ExifPhotoDetailsCollectionViewCell::ordinaryRow(const ExifKey& key,
                                                                                      const KeyResult& value,
                                                                                      std::size_t item) {
    auto row = collectionView->dequeue<ExifValueCollectionViewCell>("ExifValueCollectionViewCellID");
    row->collectionView = collectionView;
    row->updateFonts();
    row->updateWidth();
    row->fill(contentOf(key, value));
    paint(*row, item);
    return row;
}

std::shared_ptr<UICollectionReusableView> ExifPhotoDetailsCollectionViewCell::viewForSupplementaryElementOfKind(
    UICollectionView& view, std::string_view kind, NSIndexPath) {
    if (kind != UICollectionElementKindSectionHeader) return nullptr;
    auto header =
        view.dequeue<ExifPhotoAndLocationValueCollectionViewCell>("ExifPhotoAndLocationValueCollectionViewCellID");
    fillHeader(*header);
    // Later, when the header has its size, and the rows do not have to wait for it.
    const std::weak_ptr<ExifPhotoAndLocationValueCollectionViewCell> weakHeader = header;
    DispatchQueue::main().async([weakHeader] {
        if (const auto shown = weakHeader.lock()) shown->updateContent();
    });
    return header;
}

void ExifPhotoDetailsCollectionViewCell::fillHeader(ExifPhotoAndLocationValueCollectionViewCell& header) {
    header.shouldUseCachedImage = true;
    header.shouldBeFullWidth = true;
    header.shouldShowFullResolutionImage = true;
    header.collectionView = collectionView;
    header.exifListViewController = exifListViewController;
    header.indexPath = indexPath;
    header.parentEXIFDetailCell = self();
    header.delegate = delegate;
    header.setExifInfo(exifInfo_);
    if (UIDevice::currentDevice().hasSystemVersion("11.0")) {
        header.favouriteButton->setAccessibility(&UIAccessibility::ignoresInvertColors, true);
    }
    Apperance::setAppearanceOnView(*header.photoSizeLocationDateTimeStampView, kVeilOverPhoto);
    Apperance::setAppearanceOnView(*header.exifBriefDetailsView);
}

CGSize ExifPhotoDetailsCollectionViewCell::referenceSizeForHeaderInSection(UICollectionView&,
                                                                           UICollectionViewFlowLayout&, std::size_t) {
    return {maximumCollectionViewWidth() - 1, isPad() ? kHeaderHeightPad : kHeaderHeightPhone};
}

double ExifPhotoDetailsCollectionViewCell::maximumCollectionViewWidth() const {
    const UIEdgeInsets& content = collectionView->contentInset();
    const UIEdgeInsets& section = collectionView->collectionViewLayout().sectionInset;
    return collectionView->boundsSize().width - content.left - content.right - section.left - section.right;
}

CGSize ExifPhotoDetailsCollectionViewCell::sizeForItemAtIndexPath(UICollectionView&, UICollectionViewFlowLayout&,
                                                                  NSIndexPath at) {
    const auto key = at.section == 0 && exifInfo_ ? keyAt(at.item) : std::nullopt;
    if (!key) return sizeForIndexPath(at, {});
    const KeyResult result = exifInfo_->performCustomSelector(key->key);
    const auto* const value = std::get_if<ExifValue>(&result);
    if (!value || value->uniqueID == "StarRating" || value->uniqueID == "MapView") {
        return sizeForIndexPath(at, result);
    }
    return ordinaryRowSize(*key, *value);
}

CGSize ExifPhotoDetailsCollectionViewCell::sizeForIndexPath(NSIndexPath at, const KeyResult& withExifValue) {
    const double maximum = maximumCollectionViewWidth();
    const double width = isPad() ? maximum * 0.5 - 6 : maximum - 2;
    const auto* const value = std::get_if<ExifValue>(&withExifValue);
    if (value && value->uniqueID == "StarRating") return {width, kRatingHeight};
    if (value && value->uniqueID == "MapView") {
        const double height = ExifPhotoLocationMapCollectionViewCell::heightOfCard(isPad());
        const double window = UIScreen::mainScreen().bounds.width;
        return {isPad() ? std::min(maximum - 1, window) : maximum - 1, height};
    }
    const auto key = keyAt(at.item);
    const double keywords = key ? keywordsHeight(*key) : 0;
    return {width, keywords > 0 ? keywords : kOtherHeight};
}

double ExifPhotoDetailsCollectionViewCell::keywordsHeight(const ExifKey& key) const {
    if (key.key != "Keywords" || !exifInfo_ || !exifInfo_->keywordsArray) return 0;
    const std::size_t count = exifInfo_->keywordsArray->size();
    return count >= 2 ? kKeywordHeight * static_cast<double>(count) : 0;
}

CGSize ExifPhotoDetailsCollectionViewCell::ordinaryRowSize(const ExifKey& key, const ExifValue& value) {
    ExifValueCollectionViewCell& row = prototypeRow();
    row.collectionView = collectionView;
    row.updateFonts();
    row.updateWidth();
    row.fill(contentOf(key, value));
    const double width = row.widthConstraint->constant();
    const double maximum = maximumCollectionViewWidth();
    // Many keywords ask for room of their own, and get more where their texts are long.
    const double height = std::max(measuredHeights().heightOf(row), keywordsHeight(key));
    return {width > maximum ? maximum - 1 : width, height};
}

}  // namespace tessaly
