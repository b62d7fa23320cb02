#pragma once
#include "platform/CoreGraphics/CGGeometry.h"
#include "platform/MapKit/MKMapView.h"

namespace tessaly::location {

/// Places on a map sheet: a region of the Earth laid onto a rectangle of points. Mercator's projection, true to scale
/// in the middle; within ten degrees of a pole, where that one has no end, a stereographic one of the polar cap. Both
/// keep angles. A value; any thread.
class MapProjection {
public:
    /// Fits the region in. Whatever the numbers are, the sheet is a usable one.
    MapProjection(const MKCoordinateRegion& region, double heading, CGSize size);

    /// There is nothing to draw on.
    [[nodiscard]] bool isEmpty() const noexcept { return size_.width <= 0 || size_.height <= 0; }
    [[nodiscard]] CGSize size() const noexcept { return size_; }
    [[nodiscard]] CLLocationCoordinate2D center() const noexcept { return center_; }
    /// Degrees clockwise from north to what is up, 0 up to 360.
    [[nodiscard]] double heading() const noexcept { return heading_; }
    /// In the middle.
    [[nodiscard]] double metresAPoint() const noexcept;
    [[nodiscard]] double pointsADegree() const noexcept;
    /// Parallels are circles here.
    [[nodiscard]] bool isPolar() const noexcept;
    /// What the sheet shows, at its middle's scale. A projection of that is this one again.
    [[nodiscard]] MKCoordinateRegion region() const;

    /// Finite for every valid coordinate; of those that repeat around the Earth, the one nearest to the middle.
    [[nodiscard]] CGPoint point(CLLocationCoordinate2D coordinate) const;
    /// The same with a longitude counted on from the middle's, so that a line across its antipode stays one.
    [[nodiscard]] CGPoint pointOnwards(double latitude, double eastOfMiddle) const;
    [[nodiscard]] CLLocationCoordinate2D coordinate(CGPoint point) const;

    /// Degrees; west and east count on from the middle's longitude, so that west <= it <= east.
    struct Bounds {
        double south, west, north, east;
    };
    /// What holds all that the sheet shows.
    [[nodiscard]] Bounds bounds() const;

    /// The ground moved by so many points.
    [[nodiscard]] MapProjection moved(CGPoint by) const;
    /// What is at the point stays there.
    [[nodiscard]] MapProjection zoomed(CGPoint at, double factor) const;
    /// The ground turned clockwise around the point.
    [[nodiscard]] MapProjection turned(CGPoint at, double degrees) const;

    friend bool operator==(const MapProjection&, const MapProjection&) = default;

private:
    /// East and north of the middle, in points and before the sheet is turned.
    [[nodiscard]] CGPoint plane(double latitude, double eastOfMiddle) const;
    [[nodiscard]] CGPoint turnedToSheet(CGPoint plane) const;
    [[nodiscard]] CGPoint turnedToPlane(CGPoint point) const;
    [[nodiscard]] double side() const noexcept { return center_.latitude < 0 ? -1 : 1; }

    CLLocationCoordinate2D center_;
    double heading_ = 0;
    double scale_ = 1;  // Points a radian of the ground in the middle.
    CGSize size_;
};

/// The step, in seconds of arc, between lines that shall be `degrees` apart or a little more.
[[nodiscard]] int graticuleStep(double degrees) noexcept;

}  // namespace tessaly::location
