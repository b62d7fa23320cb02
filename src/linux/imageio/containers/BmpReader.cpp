#include <bit>
#include <cstdlib>

#include "linux/imageio/blocks/Blocks.h"
#include "linux/imageio/containers/Containers.h"
#include "platform/ImageIO/CGImageProperties.h"

// Windows SDK: BITMAPCOREHEADER, BITMAPINFOHEADER, BITMAPV5HEADER.
namespace tessaly::imageio {
namespace {

constexpr std::uint64_t kHeader = 14;
constexpr std::uint32_t kCoreHeaderSize = 12;
constexpr std::uint32_t kVersion5Size = 124;
constexpr std::uint32_t kEmbeddedProfile = 0x4D424544;  // "MBED".
constexpr std::uint32_t kMaximumProfile = 16 * 1024 * 1024;
constexpr double kMetresPerInch = 0.0254;

void describeDepth(std::uint16_t bitsPerPixel, ImageProperties& properties) {
    ImageProperties::add(properties.top, kCGImagePropertyDepth, bitsPerPixel >= 16 ? 8 : bitsPerPixel);
    ImageProperties::add(properties.top, kCGImagePropertyColorModel, "RGB");
}

}  // namespace

void readBmp(ByteSource& source, ImageProperties& properties) {
    constexpr auto order = ByteOrder::little;
    const auto size = source.read<std::uint32_t>(kHeader, order);
    if (!size) return;
    if (*size == kCoreHeaderSize) {
        properties.setPixelSize(source.read<std::uint16_t>(kHeader + 4, order).value_or(0),
                                source.read<std::uint16_t>(kHeader + 6, order).value_or(0));
        describeDepth(source.read<std::uint16_t>(kHeader + 10, order).value_or(0), properties);
        return;
    }
    const auto width = std::bit_cast<std::int32_t>(source.read<std::uint32_t>(kHeader + 4, order).value_or(0));
    // Negative where rows stand from top to bottom.
    const auto height = std::bit_cast<std::int32_t>(source.read<std::uint32_t>(kHeader + 8, order).value_or(0));
    if (width > 0)
        properties.setPixelSize(static_cast<std::uint64_t>(width),
                                static_cast<std::uint64_t>(std::llabs(static_cast<long long>(height))));
    describeDepth(source.read<std::uint16_t>(kHeader + 14, order).value_or(0), properties);
    const auto x = source.read<std::uint32_t>(kHeader + 24, order).value_or(0);
    const auto y = source.read<std::uint32_t>(kHeader + 28, order).value_or(0);
    if (x > 0) ImageProperties::add(properties.top, kCGImagePropertyDPIWidth, x * kMetresPerInch);
    if (y > 0) ImageProperties::add(properties.top, kCGImagePropertyDPIHeight, y * kMetresPerInch);
    if (*size < kVersion5Size || source.read<std::uint32_t>(kHeader + 56, order) != kEmbeddedProfile) return;
    const auto offset = source.read<std::uint32_t>(kHeader + 112, order).value_or(0);
    const auto length = source.read<std::uint32_t>(kHeader + 116, order).value_or(0);
    if (length > kMaximumProfile) return;
    if (const auto profile = source.bytes(kHeader + offset, length)) readIccProfile(*profile, properties);
}

}  // namespace tessaly::imageio
