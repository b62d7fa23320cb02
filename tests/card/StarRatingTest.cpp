#include <gtest/gtest.h>

#include "card/StarRatingCollectionViewCell.h"
#include "platform/UIKit/UITraitCollection.h"
#include "settings/PersistanceManager.h"

namespace tessaly {
namespace {

std::shared_ptr<StarRatingCollectionViewCell> makeCell() {
    auto cell = std::make_shared<StarRatingCollectionViewCell>();
    cell->awakeFromNib();
    return cell;
}

TEST(StarRating, FillsTheFirstStarsAndTellsHowMany) {
    const auto cell = makeCell();
    struct Case {
        std::int64_t rating, filled;
    };
    for (const auto& [rating, filled] : {Case{3, 3}, {5, 5}, {1, 1}, {0, 0}, {6, 0}, {-1, 0}}) {
        cell->updateRatingWithValue(rating);
        std::int64_t position = 0;
        for (const auto& star : cell->stars()) EXPECT_EQ(star->isSelected(), ++position <= filled) << rating;
        EXPECT_EQ(cell->accessibility().value, std::to_string(filled));
    }
    EXPECT_EQ(cell->accessibility().label, "Star Rating");
}

TEST(StarRating, KeepsItsWidthOnlyWhereItIsToldTo) {
    struct Case {
        const char* why;
        bool resizes, isPad, isFullWidth;
        double width;
    };
    const Case cases[] = {
        {"two columns", true, true, false, 379},
        {"one of them alone", true, true, true, 766},
        {"a phone", true, false, false, 766},
        {"the list decides", false, true, false, 0},
    };
    UITraitCollection& traits = UITraitCollection::currentTraitCollection();
    const auto list = std::make_shared<UICollectionView>();
    list->setFrame({{0, 0}, {768, 900}});
    for (const auto& [why, resizes, isPad, isFullWidth, width] : cases) {
        traits.setUserInterfaceIdiom(isPad ? UIUserInterfaceIdiom::pad : UIUserInterfaceIdiom::phone);
        const auto cell = makeCell();
        cell->shouldAutoResize = resizes;
        cell->shouldBeFullWidth = isFullWidth;
        cell->setPresentingCollectionView(list);
        EXPECT_EQ(cell->widthConstraint->constant(), width) << why;
        EXPECT_EQ(cell->widthConstraint->isActive(), resizes) << why;
    }
    traits.setUserInterfaceIdiom(UIUserInterfaceIdiom::phone);
}

TEST(StarRating, FollowsTheFontSettingInItsOwnSize) {
    const auto cell = makeCell();
    cell->exifKeyLabel->setFont({"", 19});
    for (const bool light : {true, false}) {
        PersistanceManager::sharedInstance().setIsUsingLightFontOnExifDetailsScreen(light);
        cell->updateFonts();
        EXPECT_EQ(cell->exifKeyLabel->font(), (UIFont{light ? "AvenirNext-Regular" : "AvenirNext-Medium", 19}));
    }
}

}  // namespace
}  // namespace tessaly
