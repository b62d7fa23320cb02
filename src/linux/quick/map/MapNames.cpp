#include <QFontMetricsF>
#include <QLineF>
#include <QPainterPath>
#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

#include "linux/location/DistanceText.h"
#include "linux/quick/map/MapSheet.h"
#include "linux/quick/outlets/ViewOutlet.h"
#include "platform/MapKit/MapPlaces.h"

namespace tessaly::quick {
namespace {

constexpr std::size_t kMostPlaces = 60;
constexpr double kPointsAName = 6500;  // Square points of the sheet that a name has for itself.
constexpr std::size_t kNeighbours = 12;
constexpr std::size_t kFewPlaces = 3;  // With fewer in sight, arrows tell where others are.
constexpr qreal kNamesWay = 11;        // That a name may be from its dot where there is no room at once.
constexpr qreal kDotsApart = 14;
constexpr qreal kArrowMargin = 12;
constexpr qreal kArrowLength = 9;
constexpr qreal kArrowGap = 3;

struct Rank {
    double population;
    qreal radius;
    qreal textSize;
    QFont::Weight weight;
};

/// The first one whose population is reached.
constexpr std::array kRanks{
    Rank{1'000'000, 3.8, 14, QFont::DemiBold}, Rank{100'000, 3.2, 13, QFont::DemiBold},
    Rank{10'000, 2.6, 12.5, QFont::Medium},    Rank{1'000, 2.1, 12, QFont::Medium},
    Rank{0, 1.7, 11.5, QFont::Normal},
};

const Rank& rankOf(double population) {
    return *std::find_if(kRanks.begin(), kRanks.end() - 1,
                         [population](const Rank& r) { return population >= r.population; });
}

MKCoordinateRegion regionOf(const location::MapProjection::Bounds& bounds) {
    return {{(bounds.south + bounds.north) / 2, (bounds.west + bounds.east) / 2},
            {bounds.north - bounds.south, bounds.east - bounds.west}};
}

void drawDot(const MapSheet& sheet, const QPointF& at, qreal radius) {
    QPainter& painter = sheet.painter();
    painter.setPen(QPen(sheet.style().ground(), 1.6));
    painter.setBrush(sheet.style().secondaryText);
    painter.drawEllipse(at, radius + 0.8, radius + 0.8);
}

/// Beside, above or below its dot, where there is room first.
bool drawName(MapSheet& sheet, const MapPlace& place, const QPointF& at) {
    const Rank& rank = rankOf(place.population);
    const QFont font = sheet.font(rank.textSize, rank.weight);
    const QFontMetricsF metrics(font);
    const QString name = toQt(place.name);
    const QSizeF size(metrics.horizontalAdvance(name), metrics.height());
    const qreal away = rank.radius + 5;
    for (const qreal farther : {0.0, kNamesWay}) {
        const qreal across = away + farther;
        for (const QPointF& corner :
             {QPointF(across, -size.height() / 2), QPointF(-across - size.width(), -size.height() / 2),
              QPointF(-size.width() / 2, 2 - across - size.height()), QPointF(-size.width() / 2, across - 2)}) {
            const QRectF label(at + corner, size);
            if (!sheet.isFree(label)) continue;
            sheet.write(label.topLeft(), name, font, sheet.style().secondaryText);
            sheet.occupy(label);
            return true;
        }
    }
    return false;
}

/// Where a ray from the middle leaves the rectangle; `direction` has length 1.
QPointF edgePoint(const QRectF& rectangle, const QPointF& direction) {
    const qreal across = rectangle.width() / 2 / std::max(std::abs(direction.x()), 1e-9);
    const qreal along = rectangle.height() / 2 / std::max(std::abs(direction.y()), 1e-9);
    return rectangle.center() + direction * std::min(across, along);
}

void drawArrowHead(const MapSheet& sheet, const QPointF& tip, const QPointF& direction) {
    const QPointF aside(-direction.y(), direction.x());
    const QPointF back = tip - direction * kArrowLength;
    QPainterPath head(tip);
    head.lineTo(back + aside * kArrowLength * 0.5);
    head.lineTo(back + direction * kArrowLength * 0.25);
    head.lineTo(back - aside * kArrowLength * 0.5);
    head.closeSubpath();
    sheet.painter().fillPath(head, sheet.style().secondaryText);
}

/// At the edge towards a place that is beyond it; false where something stands there.
bool drawArrow(MapSheet& sheet, const MapPlace& place) {
    const auto& projection = sheet.projection();
    const auto& style = sheet.style();
    const double turn =
        (bearingBetween(projection.center(), place.coordinate) - projection.heading()) * std::numbers::pi / 180;
    const QPointF direction(std::sin(turn), -std::cos(turn));
    const QRectF inside = sheet.area().adjusted(kArrowMargin, kArrowMargin, -kArrowMargin, -kArrowMargin);
    const QPointF tip = edgePoint(inside, direction);
    const QFont font = sheet.font(12, QFont::Medium);
    const QFontMetricsF metrics(font);
    const QString name = toQt(place.name);
    const QString text = name + QStringLiteral("  ") +
                         toQt(location::distanceText(distanceBetween(projection.center(), place.coordinate),
                                                     style.isMetric, style.locale));
    const QSizeF size(metrics.horizontalAdvance(text), metrics.height());
    const bool isAtSide = std::abs(tip.x() - inside.center().x()) > inside.width() / 2 - 0.5;
    // The words stand beside a head at the left or the right edge, else under or over it.
    const qreal away = kArrowLength + kArrowGap;
    const QPointF middle =
        tip - (isAtSide
                   ? QPointF(std::copysign(away + size.width() / 2, direction.x()), direction.y() * kArrowLength / 2)
                   : QPointF(direction.x() * kArrowLength, std::copysign(away + size.height() / 2, direction.y())));
    QPointF corner = middle - QPointF(size.width() / 2, size.height() / 2);
    corner.setX(std::clamp(corner.x(), inside.left(), std::max(inside.left(), inside.right() - size.width())));
    const QRectF label(corner, size);
    const QRectF head = QRectF(tip, tip - direction * kArrowLength).normalized().adjusted(-3, -3, 3, 3);
    if (!sheet.isFree(label) || !sheet.isFree(head)) return false;
    drawArrowHead(sheet, tip, direction);
    sheet.write(label.topLeft(), text, font, style.secondaryText);
    sheet.occupy(label);
    sheet.occupy(head);
    return true;
}

void drawNeighbours(MapSheet& sheet, std::size_t most) {
    std::size_t drawn = 0;
    for (const MapPlace& place : nearestPlaces(sheet.projection().center(), kNeighbours)) {
        if (drawn == most) return;
        if (!sheet.area().contains(sheet.at(place.coordinate)) && drawArrow(sheet, place)) ++drawn;
    }
}

}  // namespace

void drawPlaces(MapSheet& sheet) {
    QList<QPointF> dots;
    const auto isCrowded = [&dots](const QPointF& at) {
        return std::any_of(dots.begin(), dots.end(),
                           [&at](const QPointF& dot) { return QLineF(dot, at).length() < kDotsApart; });
    };
    auto names = static_cast<int>(sheet.area().width() * sheet.area().height() / kPointsAName);
    for (const MapPlace& place : mostPopulousPlaces(regionOf(sheet.projection().bounds()), kMostPlaces)) {
        const QPointF at = sheet.at(place.coordinate);
        const qreal radius = rankOf(place.population).radius;
        const QRectF dot = QRectF(at, QSizeF()).adjusted(-radius, -radius, radius, radius);
        // A place that is not to be told from a larger one, its sections above all, is left out.
        if (isCrowded(at) || !sheet.isClear(dot)) continue;
        drawDot(sheet, at, radius);
        sheet.occupy(dot);
        dots.append(at);
        if (names > 0 && drawName(sheet, place, at)) --names;
    }
    const auto seen = static_cast<std::size_t>(dots.size());
    if (seen < kFewPlaces) drawNeighbours(sheet, kFewPlaces - seen);
}

}  // namespace tessaly::quick
