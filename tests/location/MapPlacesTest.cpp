#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "linux/location/PlaceFile.h"
#include "platform/MapKit/MapPlaces.h"

namespace tessaly {
namespace {

using location::PlaceFile;
using location::PlaceIndex;

const PlaceIndex& places() { return *PlaceFile::installed(); }

std::vector<CLLocationCoordinate2D> allCoordinates() {
    std::vector<CLLocationCoordinate2D> all;
    for (std::uint32_t place = 0; place < places().count(); ++place) all.push_back(places().coordinate(place));
    return all;
}

/// The populations in a box, the largest first, by looking at every place.
std::vector<double> populationsInside(const PlaceIndex::Box& box, std::size_t most,
                                      const std::vector<CLLocationCoordinate2D>& all) {
    std::vector<double> populations;
    for (std::uint32_t place = 0; place < all.size(); ++place)
        if (box.contains(all[place])) populations.push_back(places().population(place));
    std::sort(populations.rbegin(), populations.rend());
    populations.resize(std::min(most, populations.size()));
    return populations;
}

TEST(MapPlaces, TheMostPopulousOfABoxAreThoseOfAFullSearch) {
    ASSERT_TRUE(PlaceFile::installed());
    const auto all = allCoordinates();
    std::mt19937 random(3);
    std::uniform_real_distribution<double> unit(0, 1);
    for (int i = 0; i < 60; ++i) {
        const auto& near = all[static_cast<std::size_t>(unit(random) * static_cast<double>(all.size() - 1))];
        const double high = std::pow(10, unit(random) * 4 - 2);
        const double wide = std::min(360.0, high * (0.5 + 4 * unit(random)));
        const PlaceIndex::Box box{near.latitude - high / 2, near.longitude - wide / 2, near.latitude + high / 2,
                                  near.longitude + wide / 2};
        std::vector<double> populations;
        for (const auto place : places().mostPopulous(box, 20)) {
            EXPECT_TRUE(box.contains(all[place]));
            populations.push_back(places().population(place));
        }
        EXPECT_EQ(populations, populationsInside(box, 20, all))
            << near.latitude << " " << near.longitude << " " << high;
    }
}

TEST(MapPlaces, TheNearestOnesAreThoseOfAFullSearch) {
    const auto all = allCoordinates();
    for (const CLLocationCoordinate2D from :
         {CLLocationCoordinate2D{63.09, -151}, {-48.9, -123.4}, {90, 0}, {-16.8, 180}, {48.8566, 2.3522}}) {
        const auto found = nearestPlaces(from, 8);
        ASSERT_EQ(found.size(), 8U);
        const double farthest = distanceBetween(from, found.back().coordinate);
        const auto nearer = std::count_if(all.begin(), all.end(), [&](const auto& place) {
            return distanceBetween(from, place) < farthest - 20;  // Coordinates are to some metres.
        });
        // A city's sections may be among the others: none of those is a neighbour.
        EXPECT_GE(nearer, 7);
        if (from.latitude != 48.8566) {
            EXPECT_LE(nearer, 8);
        }
        EXPECT_TRUE(std::is_sorted(found.begin(), found.end(), [&](const MapPlace& a, const MapPlace& b) {
            return distanceBetween(from, a.coordinate) < distanceBetween(from, b.coordinate);
        }));
    }
}

TEST(MapPlaces, NamesWhatAPersonExpects) {
    const auto inFiji = mostPopulousPlaces({{-17.5, 180}, {4, 6}}, 3);
    ASSERT_FALSE(inFiji.empty()) << "across the date line";
    EXPECT_EQ(nearestPlaces({62.4, -150.2}, 1).at(0).name, "Talkeetna");
    EXPECT_EQ(mostPopulousPlaces({{47.3, 8.5}, {1.2, 1.2}}, 1).at(0).name, "Zürich");
    EXPECT_THAT(mostPopulousPlaces({{-48.9, -123.4}, {0.05, 0.05}}, 5), testing::IsEmpty());
    EXPECT_THAT(mostPopulousPlaces({{0, 0}, {-1, 1}}, 5), testing::IsEmpty()) << "upside down";
    EXPECT_THAT(nearestPlaces({91, 0}, 5), testing::IsEmpty()) << "no coordinate";
}

}  // namespace
}  // namespace tessaly
