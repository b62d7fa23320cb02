#include <QFontMetricsF>
#include <QLineF>
#include <QPainterPath>
#include <QPolygonF>
#include <algorithm>
#include <cmath>
#include <numbers>
#include <optional>

#include "linux/quick/map/MapSheet.h"
#include "linux/quick/outlets/ViewOutlet.h"
#include "platform/Foundation/Format.h"

namespace tessaly::quick {
namespace {

constexpr double kLineSpacing = 92;  // Points, at least.
constexpr int kMostMeridians = 16;
constexpr int kArcs = 48;   // Of which a circle is drawn.
constexpr qreal kEdge = 6;  // From a label to the edge.

enum class Kind { parallel, meridian };

struct Line {
    Kind kind;
    int seconds;  // Of arc; a meridian's may be beyond half a turn.
};

/// "63°05′ N", with as many parts as the step needs.
QString degreesText(const Line& line, int step) {
    const int half = 180 * 3600;
    const int wrapped = line.kind == Kind::parallel ? line.seconds : (line.seconds + 3 * half) % (2 * half) - half;
    const int value = std::abs(wrapped);
    const char* const side = line.kind == Kind::parallel ? (wrapped < 0 ? " S" : " N") : (wrapped < 0 ? " W" : " E");
    const bool isSideless = value == 0 || (line.kind == Kind::meridian && value == half);
    std::string text = formatted("%d°", value / 3600);
    if (step % 3600 != 0) text += formatted("%02d′", value / 60 % 60);
    if (step % 60 != 0) text += formatted("%02d″", value % 60);
    return toQt(text + (isSideless ? "" : side));
}

/// The part of a line that is on the sheet.
std::optional<QLineF> clipped(const QLineF& line, const QRectF& area) {
    double from = 0;
    double to = 1;
    const auto within = [&from, &to](double step, double room) {
        if (step == 0) return room >= 0;
        const double share = room / step;
        (step < 0 ? from : to) = step < 0 ? std::max(from, share) : std::min(to, share);
        return from <= to;
    };
    if (!within(-line.dx(), line.x1() - area.left()) || !within(line.dx(), area.right() - line.x1()) ||
        !within(-line.dy(), line.y1() - area.top()) || !within(line.dy(), area.bottom() - line.y1()))
        return std::nullopt;
    return QLineF(line.pointAt(from), line.pointAt(to));
}

/// Upright and level lines lie on whole pixels, to be sharp.
QLineF crisp(const QLineF& line, qreal pixelsAPoint) {
    const auto snapped = [pixelsAPoint](double at) { return (std::floor(at * pixelsAPoint) + 0.5) / pixelsAPoint; };
    if (std::abs(line.dx()) < 0.01) return {snapped(line.x1()), line.y1(), snapped(line.x1()), line.y2()};
    if (std::abs(line.dy()) < 0.01) return {line.x1(), snapped(line.y1()), line.x2(), snapped(line.y1())};
    return line;
}

class Graticule {
public:
    explicit Graticule(MapSheet& sheet)
        : sheet_(sheet), bounds_(sheet.projection().bounds()), font_(sheet.font(10, QFont::Medium)) {}

    void draw() {
        const double spacing = kLineSpacing / sheet_.projection().pointsADegree();
        collect(Kind::parallel, bounds_.south, bounds_.north, location::graticuleStep(spacing));
        // Towards a pole they come together: what is wide enough in the middle would be a thicket there.
        const double across = std::cos(sheet_.projection().center().latitude * std::numbers::pi / 180);
        const double least = (bounds_.east - bounds_.west) / kMostMeridians;
        collect(Kind::meridian, bounds_.west, bounds_.east,
                location::graticuleStep(std::max(spacing / std::max(across, 1e-6), least)));
        for (const auto& [corner, text] : labels_) sheet_.write(corner, text, font_, sheet_.style().faintText());
    }

private:
    struct Label {
        QPointF corner;
        QString text;
    };

    void collect(Kind kind, double from, double to, int step) {
        const int last = static_cast<int>(std::floor(to * 3600 / step));
        for (int i = static_cast<int>(std::ceil(from * 3600 / step)); i <= last; ++i) {
            const Line line{kind, i * step};
            if (kind == Kind::parallel && std::abs(line.seconds) == 90 * 3600) continue;
            if (const auto first = drawn(line)) place(*first, line, step);
        }
    }

    [[nodiscard]] QPointF onSheet(const Line& line, double share) const {
        const double degrees = line.seconds / 3600.0;
        const auto between = [share](double a, double b) { return a + (b - a) * share; };
        const double middle = sheet_.projection().center().longitude;
        const CGPoint point =
            line.kind == Kind::parallel
                ? sheet_.projection().pointOnwards(degrees, between(bounds_.west, bounds_.east) - middle)
                : sheet_.projection().pointOnwards(between(bounds_.south, bounds_.north), degrees - middle);
        return {point.x, point.y};
    }

    /// Where its label belongs: the leftmost point of a parallel, the uppermost one of a meridian.
    std::optional<QPointF> drawn(const Line& line) const {
        const int parts = sheet_.projection().isPolar() && line.kind == Kind::parallel ? kArcs : 1;
        const qreal scale = sheet_.pixelsAPoint();
        sheet_.painter().setPen(QPen(sheet_.style().line(), 1 / scale * std::ceil(scale / 2)));
        std::optional<QPointF> first;
        for (int i = 0; i < parts; ++i) {
            const double share = 1.0 / parts;
            const auto part = clipped({onSheet(line, i * share), onSheet(line, (i + 1) * share)}, sheet_.area());
            if (!part) continue;
            sheet_.painter().drawLine(crisp(*part, scale));
            for (const QPointF& end : {part->p1(), part->p2()}) {
                const bool isBefore =
                    first && (line.kind == Kind::parallel ? end.x() >= first->x() : end.y() >= first->y());
                if (!isBefore) first = end;
            }
        }
        return first;
    }

    void place(const QPointF& end, const Line& line, int step) {
        // Where meridians meet at a pole on the sheet there is no room for what each is called.
        if (line.kind == Kind::meridian && sheet_.area().adjusted(1, 1, -1, -1).contains(end)) return;
        const QString text = degreesText(line, step);
        const QFontMetricsF metrics(font_);
        const QSizeF size(metrics.horizontalAdvance(text), metrics.height());
        const QRectF area = sheet_.area().adjusted(kEdge, kEdge, -kEdge, -kEdge);
        // Parallels carry it on the line, meridians beside it.
        QPointF corner =
            line.kind == Kind::parallel ? end + QPointF(0, -size.height() / 2) : end + QPointF(-size.width() / 2, 0);
        corner.setX(std::clamp(corner.x(), area.left(), std::max(area.left(), area.right() - size.width())));
        corner.setY(std::clamp(corner.y(), area.top(), std::max(area.top(), area.bottom() - size.height())));
        const QRectF label(corner, size);
        if (!sheet_.isFree(label)) return;
        sheet_.occupy(label);
        labels_.append({corner, text});
    }

    MapSheet& sheet_;
    location::MapProjection::Bounds bounds_;
    QFont font_;
    QList<Label> labels_;
};

}  // namespace

void drawGraticule(MapSheet& sheet) { Graticule(sheet).draw(); }

}  // namespace tessaly::quick
