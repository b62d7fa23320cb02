#pragma once
#include <QImage>
#include <QPointer>
#include <QQuickItem>
#include <optional>

#include "linux/quick/map/MapOutlet.h"
#include "linux/quick/map/MapSheet.h"
#include "linux/quick/window/Theme.h"

namespace tessaly::quick {

/// The ground of a map: lines of latitude and longitude, the places around, a scale. It is drawn anew when what is
/// shown has changed, and else is a picture.
class MapItem : public QQuickItem {
    Q_OBJECT
    QML_NAMED_ELEMENT(MapGround)
    Q_PROPERTY(tessaly::quick::MapOutlet* outlet READ outlet WRITE setOutlet NOTIFY outletChanged)
    Q_PROPERTY(tessaly::quick::Theme* theme READ theme WRITE setTheme NOTIFY themeChanged)

public:
    explicit MapItem(QQuickItem* parent = nullptr);
    [[nodiscard]] MapOutlet* outlet() const { return outlet_; }
    void setOutlet(MapOutlet* outlet);
    [[nodiscard]] Theme* theme() const { return theme_; }
    void setTheme(Theme* theme);

signals:
    void outletChanged();
    void themeChanged();

protected:
    QSGNode* updatePaintNode(QSGNode* node, UpdatePaintNodeData*) override;
    void updatePolish() override;
    void itemChange(ItemChange change, const ItemChangeData& data) override;

private:
    /// All that the picture depends on.
    struct Shown {
        location::MapProjection projection;
        MapStyle style;
        QList<QRectF> occupied;
        qreal pixelsAPoint;
        friend bool operator==(const Shown&, const Shown&) = default;
    };
    [[nodiscard]] Shown wanted() const;

    QPointer<MapOutlet> outlet_;
    QPointer<Theme> theme_;
    std::optional<Shown> shown_;
    QImage picture_;
    bool isStale_ = true;
};

}  // namespace tessaly::quick
