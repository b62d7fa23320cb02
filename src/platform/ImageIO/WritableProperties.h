#pragma once
#include <span>
#include <string_view>
#include <vector>

namespace tessaly {

/// A property that rewriteMetadata can write: where it stands in the dictionaries of CGImageProperties.h.
struct WritableProperty {
    std::string_view dictionary;
    std::string_view name;
};

/// Every property of that name (without regard to case), or all of a dictionary named "Exif", "TIFF", "GPS" or "IPTC".
/// Empty when there is none.
[[nodiscard]] std::vector<WritableProperty> writableProperties(std::string_view name);

/// All names, for suggestions.
[[nodiscard]] std::span<const std::string_view> writablePropertyNames();

}  // namespace tessaly
