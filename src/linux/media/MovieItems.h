#pragma once
#include <optional>
#include <string>
#include <string_view>

#include "linux/imageio/ByteReader.h"
#include "platform/AVFoundation/AVAsset.h"

namespace tessaly::media {

/// Adds an item to the asset. The first with a common key keeps it: readers go from the most to the least
/// authoritative place, and what comes later is kept without one. A null value adds nothing.
void addItem(AVAsset& asset, std::string_view commonKey, std::string identifier, Value value);

/// As addItem for a creation date; the first that can be understood becomes the asset's.
void addCreationDate(AVAsset& asset, std::string identifier, std::string_view text);
/// The same for a date that is known already.
void addCreationDate(AVAsset& asset, std::string identifier, NSDate date);

/// A date as movies write it: "2014-09-18T11:06:47-0700", "2014:09:18 11:06:47", "2014-09-18", "2014". Without a zone
/// it is the default time zone's. Nullopt for what is no date.
[[nodiscard]] std::optional<NSDate> parseMovieDate(std::string_view text);

/// "+51.4169-000.0806/", ISO 6709, as cameras write it.
[[nodiscard]] std::string iso6709(double latitude, double longitude);

/// The common key of a name in a QuickTime key list, a Matroska tag or the like; "" for none.
[[nodiscard]] std::string_view commonKeyOfName(std::string_view name);

}  // namespace tessaly::media
