#pragma once
#include <string_view>

#include "metadata/ExifInformation.h"

namespace tessaly {

/// What the file says for a key, unformatted: numbers and codes as they are stored, texts, several as an array, a date
/// as ISO 8601 text in the photo's own zone (without one where the file names none), a place as degrees north and east.
/// Altitude is in metres, negative below sea level; sizes are bytes, times seconds. Null for what the file does not
/// say, and for keys that no file says anything for.
[[nodiscard]] Value statedValue(const ExifInformation& record, std::string_view key);

/// The formatter's item with its text to the precision that the file has, and "Not available" where the file does not
/// say it.
[[nodiscard]] ExifValue preciseValue(const ExifInformation& record, ExifValue item);

/// Whether the row of a key would tell nothing: no text, or that there is none.
[[nodiscard]] bool isEmptyRow(ExifInformation& record, std::string_view key);

}  // namespace tessaly
