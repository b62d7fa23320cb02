#pragma once
#include <QPointer>
#include <QQuickItem>
#include <map>
#include <memory>

#include "linux/quick/outlets/CollectionViewOutlet.h"

namespace tessaly::quick {

/// The content of a collection view: an item of the interface file for every cell that there is, at its place. A cell
/// keeps its item when it shows something else.
class CollectionContent : public QQuickItem {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(tessaly::quick::CollectionViewOutlet* outlet READ outlet WRITE setOutlet NOTIFY outletChanged)
    /// Whether the content runs from right to left.
    Q_PROPERTY(bool mirrored READ isMirrored WRITE setMirrored NOTIFY mirroredChanged)
    /// Of pages the item of the one that is in sight; null of a list.
    Q_PROPERTY(QQuickItem* current READ current NOTIFY currentChanged)

public:
    explicit CollectionContent(QQuickItem* parent = nullptr);
    ~CollectionContent() override;
    [[nodiscard]] CollectionViewOutlet* outlet() const { return outlet_; }
    void setOutlet(CollectionViewOutlet* outlet);
    [[nodiscard]] bool isMirrored() const { return mirrored_; }
    void setMirrored(bool mirrored);
    /// The item under a point of the content was tapped, or long pressed.
    Q_INVOKABLE void tapAt(qreal x, qreal y);
    /// The cell of this item, or of one below it, was pressed by keyboard or by a screen reader. False where pressing
    /// does nothing.
    Q_INVOKABLE bool press(const QQuickItem* item);
    /// Asked for what else can be done with it, as by a long press.
    Q_INVOKABLE void openMenu(const QQuickItem* item);
    /// Makes the items of the cells at once, and not with the next frame.
    Q_INVOKABLE void settle() { updatePolish(); }
    [[nodiscard]] QQuickItem* current() const { return current_; }

signals:
    void outletChanged();
    void mirroredChanged();
    void currentChanged();

protected:
    void updatePolish() override;
    void keyPressEvent(QKeyEvent* event) override;
    void geometryChange(const QRectF& now, const QRectF& before) override;

private:
    struct Shown {
        std::shared_ptr<UICollectionReusableView> cell;
        QQuickItem* item = nullptr;
        bool inUse = false;
    };
    [[nodiscard]] QQuickItem* itemFor(const std::shared_ptr<UICollectionReusableView>& cell);
    void place(QQuickItem& item, const CGRect& frame) const;
    [[nodiscard]] const UICollectionView::Piece* pieceOf(const QQuickItem* item) const;
    [[nodiscard]] bool isHeader(const UICollectionView::Piece& piece) const;
    void followPage();

    CollectionViewOutlet* outlet_ = nullptr;
    bool mirrored_ = false;
    QPointer<QQuickItem> current_;
    std::map<const UICollectionReusableView*, Shown> shown_;
};

}  // namespace tessaly::quick
