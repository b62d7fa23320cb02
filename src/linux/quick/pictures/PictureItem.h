#pragma once
#include <QImage>
#include <QQuickItem>

#include "linux/quick/outlets/ControlOutlets.h"

namespace tessaly::quick {

/// The picture of an image view. It is decoded and turned upright on other threads; until then the item shows what it
/// had, if that was a picture of the same view, else nothing.
class PictureItem : public QQuickItem {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(tessaly::quick::ImageOutlet* outlet READ outlet WRITE setOutlet NOTIFY outletChanged)
    /// Whether there is something to see.
    Q_PROPERTY(bool ready READ isReady NOTIFY readyChanged)

public:
    explicit PictureItem(QQuickItem* parent = nullptr);
    [[nodiscard]] ImageOutlet* outlet() const { return outlet_; }
    void setOutlet(ImageOutlet* outlet);
    [[nodiscard]] bool isReady() const { return !picture_.isNull(); }

signals:
    void outletChanged();
    void readyChanged();

protected:
    QSGNode* updatePaintNode(QSGNode* node, UpdatePaintNodeData*) override;
    void geometryChange(const QRectF& now, const QRectF& before) override;

private:
    void follow();
    void arrived(const UIImageRef& image, const QImage& picture);

    ImageOutlet* outlet_ = nullptr;
    UIImageRef image_;  ///< What is shown, or on its way.
    QImage picture_;    ///< Shares the bitmap's memory.
    bool textureIsStale_ = false;
};

/// The bitmap as the toolkit draws it, turned upright; it shares memory where the layouts agree. Null for null.
[[nodiscard]] QImage toQt(const UIImageRef& image);

}  // namespace tessaly::quick
