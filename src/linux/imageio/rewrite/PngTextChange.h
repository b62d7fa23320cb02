#pragma once
#include <optional>
#include <string>
#include <string_view>

#include "platform/ImageIO/MetadataChange.h"

namespace tessaly::imageio {

/// What a change makes of a PNG text whose keyword says the same as a property: its new words, or none where it goes.
/// nullopt where it stays as it is.
[[nodiscard]] std::optional<std::string> changedPngText(std::string_view keyword, const MetadataChange& change);

}  // namespace tessaly::imageio
