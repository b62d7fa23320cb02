#include <algorithm>
#include <bitset>

#include "linux/imageio/blocks/Blocks.h"
#include "platform/ImageIO/CGImageProperties.h"

namespace tessaly::imageio {
namespace {

constexpr std::uint16_t kResolution = 0x03ED;
constexpr std::uint16_t kIptc = 0x0404;
constexpr std::uint16_t kIccProfile = 0x040F;
constexpr std::uint16_t kXmp = 0x0424;

/// ResolutionInfo: 16.16 pixels per inch across, its display unit, width unit; the same down.
void readResolution(Bytes data, ImageProperties& properties) {
    if (data.size() < 16) return;
    const double x = loadInteger<std::uint32_t>(data.data(), ByteOrder::big) / 65536.0;
    const double y = loadInteger<std::uint32_t>(data.data() + 8, ByteOrder::big) / 65536.0;
    if (x <= 0 || y <= 0) return;
    ImageProperties::add(properties.top, kCGImagePropertyDPIWidth, x);
    ImageProperties::add(properties.top, kCGImagePropertyDPIHeight, y);
}

void readResource(std::uint16_t identifier, Bytes data, ImageProperties& properties) {
    switch (identifier) {
        case kResolution:
            return readResolution(data, properties);
        case kIptc:
            return readIptc(data, properties);
        case kXmp:
            return readXmp(data, properties);
        case kIccProfile:
            return readIccProfile(data, properties);
        default:
            return;
    }
}

}  // namespace

void readPhotoshopResources(Bytes resources, ImageProperties& properties) {
    ByteReader reader(resources);
    std::bitset<0x10000> seen;  // Each resource stands once.
    while (reader.remaining() >= 12) {
        const auto mark = reader.take(4);
        const std::string_view text = asText(*mark);
        if (text != "8BIM" && text != "PHUT" && text != "AgHg" && text != "DCSR" && text != "MeSa") return;
        const auto identifier = reader.read<std::uint16_t>();
        const auto nameLength = reader.read<std::uint8_t>();
        // The name is padded so that it and its length byte are even together; so is the data.
        if (!nameLength || !reader.skip(*nameLength + (*nameLength % 2 == 0 ? 1U : 0U))) return;
        const auto size = reader.read<std::uint32_t>();
        if (!size) return;
        const Bytes data = reader.rest().first(std::min<std::size_t>(*size, reader.remaining()));
        if (!seen[*identifier]) readResource(*identifier, data, properties);
        seen.set(*identifier);
        if (!reader.skip(std::uint64_t{*size} + *size % 2)) return;
    }
}

}  // namespace tessaly::imageio
