#include "platform/UIKit/UICollectionViewLayout.h"

#include <algorithm>

#include "platform/UIKit/UICollectionView.h"

namespace tessaly {
namespace {

/// A line that lacks no more points than this to its end is stretched to it; one that lacks more is not full.
constexpr double kSpreadLimit = 40;

bool touches(const CGRect& a, const CGRect& b) {
    return a.origin.x < b.origin.x + b.size.width && b.origin.x < a.origin.x + a.size.width &&
           a.origin.y < b.origin.y + b.size.height && b.origin.y < a.origin.y + a.size.height;
}

}  // namespace

/// Where the next piece goes. "along" is the scroll direction, "across" the other one.
struct UICollectionViewFlowLayout::Pen {
    bool vertical = true;
    double along = 0;
    double breadth = 0;  ///< Of the view, across.

    [[nodiscard]] double alongOf(CGSize size) const noexcept { return vertical ? size.height : size.width; }
    [[nodiscard]] double acrossOf(CGSize size) const noexcept { return vertical ? size.width : size.height; }
    [[nodiscard]] CGRect rect(double across, double at, CGSize size) const noexcept {
        return {vertical ? CGPoint{across, at} : CGPoint{at, across}, size};
    }
    [[nodiscard]] CGSize size(double across, double lengthAlong) const noexcept {
        return vertical ? CGSize{across, lengthAlong} : CGSize{lengthAlong, across};
    }
};

CGSize UICollectionViewDelegateFlowLayout::sizeForItemAtIndexPath(UICollectionView&, UICollectionViewFlowLayout& layout,
                                                                  NSIndexPath) {
    return layout.itemSize;
}

void UICollectionViewFlowLayout::placeSupplementary(UICollectionView& view, std::size_t section, std::string_view kind,
                                                    Pen& pen) {
    const auto delegate = view.delegate();
    if (!delegate) return;
    const CGSize size = kind == UICollectionElementKindSectionHeader
                            ? delegate->referenceSizeForHeaderInSection(view, *this, section)
                            : delegate->referenceSizeForFooterInSection(view, *this, section);
    if (pen.alongOf(size) <= 0) return;
    attributes_.push_back({{0, section}, kind, pen.rect(0, pen.along, size)});
    pen.along += pen.alongOf(size);
}

void UICollectionViewFlowLayout::placeSection(UICollectionView& view, std::size_t section, Pen& pen) {
    placeSupplementary(view, section, UICollectionElementKindSectionHeader, pen);
    const auto delegate = view.delegate();
    const UIEdgeInsets inset = delegate ? delegate->insetForSection(view, *this, section) : sectionInset;
    const double lineSpacing =
        delegate ? delegate->minimumLineSpacingForSection(view, *this, section) : minimumLineSpacing;
    const double itemSpacing =
        delegate ? delegate->minimumInteritemSpacingForSection(view, *this, section) : minimumInteritemSpacing;
    const double first = pen.vertical ? inset.left : inset.top;
    const double end = pen.breadth - (pen.vertical ? inset.right : inset.bottom);
    pen.along += pen.vertical ? inset.top : inset.left;

    std::size_t lineStart = attributes_.size();
    double across = first;
    double lineLength = 0;
    double share = 0;
    // A line's pieces are spread to its end and take its length: two columns have no gap, and no ragged stripes.
    const auto finishLine = [&] {
        const std::size_t count = attributes_.size() - lineStart;
        if (count == 0) return;
        const double left = end - (across - itemSpacing);
        // The last line, which may have fewer pieces, keeps to the columns above it.
        if (left >= 0 && left < kSpreadLimit) share = left / static_cast<double>(count);
        for (std::size_t i = 0; i < count; ++i) {
            CGRect& frame = attributes_[lineStart + i].frame;
            const double at = (pen.vertical ? frame.origin.x : frame.origin.y) + share * static_cast<double>(i);
            frame = pen.rect(at, pen.along, pen.size(pen.acrossOf(frame.size) + share, lineLength));
        }
        pen.along += lineLength + lineSpacing;
        lineStart = attributes_.size();
        across = first;
        lineLength = 0;
    };
    const std::size_t count = view.numberOfItemsInSection(section);
    std::vector<std::size_t>& places = itemsBySection_[section];
    places.reserve(count);
    for (std::size_t item = 0; item < count; ++item) {
        const CGSize size = delegate ? delegate->sizeForItemAtIndexPath(view, *this, {item, section}) : itemSize;
        if (across > first && across + pen.acrossOf(size) > end + 0.001) finishLine();
        places.push_back(attributes_.size());
        attributes_.push_back({{item, section}, {}, pen.rect(across, pen.along, size)});
        across += pen.acrossOf(size) + itemSpacing;
        lineLength = std::max(lineLength, pen.alongOf(size));
    }
    finishLine();
    if (count > 0) pen.along -= lineSpacing;
    pen.along += pen.vertical ? inset.bottom : inset.right;
    placeSupplementary(view, section, UICollectionElementKindSectionFooter, pen);
}

void UICollectionViewFlowLayout::prepareLayout(UICollectionView& view) {
    attributes_.clear();
    itemsBySection_.assign(view.numberOfSections(), {});
    Pen pen;
    pen.vertical = scrollDirection == UICollectionViewScrollDirection::vertical;
    pen.breadth = pen.acrossOf(view.boundsSize());
    for (std::size_t section = 0; section < itemsBySection_.size(); ++section) placeSection(view, section, pen);
    contentSize_ = pen.size(pen.breadth, pen.along);
    valid_ = true;
}

std::vector<UICollectionViewLayoutAttributes> UICollectionViewFlowLayout::layoutAttributesForElementsInRect(
    const CGRect& rect) const {
    const bool vertical = scrollDirection == UICollectionViewScrollDirection::vertical;
    const auto endsBefore = [&](const UICollectionViewLayoutAttributes& at, double limit) {
        const CGRect& frame = at.frame;
        return (vertical ? frame.origin.y + frame.size.height : frame.origin.x + frame.size.width) <= limit;
    };
    // Ends ascend from line to line, and all ends of a line are equal.
    const auto begin =
        std::lower_bound(attributes_.begin(), attributes_.end(), vertical ? rect.origin.y : rect.origin.x, endsBefore);
    const double limit = vertical ? rect.origin.y + rect.size.height : rect.origin.x + rect.size.width;
    std::vector<UICollectionViewLayoutAttributes> found;
    for (auto at = begin; at != attributes_.end(); ++at) {
        if ((vertical ? at->frame.origin.y : at->frame.origin.x) >= limit) break;
        if (touches(at->frame, rect)) found.push_back(*at);
    }
    return found;
}

std::optional<UICollectionViewLayoutAttributes> UICollectionViewFlowLayout::layoutAttributesForItemAtIndexPath(
    NSIndexPath indexPath) const {
    if (indexPath.section >= itemsBySection_.size()) return std::nullopt;
    const auto& places = itemsBySection_[indexPath.section];
    if (indexPath.item >= places.size()) return std::nullopt;
    return attributes_[places[indexPath.item]];
}

}  // namespace tessaly
