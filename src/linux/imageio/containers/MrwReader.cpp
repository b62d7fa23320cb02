#include <string_view>

#include "linux/imageio/blocks/Blocks.h"
#include "linux/imageio/containers/Containers.h"

namespace tessaly::imageio {
namespace {

using std::string_view_literals::operator""sv;

constexpr std::uint64_t kFirstBlock = 8;
constexpr std::size_t kMaximumBlocks = 32;

}  // namespace

/// Minolta's raws: blocks of a four-byte name and a length. One holds a TIFF structure, another the sensor's sizes.
void readMrw(ByteSource& source, ImageProperties& properties) {
    std::uint64_t position = kFirstBlock;
    for (std::size_t count = 0; count < kMaximumBlocks; ++count) {
        const auto name = source.bytes(position, 4);
        const auto length = source.read<std::uint32_t>(position + 4);
        if (!name || !length || (*name)[0] != std::byte{0}) return;
        const std::uint64_t content = position + 8;
        if (asText(*name) == "\0TTW"sv) {
            ByteSource block = source.part(content, *length);
            readExif(block, 0, properties);
        }
        if (asText(*name) == "\0PRD"sv)
            properties.setPixelSize(source.read<std::uint16_t>(content + 14).value_or(0),
                                    source.read<std::uint16_t>(content + 12).value_or(0));
        position = content + *length;
    }
}

}  // namespace tessaly::imageio
