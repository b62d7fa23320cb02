#pragma once
#include <cstddef>
#include <string>
#include <vector>

#include "platform/MapKit/MKMapView.h"

/// The populated places that a map names. They come from the program's resources, at once and without a network; where
/// those are not installed there are none. Any thread.
namespace tessaly {

struct MapPlace {
    std::string name;
    CLLocationCoordinate2D coordinate;
    double population = 0;  ///< To some four hundredths; 0 where it is not known.
};

/// The most populous places of a region, sections of cities among them: at most so many, the largest first. The region
/// may lie across the date line.
[[nodiscard]] std::vector<MapPlace> mostPopulousPlaces(const MKCoordinateRegion& region, std::size_t most);

/// The cities, towns and villages nearest to a coordinate, however far: at most so many, the nearest first.
[[nodiscard]] std::vector<MapPlace> nearestPlaces(CLLocationCoordinate2D coordinate, std::size_t most);

/// Over ground, in metres.
[[nodiscard]] double distanceBetween(CLLocationCoordinate2D a, CLLocationCoordinate2D b) noexcept;
/// The direction in which the shortest way begins: degrees clockwise from north, 0 up to 360.
[[nodiscard]] double bearingBetween(CLLocationCoordinate2D from, CLLocationCoordinate2D to) noexcept;

}  // namespace tessaly
