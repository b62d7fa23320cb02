#pragma once
#include <string>
#include <string_view>

namespace tessaly {

/// What a coordinate is called. A part that is not known is empty.
struct CLPlacemark {
    std::string subLocality;         ///< A section of the locality.
    std::string locality;            ///< City, town or village.
    std::string administrativeArea;  ///< State, province or region.
    std::string country;             ///< In the language that was asked for.
    std::string ISOcountryCode;      ///< Two letters.

    /// Sub-locality, locality and country, as far as they are known.
    [[nodiscard]] std::string name(std::string_view separator) const {
        std::string text;
        for (const std::string* part : {&subLocality, &locality})
            if (!part->empty()) text.append(*part).append(separator);
        return text += country;
    }

    friend bool operator==(const CLPlacemark&, const CLPlacemark&) = default;
};

}  // namespace tessaly
