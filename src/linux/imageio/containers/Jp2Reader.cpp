#include <string_view>

#include "linux/imageio/IsoBox.h"
#include "linux/imageio/blocks/Blocks.h"
#include "linux/imageio/containers/Containers.h"
#include "platform/ImageIO/CGImageProperties.h"

// JPEG 2000: ISO/IEC 15444-1, annex I. Metadata stands in "uuid" boxes that common use has settled on.
namespace tessaly::imageio {
namespace {

using std::string_view_literals::operator""sv;

constexpr auto kExifBox = "JpgTiffExif->JP2"sv;
constexpr auto kIptcBox = "\x33\xC7\xA4\xD2\xB8\x1D\x47\x23\xA0\xBA\xF1\xA3\xE0\x97\xAD\x38"sv;
constexpr std::uint64_t kMaximumBlock = 16 * 1024 * 1024;

// I.5.3.1 and I.5.3.3.
void readHeader(ByteSource& source, const IsoBox& header, ImageProperties& properties) {
    IsoBoxes boxes(source, header);
    while (const auto box = boxes.next()) {
        if (box->type() == "ihdr"sv && box->length >= 11) {
            properties.setPixelSize(source.read<std::uint32_t>(box->position + 4).value_or(0),
                                    source.read<std::uint32_t>(box->position).value_or(0));
            const auto channels = source.read<std::uint16_t>(box->position + 8).value_or(3);
            const auto depth = source.read<std::uint8_t>(box->position + 10).value_or(7);
            if (depth != 255) ImageProperties::add(properties.top, kCGImagePropertyDepth, (depth & 0x7F) + 1);
            ImageProperties::add(properties.top, kCGImagePropertyColorModel, channels < 3 ? "Gray" : "RGB");
        }
        if (box->type() == "colr"sv && box->length > 3 && box->length <= kMaximumBlock)
            if (const auto profile = source.bytes(box->position + 3, box->length - 3))
                readIccProfile(*profile, properties);
    }
}

}  // namespace

void readJp2(ByteSource& source, ImageProperties& properties) {
    IsoBox exif, xmp, iptc;
    IsoBoxes boxes(source);
    while (const auto box = boxes.next()) {
        if (box->type() == "jp2h"sv) readHeader(source, *box, properties);
        if (box->length > kMaximumBlock) continue;
        if (isUserBox(*box, kExifBox)) exif = *box;
        if (xmp.length == 0 && isUserBox(*box, kXmpUserType)) xmp = *box;
        if (isUserBox(*box, kIptcBox)) iptc = *box;
    }
    if (const auto bytes = source.bytes(exif.position, exif.length); bytes && exif.length > 0)
        readExif(*bytes, properties);
    if (const auto bytes = source.bytes(iptc.position, iptc.length); bytes && iptc.length > 0)
        readIptc(*bytes, properties);
    if (const auto bytes = source.bytes(xmp.position, xmp.length); bytes && xmp.length > 0) readXmp(*bytes, properties);
}

}  // namespace tessaly::imageio
