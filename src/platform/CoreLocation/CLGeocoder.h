#pragma once
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/CoreLocation/CLLocation.h"
#include "platform/CoreLocation/CLPlacemark.h"

namespace tessaly {

enum class CLError : std::uint8_t {
    none,
    geocodeFoundNoResult,  ///< Nothing is known of the place: the open sea, or no place names are installed.
    geocodeCanceled,
};

/// Finds the names of places.
class CLGeocoder {
public:
    using CompletionHandler = std::function<void(const std::vector<CLPlacemark>& placemarks, CLError error)>;

    CLGeocoder() = default;
    CLGeocoder(const CLGeocoder&) = delete;
    CLGeocoder& operator=(const CLGeocoder&) = delete;
    virtual ~CLGeocoder() = default;

    /// One that needs no network: it knows the places of the program's resources.
    [[nodiscard]] static std::shared_ptr<CLGeocoder> offlineGeocoder();

    /// Calls the handler exactly once, later, on the main queue, whether or not the geocoder is still there. Without a
    /// placemark there is an error. The country's name is in the language of the interface.
    virtual void reverseGeocodeLocation(const CLLocation& location, CompletionHandler completionHandler) = 0;
    /// Ends all requests that are under way: their handlers get geocodeCanceled. To be called on the main queue.
    virtual void cancelGeocode() = 0;
};

/// The offline geocoder's answer at once, for any thread. `preferredLocale` is a locale or language ("de", "zh-Hans")
/// for the country's name, by default the interface's language; not to be left out while that is being changed.
[[nodiscard]] std::optional<CLPlacemark> placemarkForCoordinate(CLLocationCoordinate2D coordinate,
                                                                std::string_view preferredLocale = {});

}  // namespace tessaly
