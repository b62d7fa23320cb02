#include "platform/CoreLocation/CLGeocoder.h"

#include <unicode/locid.h>

#include <atomic>
#include <utility>

#include "linux/location/PlaceFile.h"
#include "platform/Foundation/Dispatch.h"
#include "platform/Foundation/NSBundle.h"

namespace tessaly {
namespace {

std::string interfaceLanguage() { return NSBundle::mainBundle().preferredLocalization(); }

std::string countryName(std::string_view code, const std::string& locale) {
    icu::UnicodeString name;
    const auto country = icu::Locale("", std::string(code).c_str());
    country.getDisplayCountry(icu::Locale::createCanonical(locale.c_str()), name);
    std::string text;
    return name.toUTF8String(text);
}

class OfflineGeocoder final : public CLGeocoder {
public:
    void reverseGeocodeLocation(const CLLocation& location, CompletionHandler completionHandler) override {
        // The interface's language belongs to the caller's thread.
        DispatchQueue::global().async([coordinate = location.coordinate, language = interfaceLanguage(),
                                       handler = std::move(completionHandler), cancellations = cancellations_,
                                       before = cancellations_->load()]() mutable {
            std::vector<CLPlacemark> placemarks;
            if (auto placemark = placemarkForCoordinate(coordinate, language))
                placemarks.push_back(std::move(*placemark));
            DispatchQueue::main().async([placemarks = std::move(placemarks), handler = std::move(handler),
                                         cancellations = std::move(cancellations), before] {
                if (cancellations->load() != before)
                    handler({}, CLError::geocodeCanceled);
                else
                    handler(placemarks, placemarks.empty() ? CLError::geocodeFoundNoResult : CLError::none);
            });
        });
    }

    void cancelGeocode() override { ++*cancellations_; }

private:
    std::shared_ptr<std::atomic<std::uint64_t>> cancellations_ = std::make_shared<std::atomic<std::uint64_t>>(0);
};

}  // namespace

std::shared_ptr<CLGeocoder> CLGeocoder::offlineGeocoder() { return std::make_shared<OfflineGeocoder>(); }

std::optional<CLPlacemark> placemarkForCoordinate(CLLocationCoordinate2D coordinate, std::string_view preferredLocale) {
    const location::PlaceIndex* const index = location::PlaceFile::installed();
    if (!index) return std::nullopt;
    const auto names = index->names(coordinate);
    if (!names) return std::nullopt;
    CLPlacemark placemark;
    placemark.subLocality = names->subLocality;
    placemark.locality = names->locality;
    placemark.administrativeArea = names->administrativeArea;
    placemark.ISOcountryCode = names->country;
    placemark.country =
        countryName(names->country, preferredLocale.empty() ? interfaceLanguage() : std::string(preferredLocale));
    return placemark;
}

}  // namespace tessaly
