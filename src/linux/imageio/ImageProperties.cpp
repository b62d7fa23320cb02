#include "linux/imageio/ImageProperties.h"

#include <array>
#include <utility>

#include "platform/ImageIO/CGImageProperties.h"

namespace tessaly::imageio {

void ImageProperties::setPixelSize(std::uint64_t width, std::uint64_t height) {
    if (width == 0 || height == 0) return;
    top.setLiteral(kCGImagePropertyPixelWidth, width);
    top.setLiteral(kCGImagePropertyPixelHeight, height);
}

Dictionary ImageProperties::assemble() && {
    for (const auto& entry : makerAux)
        if (!aux.contains(entry.key())) aux.set(entry.key(), entry.value);
    const std::array<std::pair<std::string_view, Dictionary*>, 13> parts{{
        {kCGImagePropertyExifDictionary, &exif},
        {kCGImagePropertyTIFFDictionary, &tiff},
        {kCGImagePropertyGPSDictionary, &gps},
        {kCGImagePropertyIPTCDictionary, &iptc},
        {kCGImagePropertyExifAuxDictionary, &aux},
        {kCGImagePropertyPictureStyleDictionary, &pictureStyle},
        {kCGImagePropertyPNGDictionary, &png},
        {kCGImagePropertyGIFDictionary, &gif},
        {kCGImagePropertyJFIFDictionary, &jfif},
        {kCGImagePropertyHEIFDictionary, &heif},
        {kCGImagePropertyWebPDictionary, &webp},
        {kCGImagePropertyDNGDictionary, &dng},
        {kCGImagePropertyMakerAppleDictionary, &makerApple},
    }};
    for (const auto& [name, part] : parts)
        if (!part->empty()) top.appendLiteral(name, std::move(*part));
    return std::move(top);
}

}  // namespace tessaly::imageio
