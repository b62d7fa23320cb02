#pragma once
#include <QElapsedTimer>
#include <optional>

#include "linux/quick/outlets/ViewOutlet.h"
#include "platform/UIKit/UICollectionView.h"

namespace tessaly::quick {

/// A collection view, moved by a flickable item: that reports where it stands, and goes where it is sent.
class CollectionViewOutlet : public tessaly::quick::ViewOutlet {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Outlets come from their owner")
    Q_PROPERTY(qreal contentWidth READ contentWidth NOTIFY changed)
    Q_PROPERTY(qreal contentHeight READ contentHeight NOTIFY changed)
    /// Room below the content for what covers the view's lower edge.
    Q_PROPERTY(qreal bottomInset READ bottomInset NOTIFY changed)
    Q_PROPERTY(int itemCount READ itemCount NOTIFY changed)
    Q_PROPERTY(bool scrollEnabled READ scrollEnabled NOTIFY changed)
    Q_PROPERTY(int page READ page NOTIFY changed)

public:
    CollectionViewOutlet(std::shared_ptr<UICollectionView> view, QObject* parent);
    ~CollectionViewOutlet() override;

    [[nodiscard]] qreal contentWidth() const { return collection_->contentSize().width; }
    [[nodiscard]] qreal contentHeight() const { return collection_->contentSize().height; }
    [[nodiscard]] qreal bottomInset() const { return collection_->contentInset().bottom; }
    /// Of the first section.
    [[nodiscard]] int itemCount() const { return static_cast<int>(collection_->numberOfItemsInSection(0)); }
    [[nodiscard]] bool scrollEnabled() const;
    /// The item that fills the view, of items as wide as it.
    [[nodiscard]] int page() const;
    [[nodiscard]] const std::shared_ptr<UICollectionView>& collection() const { return collection_; }

    // The flickable's reports.
    Q_INVOKABLE void scrolledTo(qreal x, qreal y);
    Q_INVOKABLE void dragBegan();
    /// `moves` tells whether it goes on by itself.
    Q_INVOKABLE void dragEnded(bool moves);
    Q_INVOKABLE void movementEnded();
    Q_INVOKABLE void animationEnded();
    /// The wheel was turned: `towardsEnd` of the content, or back.
    Q_INVOKABLE void wheeled(bool towardsEnd);
    /// To the item so many pages on from where it stands, or is being sent, with an animation.
    Q_INVOKABLE void turnPages(int by);
    Q_INVOKABLE void turnToPage(int index);

signals:
    /// The view was sent somewhere.
    void scrollRequested(qreal x, qreal y, bool animated);

private:
    std::shared_ptr<UICollectionView> collection_;
    Observable::Observation offset_;
    CGPoint reported_;  ///< Where the flickable stands.
    CGPoint velocity_;
    QElapsedTimer sinceReport_;
    std::optional<int> destination_;  ///< The page that an animation is on its way to.
};

}  // namespace tessaly::quick
