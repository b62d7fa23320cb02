#include "linux/imageio/rewrite/PngTextChange.h"

#include <algorithm>
#include <array>

#include "platform/ImageIO/CGImageProperties.h"

namespace tessaly::imageio {
namespace {

constexpr std::string_view kTiff = kCGImagePropertyTIFFDictionary;
constexpr std::string_view kExif = kCGImagePropertyExifDictionary;
constexpr std::string_view kGps = kCGImagePropertyGPSDictionary;
constexpr std::string_view kIptc = kCGImagePropertyIPTCDictionary;

struct Meaning {
    std::string_view keyword;
    std::string_view dictionary;
    std::string_view name;
};

/// The keywords that PNG, third edition, 11.3.3.2, gives a meaning.
constexpr std::array kMeanings{
    Meaning{"Title", kIptc, "ObjectName"},
    Meaning{"Author", kTiff, "Artist"},
    Meaning{"Author", kIptc, "Byline"},
    Meaning{"Description", kTiff, "ImageDescription"},
    Meaning{"Description", kIptc, "Caption/Abstract"},
    Meaning{"Copyright", kTiff, "Copyright"},
    Meaning{"Copyright", kIptc, "CopyrightNotice"},
    Meaning{"Creation Time", kExif, "DateTimeOriginal"},
    Meaning{"CreationTime", kExif, "DateTimeOriginal"},
    Meaning{"Software", kTiff, "Software"},
    Meaning{"Comment", kExif, "UserComment"},
};

bool removesDictionary(const MetadataChange& change, std::string_view dictionary) {
    if (change.removal != MetadataChange::Removal::dictionaries) return false;
    const MetadataChange::Dictionaries& removes = change.removes;
    return (dictionary == kTiff && removes.tiff) || (dictionary == kExif && removes.exif) ||
           (dictionary == kIptc && removes.iptc) || (dictionary == kGps && removes.gps);
}

std::string textOf(const Value& value) {
    if (!value.isArray()) return value.description();
    std::string text;
    for (const Value& one : value.array()) text.append(text.empty() ? "" : ", ").append(one.description());
    return text;
}

/// Converters write what they found in Exif as texts: "exif:DateTimeOriginal", "exif:GPSLatitude". Blocks tell it
/// better.
bool repeatsExif(std::string_view keyword, const MetadataChange& change) {
    const auto colon = keyword.find(':');
    if (colon == std::string_view::npos) return false;
    const std::string_view group = keyword.substr(0, colon), name = keyword.substr(colon + 1);
    if (group != "exif" && group != "tiff") return false;
    const bool isGps = name.starts_with("GPS");
    const auto repeats = [&](std::string_view dictionary, std::string_view property) {
        return removesDictionary(change, dictionary) || change.values[dictionary].dictionary().contains(property);
    };
    return isGps ? repeats(kGps, name.substr(3)) : repeats(kExif, name) || repeats(kTiff, name);
}

}  // namespace

std::optional<std::string> changedPngText(std::string_view keyword, const MetadataChange& change) {
    if (repeatsExif(keyword, change)) return std::string();
    std::optional<std::string> made;
    for (const Meaning& meaning : kMeanings) {
        if (meaning.keyword != keyword) continue;
        const Dictionary& values = change.values[meaning.dictionary].dictionary();
        if (values.contains(meaning.name) && (!made || made->empty())) made = textOf(values[meaning.name]);
        if (!made && removesDictionary(change, meaning.dictionary)) made = std::string();
    }
    return made;
}

}  // namespace tessaly::imageio
