#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <set>

#include "platform/UIKit/UICollectionView.h"

namespace tessaly {
namespace {

class Cell : public UICollectionViewCell {
public:
    static inline int made = 0;
    Cell() { ++made; }
    [[nodiscard]] std::string_view interfaceName() const noexcept override { return "Cell"; }
    void prepareForReuse() override { shows = {}; }
    std::optional<NSIndexPath> shows;
};

/// Sections of so many items, all of one size unless `sizeOf` tells another.
class List : public UICollectionViewDataSource, public UICollectionViewDelegateFlowLayout {
public:
    std::vector<std::size_t> counts{0};
    std::function<CGSize(NSIndexPath)> sizeOf = [](NSIndexPath) { return CGSize{390, 44}; };
    CGSize header;
    UIEdgeInsets inset;
    double spacing = 0;
    std::vector<NSIndexPath> asked, displayed, ended, chosen;
    int scrolled = 0;
    std::function<void()> whileShowing;

    std::size_t numberOfSectionsInCollectionView(UICollectionView&) override { return counts.size(); }
    std::size_t numberOfItemsInSection(UICollectionView&, std::size_t section) override { return counts[section]; }
    std::shared_ptr<UICollectionViewCell> cellForItemAtIndexPath(UICollectionView& view, NSIndexPath at) override {
        asked.push_back(at);
        auto cell = view.dequeue<Cell>("cell");
        EXPECT_FALSE(cell->shows) << "a piece is used again only after it was prepared";
        cell->shows = at;
        return cell;
    }
    std::shared_ptr<UICollectionReusableView> viewForSupplementaryElementOfKind(UICollectionView& view,
                                                                                std::string_view,
                                                                                NSIndexPath) override {
        return view.dequeueReusableViewWithReuseIdentifier("header");
    }
    CGSize sizeForItemAtIndexPath(UICollectionView&, UICollectionViewFlowLayout&, NSIndexPath at) override {
        return sizeOf(at);
    }
    CGSize referenceSizeForHeaderInSection(UICollectionView&, UICollectionViewFlowLayout&, std::size_t) override {
        return header;
    }
    UIEdgeInsets insetForSection(UICollectionView&, UICollectionViewFlowLayout&, std::size_t) override { return inset; }
    double minimumLineSpacingForSection(UICollectionView&, UICollectionViewFlowLayout&, std::size_t) override {
        return spacing;
    }
    double minimumInteritemSpacingForSection(UICollectionView&, UICollectionViewFlowLayout&, std::size_t) override {
        return spacing;
    }
    void willDisplayCell(UICollectionView&, const std::shared_ptr<UICollectionViewCell>&, NSIndexPath at) override {
        displayed.push_back(at);
        if (whileShowing) std::exchange(whileShowing, nullptr)();
    }
    void didEndDisplayingCell(UICollectionView&, const std::shared_ptr<UICollectionViewCell>&,
                              NSIndexPath at) override {
        ended.push_back(at);
    }
    bool shouldHighlightItemAtIndexPath(UICollectionView&, NSIndexPath at) override { return at.item != 1; }
    void didSelectItemAtIndexPath(UICollectionView&, NSIndexPath at) override { chosen.push_back(at); }
    void scrollViewDidScroll(UIScrollView&) override { ++scrolled; }
};

class CollectionView : public testing::Test {
protected:
    CollectionView() {
        Cell::made = 0;
        view.registerClass<Cell>("cell");
        view.registerClass<Cell>("header");
        view.setDelegate(list);
        view.setDataSource(list);
        view.setFrame({{0, 0}, {390, 700}});
    }
    CGRect frameOf(std::size_t item, std::size_t section = 0) {
        view.layoutIfNeeded();
        return view.collectionViewLayout().layoutAttributesForItemAtIndexPath({item, section}).value().frame;
    }
    std::set<NSIndexPath> shown() {
        std::set<NSIndexPath> places;
        for (const auto& piece : view.pieces()) {
            if (!piece.attributes.kind.empty()) continue;
            EXPECT_EQ(std::dynamic_pointer_cast<Cell>(piece.view)->shows, piece.attributes.indexPath);
            EXPECT_EQ(piece.view->frame(), piece.attributes.frame);
            EXPECT_TRUE(places.insert(piece.attributes.indexPath).second) << "an item has one cell";
        }
        return places;
    }
    /// Everything that a point of the view itself shows must exist.
    void expectNoHoles() {
        const auto there = shown();
        const CGPoint offset = view.contentOffset();
        for (std::size_t section = 0; section < list->counts.size(); ++section) {
            for (std::size_t item = 0; item < list->counts[section]; ++item) {
                const CGRect frame = frameOf(item, section);
                const bool inSight = frame.origin.y < offset.y + view.boundsSize().height &&
                                     frame.origin.y + frame.size.height > offset.y &&
                                     frame.origin.x < offset.x + view.boundsSize().width &&
                                     frame.origin.x + frame.size.width > offset.x;
                EXPECT_TRUE(!inSight || there.contains({item, section})) << section << "/" << item;
            }
        }
    }

