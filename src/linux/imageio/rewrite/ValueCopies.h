#pragma once
#include <cstdint>
#include <string_view>
#include <vector>

#include "platform/ImageIO/MetadataChange.h"

/// Where programs repeat values that have a place of their own: a value that goes has to go from there, too.
namespace tessaly::imageio {

/// Whether a property of XMP repeats something of the dictionaries that go. By customary prefix and name; places are
/// no part of it (see namesPlace).
[[nodiscard]] bool repeatsDictionary(const MetadataChange::Dictionaries& removed, std::string_view prefix,
                                     std::string_view name) noexcept;

/// A property of XMP by its customary prefix and its name.
struct XmpName {
    std::string_view prefix;
    std::string_view name;
};

/// The further properties that repeat a value which `values` names: what they say is out of date with it.
[[nodiscard]] std::vector<XmpName> repeatingProperties(const Dictionary& values);
/// The same of fields in the first directory of Exif.
[[nodiscard]] std::vector<std::uint16_t> repeatingTags(const Dictionary& values);

}  // namespace tessaly::imageio
