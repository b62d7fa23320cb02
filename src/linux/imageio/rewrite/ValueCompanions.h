#pragma once
#include "platform/ImageIO/MetadataChange.h"

namespace tessaly::imageio {

/// The change with what has to go along with its values, so that nothing older stays beside them. With a date: its
/// fraction of a second and its zone, and the satellites' date and time with the date of the picture, where they are
/// not given. With latitude and longitude: all that tells where, as when the place is removed.
[[nodiscard]] MetadataChange withCompanions(const MetadataChange& change);

}  // namespace tessaly::imageio
