#pragma once
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

public:
    explicit CollectionContent(QQuickItem* parent = nullptr);
    ~CollectionContent() override;
    [[nodiscard]] CollectionViewOutlet* outlet() const { return outlet_; }
    void setOutlet(CollectionViewOutlet* outlet);
    [[nodiscard]] bool isMirrored() const { return mirrored_; }
    void setMirrored(bool mirrored);
    /// The item under a point of the content was tapped, or long pressed.
    Q_INVOKABLE void tapAt(qreal x, qreal y);

signals:
    void outletChanged();
    void mirroredChanged();

protected:
    void updatePolish() override;
    void geometryChange(const QRectF& now, const QRectF& before) override;

private:
    struct Shown {
        std::shared_ptr<UICollectionReusableView> cell;
        QQuickItem* item = nullptr;
        bool inUse = false;
    };
    [[nodiscard]] QQuickItem* itemFor(const std::shared_ptr<UICollectionReusableView>& cell);
    void place(QQuickItem& item, const CGRect& frame) const;

    CollectionViewOutlet* outlet_ = nullptr;
    bool mirrored_ = false;
    std::map<const UICollectionReusableView*, Shown> shown_;
};

}  // namespace tessaly::quick
