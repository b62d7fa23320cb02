#pragma once
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

namespace tessaly {

/// What a property holds, and the value that rewriteMetadata takes for it.
enum class WritableKind : std::uint8_t {
    text,
    texts,           ///< An array of texts.
    whole,           ///< A whole number from 0 on.
    fraction,        ///< A number from 0 on; as any number below.
    signedFraction,  ///< A number.
    degrees,         ///< A number from 0 on; the hemisphere is a property of its own, named with "Ref" at the end.
    date,            ///< "2024:05:01 12:30:00"
    day,             ///< "2024:05:01", of IPTC "20240501".
    time,            ///< "12:30:00", of IPTC "123000" and a zone behind it.
    zone,            ///< "+02:00"
    digits,          ///< A text of digits.
    version,         ///< An array of digits: [2, 3, 1] is "0231".
};

/// A property that rewriteMetadata can write: where it stands in the dictionaries of CGImageProperties.h.
struct WritableProperty {
    std::string_view dictionary;
    std::string_view name;
    WritableKind kind = WritableKind::text;
    std::uint64_t largest = 0;  ///< Of numbers.
    std::uint8_t least = 1;     ///< How many numbers there are, as an array where there can be several.
    std::uint8_t most = 1;
};

/// Every property of that name (without regard to case), or all of a dictionary named "Exif", "TIFF", "GPS" or "IPTC".
/// Empty when there is none.
[[nodiscard]] std::vector<WritableProperty> writableProperties(std::string_view name);

/// All names, for suggestions.
[[nodiscard]] std::span<const std::string_view> writablePropertyNames();

}  // namespace tessaly
