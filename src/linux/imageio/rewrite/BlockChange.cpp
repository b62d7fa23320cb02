#include "linux/imageio/rewrite/BlockChange.h"

#include <md5.h>

#include <algorithm>
#include <array>
#include <span>
#include <string>
#include <utility>

#include "linux/imageio/Text.h"
#include "linux/imageio/blocks/ExifTags.h"
#include "linux/imageio/rewrite/ExifFields.h"
#include "linux/imageio/rewrite/IptcChange.h"
#include "linux/imageio/rewrite/MinimalExif.h"
#include "linux/imageio/rewrite/TiffTags.h"
#include "linux/imageio/rewrite/TiffTree.h"
#include "linux/imageio/rewrite/XmpSets.h"

namespace tessaly::imageio {
namespace {

constexpr std::uint16_t kDngPrivateData = 0xC634;
constexpr std::uint16_t kPhotoshopIptc = 0x0404;
constexpr std::uint16_t kPhotoshopThumbnails[] = {0x0409, 0x040C};
constexpr std::uint16_t kPhotoshopExif = 0x0422;
constexpr std::uint16_t kPhotoshopXmp = 0x0424;
constexpr std::uint16_t kPhotoshopIptcDigest = 0x0425;

/// Coordinates of a raster on the ground (GeoTIFF 1.1, annex A).
constexpr std::array<std::uint16_t, 6> kGeoTags{0x830E, 0x8482, 0x85D8, 0x87AF, 0x87B0, 0x87B1};

/// Fields of the first directory that {TIFF} does not name but that tell the same: texts, programs, ratings; at
/// the end the titles that some cameras give to pictures of a child.
constexpr std::array<std::uint16_t, 13> kFurtherTexts{0x000B, 0x011D, 0x4746, 0x4749, 0x9C9B, 0x9C9C, 0x9C9D,
                                                      0x9C9E, 0x9C9F, 0xC4A5, 0xC68B, 0xC6D2, 0xC6D3};

/// Fields of {TIFF} that describe the picture itself.
bool describesPicture(std::uint16_t tag) {
    switch (tag) {
        case tag::kCompression:
        case 0x0106:  // PhotometricInterpretation
        case tag::kOrientation:
        case tag::kXResolution:
        case tag::kYResolution:
        case tag::kResolutionUnit:
        case 0x011E:  // XPosition, YPosition
        case 0x011F:
        case 0x013E:  // WhitePoint, PrimaryChromaticities
        case 0x013F:
            return true;
        default:
            return false;
    }
}

bool isTiffText(std::uint16_t tag) {
    if (std::ranges::find(kFurtherTexts, tag) != kFurtherTexts.end()) return true;
    return std::ranges::find(tiffTags(), tag, &TagRule::tag) != tiffTags().end() && !describesPicture(tag);
}

ByteVector digestOf(Bytes bytes) {
    std::array<std::uint8_t, MD5_DIGEST_LENGTH> digest{};
    MD5_CTX context;
    MD5Init(&context);
    MD5Update(&context, reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
    MD5Final(digest.data(), &context);
    return copyOf(std::as_bytes(std::span(digest)));
}

/// Of a gain map that stays, values besides where it stands are still right.
bool tellsOfFurtherImages(std::string_view prefix, std::string_view name, bool hasGainMap) {
    if (prefix == "hdrgm") return !hasGainMap || name == "Version";
    return prefix == "Container" ||
           (prefix == "GCamera" && (name.starts_with("MotionPhoto") || name.starts_with("MicroVideo")));
}

bool isGpsProperty(std::string_view prefix, std::string_view name) {
    return prefix == "exif" && name.starts_with("GPS");
}

}  // namespace

bool namesPlace(std::string_view propertyName) {
    const std::string name = lowerCase(propertyName);
    static constexpr std::array<std::string_view, 19> whole{
        "city",        "state",       "province",     "provincestate", "country",    "countrycode", "countryname",
        "sublocation", "worldregion", "shotlocation", "gps",           "coverage",   "lat",         "lon",
        "long",        "lng",         "alt",          "place",         "coordinates"};
    if (std::ranges::find(whole, name) != whole.end()) return true;
    // Drones tell heights, too: above the sea, and above where they took off.
    static constexpr std::array<std::string_view, 6> parts{"latitude", "longitude", "longtitude",
                                                           "altitude", "geotag",    "geolocation"};
    return name.starts_with("gps") || name.starts_with("location") ||
           std::ranges::any_of(parts, [&](std::string_view part) { return name.find(part) != std::string::npos; });
}

BlockChange::BlockChange(const MetadataChange& change, RemovedTexts removed)
    : change_(change), removed_(std::move(removed)), xmpSets_(xmpProperties(change.values)) {}

BlockChange BlockChange::of(Raw raw) const {
    BlockChange made = *this;
    made.raw_ = raw;
    return made;
}

// --- Exif ---

/// Who, when and with which body. In the first directory, in Exif's, and DNG's own (DNG 1.6, chapter 4).
bool BlockChange::removesRawField(TiffKind kind, const TiffEntry& entry) const {
    static constexpr std::array<std::uint16_t, 41> personal{
        0x010D, 0x010E, 0x0131, 0x0132, 0x013B, 0x013C, 0x02BC, 0x8298, 0x83BB, 0x8649, 0x882A, 0x9003, 0x9004, 0x9010,
        0x9011, 0x9012, 0x9211, 0x9212, 0x9213, 0x9286, 0x9290, 0x9291, 0x9292, 0xA004, 0xA420, 0xA430, 0xA431, 0xA435,
        0xA436, 0xA437, 0xA438, 0xC62F, 0xC65D, 0xC68C, 0xC6FE, 0xC716, 0xC71B, 0xC71D, 0xC763, 0xC789, 0xC7A1};
    if (kind == TiffKind::interoperability) return false;
    // A DNG develops without what its maker's note was; other raws keep what they need there.
    if (raw_ == Raw::dng && (entry.tag == kDngPrivateData || entry.tag == tag::kMakerNote)) return true;
    return std::ranges::binary_search(personal, entry.tag) ||
           std::ranges::find(kFurtherTexts, entry.tag) != kFurtherTexts.end();
}

bool BlockChange::removesField(TiffKind kind, const TiffEntry& entry) const {
    if (raw_ != Raw::none && removesEverything() && kind != TiffKind::gps && removesRawField(kind, entry)) return true;
    if (removesPlace() && (entry.tag == tag::kGps || std::ranges::find(kGeoTags, entry.tag) != kGeoTags.end()) &&
        kind != TiffKind::gps)
        return true;
    if (kind == TiffKind::gps) return removesPlace();
    if (change_.removal != MetadataChange::Removal::dictionaries) return false;
    const MetadataChange::Dictionaries& removes = change_.removes;
    const bool isExifTag = std::ranges::find(exifTags(), entry.tag, &TagRule::tag) != exifTags().end();
    if (removes.exif && (entry.tag == tag::kExif || entry.tag == tag::kMakerNote)) return true;
    if (removes.exif && kind != TiffKind::interoperability && isExifTag && entry.tag != 0xA500) return true;
    if (removes.tiff && kind != TiffKind::interoperability && isTiffText(entry.tag)) return true;
    return removes.iptc &&
           (entry.tag == tag::kIptc || (kind == TiffKind::first && (entry.tag == 0x4746 || entry.tag == 0x4749 ||
                                                                    (entry.tag >= 0x9C9B && entry.tag <= 0x9C9F))));
}

std::optional<TiffField> BlockChange::changedBlockField(TiffKind kind, const TiffEntry& entry, Bytes value) const {
    // Some programs put these blocks into Exif's own directory, and readers find them there.
    if (kind == TiffKind::gps || kind == TiffKind::interoperability) return std::nullopt;
    ByteVector made;
    TiffType type = TiffType::undefined;
    switch (entry.tag) {
        case tag::kXmp:
            made = xmp(value).value_or(ByteVector());
            type = TiffType::byte;
            break;
        case tag::kIptc:
            // Many writers call these bytes LONG, and pad them.
            made = iptc(value);
            break;
        case tag::kPhotoshop:
            made = photoshop(value, false);
            type = TiffType::byte;
            break;
        default:
            return std::nullopt;
    }
    if (made.size() == value.size() && std::ranges::equal(made, value)) return std::nullopt;
    const std::uint64_t count = made.size();
    return TiffField{entry.tag, type, count, std::move(made)};
}

TiffRules BlockChange::tiffRules(ByteOrder order) const {
    TiffRules rules;
    rules.sets = exifFields(change_.values, order);
    auto named = namedTags(change_.values);
    // TIFF/EP has the fields of Exif in the first directory, and writers have put that one's into Exif's.
    for (std::size_t i = named.size(); i > 0; --i) {
        const auto [kind, tag] = named[i - 1];
        if (kind == TiffKind::exif) named.emplace_back(TiffKind::first, tag);
        if (kind == TiffKind::first) named.emplace_back(TiffKind::exif, tag);
    }
    for (const std::uint16_t tag : repeatingTags(change_.values)) named.emplace_back(TiffKind::first, tag);
    rules.removes = [this, named](TiffKind kind, const TiffEntry& entry) {
        return removesField(kind, entry) || std::ranges::find(named, std::pair(kind, entry.tag)) != named.end();
    };
    rules.replaces = [this](TiffKind kind, const TiffEntry& entry, Bytes value) {
        return changedBlockField(kind, entry, value);
    };
    if (change_.removal == MetadataChange::Removal::place) rules.noteFields = NotePurge::places;
    if (raw_ != Raw::none && removesEverything()) rules.noteFields = NotePurge::personal;
    return rules;
}

std::optional<ByteVector> BlockChange::editedExif(Bytes block) const {
    ByteSource source(block);
    const auto header = readTiffHeader(source);
    if (!header) return std::nullopt;
    TiffRules rules = tiffRules(header->context.order);
    // A thumbnail repeats make, model and the picture before it was edited.
    rules.removesFurther =
        change_.removal == MetadataChange::Removal::dictionaries && (change_.removes.exif || change_.removes.tiff);
    rules.mendsDirectories = change_.removal != MetadataChange::Removal::nothing;
    const auto edit = editTiff(source, 0, rules);
    if (!edit) return std::nullopt;
    if (edit->isEmpty()) return copyOf(block);
    ByteVector whole = edit->applied(block);
    if (raw_ != Raw::none) return whole;
    if (auto compact = compactExif(whole)) return compact;
    return whole;
}

std::optional<ByteVector> BlockChange::exif(Bytes block, bool containerHasDensity) const {
    ByteVector start = copyOf(block);
    if (removesEverything() && raw_ == Raw::none)
        start = minimalExif(block, containerHasDensity).value_or(ByteVector());
    const bool setsFields = !exifFields(change_.values, ByteOrder::big).empty();
    if (start.empty()) {
        if (!setsFields) return std::nullopt;
        start = emptyExif();
    }
    auto edited = editedExif(start);
    if (edited) {
        ByteSource source{Bytes(*edited)};
        auto header = readTiffHeader(source);
        if (header && readTiffDirectory(header->context, header->firstDirectory).entries.empty()) return std::nullopt;
        return edited;
    }
    // No TIFF structure: nothing in it can be told apart, so it stays only where nothing is to go.
    if (change_.removal == MetadataChange::Removal::nothing && !setsFields) return start;
    if (!setsFields) return std::nullopt;
    return editedExif(emptyExif());
}

// --- XMP ---

bool BlockChange::removesProperty(std::string_view prefix, std::string_view name) const {
    if (removesEverything()) return true;
    if (removesPlace() && (isGpsProperty(prefix, name) || namesPlace(name))) return true;
    if (change_.removal != MetadataChange::Removal::dictionaries) return false;
    return repeatsDictionary(change_.removes, prefix, name);
}

XmpRules BlockChange::xmpRules() const {
    XmpRules rules;
    rules.removes = [this](std::string_view prefix, std::string_view name) { return removesProperty(prefix, name); };
    if (!removed_.empty()) rules.removesText = [this](std::string_view text) { return removed_.isIn(text); };
    return rules;
}

std::optional<ByteVector> BlockChange::furtherXmp(Bytes packet) const {
    if (removesEverything()) return std::nullopt;
    if (change_.removal == MetadataChange::Removal::nothing && xmpSets_.empty()) return copyOf(packet);
    XmpRules rules = xmpRules();
    for (const XmpProperty& set : xmpSets_) rules.sets.push_back({set.prefix, set.name, set.form, {}});
    rules.keepsUnchanged = change_.removal == MetadataChange::Removal::place;
    const std::string text = changedXmpPacket(packet, rules);
    return text.empty() ? std::nullopt : std::optional(copyOf(asBytes(text)));
}

std::optional<ByteVector> BlockChange::xmp(Bytes packet) const { return changedXmp(packet, nullptr); }

std::optional<ByteVector> BlockChange::xmpBeforeImages(Bytes packet, const std::string& description) const {
    return changedXmp(packet, &description);
}

std::optional<ByteVector> BlockChange::changedXmp(Bytes packet, const std::string* description) const {
    const bool setsNothing = xmpSets_.empty() && (!description || description->empty());
    if (setsNothing && packet.empty()) return std::nullopt;
    if (setsNothing && removesEverything()) return std::nullopt;
    if (setsNothing && change_.removal == MetadataChange::Removal::nothing) return copyOf(packet);
    XmpRules rules = xmpRules();
    rules.removes = [this, description](std::string_view prefix, std::string_view name) {
        return removesProperty(prefix, name) ||
               (description && tellsOfFurtherImages(prefix, name, !description->empty()));
    };
    rules.sets = xmpSets_;
    if (description) rules.descriptions = *description;
    rules.keepsEmptyPacket = rules.keepsUnchanged = change_.removal == MetadataChange::Removal::place;
    const std::string text = changedXmpPacket(removesEverything() ? Bytes() : packet, rules);
    return text.empty() ? std::nullopt : std::optional(copyOf(asBytes(text)));
}

std::optional<ByteVector> BlockChange::gainMapXmp(Bytes packet) {
    const auto isGainMap = [](std::string_view prefix, std::string_view name) {
        return prefix == "hdrgm" || prefix == "HDRGainMap" || (prefix == "apdi" && name == "AuxiliaryImageType");
    };
    XmpRules rules;
    rules.removes = [&](std::string_view prefix, std::string_view name) {
        return !prefix.empty() && !isGainMap(prefix, name);
    };
    rules.removesToolkit = true;
    const std::string text = changedXmpPacket(packet, rules);
    return text.empty() ? std::nullopt : std::optional(copyOf(asBytes(text)));
}

// --- IPTC ---

bool BlockChange::removesDataSet(std::uint8_t number) const {
    // IIM 4.2, chapter 6: content location, city, sublocation, province, country.
    static constexpr std::array<std::uint8_t, 7> places{26, 27, 90, 92, 95, 100, 101};
    if (removesEverything()) return true;
    if (change_.removal == MetadataChange::Removal::dictionaries && change_.removes.iptc) return true;
    return change_.removal == MetadataChange::Removal::place && std::ranges::find(places, number) != places.end();
}

ByteVector BlockChange::iptc(Bytes datasets) const { return changedDataSets(datasets, iptcDataSets(change_.values)); }

std::optional<ByteVector> BlockChange::furtherIptc(Bytes datasets) const {
    auto sets = iptcDataSets(change_.values);
    for (IptcDataSet& set : sets) set.values.clear();
    ByteVector made = changedDataSets(datasets, std::move(sets));
    return made.empty() ? std::nullopt : std::optional(std::move(made));
}

ByteVector BlockChange::changedDataSets(Bytes datasets, std::vector<IptcDataSet> sets) const {
    IptcRules rules;
    rules.sets = std::move(sets);
    if (change_.removal == MetadataChange::Removal::nothing && rules.sets.empty()) return copyOf(datasets);
    rules.keepsEmptyBlock = change_.removal == MetadataChange::Removal::place;
    rules.removes = [this](std::uint8_t record, std::uint8_t number) {
        if (change_.removal == MetadataChange::Removal::place) return record == 2 && removesDataSet(number);
        return removesDataSet(number);
    };
    return changedIptc(datasets, rules);
}

ByteVector BlockChange::photoshop(Bytes resources, bool isIptcHome) const {
    bool hasIptc = false;
    std::optional<ByteVector> digest;
    ByteVector iptcBlock;
    ByteVector result;
    if (!removesEverything()) {
        result = changedPhotoshopResources(
            resources, [&](std::uint16_t identifier, Bytes data) -> std::optional<ByteVector> {
                switch (identifier) {
                    case kPhotoshopIptc: {
                        // One block is the rule. A second one holds no value that was set, only what it kept.
                        if (std::exchange(hasIptc, true)) return furtherIptc(data);
                        iptcBlock = iptc(data);
                        return iptcBlock.empty() ? std::nullopt : std::optional(iptcBlock);
                    }
                    case kPhotoshopXmp:
                        return xmp(data);
                    case kPhotoshopExif:
                        return exif(data, true);
                    case kPhotoshopIptcDigest:
                        digest = copyOf(data);
                        return std::nullopt;
                    case kPhotoshopThumbnails[0]:
                    case kPhotoshopThumbnails[1]:
                        if (change_.removal == MetadataChange::Removal::dictionaries && change_.removes.exif)
                            return std::nullopt;
                        return copyOf(data);
                    default:
                        return copyOf(data);
                }
            });
    }
    if (!hasIptc && isIptcHome) {
        iptcBlock = iptc({});
        if (!iptcBlock.empty()) appendPhotoshopResource(result, kPhotoshopIptc, iptcBlock);
    }
    // By the digest, programs tell whether the data sets were changed behind the back of XMP. They were not.
    if (digest && (hasIptc || isIptcHome)) digest = digestOf(iptcBlock);
    const bool isStale = !hasIptc && !isIptcHome && !iptcDataSets(change_.values).empty();
    if (digest && !isStale) appendPhotoshopResource(result, kPhotoshopIptcDigest, *digest);
    return result;
}

}  // namespace tessaly::imageio
