#include "linux/location/MapProjection.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

namespace tessaly::location {
namespace {

using std::numbers::pi;

constexpr double kEarthRadius = 6371008.8;  // Metres.
constexpr double kNearest = 0.5;            // Metres a point,
constexpr double kFarthest = 12000;         // from a garden to a continent.
constexpr double kPolarCap = 80;            // Degrees of latitude.
constexpr double kMercatorsEnd = 89.99;

double radians(double degrees) { return degrees * pi / 180; }
double degrees(double radians) { return radians * 180 / pi; }
double wrapped(double longitude) { return std::remainder(longitude, 360); }

/// Mercator's northing on a unit sphere.
double northing(double latitude) {
    return std::asinh(std::tan(radians(std::clamp(latitude, -kMercatorsEnd, kMercatorsEnd))));
}

/// From the nearer pole, on a unit sphere that touches the plane there.
double polarRadius(double latitude) { return 2 * std::tan((pi / 2 - radians(latitude)) / 2); }
/// By how much lengths grow there.
double polarScale(double latitude) { return 2 / (1 + std::sin(radians(latitude))); }

CLLocationCoordinate2D usable(CLLocationCoordinate2D coordinate) {
    if (!std::isfinite(coordinate.latitude) || !std::isfinite(coordinate.longitude)) return {};
    return {std::clamp(coordinate.latitude, -90.0, 90.0), wrapped(coordinate.longitude)};
}

double usableHeading(double heading) {
    if (!std::isfinite(heading)) return 0;
    const double turn = std::fmod(heading, 360);
    return turn < 0 ? turn + 360 : turn;
}

double usableScale(double scale) {
    const double least = kEarthRadius / kFarthest;
    return std::isfinite(scale) ? std::clamp(scale, least, kEarthRadius / kNearest) : least;
}

}  // namespace

MapProjection::MapProjection(const MKCoordinateRegion& region, double heading, CGSize size)
    : center_(usable(region.center)), heading_(usableHeading(heading)), size_(size) {
    const double high = size.height / radians(region.span.latitudeDelta);
    const double wide = size.width / (radians(region.span.longitudeDelta) * std::cos(radians(center_.latitude)));
    scale_ = usableScale(std::min(high, wide));
}

double MapProjection::metresAPoint() const noexcept { return kEarthRadius / scale_; }
double MapProjection::pointsADegree() const noexcept { return radians(scale_); }
bool MapProjection::isPolar() const noexcept { return std::abs(center_.latitude) > kPolarCap; }

MKCoordinateRegion MapProjection::region() const {
    const double across = scale_ * std::max(std::cos(radians(center_.latitude)), 1e-12);
    return {center_, {degrees(size_.height / scale_), std::min(360.0, degrees(size_.width / across))}};
}

CGPoint MapProjection::plane(double latitude, double eastOfMiddle) const {
    const double east = radians(eastOfMiddle);
    if (!isPolar()) {
        const double across = scale_ * std::cos(radians(center_.latitude));
        return {east * across, (northing(latitude) - northing(center_.latitude)) * across};
    }
    const double here = side() * center_.latitude;
    // The other pole is infinitely far away.
    const double there = std::max(side() * latitude, -kMercatorsEnd);
    const double radius = polarRadius(there);
    const double across = scale_ / polarScale(here);
    return {radius * std::sin(east) * across, side() * (polarRadius(here) - radius * std::cos(east)) * across};
}

CGPoint MapProjection::turnedToSheet(CGPoint plane) const {
    const double c = std::cos(radians(heading_));
    const double s = std::sin(radians(heading_));
    return {size_.width / 2 + plane.x * c - plane.y * s, size_.height / 2 - plane.x * s - plane.y * c};
}

CGPoint MapProjection::turnedToPlane(CGPoint point) const {
    const double c = std::cos(radians(heading_));
    const double s = std::sin(radians(heading_));
    const double right = point.x - size_.width / 2;
    const double up = size_.height / 2 - point.y;
    return {right * c + up * s, up * c - right * s};
}

CGPoint MapProjection::pointOnwards(double latitude, double eastOfMiddle) const {
    return turnedToSheet(plane(latitude, eastOfMiddle));
}

CGPoint MapProjection::point(CLLocationCoordinate2D coordinate) const {
    return pointOnwards(coordinate.latitude, wrapped(coordinate.longitude - center_.longitude));
}

CLLocationCoordinate2D MapProjection::coordinate(CGPoint point) const {
    const CGPoint at = turnedToPlane(point);
    if (!isPolar()) {
        const double across = scale_ * std::cos(radians(center_.latitude));
        const double latitude = degrees(std::atan(std::sinh(at.y / across + northing(center_.latitude))));
        return {latitude, wrapped(center_.longitude + degrees(at.x / across))};
    }
    const double here = side() * center_.latitude;
    const double across = scale_ / polarScale(here);
    const double east = at.x / across;
    const double towards = polarRadius(here) - side() * at.y / across;
    const double latitude = side() * (90 - 2 * degrees(std::atan(std::hypot(east, towards) / 2)));
    return {latitude, wrapped(center_.longitude + degrees(std::atan2(east, towards)))};
}

MapProjection::Bounds MapProjection::bounds() const {
    constexpr int kPointsASide = 8;
    Bounds bounds{90, 0, -90, 0};
    const auto include = [&](double x, double y) {
        const CGPoint at = turnedToPlane({x, y});
        const CLLocationCoordinate2D there = coordinate({x, y});
        const double across = pointsADegree() * std::cos(radians(center_.latitude));
        const double east = isPolar() ? wrapped(there.longitude - center_.longitude) : at.x / across;
        bounds.south = std::min(bounds.south, there.latitude);
        bounds.north = std::max(bounds.north, there.latitude);
        bounds.west = std::min(bounds.west, east);
        bounds.east = std::max(bounds.east, east);
    };
    for (int i = 0; i <= kPointsASide; ++i) {
        const double share = static_cast<double>(i) / kPointsASide;
        for (const double end : {0.0, 1.0}) {
            include(share * size_.width, end * size_.height);
            include(end * size_.width, share * size_.height);
        }
    }
    const CGPoint pole = point({side() * 90, center_.longitude});
    if (isPolar() && pole.x >= 0 && pole.x <= size_.width && pole.y >= 0 && pole.y <= size_.height) {
        (side() > 0 ? bounds.north : bounds.south) = side() * 90;
        bounds.west = -180;
        bounds.east = 180;
    }
    return {bounds.south, center_.longitude + std::max(bounds.west, -180.0), bounds.north,
            center_.longitude + std::min(bounds.east, 180.0)};
}

MapProjection MapProjection::moved(CGPoint by) const {
    const double before = center_.longitude;
    MapProjection shown = *this;
    shown.center_ = usable(coordinate({size_.width / 2 - by.x, size_.height / 2 - by.y}));
    // Near a pole north is another direction there: the sheet turns along, so that the ground does not.
    if (isPolar()) shown.heading_ = usableHeading(heading_ + side() * wrapped(shown.center_.longitude - before));
    return shown;
}

MapProjection MapProjection::zoomed(CGPoint at, double factor) const {
    if (!(factor > 0)) return *this;
    const CGPoint fromMiddle{at.x - size_.width / 2, at.y - size_.height / 2};
    // Moved at the scale before: what is at the point comes to the middle's share that the new scale leaves it.
    MapProjection shown = *this;
    shown.scale_ = usableScale(scale_ * factor);
    const double left = scale_ / shown.scale_;
    const double scale = shown.scale_;
    shown = moved({fromMiddle.x * (left - 1), fromMiddle.y * (left - 1)});
    shown.scale_ = scale;
    return shown;
}

MapProjection MapProjection::turned(CGPoint at, double degrees) const {
    const CGPoint fromMiddle{at.x - size_.width / 2, at.y - size_.height / 2};
    const double c = std::cos(radians(degrees));
    const double s = std::sin(radians(degrees));
    // The middle that a turn around the point brings to the sheet's.
    const CGPoint there{fromMiddle.x - (fromMiddle.x * c + fromMiddle.y * s),
                        fromMiddle.y - (fromMiddle.y * c - fromMiddle.x * s)};
    MapProjection shown = moved({-there.x, -there.y});
    shown.heading_ = usableHeading(shown.heading_ - degrees);
    return shown;
}

int graticuleStep(double degrees) noexcept {
    constexpr std::array kSeconds{1,   2,    5,    10,   15,    30,    60,    120,    300,   600,
                                  900, 1800, 3600, 7200, 18000, 36000, 54000, 108000, 162000};
    const auto* const found = std::lower_bound(kSeconds.begin(), kSeconds.end() - 1, degrees * 3600);
    return *found;
}

}  // namespace tessaly::location
