#pragma once
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "platform/UIKit/UICollectionViewCell.h"
#include "platform/UIKit/UICollectionViewLayout.h"

namespace tessaly {

class UICollectionView;

class UICollectionViewDataSource {
public:
    UICollectionViewDataSource() = default;
    UICollectionViewDataSource(const UICollectionViewDataSource&) = delete;
    UICollectionViewDataSource& operator=(const UICollectionViewDataSource&) = delete;
    virtual ~UICollectionViewDataSource() = default;
    [[nodiscard]] virtual std::size_t numberOfSectionsInCollectionView(UICollectionView&) { return 1; }
    [[nodiscard]] virtual std::size_t numberOfItemsInSection(UICollectionView&, std::size_t section) = 0;
    /// Null shows nothing there.
    [[nodiscard]] virtual std::shared_ptr<UICollectionViewCell> cellForItemAtIndexPath(UICollectionView&,
                                                                                       NSIndexPath) = 0;
    [[nodiscard]] virtual std::shared_ptr<UICollectionReusableView> viewForSupplementaryElementOfKind(
        UICollectionView&, std::string_view /*kind*/, NSIndexPath) {
        return nullptr;
    }
};

/// Hears of items a little before they come into sight.
class UICollectionViewDataSourcePrefetching {
public:
    UICollectionViewDataSourcePrefetching() = default;
    UICollectionViewDataSourcePrefetching(const UICollectionViewDataSourcePrefetching&) = delete;
    UICollectionViewDataSourcePrefetching& operator=(const UICollectionViewDataSourcePrefetching&) = delete;
    virtual ~UICollectionViewDataSourcePrefetching() = default;
    virtual void prefetchItemsAtIndexPaths(UICollectionView&, const std::vector<NSIndexPath>& indexPaths) = 0;
    /// They went out of reach again.
    virtual void cancelPrefetchingForItemsAtIndexPaths(UICollectionView&, const std::vector<NSIndexPath>&) {}
};

class UICollectionViewDelegateFlowLayout : public UIScrollViewDelegate {
public:
    [[nodiscard]] virtual CGSize sizeForItemAtIndexPath(UICollectionView& view, UICollectionViewFlowLayout& layout,
                                                        NSIndexPath indexPath);
    [[nodiscard]] virtual UIEdgeInsets insetForSection(UICollectionView&, UICollectionViewFlowLayout& layout,
                                                       std::size_t /*section*/) {
        return layout.sectionInset;
    }
    [[nodiscard]] virtual double minimumLineSpacingForSection(UICollectionView&, UICollectionViewFlowLayout& layout,
                                                              std::size_t /*section*/) {
        return layout.minimumLineSpacing;
    }
    [[nodiscard]] virtual double minimumInteritemSpacingForSection(UICollectionView&,
                                                                   UICollectionViewFlowLayout& layout,
                                                                   std::size_t /*section*/) {
        return layout.minimumInteritemSpacing;
    }
    [[nodiscard]] virtual CGSize referenceSizeForHeaderInSection(UICollectionView&, UICollectionViewFlowLayout&,
                                                                 std::size_t /*section*/) {
        return {};
    }
    [[nodiscard]] virtual CGSize referenceSizeForFooterInSection(UICollectionView&, UICollectionViewFlowLayout&,
                                                                 std::size_t /*section*/) {
        return {};
    }
    [[nodiscard]] virtual bool shouldHighlightItemAtIndexPath(UICollectionView&, NSIndexPath) { return true; }
    virtual void didSelectItemAtIndexPath(UICollectionView&, NSIndexPath) {}
    virtual void willDisplayCell(UICollectionView&, const std::shared_ptr<UICollectionViewCell>&, NSIndexPath) {}
    virtual void didEndDisplayingCell(UICollectionView&, const std::shared_ptr<UICollectionViewCell>&, NSIndexPath) {}
};

/// Shows items of which only those in sight, and a little beyond, exist as cells.
class UICollectionView : public UIScrollView {
public:
    using Factory = std::function<std::shared_ptr<UICollectionReusableView>()>;
    /// A piece that exists now. `view` changes its place and its content; whoever draws knows it by its pointer.
    struct Piece {
        UICollectionViewLayoutAttributes attributes;
        std::shared_ptr<UICollectionReusableView> view;
    };

