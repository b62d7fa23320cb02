#pragma once
#include <QColor>
#include <QFont>
#include <QImage>
#include <QList>
#include <QPainter>
#include <QRectF>
#include <QString>
#include <string>

#include "linux/location/MapProjection.h"

namespace tessaly::quick {

/// How maps look.
struct MapStyle {
    MKMapType type = MKMapType::standard;
    bool isDark = false;
    bool isMetric = true;
    qreal textScale = 1;
    QString family;
    QColor secondaryText;
    std::string locale;  ///< Of numbers and units.
    friend bool operator==(const MapStyle&, const MapStyle&) = default;

    [[nodiscard]] QColor ground() const;
    [[nodiscard]] QColor line() const;
    [[nodiscard]] QColor faintText() const;
};

/// A sheet while it is being drawn: what is written on it keeps clear of what was there before.
class MapSheet {
public:
    MapSheet(QPainter& painter, const location::MapProjection& projection, const MapStyle& style,
             QList<QRectF> occupied, qreal pixelsAPoint);

    [[nodiscard]] QPainter& painter() const { return painter_; }
    [[nodiscard]] const location::MapProjection& projection() const { return projection_; }
    [[nodiscard]] const MapStyle& style() const { return style_; }
    [[nodiscard]] const QRectF& area() const { return area_; }
    [[nodiscard]] qreal pixelsAPoint() const { return pixelsAPoint_; }
    [[nodiscard]] QPointF at(CLLocationCoordinate2D coordinate) const;
    [[nodiscard]] QFont font(qreal points, QFont::Weight weight) const;

    /// Whether the rectangle lies on the sheet and nothing stands there, nor close to it.
    [[nodiscard]] bool isFree(const QRectF& rectangle) const;
    /// The same, but something may touch it and annotations may cover it.
    [[nodiscard]] bool isClear(const QRectF& rectangle) const;
    void occupy(const QRectF& rectangle) { occupied_.append(rectangle); }
    /// With a thin halo of the ground's colour; `corner` is the upper left one of the text's line.
    void write(const QPointF& corner, const QString& text, const QFont& font, const QColor& color) const;

private:
    QPainter& painter_;
    const location::MapProjection& projection_;
    const MapStyle& style_;
    QRectF area_;
    QList<QRectF> occupied_;
    qsizetype annotations_;  // The first ones of what is occupied.
    qreal pixelsAPoint_;
};

/// Lines of latitude and longitude at round steps, with their degrees at the edges.
void drawGraticule(MapSheet& sheet);
/// How long a round length is, in the lower left corner.
void drawScaleBar(MapSheet& sheet);
/// The populated places and their names, the largest first; where none is in sight, arrows to the nearest ones.
void drawPlaces(MapSheet& sheet);

/// The whole sheet. `occupied` is where nothing shall be written, in points.
[[nodiscard]] QImage drawnMap(const location::MapProjection& projection, const MapStyle& style,
                              const QList<QRectF>& occupied, qreal pixelsAPoint);

}  // namespace tessaly::quick
