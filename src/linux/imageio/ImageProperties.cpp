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

Dictionary ImageProperties::assemble() const {
    Dictionary wholeAux = aux;
    for (const auto& entry : makerAux)
        if (!wholeAux.contains(entry.key())) wholeAux.set(entry.key(), entry.value);
    const std::array<std::pair<std::string_view, const Dictionary*>, 12> parts{{
        {kCGImagePropertyExifDictionary, &exif},
        {kCGImagePropertyTIFFDictionary, &tiff},
        {kCGImagePropertyGPSDictionary, &gps},
        {kCGImagePropertyIPTCDictionary, &iptc},
        {kCGImagePropertyExifAuxDictionary, &wholeAux},
        {kCGImagePropertyPictureStyleDictionary, &pictureStyle},
        {kCGImagePropertyPNGDictionary, &png},
        {kCGImagePropertyGIFDictionary, &gif},
        {kCGImagePropertyJFIFDictionary, &jfif},
        {kCGImagePropertyHEIFDictionary, &heif},
        {kCGImagePropertyWebPDictionary, &webp},
        {kCGImagePropertyDNGDictionary, &dng},
    }};
    Dictionary whole = top;
    for (const auto& [name, part] : parts)
        if (!part->empty()) whole.setLiteral(name, *part);
    return whole;
}

}  // namespace tessaly::imageio