    [[nodiscard]] std::shared_ptr<UICollectionViewDataSource> dataSource() const { return dataSource_.lock(); }
    void setDataSource(std::weak_ptr<UICollectionViewDataSource> source);
    void setPrefetchDataSource(std::weak_ptr<UICollectionViewDataSourcePrefetching> source) {
        prefetchDataSource_ = std::move(source);
    }
    [[nodiscard]] std::shared_ptr<UICollectionViewDelegateFlowLayout> delegate() const { return delegate_.lock(); }
    void setDelegate(const std::weak_ptr<UICollectionViewDelegateFlowLayout>& delegate);
    [[nodiscard]] UICollectionViewFlowLayout& collectionViewLayout() const noexcept { return *layout_; }
    void setCollectionViewLayout(std::shared_ptr<UICollectionViewFlowLayout> layout);

    template <class Cell>
    void registerClass(const std::string& forReuseIdentifier) {
        registerFactory(forReuseIdentifier, [] { return std::make_shared<Cell>(); });
    }
    void registerFactory(const std::string& forReuseIdentifier, Factory factory);
    /// One that is out of use, else a new one; null for an identifier that was not registered. For the data source, and
    /// valid while it answers.
    [[nodiscard]] std::shared_ptr<UICollectionReusableView> dequeueReusableViewWithReuseIdentifier(
        const std::string& identifier);
    template <class Cell>
    [[nodiscard]] std::shared_ptr<Cell> dequeue(const std::string& identifier) {
        return std::dynamic_pointer_cast<Cell>(dequeueReusableViewWithReuseIdentifier(identifier));
    }

    /// Asks the data source for everything again, with the next layout.
    void reloadData();
    void reloadItemsAtIndexPaths(const std::vector<NSIndexPath>& indexPaths);
    void invalidateLayout();
    /// Makes the pieces that are in sight, if anything changed since. Everything below does that first.
    void layoutIfNeeded();

    [[nodiscard]] std::size_t numberOfSections();
    /// 0 for a section past the last.
    [[nodiscard]] std::size_t numberOfItemsInSection(std::size_t section);
    [[nodiscard]] const std::vector<Piece>& pieces();
    [[nodiscard]] std::vector<std::shared_ptr<UICollectionViewCell>> visibleCells();
    [[nodiscard]] std::shared_ptr<UICollectionViewCell> cellForItemAtIndexPath(NSIndexPath indexPath);
    /// The item under a point of the content.
    [[nodiscard]] std::optional<NSIndexPath> indexPathForItemAtPoint(CGPoint point);
    /// Brings the item's beginning to the view's, as far as the content reaches. An index past the content does
    /// nothing.
    void scrollToItemAtIndexPath(NSIndexPath indexPath, bool animated);

    /// The screen's report of a tap on an item.
    void userSelected(NSIndexPath indexPath);

protected:
    void boundsChanged() override;
    void didMove() override;

private:
    void needsLayout();
    void countItems();
    /// The nearest offset that shows nothing beyond the content and its insets.
    [[nodiscard]] CGPoint withinContent(CGPoint offset) const noexcept;
    void clampOffset();
    void showPieces();
    [[nodiscard]] CGRect wantedRect() const noexcept;
    [[nodiscard]] std::shared_ptr<UICollectionReusableView> makePiece(const UICollectionViewLayoutAttributes& at);
    void retire(const Piece& piece);
    /// Tells what came and went since.
    void tellPrefetching(const std::set<NSIndexPath>& before);
    [[nodiscard]] std::set<NSIndexPath> itemsOfPieces() const;

    std::weak_ptr<UICollectionViewDataSource> dataSource_;
    std::weak_ptr<UICollectionViewDataSourcePrefetching> prefetchDataSource_;
    std::weak_ptr<UICollectionViewDelegateFlowLayout> delegate_;
    std::shared_ptr<UICollectionViewFlowLayout> layout_ = std::make_shared<UICollectionViewFlowLayout>();
    std::map<std::string, Factory, std::less<>> factories_;
    std::map<std::string, std::vector<std::shared_ptr<UICollectionReusableView>>, std::less<>> reusable_;
    std::vector<std::size_t> itemCounts_;
    std::vector<Piece> pieces_;
    std::set<NSIndexPath> stale_;  ///< Items to be asked for again.
    CGRect laidOutBounds_;
    bool needsReload_ = true;
    bool needsLayout_ = true;
    bool layingOut_ = false;
};

}  // namespace tessaly
