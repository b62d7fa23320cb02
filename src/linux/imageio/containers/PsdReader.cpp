#include <algorithm>
#include <array>
#include <string_view>

#include "linux/imageio/blocks/Blocks.h"
#include "linux/imageio/containers/Containers.h"
#include "linux/imageio/containers/PsdSections.h"
#include "platform/ImageIO/CGImageProperties.h"

namespace tessaly::imageio {
namespace {

constexpr std::uint64_t kMaximumBlock = 16 * 1024 * 1024;
constexpr std::uint16_t kResolution = 0x03ED;
constexpr std::uint16_t kIptc = 0x0404;
constexpr std::uint16_t kIccProfile = 0x040F;
constexpr std::uint16_t kExif = 0x0422;
constexpr std::uint16_t kXmp = 0x0424;

std::string_view colorModelOf(PsdMode mode) {
    switch (mode) {
        case PsdMode::bitmap:
        case PsdMode::gray:
        case PsdMode::duotone:
            return "Gray";
        case PsdMode::cmyk:
        case PsdMode::multichannel:
            return "CMYK";
        case PsdMode::lab:
            return "Lab";
        case PsdMode::indexed:
        case PsdMode::rgb:
            break;
    }
    return "RGB";
}

/// Exif of a resource may stand far from the file's start: read through the source, not in one piece.
void readBlock(ByteSource& source, const PsdResource& resource, ImageProperties& properties) {
    if (resource.identifier == kExif) {
        ByteSource block = source.part(resource.position, resource.length);
        const auto head = block.bytes(0, 4);
        return readExif(block, head && asText(*head) == "Exif" ? 6 : 0, properties);
    }
    if (resource.length > kMaximumBlock) return;
    const auto bytes = source.bytes(resource.position, resource.length);
    if (!bytes) return;
    if (resource.identifier == kIptc) return readIptc(*bytes, properties);
    if (resource.identifier == kXmp) return readXmp(*bytes, properties);
    if (resource.identifier == kIccProfile) return readIccProfile(*bytes, properties);
    // ResolutionInfo: 16.16 pixels per inch across, its display unit, width unit; the same down.
    if (bytes->size() < 16) return;
    const double x = loadInteger<std::uint32_t>(bytes->data(), ByteOrder::big) / 65536.0;
    const double y = loadInteger<std::uint32_t>(bytes->data() + 8, ByteOrder::big) / 65536.0;
    if (x <= 0 || y <= 0) return;
    ImageProperties::add(properties.top, kCGImagePropertyDPIWidth, x);
    ImageProperties::add(properties.top, kCGImagePropertyDPIHeight, y);
}

}  // namespace

void readPsd(ByteSource& source, ImageProperties& properties) {
    const auto read = [&source](std::uint64_t offset, std::span<std::byte> target) {
        const auto bytes = source.bytes(offset, target.size());
        if (bytes) std::ranges::copy(*bytes, target.begin());
        return bytes.has_value();
    };
    const auto sections = PsdSectionsReader(source.size(), read).sections();
    if (!sections) return;
    properties.setPixelSize(sections->width, sections->height);
    ImageProperties::add(properties.top, kCGImagePropertyDepth, std::uint64_t{sections->depth});
    ImageProperties::add(properties.top, kCGImagePropertyColorModel, colorModelOf(sections->mode));
    if (sections->hasAlpha) ImageProperties::add(properties.top, kCGImagePropertyHasAlpha, true);
    // In order of authority, each the first of its kind.
    constexpr std::array order{kResolution, kExif, kIptc, kXmp, kIccProfile};
    std::array<PsdResource, order.size()> found{};
    forEachPsdResource(sections->resources, read, [&](const PsdResource& resource) {
        const auto at = std::ranges::find(order, resource.identifier) - order.begin();
        if (at < std::ssize(order) && found[static_cast<std::size_t>(at)].length == 0)
            found[static_cast<std::size_t>(at)] = resource;
    });
    for (const PsdResource& resource : found)
        if (resource.length > 0) readBlock(source, resource, properties);
}

}  // namespace tessaly::imageio
