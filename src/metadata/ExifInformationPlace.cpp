#include <algorithm>
#include <cstdlib>

#include "metadata/ExifInformation.h"
#include "metadata/Formatting.h"
#include "platform/Foundation/Format.h"
#include "platform/ImageIO/CGImageProperties.h"
#include "settings/PersistanceManager.h"

// Where it was taken.
namespace tessaly {
namespace {

constexpr double kFeetPerMetre = 3.28084;
constexpr double kKilometresPerHour = 3.6;  // Of a metre per second.
constexpr double kMilesPerHour = 2.23694;   // Of a metre per second.

struct Sexagesimal {
    std::int32_t degrees, minutes, seconds;
};

/// Truncated, never rounded: 29.9 seconds are 29.
Sexagesimal sexagesimal(double coordinate) {
    const auto total = static_cast<std::int32_t>(std::clamp(coordinate * 3600, -2147483647.0, 2147483647.0));
    const std::int32_t rest = std::abs(total % 3600);
    return {std::abs(total / 3600), rest / 60, rest % 60};
}

}  // namespace

std::string ExifInformation::coordinateInReadableDecimalFormat(double latitude, double longitude) {
    return formatted("%f° %f°", latitude, longitude);
}

std::string ExifInformation::coordinateInReadableFormat(double latitude, double longitude) {
    if (PersistanceManager::sharedInstance().shouldShowGPSInDecimalValues())
        return coordinateInReadableDecimalFormat(latitude, longitude);
    const Sexagesimal north = sexagesimal(latitude);
    const Sexagesimal east = sexagesimal(longitude);
    return formatted("%d°%d'%d\"%@ %d°%d'%d\"%@", north.degrees, north.minutes, north.seconds,
                     latitude >= 0 ? "N" : "S", east.degrees, east.minutes, east.seconds, longitude >= 0 ? "E" : "W");
}

ExifValue ExifInformation::GPS() const {
    ExifValue value = item("GPS", "GPS");
    if (location)
        value.exifValueReadableFormat =
            coordinateInReadableFormat(location->coordinate.latitude, location->coordinate.longitude);
    return markedForGPS(std::move(value));
}

ExifValue ExifInformation::GPSAltitude() const {
    ExifValue value = item("GPSAltitude", "Altitude");
    if (location) {
        const bool metric = PersistanceManager::sharedInstance().isUsingMetricUnits();
        const double unit = metric ? 1 : kFeetPerMetre;
        value.exifValueReadableFormat = formatted(
            localized(metric ? "%f meters above sea level (+/- %0.2f)" : "%f feet above sea level (+/- %0.2f)"),
            location->altitude * unit, location->verticalAccuracy * unit);
    }
    return markedForGPS(std::move(value));
}

ExifValue ExifInformation::GPSSpeed() const {
    ExifValue value = item("GPSSpeed", "Speed");
    const bool metric = PersistanceManager::sharedInstance().isUsingMetricUnits();
    value.exifKeyWithUnitTypeReadableFormat =
        formatted(localized(metric ? "%@ (Kilometer per hour)" : "%@ (Miles per hour)"), localized("Speed"));
    // A place without a speed has a negative one, which is shown as it is.
    if (location)
        value.exifValueReadableFormat =
            formatted(localized(metric ? "%0.2f Kilometer per hour" : "%0.2f Miles per hour"),
                      location->speed * (metric ? kKilometresPerHour : kMilesPerHour));
    return markedForGPS(std::move(value));
}

ExifValue ExifInformation::GPSDirection() const {
    ExifValue value = item("GPSDirection", "GPS Direction");
    const Value& direction = gps()[kCGImagePropertyGPSImgDirection];
    if (gpsInfoAvailable() || !direction.isNull()) {
        const std::string reference = gps()[kCGImagePropertyGPSImgDirectionRef].description();
        // Only true north has a name; a magnetic reference shows as its letter.
        const bool isTrue = reference == "T" || reference == "t";
        const std::string shown = isTrue ? localized("True North") : reference;
        value.exifValueReadableFormat = direction.isNull() ? shown : formatted(localized("%@ %@"), direction, shown);
    }
    return markedForGPS(std::move(value));
}

ExifValue ExifInformation::LocationName() const { return item("LocationName", "Location"); }
ExifValue ExifInformation::MapView() const { return item("MapView", "Map"); }

}  // namespace tessaly