    std::shared_ptr<List> list = std::make_shared<List>();
    UICollectionView view;
};

TEST_F(CollectionView, PutsOneItemALineOnAPhoneAndTwoOnATablet) {
    struct Case {
        double width, item;
        CGRect second, third;
        const char* why;
    };
    const Case cases[] = {
        {390, 390, {{0, 144}, {390, 44}}, {{0, 188}, {390, 44}}, "a phone"},
        {820, 410, {{410, 100}, {410, 44}}, {{0, 144}, {410, 44}}, "a tablet"},
        {821,
         410,
         {{410.5, 100}, {410.5, 44}},
         {{0, 144}, {410.5, 44}},
         "an odd width leaves no gap, nor the last line"},
        {820, 300, {{300, 100}, {300, 44}}, {{0, 144}, {300, 44}}, "two items that do not fill the line stay as wide"},
    };
    list->counts = {3};
    list->header = {1, 100};
    for (const auto& [width, item, second, third, why] : cases) {
        list->sizeOf = [item = item](NSIndexPath) { return CGSize{item, 44}; };
        view.reloadData();
        view.setFrame({{0, 0}, {width, 700}});
        EXPECT_EQ(frameOf(1), second) << why;
        EXPECT_EQ(frameOf(2), third) << why;
        EXPECT_EQ(view.contentSize(), (CGSize{width, third.origin.y + 44})) << why;
    }
    EXPECT_EQ(view.pieces().front().attributes.kind, UICollectionElementKindSectionHeader);
    EXPECT_EQ(view.visibleCells().size(), 3U) << "the header is none of them";
}

TEST_F(CollectionView, MakesALineAsHighAsItsHighestItem) {
    list->counts = {4, 1};
    list->spacing = 10;
    list->inset = {5, 8, 7, 12};
    list->sizeOf = [](NSIndexPath at) { return CGSize{180, at.item == 1 ? 90.0 : 44.0}; };
    EXPECT_EQ(frameOf(0), (CGRect{{8, 5}, {180, 90}}));
    EXPECT_EQ(frameOf(1), (CGRect{{198, 5}, {180, 90}}));
    EXPECT_EQ(frameOf(2), (CGRect{{8, 105}, {180, 44}}));
    EXPECT_EQ(frameOf(0, 1), (CGRect{{8, 161}, {180, 44}})) << "behind the insets of both sections";
    EXPECT_EQ(view.contentSize().height, 212);
    EXPECT_FALSE(view.collectionViewLayout().layoutAttributesForItemAtIndexPath({4, 0}));
    EXPECT_FALSE(view.collectionViewLayout().layoutAttributesForItemAtIndexPath({0, 2}));
}

TEST_F(CollectionView, PagesSideways) {
    list->counts = {50};
    list->sizeOf = [](NSIndexPath) { return CGSize{390, 700}; };
    view.collectionViewLayout().scrollDirection = UICollectionViewScrollDirection::horizontal;
    view.setPagingEnabled(true);
    view.scrollToItemAtIndexPath({20, 0}, false);
    EXPECT_EQ(view.contentOffset(), (CGPoint{20 * 390.0, 0}));
    EXPECT_THAT(shown(), testing::ElementsAre(NSIndexPath{19}, NSIndexPath{20}, NSIndexPath{21}))
        << "the neighbours are there before a finger draws them in";
    const CGPoint before = view.contentOffset();
    view.scrollToItemAtIndexPath({50, 0}, false);
    EXPECT_EQ(view.contentOffset(), before) << "there is no such page";
}

TEST_F(CollectionView, ShowsTenThousandItemsWithAFewCells) {
    list->counts = {10000};
    std::mt19937 random(7);
    expectNoHoles();
    const int first = Cell::made;
    for (double y = 0; y < 10000 * 44.0 - 700; y += 333) {
        view.userScrolled({0, y});
        view.layoutIfNeeded();
    }
    for (int jump = 0; jump < 200; ++jump) {
        view.userScrolled({0, std::uniform_real_distribution<>(0, 10000 * 44.0 - 700)(random)});
        const auto there = shown();
        EXPECT_GE(there.size(), 17U);
        EXPECT_LE(there.size(), 40U);
    }
    expectNoHoles();
    EXPECT_LE(Cell::made, 2 * first);
    EXPECT_LE(Cell::made, 60);
    EXPECT_EQ(list->displayed.size() - list->ended.size(), shown().size())
        << "every cell that came has gone or is there";
}

TEST_F(CollectionView, AsksForNothingWhileAnItemStays) {
    list->counts = {100};
    shown();
    const auto cell = view.cellForItemAtIndexPath({5, 0});
    list->asked.clear();
    view.userScrolled({0, 1});
    view.invalidateLayout();
    shown();
    EXPECT_THAT(list->asked, testing::SizeIs(testing::Le(1U)));
    EXPECT_EQ(view.cellForItemAtIndexPath({5, 0}), cell);

    list->asked.clear();
    view.reloadItemsAtIndexPaths({{5, 0}, {7, 0}, {90, 0}});
    shown();
    EXPECT_THAT(list->asked, testing::ElementsAre(NSIndexPath{5}, NSIndexPath{7})) << "90 is not in sight";
}

TEST_F(CollectionView, MovesWhatStandsBelowAnItemThatGrew) {
    list->counts = {10};
    EXPECT_EQ(frameOf(9).origin.y, 9 * 44);
    list->sizeOf = [](NSIndexPath at) { return CGSize{390, at.item == 2 ? 144.0 : 44.0}; };
    view.reloadItemsAtIndexPaths({{2, 0}});
    expectNoHoles();
    EXPECT_EQ(view.cellForItemAtIndexPath({9, 0})->frame().origin.y, 9 * 44 + 100);
    EXPECT_EQ(view.contentSize().height, 540);
}

TEST_F(CollectionView, ComesBackWhenItsContentShrinks) {
    struct Case {
        std::size_t count;
        double inset, want;
        const char* why;
    };
    const Case cases[] = {
        {50, 0, 50 * 44 - 700, "the end of the new content"},
        {50, 30, 50 * 44 - 670, "and what is kept free below it"},
        {3, 0, 0, "a content shorter than the view"},
        {0, 0, 0, "nothing"},
    };
    for (const auto& [count, inset, want, why] : cases) {
        view.setContentInset({0, 0, inset, 0});
        list->counts = {1000};
        view.reloadData();
        view.scrollToItemAtIndexPath({999, 0}, false);
        EXPECT_EQ(view.contentOffset().y, 1000 * 44 - 700 + inset) << "no further than the content";
        list->counts = {count};
        view.reloadData();
        expectNoHoles();
        EXPECT_EQ(view.contentOffset().y, want) << why;
    }
    list->counts = {1000};
    view.reloadData();
    view.scrollToItemAtIndexPath({500, 0}, false);
    view.userBeganDragging();
    list->counts = {3};
    view.reloadData();
    view.layoutIfNeeded();
    EXPECT_EQ(view.contentOffset().y, 500 * 44) << "a finger holds it";
}

TEST_F(CollectionView, FindsTheItemUnderAPointAsASearchOfAllDoes) {
    std::mt19937 random(11);
    const auto number = [&](double from, double to) { return std::uniform_real_distribution<>(from, to)(random); };
    for (int round = 0; round < 20; ++round) {
        list->counts.assign(1 + random() % 3, 0);
        for (std::size_t& count : list->counts) count = random() % 60;
        list->spacing = std::floor(number(0, 12));
        list->inset = {number(0, 20), number(0, 20), number(0, 20), number(0, 20)};
        list->header = {10, round % 2 == 0 ? 0.0 : number(1, 80)};
        list->sizeOf = [seed = random()](NSIndexPath at) {
            return CGSize{60 + double((at.item * 37 + seed) % 150), 20 + double((at.item * 53 + at.section) % 70)};
        };
        view.reloadData();
        expectNoHoles();
        for (int shot = 0; shot < 300; ++shot) {
            const CGPoint point{number(-10, 400), number(-10, view.contentSize().height + 10)};
            std::optional<NSIndexPath> want;
            for (std::size_t section = 0; section < list->counts.size(); ++section) {
                for (std::size_t item = 0; item < list->counts[section]; ++item) {
                    const CGRect at = frameOf(item, section);
                    if (point.x >= at.origin.x && point.x < at.origin.x + at.size.width && point.y >= at.origin.y &&
                        point.y < at.origin.y + at.size.height)
                        want = NSIndexPath{item, section};
                }
            }
            EXPECT_EQ(view.indexPathForItemAtPoint(point), want) << point.x << " " << point.y;
        }
    }
}

TEST_F(CollectionView, LaysOutAgainForAnotherWidthOnly) {
    list->counts = {100};
    int sizesAsked = 0;
    list->sizeOf = [&](NSIndexPath) {
        ++sizesAsked;
        return CGSize{view.boundsSize().width, 44};
    };
    shown();
    EXPECT_EQ(sizesAsked, 100);
    view.userScrolled({0, 500});
    shown();
    view.setFrame({{0, 20}, {390, 700}});
    shown();
    EXPECT_EQ(sizesAsked, 100) << "moved, not resized";
    view.setFrame({{0, 20}, {844, 390}});
    expectNoHoles();
    EXPECT_EQ(sizesAsked, 200);
    EXPECT_EQ(frameOf(3).size.width, 844);
}

TEST_F(CollectionView, MayBeReloadedByWhatItAsks) {
    list->counts = {5};
    list->whileShowing = [&] {
        list->counts = {2};
        view.reloadData();
    };
    int told = 0;
    const auto observation = view.observe([&] { ++told; });
    view.layoutIfNeeded();
    EXPECT_GT(told, 0) << "whoever draws hears that there is more to do";
    EXPECT_THAT(shown(), testing::ElementsAre(NSIndexPath{0}, NSIndexPath{1}));
}

TEST_F(CollectionView, TellsOfTapsWhereTheyAreAllowed) {
    list->counts = {3};
    for (std::size_t item = 0; item < 3; ++item) view.userSelected({item, 0});
    EXPECT_THAT(list->chosen, testing::ElementsAre(NSIndexPath{0}, NSIndexPath{2}));
}

TEST_F(CollectionView, OutlivesItsSource) {
    list->counts = {5};
    shown();
    list = nullptr;
    view.reloadData();
    EXPECT_TRUE(view.pieces().empty());
    EXPECT_EQ(view.contentSize().height, 0);
    EXPECT_EQ(view.numberOfItemsInSection(7), 0U);
    EXPECT_FALSE(view.dequeueReusableViewWithReuseIdentifier("another"));
}

}  // namespace
}  // namespace tessaly
