#pragma once
#include <cstdint>

#include "linux/codecs/ImageCodec.h"

namespace tessaly::codecs {

/// Whether the bytes of an item, and of all that it is derived from (the tiles of a grid), lie within the file
/// (ISO/IEC 14496-12, 8.11.3; ISO/IEC 23008-12, 6.6). The library finds that out when it comes to the tile that is
/// missing, after it has asked for the memory of the whole picture and decoded all tiles before.
/// True where the boxes cannot be made out: the library judges them.
[[nodiscard]] bool liesInFile(PixelInput& input, std::uint32_t item);

}  // namespace tessaly::codecs
