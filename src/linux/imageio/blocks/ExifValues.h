#pragma once
#include "linux/imageio/TiffDirectory.h"
#include "linux/imageio/blocks/ExifTags.h"
#include "platform/Foundation/Value.h"

namespace tessaly::imageio {

/// The value of `entry` in the given form; null when it is empty, out of bounds, or over a zero denominator.
/// Writers disagree with the standard about types, so every form takes every type that makes sense.
[[nodiscard]] Value tiffValue(TiffContext& tiff, const TiffEntry& entry, TagForm form);

/// Element `index` as a number: an integer, or a double for rationals and reals. Null for what is no number.
[[nodiscard]] Value tiffNumber(TiffContext& tiff, const TiffEntry& entry, std::uint64_t index = 0);

/// Text behind an 8-byte character code (Exif 2.32, 4.6.5, UserComment).
[[nodiscard]] Value commentValue(Bytes bytes, ByteOrder order);

}  // namespace tessaly::imageio
