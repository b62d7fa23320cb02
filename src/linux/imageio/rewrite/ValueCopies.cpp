#include "linux/imageio/rewrite/ValueCopies.h"

#include <algorithm>
#include <array>

#include "linux/imageio/Text.h"
#include "platform/ImageIO/CGImageProperties.h"

namespace tessaly::imageio {
namespace {

using Dictionaries = MetadataChange::Dictionaries;

/// An empty name is every property of the namespace.
struct Owner {
    std::string_view prefix;
    std::string_view name;
    bool Dictionaries::*dictionary;
};

constexpr auto kExif = &Dictionaries::exif;
constexpr auto kTiff = &Dictionaries::tiff;
constexpr auto kIptc = &Dictionaries::iptc;

constexpr std::array kOwners{
    Owner{"exif", "", kExif},
    Owner{"exifEX", "", kExif},
    Owner{"aux", "", kExif},
    Owner{"xmp", "CreateDate", kExif},
    Owner{"xmp", "Thumbnails", kExif},
    Owner{"tiff", "", kTiff},
    Owner{"xmp", "CreatorTool", kTiff},
    Owner{"xmp", "ModifyDate", kTiff},
    Owner{"xmp", "MetadataDate", kTiff},
    Owner{"crs", "RawFileName", kTiff},
    // Identifiers of the document say as much as {Exif}'s ImageUniqueID; its history has software and times.
    Owner{"xmpMM", "", kExif},
    Owner{"xmpMM", "", kTiff},
    Owner{"MicrosoftPhoto", "", kExif},  // Serial numbers, lenses, times; and keywords, ratings.
    Owner{"MicrosoftPhoto", "", kIptc},
    Owner{"xmpDM", "", kExif},  // Cameras and times; and names, titles, comments.
    Owner{"xmpDM", "", kIptc},
    Owner{"dc", "", kIptc},
    Owner{"photoshop", "", kIptc},
    Owner{"Iptc4xmpCore", "", kIptc},
    Owner{"Iptc4xmpExt", "", kIptc},
    Owner{"xmpRights", "", kIptc},
    Owner{"xmp", "Rating", kIptc},
    Owner{"xmp", "Label", kIptc},
    Owner{"xmp", "Nickname", kIptc},
    Owner{"xmp", "Identifier", kIptc},
    Owner{"lr", "", kIptc},
    Owner{"digiKam", "", kIptc},
    Owner{"mediapro", "", kIptc},
    Owner{"expressionmedia", "", kIptc},
    Owner{"acdsee", "", kIptc},
    Owner{"plus", "", kIptc},
    Owner{"cc", "", kIptc},
    Owner{"prism", "", kIptc},
    Owner{"GettyImagesGIFT", "", kIptc},
    // Faces with their names.
    Owner{"mwg-rs", "", kIptc},
    Owner{"mwg-kw", "", kIptc},
    Owner{"MP", "", kIptc},
    Owner{"acdsee-rs", "", kIptc},
    Owner{"apple-fi", "", kIptc},
};

struct Copy {
    std::string_view dictionary;
    std::string_view name;
    XmpName property;
};

constexpr std::string_view kTiffName = kCGImagePropertyTIFFDictionary;
constexpr std::string_view kExifName = kCGImagePropertyExifDictionary;
constexpr std::string_view kIptcName = kCGImagePropertyIPTCDictionary;
constexpr std::string_view kGpsName = kCGImagePropertyGPSDictionary;

constexpr std::array kCopies{
    Copy{kIptcName, "Keywords", {"lr", "hierarchicalSubject"}},
    Copy{kIptcName, "Keywords", {"lr", "weightedFlatSubject"}},
    Copy{kIptcName, "Keywords", {"digiKam", "TagsList"}},
    Copy{kIptcName, "Keywords", {"MicrosoftPhoto", "LastKeywordXMP"}},
    Copy{kIptcName, "Keywords", {"MicrosoftPhoto", "LastKeywordIPTC"}},
    Copy{kIptcName, "Keywords", {"mediapro", "CatalogSets"}},
    Copy{kIptcName, "Keywords", {"expressionmedia", "CatalogSets"}},
    Copy{kIptcName, "Keywords", {"acdsee", "keywords"}},
    Copy{kIptcName, "Keywords", {"acdsee", "categories"}},
    Copy{kIptcName, "Keywords", {"mwg-kw", "Keywords"}},
    Copy{kIptcName, "StarRating", {"MicrosoftPhoto", "Rating"}},
    Copy{kIptcName, "StarRating", {"acdsee", "rating"}},
    Copy{kIptcName, "Caption/Abstract", {"acdsee", "caption"}},
    Copy{kIptcName, "Caption/Abstract", {"tiff", "ImageDescription"}},
    Copy{kIptcName, "Byline", {"acdsee", "author"}},
    Copy{kIptcName, "Byline", {"cc", "attributionName"}},
    Copy{kIptcName, "Byline", {"plus", "ImageCreator"}},
    Copy{kIptcName, "Byline", {"xmpDM", "artist"}},
    Copy{kIptcName, "Byline", {"tiff", "Artist"}},
    Copy{kIptcName, "CopyrightNotice", {"xmpDM", "copyright"}},
    Copy{kIptcName, "CopyrightNotice", {"plus", "CopyrightOwner"}},
    Copy{kIptcName, "CopyrightNotice", {"tiff", "Copyright"}},
    Copy{kTiffName, "ImageDescription", {"acdsee", "caption"}},
    Copy{kTiffName, "ImageDescription", {"tiff", "ImageDescription"}},
    Copy{kTiffName, "Artist", {"acdsee", "author"}},
    Copy{kTiffName, "Artist", {"cc", "attributionName"}},
    Copy{kTiffName, "Artist", {"plus", "ImageCreator"}},
    Copy{kTiffName, "Artist", {"xmpDM", "artist"}},
    Copy{kTiffName, "Artist", {"tiff", "Artist"}},
    Copy{kTiffName, "Copyright", {"xmpDM", "copyright"}},
    Copy{kTiffName, "Copyright", {"plus", "CopyrightOwner"}},
    Copy{kTiffName, "Copyright", {"tiff", "Copyright"}},
    Copy{kTiffName, "Software", {"tiff", "Software"}},
    Copy{kExifName, "DateTimeDigitized", {"exif", "DateTimeDigitized"}},
    Copy{kTiffName, "DateTime", {"tiff", "DateTime"}},
    Copy{kExifName, "DateTimeOriginal", {"dc", "date"}},
    Copy{kExifName, "DateTimeOriginal", {"xmpDM", "shotDate"}},
    Copy{kExifName, "DateTimeOriginal", {"exif", "SubSecTimeOriginal"}},
    Copy{kExifName, "DateTimeOriginal", {"exif", "OffsetTimeOriginal"}},
    Copy{kExifName, "DateTimeOriginal", {"exifEX", "OffsetTimeOriginal"}},
    Copy{kExifName, "DateTimeDigitized", {"exif", "SubSecTimeDigitized"}},
    Copy{kExifName, "DateTimeDigitized", {"exif", "OffsetTimeDigitized"}},
    Copy{kExifName, "DateTimeDigitized", {"exifEX", "OffsetTimeDigitized"}},
    Copy{kTiffName, "DateTime", {"exif", "SubSecTime"}},
    Copy{kTiffName, "DateTime", {"exif", "OffsetTime"}},
    Copy{kTiffName, "DateTime", {"exifEX", "OffsetTime"}},
    Copy{kGpsName, "TimeStamp", {"exif", "GPSTimeStamp"}},
    Copy{kGpsName, "DateStamp", {"exif", "GPSDateStamp"}},
    Copy{kExifName, "BodySerialNumber", {"aux", "SerialNumber"}},
    Copy{kExifName, "BodySerialNumber", {"MicrosoftPhoto", "CameraSerialNumber"}},
    Copy{kExifName, "LensSerialNumber", {"aux", "LensSerialNumber"}},
    Copy{kExifName, "CameraOwnerName", {"aux", "OwnerName"}},
    Copy{kExifName, "LensModel", {"aux", "Lens"}},
    Copy{kExifName, "LensModel", {"MicrosoftPhoto", "LensModel"}},
    Copy{kExifName, "LensMake", {"MicrosoftPhoto", "LensManufacturer"}},
};

struct TagCopy {
    std::string_view dictionary;
    std::string_view name;
    std::uint16_t tag;
};

// Those that a desktop's file manager writes (0x4746 and 0x4749, 0x9C9B and the next), and DNG's.
constexpr std::array kTagCopies{
    TagCopy{kTiffName, "Software", 0x000B},         TagCopy{kIptcName, "StarRating", 0x4746},
    TagCopy{kIptcName, "StarRating", 0x4749},       TagCopy{kIptcName, "ObjectName", 0x9C9B},
    TagCopy{kTiffName, "ImageDescription", 0x9C9C}, TagCopy{kIptcName, "Caption/Abstract", 0x9C9C},
    TagCopy{kTiffName, "Artist", 0x9C9D},           TagCopy{kIptcName, "Byline", 0x9C9D},
    TagCopy{kIptcName, "Keywords", 0x9C9E},         TagCopy{kExifName, "BodySerialNumber", 0xC62F},
};

/// The dictionaries of properties, and which removal takes them.
struct Section {
    std::string_view name;
    bool Dictionaries::*flag;
};
constexpr std::array kSections{Section{kExifName, kExif}, Section{kCGImagePropertyExifAuxDictionary, kExif},
                               Section{kTiffName, kTiff}, Section{kIptcName, kIptc},
                               Section{kCGImagePropertyGPSDictionary, &Dictionaries::gps}};

std::string_view trimmed(std::string_view text) {
    constexpr std::string_view kBlank = " \t\r\n";
    const auto first = text.find_first_not_of(kBlank);
    return first == std::string_view::npos ? std::string_view()
                                           : text.substr(first, text.find_last_not_of(kBlank) + 1 - first);
}

/// As texts are compared: in any case; a date of Exif in the form that XMP has for it, without fractions and zone.
std::string comparable(std::string_view text) {
    constexpr std::size_t kDate = 19;
    std::string form = lowerCase(trimmed(text));
    const bool isDate = form.size() >= kDate && (form[4] == ':' || form[4] == '-') && form[7] == form[4] &&
                        (form[10] == ' ' || form[10] == 't') && form[13] == ':' && form[16] == ':';
    if (!isDate) return form;
    form.resize(kDate);
    form[4] = form[7] = '-';
    form[10] = 't';
    return form;
}

bool identifies(std::string_view text) {
    constexpr std::size_t kShortest = 3, kShortestNumber = 6;
    const bool hasLetter = std::ranges::any_of(
        text, [](char c) { return (c >= 'a' && c <= 'z') || static_cast<unsigned char>(c) >= 0x80; });
    return text.size() >= (hasLetter ? kShortest : kShortestNumber);
}

bool isEmptied(const Value& value) { return value.isString() && value.string().empty(); }

}  // namespace

bool RemovedTexts::areIn(const MetadataChange& change) {
    if (change.removal == MetadataChange::Removal::dictionaries && change.removes.any()) return true;
    return std::ranges::any_of(kSections, [&](const Section& section) {
        return std::ranges::any_of(change.values[section.name].dictionary(),
                                   [](const Dictionary::Entry& entry) { return isEmptied(entry.value); });
    });
}

RemovedTexts::RemovedTexts(const Dictionary& properties, const MetadataChange& change) {
    for (const auto& [name, flag] : kSections) {
        const bool goes = change.removal == MetadataChange::Removal::dictionaries && change.removes.*flag;
        const Dictionary& values = change.values[name].dictionary();
        for (const Dictionary::Entry& entry : properties[name].dictionary())
            if (goes || isEmptied(values[entry.key()])) add(entry.value);
    }
}

void RemovedTexts::add(const Value& value) {
    if (value.isArray()) {
        for (const Value& one : value.array()) add(one);
    } else if (value.isDictionary()) {
        for (const Dictionary::Entry& entry : value.dictionary()) add(entry.value);
    } else if (std::string text = comparable(value.description()); identifies(text)) {
        texts_.insert(std::move(text));
    }
}

bool RemovedTexts::contains(std::string_view text) const { return texts_.contains(comparable(text)); }

bool RemovedTexts::isIn(std::string_view text) const {
    if (texts_.empty() || text.empty()) return false;
    if (contains(text)) return true;
    for (std::size_t end = text.find_first_of(",;"); end != std::string_view::npos; end = text.find_first_of(",;")) {
        if (contains(text.substr(0, end))) return true;
        text.remove_prefix(end + 1);
        if (text.find_first_of(",;") == std::string_view::npos) return contains(text);
    }
    return false;
}

bool repeatsDictionary(const Dictionaries& removed, std::string_view prefix, std::string_view name) noexcept {
    if (prefix == "exif" && name.starts_with("GPS")) return false;
    if (prefix == "tiff" && name == "Orientation") return false;
    return std::ranges::any_of(kOwners, [&](const Owner& owner) {
        return owner.prefix == prefix && (owner.name.empty() || owner.name == name) && removed.*owner.dictionary;
    });
}

std::vector<XmpName> repeatingProperties(const Dictionary& values) {
    std::vector<XmpName> names;
    for (const Copy& copy : kCopies)
        if (values[copy.dictionary].dictionary().contains(copy.name)) names.push_back(copy.property);
    return names;
}

std::vector<std::uint16_t> repeatingTags(const Dictionary& values) {
    std::vector<std::uint16_t> tags;
    for (const TagCopy& copy : kTagCopies)
        if (values[copy.dictionary].dictionary().contains(copy.name)) tags.push_back(copy.tag);
    return tags;
}

}  // namespace tessaly::imageio
