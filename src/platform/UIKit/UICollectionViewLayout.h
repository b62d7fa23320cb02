#pragma once
#include <optional>
#include <string>
#include <vector>

#include "platform/UIKit/NSIndexPath.h"
#include "platform/UIKit/UIScrollView.h"

namespace tessaly {

class UICollectionView;

inline constexpr std::string_view UICollectionElementKindSectionHeader = "UICollectionElementKindSectionHeader";
inline constexpr std::string_view UICollectionElementKindSectionFooter = "UICollectionElementKindSectionFooter";

/// Where a piece lies in the content. An empty kind is an item.
struct UICollectionViewLayoutAttributes {
    NSIndexPath indexPath;
    std::string_view kind;
    CGRect frame;
    friend bool operator==(const UICollectionViewLayoutAttributes&, const UICollectionViewLayoutAttributes&) = default;
};

enum class UICollectionViewScrollDirection : std::uint8_t { vertical, horizontal };

/// Items line by line, each line as high as its highest item, which all its items then are: a row's stripe has no
/// holes. Sizes come from the collection view's delegate.
class UICollectionViewFlowLayout {
public:
    UICollectionViewFlowLayout() = default;
    UICollectionViewFlowLayout(const UICollectionViewFlowLayout&) = delete;
    UICollectionViewFlowLayout& operator=(const UICollectionViewFlowLayout&) = delete;
    virtual ~UICollectionViewFlowLayout() = default;

    UICollectionViewScrollDirection scrollDirection = UICollectionViewScrollDirection::vertical;
    CGSize itemSize{50, 50};  ///< Where the delegate tells none.
    double minimumLineSpacing = 10;
    double minimumInteritemSpacing = 10;
    UIEdgeInsets sectionInset;

    /// Whether other bounds ask for other sizes. Only sizes by default: scrolling asks for nothing.
    [[nodiscard]] virtual bool shouldInvalidateLayoutForBoundsChange(const CGRect& oldBounds,
                                                                     const CGRect& newBounds) const {
        return oldBounds.size != newBounds.size;
    }
    void invalidateLayout() noexcept { valid_ = false; }
    [[nodiscard]] bool isValid() const noexcept { return valid_; }

    /// Asks for all sizes and lays out.
    void prepareLayout(UICollectionView& view);
    [[nodiscard]] CGSize collectionViewContentSize() const noexcept { return contentSize_; }
    /// In the order of the content. The pieces that a rectangle touches.
    [[nodiscard]] std::vector<UICollectionViewLayoutAttributes> layoutAttributesForElementsInRect(
        const CGRect& rect) const;
    /// nullopt for an index past the content.
    [[nodiscard]] std::optional<UICollectionViewLayoutAttributes> layoutAttributesForItemAtIndexPath(
        NSIndexPath indexPath) const;

private:
    struct Pen;
    void placeSection(UICollectionView& view, std::size_t section, Pen& pen);
    void placeSupplementary(UICollectionView& view, std::size_t section, std::string_view kind, Pen& pen);

    bool valid_ = false;
    CGSize contentSize_;
    std::vector<UICollectionViewLayoutAttributes> attributes_;  ///< Ascending along the scroll direction.
    std::vector<std::vector<std::size_t>> itemsBySection_;      ///< Indexes into attributes_.
};

}  // namespace tessaly
