#pragma once
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "platform/Foundation/Value.h"

namespace tessaly::photos {

/// Where the movie begins that a phone has put into a photo, to the end of the file or of its box: by what the photo's
/// XMP, its boxes or the trailer of its maker, as `make` names it, say. nullopt where none of these leads to a movie.
[[nodiscard]] std::optional<std::uint64_t> embeddedMovie(const std::string& path, const Dictionary& xmp,
                                                         std::string_view make);

}  // namespace tessaly::photos
