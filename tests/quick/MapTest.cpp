#include <QTest>
#include <cmath>
#include <numbers>

#include "WindowFixture.h"
#include "linux/quick/map/MapOutlet.h"
#include "linux/quick/map/MapSheet.h"
#include "platform/MapKit/MapPlaces.h"

/// Maps: what is drawn where, and the ways in which they are moved.
namespace tessaly::test {
namespace {

using location::MapProjection;

constexpr CGSize kSheet{400, 300};

quick::MapStyle styleOf(MKMapType type, bool isDark) { return {type, isDark, true, 1, "Inter", Qt::red, "en"}; }

/// A sheet whose words and places are red.
struct Sheet {
    Sheet(CLLocationCoordinate2D center, MKCoordinateSpan span, double scale = 1)
        : shown({center, span}, 0, kSheet),
          scale(scale),
          image(quick::drawnMap(shown, styleOf(MKMapType::standard, false), {}, scale)) {}
    [[nodiscard]] QPointF at(CLLocationCoordinate2D place) const {
        return {shown.point(place).x, shown.point(place).y};
    }
    [[nodiscard]] int red(const QRectF& area) const {
        int count = 0;
        for (double y = area.top(); y < area.bottom(); ++y)
            for (double x = area.left(); x < area.right(); ++x) {
                const QRgb pixel = image.pixel(static_cast<int>(x * scale), static_cast<int>(y * scale));
                count += qRed(pixel) > qBlue(pixel) + 60;
            }
        return count;
    }
    /// The columns, or rows, of pixels that are mostly of the lines' colour.
    [[nodiscard]] std::vector<int> lines(bool areColumns) const {
        const QImage turned = areColumns ? image.transformed(QTransform().rotate(90)) : image;
        std::vector<int> found;
        for (int y = 0; y < turned.height(); ++y) {
            int count = 0;
            for (int x = 0; x < turned.width(); ++x) count += std::abs(qGray(turned.pixel(x, y)) - 219) < 4;
            if (count > turned.width() * 3 / 5) found.push_back(y);
        }
        return found;
    }
    MapProjection shown;
    double scale;
    QImage image;
};

TEST(Maps, HaveAGroundForEveryType) {
    const char* const grounds[][2] = {{"#f2f1ed", "#16181b"}, {"#dfe5dc", "#101712"}, {"#e9ece4", "#131816"}};
    for (const std::uint64_t type : {0U, 1U, 2U})
        for (const bool isDark : {false, true})
            EXPECT_EQ(styleOf(static_cast<MKMapType>(type), isDark).ground().name(), grounds[type][isDark]) << type;
}

TEST(Maps, HaveSharpLinesWithTheirDegreesAtTheEdges) {
    for (const double scale : {1.0, 2.0}) {
        const Sheet sheet({-40.3, -90.4}, {6, 8}, scale);
        std::vector<int> columns, rows;
        for (const double longitude : {-95, -90}) {
            const double x = sheet.at({-40.3, longitude}).x();
            columns.push_back(static_cast<int>(x * scale));
            for (const double side : {-14, 0}) EXPECT_GT(sheet.red({x + side, 6, 14, 14}), 5) << longitude;
        }
        for (const double latitude : {-38, -40, -42}) {
            const double y = sheet.at({latitude, -90.4}).y();
            rows.push_back(static_cast<int>(y * scale));
            for (const double side : {-6, 1}) EXPECT_GT(sheet.red({6, y + side, 30, 5}), 5) << latitude;
        }
        EXPECT_EQ(sheet.lines(true), columns) << scale;
        EXPECT_EQ(sheet.lines(false), rows) << scale;
    }
}

TEST(Maps, ShowPlacesAndPointAtTheNearestOnes) {
    const Sheet paris({48.86, 2.35}, {2, 2});
    EXPECT_GT(paris.red(QRectF(paris.at({48.85, 2.35}) - QPointF(4, 4), QSizeF(8, 8))), 20);
    constexpr CLLocationCoordinate2D kDesert{-25, 130};
    const Sheet desert(kDesert, {.2, .2});
    const auto nearest = nearestPlaces(kDesert, 12);
    for (std::size_t i = 0; i < nearest.size(); ++i) {
        const double turn = bearingBetween(kDesert, nearest[i].coordinate) * std::numbers::pi / 180;
        const QPointF direction(std::sin(turn), -std::cos(turn));
        QPointF tip(200, 150);
        while (QRectF(12, 12, 376, 276).contains(tip)) tip += direction / 4;
        const QRectF head(tip - direction * 5 - QPointF(1, 1), QSizeF(3, 3));
        EXPECT_EQ(desert.red(head) > 6, i < 3) << nearest[i].name;
    }
}

TEST(Maps, MoveAndComeBack) {
    const auto map = std::make_shared<MKMapView>();
    map->setFrame({{0, 0}, kSheet});
    map->setRegion({{48, 2}, {4, 4}}, false);
    quick::MapOutlet outlet(map, nullptr);
    EXPECT_FALSE(outlet.isAway());
    double highest = 0;
    QObject::connect(&outlet, &quick::ViewOutlet::changed, [&] { highest = std::max(highest, outlet.heading()); });
    const struct {
        const char* why;
        std::function<void()> move;
        bool isAtOnce;
    } moves[] = {
        {"moved",
         [&] {
             outlet.moved({0, 30});
         },
         true},
        {"zoomed",
         [&] {
             outlet.zoomed({200, 150}, 1.5);
         },
         true},
        {"turned",
         [&] {
             outlet.turned({200, 150}, -30);
         },
         true},
        {"zoomed slowly",
         [&] {
             outlet.zoomSmoothly({200, 150}, 2, 50);
         },
         false},
    };
    for (const auto& [why, move, isAtOnce] : moves) {
        move();
        EXPECT_TRUE(QTest::qWaitFor([&] { return outlet.isAway(); })) << why;
        outlet.goBack(50);
        EXPECT_TRUE(QTest::qWaitFor([&] { return !outlet.isAway(); })) << why;
        if (!isAtOnce) continue;
        outlet.goBack(10'000);
        move();
        const auto region = map->region();
        QTest::qWait(40);
        EXPECT_EQ(map->region(), region) << why << ": the hand stops it";
        outlet.goBack(0);
        EXPECT_FALSE(outlet.isAway()) << why;
    }
    EXPECT_NEAR(highest, 30, 0.01) << "the short way";
    outlet.turned({200, 150}, 30);
    outlet.turnNorthUp(0);
    EXPECT_NEAR(std::remainder(outlet.heading(), 360), 0, 1e-6);
    map->setRegion({{10, 20}, {1, 1}}, false);
    EXPECT_FALSE(outlet.isAway()) << "what others set is where it belongs";
}

}  // namespace
}  // namespace tessaly::test
