#pragma once
#include <array>
#include <cstdint>
#include <functional>
#include <memory>

#include "platform/UIKit/NSLayoutConstraint.h"
#include "platform/UIKit/UICollectionView.h"
#include "platform/UIKit/UIControls.h"

namespace tessaly {

/// A rating in five stars, to look at: touching a star changes nothing.
class StarRatingCollectionViewCell : public UICollectionViewCell {
public:
    [[nodiscard]] std::string_view interfaceName() const noexcept override { return "StarRatingCollectionViewCell"; }

    std::shared_ptr<UILabel> exifKeyLabel = outlet<UILabel>("exifKeyLabel");
    std::shared_ptr<UIButton> star1 = outlet<UIButton>("star1");
    std::shared_ptr<UIButton> star2 = outlet<UIButton>("star2");
    std::shared_ptr<UIButton> star3 = outlet<UIButton>("star3");
    std::shared_ptr<UIButton> star4 = outlet<UIButton>("star4");
    std::shared_ptr<UIButton> star5 = outlet<UIButton>("star5");
    std::shared_ptr<UIView> contentHolderView = outlet<UIView>("contentHolderView");
    std::shared_ptr<UIView> separatorView = outlet<UIView>("separatorView");
    std::shared_ptr<NSLayoutConstraint> widthConstraint = outlet<NSLayoutConstraint>("widthConstraint", 0.0, false);

    /// Whether the cell keeps its own width, in widthConstraint; else it takes the one that the list gives it.
    bool shouldAutoResize = false;
    bool isOnEditor = false;
    bool shouldBeFullWidth = false;
    /// For an editor: told of a new rating. The cell itself never calls it.
    std::function<void(std::int64_t rating)> updateRatingBlock;

    void awakeFromNib() override;
    void prepareForReuse() override { updateRatingBlock = nullptr; }
    void updateFonts();
    void updateWidth();
    /// Fills the first stars; a rating that is not 1 to 5 fills none.
    void updateRatingWithValue(std::int64_t rating);
    void starButtonTapped(const std::shared_ptr<UIButton>& /*button*/) {}
    [[nodiscard]] std::shared_ptr<UICollectionView> presentingCollectionView() const {
        return presentingCollectionView_.lock();
    }
    void setPresentingCollectionView(const std::shared_ptr<UICollectionView>& view);
    [[nodiscard]] std::array<std::shared_ptr<UIButton>, 5> stars() const { return {star1, star2, star3, star4, star5}; }

protected:
    void boundsChanged() override { updateWidth(); }

private:
    std::weak_ptr<UICollectionView> presentingCollectionView_;
};

}  // namespace tessaly
