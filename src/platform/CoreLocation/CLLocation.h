#pragma once
#include <optional>

#include "platform/Foundation/NSDate.h"

namespace tessaly {

struct CLLocationCoordinate2D {
    double latitude = 0;   ///< Degrees, north positive.
    double longitude = 0;  ///< Degrees, east positive.
    friend bool operator==(const CLLocationCoordinate2D&, const CLLocationCoordinate2D&) = default;
};

/// Whether latitude is within ±90 and longitude within ±180 degrees.
[[nodiscard]] constexpr bool CLLocationCoordinate2DIsValid(CLLocationCoordinate2D coordinate) noexcept {
    return coordinate.latitude >= -90 && coordinate.latitude <= 90 && coordinate.longitude >= -180 &&
           coordinate.longitude <= 180;
}

/// A place on Earth, with where the device was heading there.
struct CLLocation {
    CLLocationCoordinate2D coordinate;
    double altitude = 0;            ///< Metres.
    double horizontalAccuracy = 0;  ///< Metres; negative means the coordinate is not valid.
    double verticalAccuracy = 0;    ///< Metres.
    double course = -1;             ///< Degrees clockwise from north; negative means unknown.
    double speed = -1;              ///< Metres per second; negative means unknown.
    std::optional<NSDate> timestamp;
    friend bool operator==(const CLLocation&, const CLLocation&) = default;
};

}  // namespace tessaly
