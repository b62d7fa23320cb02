#pragma once
#include <string>
#include <string_view>
#include <vector>

#include "linux/imageio/ImageProperties.h"

namespace tessaly::imageio {

/// A profile that a program wrote as text before PNG had a place for it: a name, its length in decimal, then its bytes
/// in hexadecimal over many lines. Empty where the text has another form.
[[nodiscard]] std::vector<std::byte> decodedRawProfile(std::string_view text);

/// The opposite: the text of a profile of that type.
[[nodiscard]] std::string encodedRawProfile(std::string_view type, Bytes profile);

/// Reads the decoded profile of a type: "exif", "APP1", "iptc", "8bim", "xmp", "icc", "icm".
void readRawProfile(std::string_view type, Bytes profile, ImageProperties& properties);

}  // namespace tessaly::imageio
