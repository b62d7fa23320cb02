#pragma once
#include "linux/codecs/ImageCodec.h"

namespace tessaly::codecs {

/// Unpacks the runs of a BMP (BI_RLE8, BI_RLE4) into an index a pixel, rows of `width` as they stand in the file.
/// @param bits of an index: 8 or 4.
/// @return whether there was a pixel.
[[nodiscard]] bool unpackBmpRuns(PixelInput& input, std::uint64_t offset, unsigned bits, std::size_t width,
                                 std::span<std::uint8_t> indices);

}  // namespace tessaly::codecs
