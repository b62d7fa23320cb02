#pragma once
#include <optional>

#include "linux/imageio/rewrite/ByteWriter.h"

namespace tessaly::imageio {

/// What of an Exif block decides how the picture shows: orientation, density (unless the container tells it), and the
/// mark of Adobe RGB, which cameras set instead of embedding a profile. nullopt when nothing but defaults is left.
[[nodiscard]] std::optional<ByteVector> minimalExif(Bytes block, bool containerHasDensity);

/// An Exif block without any field.
[[nodiscard]] ByteVector emptyExif();

}  // namespace tessaly::imageio
