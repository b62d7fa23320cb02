#include "linux/quick/map/MapSheet.h"

#include <QFontMetricsF>
#include <QGlyphRun>
#include <QPainterPath>
#include <QTextLayout>
#include <algorithm>
#include <cmath>

#include "linux/location/DistanceText.h"
#include "linux/quick/outlets/ViewOutlet.h"

namespace tessaly::quick {
namespace {

constexpr qreal kHalo = 0.9;
constexpr QPointF kAround[] = {{1, 1}, {-1, 1}, {-1, -1}, {1, -1}};
constexpr qreal kGap = 4;             // Between texts, and to the edge.
constexpr qreal kLargestScale = 1.5;  // A map's names may not cover it.
constexpr qreal kBarWidth = 96;
constexpr qreal kBarHeight = 4;
constexpr qreal kBarMargin = 14;

struct Tones {
    QRgb light, dark;
};

/// By map type: paper, moss, and what is between them.
constexpr Tones kGrounds[] = {{0xFFF2F1ED, 0xFF16181B}, {0xFFDFE5DC, 0xFF101712}, {0xFFE9ECE4, 0xFF131816}};

}  // namespace

QColor MapStyle::ground() const {
    const Tones& tones = kGrounds[type == MKMapType::satellite ? 1 : type == MKMapType::hybrid ? 2 : 0];
    return QColor::fromRgb(isDark ? tones.dark : tones.light);
}

QColor MapStyle::line() const { return isDark ? QColor(255, 255, 255, 26) : QColor(20, 40, 60, 28); }

QColor MapStyle::faintText() const {
    QColor color = secondaryText;
    color.setAlphaF(0.85F);
    return color;
}

MapSheet::MapSheet(QPainter& painter, const location::MapProjection& projection, const MapStyle& style,
                   QList<QRectF> occupied, qreal pixelsAPoint)
    : painter_(painter),
      projection_(projection),
      style_(style),
      area_(0, 0, projection.size().width, projection.size().height),
      occupied_(std::move(occupied)),
      annotations_(occupied_.size()),
      pixelsAPoint_(pixelsAPoint) {}

QPointF MapSheet::at(CLLocationCoordinate2D coordinate) const {
    const CGPoint point = projection_.point(coordinate);
    return {point.x, point.y};
}

QFont MapSheet::font(qreal points, QFont::Weight weight) const {
    QFont font(style_.family);
    font.setPixelSize(static_cast<int>(std::lround(points * std::min(style_.textScale, kLargestScale))));
    font.setWeight(weight);
    font.setHintingPreference(QFont::PreferNoHinting);
    return font;
}

bool MapSheet::isFree(const QRectF& rectangle) const {
    const QRectF around = rectangle.adjusted(-kGap, -kGap / 2, kGap, kGap / 2);
    return area_.contains(around) && std::none_of(occupied_.begin(), occupied_.end(),
                                                  [&around](const QRectF& other) { return other.intersects(around); });
}

bool MapSheet::isClear(const QRectF& rectangle) const {
    return area_.contains(rectangle) && std::none_of(occupied_.begin() + annotations_, occupied_.end(),
                                                     [&](const QRectF& other) { return other.intersects(rectangle); });
}

void MapSheet::write(const QPointF& corner, const QString& text, const QFont& font, const QColor& color) const {
    // In pixels, without a transform: only then letters come from the font's cache of glyphs and are not filled as
    // paths.
    QFont large(font);
    large.setPixelSize(static_cast<int>(std::lround(font.pixelSize() * pixelsAPoint_)));
    QTextLayout layout(text, large);
    layout.beginLayout();
    layout.createLine();
    layout.endLayout();
    const QList<QGlyphRun> runs = layout.glyphRuns();
    painter_.save();
    painter_.resetTransform();
    const auto draw = [&](const QPointF& at, const QColor& pen) {
        painter_.setPen(pen);
        for (const QGlyphRun& run : runs) painter_.drawGlyphRun(at * pixelsAPoint_, run);
    };
    for (const QPointF& aside : kAround) draw(corner + aside * kHalo, style_.ground());
    draw(corner, color);
    painter_.restore();
}

void drawScaleBar(MapSheet& sheet) {
    const auto& projection = sheet.projection();
    const auto& style = sheet.style();
    const auto length =
        location::roundLengthWithin(kBarWidth * projection.metresAPoint(), style.isMetric, style.locale);
    const QRectF bar(kBarMargin, sheet.area().bottom() - kBarMargin - kBarHeight,
                     length.metres / projection.metresAPoint(), kBarHeight);
    const QFont font = sheet.font(10.5, QFont::Medium);
    const QFontMetricsF metrics(font);
    const QString text = toQt(length.text);
    const QRectF words(bar.left(), bar.top() - metrics.height() - 2, metrics.horizontalAdvance(text), metrics.height());
    sheet.write(words.topLeft(), text, font, style.secondaryText);
    QPainterPath bracket(bar.topLeft());
    bracket.lineTo(bar.bottomLeft());
    bracket.lineTo(bar.bottomRight());
    bracket.lineTo(bar.topRight());
    QPainter& painter = sheet.painter();
    painter.strokePath(bracket, QPen(style.ground(), 3.4, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.strokePath(bracket, QPen(style.secondaryText, 1.4, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    sheet.occupy(bar.united(words).adjusted(-kGap, -kGap, kGap, kGap));
}

QImage drawnMap(const location::MapProjection& projection, const MapStyle& style, const QList<QRectF>& occupied,
                qreal pixelsAPoint) {
    const auto pixels = [pixelsAPoint](double points) { return static_cast<int>(std::ceil(points * pixelsAPoint)); };
    QImage image(pixels(projection.size().width), pixels(projection.size().height), QImage::Format_RGB32);
    if (image.isNull()) return image;
    image.fill(style.ground());
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.scale(pixelsAPoint, pixelsAPoint);
    MapSheet sheet(painter, projection, style, occupied, pixelsAPoint);
    drawScaleBar(sheet);
    drawGraticule(sheet);
    drawPlaces(sheet);
    painter.end();
    image.setDevicePixelRatio(pixelsAPoint);
    return image;
}

}  // namespace tessaly::quick
