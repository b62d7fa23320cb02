#include "linux/imageio/containers/Containers.h"

namespace tessaly::imageio {
namespace {

// Offsets of the header, big-endian: the preview JPEG and the directory of the sensor's data.
constexpr std::uint64_t kJpegOffset = 84;
constexpr std::uint64_t kJpegLength = 88;
constexpr std::uint64_t kDirectoryOffset = 92;
constexpr std::uint32_t kMaximumRecords = 256;
constexpr std::uint16_t kCroppedSize = 0x0111;

/// The directory: a count, then tag, length and that many bytes each. 0x0111 holds height and width of the picture.
void readDirectory(ByteSource& source, ImageProperties& properties) {
    const auto offset = source.read<std::uint32_t>(kDirectoryOffset);
    if (!offset) return;
    const auto count = source.read<std::uint32_t>(*offset);
    if (!count || *count > kMaximumRecords) return;
    std::uint64_t at = *offset + 4ULL;
    for (std::uint32_t i = 0; i < *count; ++i) {
        const auto tag = source.read<std::uint16_t>(at);
        const auto length = source.read<std::uint16_t>(at + 2);
        if (!tag || !length) return;
        if (*tag == kCroppedSize && *length >= 4) {
            const auto height = source.read<std::uint16_t>(at + 4);
            const auto width = source.read<std::uint16_t>(at + 6);
            if (height && width) properties.setPixelSize(*width, *height);
        }
        at += 4ULL + *length;
    }
}

}  // namespace

void readRaf(ByteSource& source, ImageProperties& properties) {
    const auto offset = source.read<std::uint32_t>(kJpegOffset);
    const auto length = source.read<std::uint32_t>(kJpegLength);
    if (offset && length) {
        ByteSource preview = source.part(*offset, *length);
        readJpeg(preview, properties);
    }
    readDirectory(source, properties);
    properties.imageCount = 1;
}

}  // namespace tessaly::imageio
