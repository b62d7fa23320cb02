#include "linux/imageio/rewrite/ValueCompanions.h"

#include <array>
#include <string_view>

#include "platform/ImageIO/CGImageProperties.h"

namespace tessaly::imageio {
namespace {

constexpr std::string_view kTiff = kCGImagePropertyTIFFDictionary;
constexpr std::string_view kExif = kCGImagePropertyExifDictionary;
constexpr std::string_view kGps = kCGImagePropertyGPSDictionary;

struct Companion {
    std::string_view dictionary, name;
    std::string_view companionDictionary, companion;
};

constexpr std::array kCompanions{
    Companion{kTiff, "DateTime", kExif, "SubsecTime"},
    Companion{kTiff, "DateTime", kExif, "OffsetTime"},
    Companion{kExif, "DateTimeOriginal", kExif, "SubsecTimeOriginal"},
    Companion{kExif, "DateTimeOriginal", kExif, "OffsetTimeOriginal"},
    Companion{kExif, "DateTimeDigitized", kExif, "SubsecTimeDigitized"},
    Companion{kExif, "DateTimeDigitized", kExif, "OffsetTimeDigitized"},
    Companion{kExif, "DateTimeOriginal", kGps, kCGImagePropertyGPSDateStamp},
    Companion{kExif, "DateTimeOriginal", kGps, kCGImagePropertyGPSTimeStamp},
};

}  // namespace

MetadataChange withCompanions(const MetadataChange& change) {
    MetadataChange whole = change;
    for (const Companion& companion : kCompanions) {
        if (!change.values[companion.dictionary].dictionary().contains(companion.name)) continue;
        Dictionary inner = whole.values[companion.companionDictionary].dictionary();
        if (inner.contains(companion.companion)) continue;
        inner.set(companion.companion, "");
        whole.values.set(companion.companionDictionary, inner);
    }
    const Dictionary& gps = change.values[kGps].dictionary();
    if (gps.contains(kCGImagePropertyGPSLatitude) && gps.contains(kCGImagePropertyGPSLongitude)) {
        if (change.removal == MetadataChange::Removal::nothing) whole.removal = MetadataChange::Removal::place;
        if (change.removal == MetadataChange::Removal::dictionaries) whole.removes.gps = true;
    }
    return whole;
}

}  // namespace tessaly::imageio
