#include "platform/MapKit/MapPlaces.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "linux/location/PlaceFile.h"

namespace tessaly {
namespace {

constexpr double kEarthRadius = 6371008.8;  // Metres.

double radians(double degrees) { return degrees * std::numbers::pi / 180; }

MapPlace described(const location::PlaceIndex& index, std::uint32_t place) {
    return {std::string(index.name(place)), index.coordinate(place), index.population(place)};
}

}  // namespace

std::vector<MapPlace> mostPopulousPlaces(const MKCoordinateRegion& region, std::size_t most) {
    const location::PlaceIndex* const index = location::PlaceFile::installed();
    if (!index) return {};
    const auto& [center, span] = region;
    const location::PlaceIndex::Box box{
        center.latitude - span.latitudeDelta / 2, center.longitude - span.longitudeDelta / 2,
        center.latitude + span.latitudeDelta / 2, center.longitude + span.longitudeDelta / 2};
    std::vector<MapPlace> places;
    for (const std::uint32_t place : index->mostPopulous(box, most)) places.push_back(described(*index, place));
    return places;
}

std::vector<MapPlace> nearestPlaces(CLLocationCoordinate2D coordinate, std::size_t most) {
    const location::PlaceIndex* const index = location::PlaceFile::installed();
    if (!index) return {};
    std::vector<MapPlace> places;
    for (const auto& found : index->nearestOnes(coordinate, most)) places.push_back(described(*index, found.place));
    return places;
}

double distanceBetween(CLLocationCoordinate2D a, CLLocationCoordinate2D b) noexcept {
    const double north = std::sin(radians(b.latitude - a.latitude) / 2);
    const double east = std::sin(radians(b.longitude - a.longitude) / 2);
    const double share = north * north + std::cos(radians(a.latitude)) * std::cos(radians(b.latitude)) * east * east;
    return 2 * kEarthRadius * std::asin(std::min(1.0, std::sqrt(share)));
}

double bearingBetween(CLLocationCoordinate2D from, CLLocationCoordinate2D to) noexcept {
    const double east = radians(to.longitude - from.longitude);
    const double a = radians(from.latitude);
    const double b = radians(to.latitude);
    const double degrees = std::atan2(std::sin(east) * std::cos(b),
                                      std::cos(a) * std::sin(b) - std::sin(a) * std::cos(b) * std::cos(east)) *
                           180 / std::numbers::pi;
    return degrees < 0 ? degrees + 360 : degrees;
}

}  // namespace tessaly
