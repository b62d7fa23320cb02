#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <random>

#include "linux/location/DistanceText.h"
#include "linux/location/MapProjection.h"
#include "platform/MapKit/MapPlaces.h"

namespace tessaly {
namespace {

using location::MapProjection;

constexpr CGSize kSheet{388, 237};
constexpr MKCoordinateSpan kTown{0.05, 0.05};

struct Sheet {
    const char* why;
    CLLocationCoordinate2D center;
    MKCoordinateSpan span;
    double heading;
};

constexpr Sheet kSheets[] = {
    {"a town", {48.8566, 2.3522}, kTown, 0},
    {"turned", {-33.9, 18.4}, kTown, 77},
    {"the date line", {-16.8, 180}, {4, 4}, 0},
    {"a continent", {40, 10}, {60, 60}, 350},
    {"the far north", {84, 20}, {3, 3}, 0},
    {"the north pole", {90, 0}, kTown, 0},
    {"the south pole, turned", {-90, 30}, kTown, 120},
};

double apart(CGPoint a, CGPoint b) { return std::hypot(a.x - b.x, a.y - b.y); }

TEST(MapProjection, PutsThePlaceInTheMiddleAndFindsEveryPointAgain) {
    for (const auto& [why, center, span, heading] : kSheets) {
        SCOPED_TRACE(why);
        const MapProjection sheet({center, span}, heading, kSheet);
        EXPECT_LT(apart(sheet.point(center), {kSheet.width / 2, kSheet.height / 2}), 1e-6);
        for (const CGPoint at : {CGPoint{0, 0}, CGPoint{388, 1}, CGPoint{100, 200}, CGPoint{250, 30}})
            EXPECT_LT(apart(sheet.point(sheet.coordinate(at)), at), 1e-3);
        const MapProjection again(sheet.region(), sheet.heading(), kSheet);
        EXPECT_LT(apart(again.point(sheet.coordinate({10, 10})), {10, 10}), 1e-3);
    }
}

TEST(MapProjection, IsTrueToScaleAndDirectionAroundTheMiddle) {
    for (const auto& [why, center, span, heading] : kSheets) {
        SCOPED_TRACE(why);
        const MapProjection sheet({center, span}, heading, kSheet);
        const CGPoint middle{kSheet.width / 2, kSheet.height / 2};
        for (const CGPoint step : {CGPoint{0, -4}, CGPoint{4, 0}, CGPoint{-3, 3}}) {
            const auto there = sheet.coordinate({middle.x + step.x, middle.y + step.y});
            const double metres = std::hypot(step.x, step.y) * sheet.metresAPoint();
            EXPECT_NEAR(distanceBetween(center, there) / metres, 1, 0.02);
            const double onSheet = std::atan2(step.x, -step.y) * 180 / std::numbers::pi + sheet.heading();
            EXPECT_NEAR(std::remainder(bearingBetween(center, there) - onSheet, 360), 0, 1.5);
        }
    }
}

TEST(MapProjection, MovesZoomsAndTurnsTheGroundUnderTheFinger) {
    for (const auto& [why, center, span, heading] : kSheets) {
        SCOPED_TRACE(why);
        const MapProjection sheet({center, span}, heading, kSheet);
        const CGPoint at{150, 140};
        const auto place = sheet.coordinate(at);
        // Far north of the middle Mercator's scale is another one: the place may drift by a share of the way.
        const double drift = span.latitudeDelta < 1 ? 0.1 : 25;
        EXPECT_LT(apart(sheet.moved({30, -20}).point(place), {180, 120}), drift);
        EXPECT_LT(apart(sheet.zoomed(at, 2).point(place), at), drift);
        EXPECT_LT(apart(sheet.turned(at, 40).point(place), at), drift);
        EXPECT_NEAR(sheet.zoomed(at, 2).metresAPoint() / sheet.metresAPoint(), 0.5, 1e-6);
        EXPECT_NEAR(std::remainder(sheet.turned(at, 40).heading() - sheet.heading() + 40, 360), 0,
                    sheet.isPolar() ? 360 : 1e-9);
    }
}

TEST(MapProjection, BoundsHoldAllThatIsSeen) {
    std::mt19937 random(7);
    std::uniform_real_distribution<double> share(0, 1);
    for (const auto& [why, center, span, heading] : kSheets) {
        SCOPED_TRACE(why);
        const MapProjection sheet({center, span}, heading, kSheet);
        const auto bounds = sheet.bounds();
        for (int i = 0; i < 500; ++i) {
            const auto there = sheet.coordinate({share(random) * kSheet.width, share(random) * kSheet.height});
            const double east =
                sheet.center().longitude + std::remainder(there.longitude - sheet.center().longitude, 360);
            const double slack = 1e-3 * (bounds.north - bounds.south);
            ASSERT_GE(there.latitude, bounds.south - slack);
            ASSERT_LE(there.latitude, bounds.north + slack);
            ASSERT_GE(east, bounds.west - slack);
            ASSERT_LE(east, bounds.east + slack);
        }
    }
}

TEST(MapProjection, IsUsableWhateverTheNumbersAre) {
    const double nan = std::nan("");
    const Sheet cases[] = {
        {"no span yet", {0, 0}, {0, 0}, 0},
        {"no numbers", {nan, nan}, {nan, nan}, nan},
        {"no coordinate", {500, 1e9}, {-1, -1}, -725},
        {"all of the Earth", {0, 0}, {180, 360}, 0},
    };
    for (const auto& [why, center, span, heading] : cases) {
        SCOPED_TRACE(why);
        const MapProjection sheet({center, span}, heading, kSheet);
        for (const double latitude : {-90.0, 0.0, 90.0}) {
            const CGPoint at = sheet.point({latitude, 180});
            EXPECT_TRUE(std::isfinite(at.x) && std::isfinite(at.y));
        }
        EXPECT_TRUE(CLLocationCoordinate2DIsValid(sheet.center()));
        EXPECT_GE(sheet.heading(), 0);
        EXPECT_LT(sheet.heading(), 360);
    }
    EXPECT_TRUE(MapProjection({{1, 2}, kTown}, 0, {}).isEmpty());
}

TEST(GraticuleStep, IsTheNextRoundOne) {
    EXPECT_EQ(location::graticuleStep(0.019), 120);
    EXPECT_EQ(location::graticuleStep(1.0 / 60), 60);
    EXPECT_EQ(location::graticuleStep(12), 54000);
    EXPECT_EQ(location::graticuleStep(1e9), 162000) << "nothing is farther apart";
}

TEST(DistanceText, ReadsAsTravellersSayIt) {
    struct Case {
        const char* why;
        double metres;
        bool metric;
        const char* locale;
        const char* text;
    };
    const Case cases[] = {
        {"tens of metres", 447, true, "en", "450 m"},
        {"tenths of a kilometre", 1249, true, "en", "1.2 km"},
        {"whole kilometres", 34400, true, "en", "34 km"},
        {"far away", 2704000, true, "en", "2,700 km"},
        {"the locale's comma", 1249, true, "de", "1,2 km"},
        {"its letters", 34400, true, "ru", "34 км"},
        {"feet", 100, false, "en", "330 ft"},
        {"miles", 34400, false, "en", "21 mi"},
    };
    for (const auto& [why, metres, metric, locale, text] : cases) {
        std::string spaced = location::distanceText(metres, metric, locale);
        if (const auto at = spaced.find("\u00A0"); at != std::string::npos) spaced.replace(at, 2, " ");
        EXPECT_EQ(spaced, text) << why;
    }
}

TEST(RoundLength, FitsAndFillsTheBarByTwoFifthsAtLeast) {
    for (double metres = 20; metres < 2e6; metres *= 1.37) {
        for (const bool metric : {true, false}) {
            const auto length = location::roundLengthWithin(metres, metric, "en");
            EXPECT_LE(length.metres, metres * (1 + 1e-9));
            EXPECT_GE(length.metres, metres * 0.39);
            EXPECT_FALSE(length.text.empty());
        }
    }
}

TEST(Distance, IsTheWayOverGround) {
    EXPECT_NEAR(distanceBetween({48.8566, 2.3522}, {51.5074, -0.1278}), 343500, 1000);
    EXPECT_NEAR(distanceBetween({0, 179.5}, {0, -179.5}), 111195, 10) << "across the date line";
    EXPECT_NEAR(bearingBetween({0, 179.5}, {0, -179.5}), 90, 1e-9);
    EXPECT_NEAR(bearingBetween({10, 20}, {-10, 20}), 180, 1e-9);
}

}  // namespace
}  // namespace tessaly
