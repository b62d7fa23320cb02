#include "linux/imageio/ImageProperties.h"

#include <array>
#include <string>
#include <utility>

#include "platform/ImageIO/CGImageProperties.h"

namespace tessaly::imageio {

void ImageProperties::setPixelSize(std::uint64_t width, std::uint64_t height) {
    if (width == 0 || height == 0) return;
    top.setLiteral(kCGImagePropertyPixelWidth, width);
    top.setLiteral(kCGImagePropertyPixelHeight, height);
}

namespace {

/// A text, or the texts of a list with "; " between, as Exif has several artists (Exif 2.32, 4.6.4, Artist).
Value joined(const Value& value) {
    if (!value.isArray()) return value;
    std::string all;
    for (const Value& one : value.array()) all.append(all.empty() ? "" : "; ").append(one.string());
    return all.empty() ? Value() : Value(all);
}

/// Names and rights that only IPTC and XMP tell.
void fillTiff(const Dictionary& iptc, Dictionary& tiff) {
    for (const auto& [name, from] : {std::pair(kCGImagePropertyTIFFArtist, std::string_view("Byline")),
                                     std::pair(kCGImagePropertyTIFFCopyright, std::string_view("CopyrightNotice"))})
        if (tiff[name].string().empty() && !iptc[from].isNull()) tiff.set(name, joined(iptc[from]));
}

/// Some cameras leave the field out and tell those beside it (Exif 2.32, 4.6.5, SensitivityType), or only their note.
void fillSensitivity(const Value& fromNote, Dictionary& exif) {
    if (!exif[kCGImagePropertyExifISOSpeedRatings].isNull()) return;
    for (const Value& other : {exif["RecommendedExposureIndex"], exif["StandardOutputSensitivity"],
                               exif[kCGImagePropertyExifISOSpeed], fromNote})
        if (other.integerValue() > 0) {
            exif.set(kCGImagePropertyExifISOSpeedRatings, Array{other.integerValue()});
            return;
        }
}

}  // namespace

Dictionary ImageProperties::assemble() && {
    fillTiff(iptc, tiff);
    fillSensitivity(makerIso, exif);
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
