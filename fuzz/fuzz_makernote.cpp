#include <array>
#include <string_view>

#include "FuzzReader.h"
#include "linux/imageio/blocks/Blocks.h"

/// The first byte chooses the make and the byte order; the note, with whatever its offsets reach, is the rest.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace tessaly::imageio;
    static constexpr std::array<std::string_view, 6> makes{"Canon", "NIKON CORPORATION", "SONY", "SAMSUNG", "LEICA",
                                                           "PENTAX"};
    if (size == 0) return 0;
    ByteSource source(tessaly::fuzz::bytesOf(data + 1, size - 1));
    TiffContext tiff{source, (data[0] & 1) != 0 ? ByteOrder::big : ByteOrder::little};
    ImageProperties properties;
    readMakerNote(tiff, {0, source.size()}, makes[data[0] / 2 % makes.size()], "ILCE-7M3", properties);
    return 0;
}
