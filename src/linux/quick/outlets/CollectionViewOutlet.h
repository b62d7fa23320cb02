#pragma once
#include <QElapsedTimer>

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
    Q_PROPERTY(int itemCount READ itemCount NOTIFY changed)
    Q_PROPERTY(bool scrollEnabled READ scrollEnabled NOTIFY changed)
    Q_PROPERTY(int page READ page NOTIFY changed)

public:
    CollectionViewOutlet(std::shared_ptr<UICollectionView> view, QObject* parent);
    ~CollectionViewOutlet() override;

    [[nodiscard]] qreal contentWidth() const { return collection_->contentSize().width; }
    [[nodiscard]] qreal contentHeight() const { return collection_->contentSize().height; }
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
    /// To the item so many pages on, with an animation.
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
};

}  // namespace tessaly::quick
