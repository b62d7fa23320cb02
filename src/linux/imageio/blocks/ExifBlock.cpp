#include "linux/imageio/blocks/ExifBlock.h"

#include <array>
#include <bitset>
#include <span>

#include "linux/imageio/blocks/Blocks.h"
#include "linux/imageio/blocks/ExifTags.h"
#include "linux/imageio/blocks/ExifValues.h"
#include "platform/ImageIO/CGImageProperties.h"

namespace tessaly::imageio {
namespace {

constexpr std::uint16_t kExifPointer = 0x8769;
constexpr std::uint16_t kGpsPointer = 0x8825;
constexpr std::uint16_t kMakerNote = 0x927C;
constexpr std::size_t kMaximumDirectories = 32;
constexpr double kCentimetresPerInch = 2.54;

/// Finds rules by tag. Directories are sorted as the rules are, so each search goes on from the last one.
class RuleSearch {
public:
    explicit RuleSearch(std::span<const TagRule> rules) : rules_(rules) {}

    const TagRule* ruleFor(std::uint16_t tag) {
        if (at_ > 0 && tag <= rules_[at_ - 1].tag) at_ = 0;  // Out of order.
        while (at_ < rules_.size() && rules_[at_].tag < tag) ++at_;
        return at_ < rules_.size() && rules_[at_].tag == tag ? &rules_[at_] : nullptr;
    }

private:
    std::span<const TagRule> rules_;
    std::size_t at_ = 0;
};

/// Adds every entry that `rules` knows. Names are looked for only when the dictionary holds some already.
void addEntries(TiffContext& tiff, const TiffDirectory& directory, std::span<const TagRule> rules,
                Dictionary& dictionary) {
    const bool fresh = dictionary.empty();
    if (fresh) dictionary.reserve(std::min(directory.entries.size(), rules.size()));
    std::bitset<128> seen;
    RuleSearch search(rules);
    for (std::size_t i = 0; i < directory.entries.size(); ++i) {
        const TagRule* rule = search.ruleFor(directory.entries.tagAt(i));
        if (!rule) continue;
        const TiffEntry entry = directory.entries[i];
        const auto index = static_cast<std::size_t>(rule - rules.data());
        if (seen[index]) continue;
        Value value = tiffValue(tiff, entry, rule->form);
        if (value.isNull()) continue;
        seen.set(index);
        if (fresh)
            dictionary.appendLiteral(rule->name, std::move(value));
        else
            ImageProperties::add(dictionary, rule->name, std::move(value));
    }
}

}  // namespace

bool ExifWalk::visit(std::uint64_t offset) {
    if (offset == 0 || visited_.size() >= kMaximumDirectories) return false;
    if (std::ranges::find(visited_, offset) != visited_.end()) return false;
    visited_.push_back(offset);
    return true;
}

std::optional<std::uint64_t> ExifWalk::offsetOf(const TiffDirectory& directory, std::uint16_t tag) {
    const auto entry = directory.find(tag);
    return entry ? entry->integer(tiff_) : std::nullopt;
}

void ExifWalk::readFirst(const TiffDirectory& directory) {
    addEntries(tiff_, directory, tiffTags(), properties_.tiff);
    if (const auto offset = offsetOf(directory, kExifPointer)) readExifDirectory(*offset);
    if (const auto offset = offsetOf(directory, kGpsPointer)) readGpsDirectory(*offset);
    // Raw formats and careless writers put Exif's own tags into the first directory.
    addEntries(tiff_, directory, exifTags(), properties_.exif);
    readXpTexts(directory);
    if (const auto note = directory.find(kMakerNote)) notes_.push_back(*note);
}

void ExifWalk::readExifDirectory(std::uint64_t offset) {
    if (!visit(offset)) return;
    const TiffDirectory directory = readTiffDirectory(tiff_, offset);
    addEntries(tiff_, directory, exifTags(), properties_.exif);
    if (const auto note = directory.find(kMakerNote)) notes_.push_back(*note);
    if (const auto gps = offsetOf(directory, kGpsPointer)) readGpsDirectory(*gps);
    // A few programs write make and model here.
    addEntries(tiff_, directory, tiffTags(), properties_.tiff);
}

void ExifWalk::readGpsDirectory(std::uint64_t offset) {
    if (!visit(offset)) return;
    const TiffDirectory directory = readTiffDirectory(tiff_, offset);
    addEntries(tiff_, directory, gpsTags(), properties_.gps);
}

void ExifWalk::readXpTexts(const TiffDirectory& directory) {
    // Windows writes its own copies of title, comment, author, keywords and subject, and often nothing else.
    struct XpText {
        std::uint16_t tag;
        Dictionary ImageProperties::*dictionary;
        std::string_view name;
    };
    static constexpr std::array texts{
        XpText{0x9C9B, &ImageProperties::iptc, kCGImagePropertyIPTCObjectName},
        XpText{0x9C9D, &ImageProperties::tiff, kCGImagePropertyTIFFArtist},
        XpText{0x9C9C, &ImageProperties::exif, "UserComment"},
    };
    for (const auto& [tag, dictionary, name] : texts)
        if (const auto entry = directory.find(tag))
            ImageProperties::add(properties_.*dictionary, name, tiffValue(tiff_, *entry, TagForm::utf16));
}

void ExifWalk::readMakerNotes() {
    for (const TiffEntry& note : notes_) {
        const Value make = properties_.tiff[kCGImagePropertyTIFFMake];
        const Value model = properties_.tiff[kCGImagePropertyTIFFModel];
        readMakerNote(tiff_, {note.position, note.byteLength()}, make.string(), model.string(), properties_);
    }
}

void adoptTiffBasics(ImageProperties& properties) {
    const Dictionary& tiff = properties.tiff;
    const auto orientation = tiff["Orientation"].integerValue();
    if (orientation >= 1 && orientation <= 8)
        ImageProperties::add(properties.top, kCGImagePropertyOrientation, orientation);
    const double perUnit = tiff["ResolutionUnit"].integerValue() == 3 ? kCentimetresPerInch : 1;
    const double x = tiff["XResolution"].doubleValue() * perUnit;
    const double y = tiff["YResolution"].doubleValue() * perUnit;
    if (x > 0) ImageProperties::add(properties.top, kCGImagePropertyDPIWidth, x);
    if (y > 0) ImageProperties::add(properties.top, kCGImagePropertyDPIHeight, y);
}

void readExif(ByteSource& source, std::uint64_t base, ImageProperties& properties) {
    auto header = readTiffHeader(source, base);
    if (!header) return;
    ExifWalk walk(header->context, properties);
    if (!walk.visit(header->firstDirectory)) return;
    const TiffDirectory first = readTiffDirectory(header->context, header->firstDirectory);
    walk.readFirst(first);
    walk.readMakerNotes();
    adoptTiffBasics(properties);
}

void readExif(Bytes block, ImageProperties& properties) {
    std::uint64_t base = 0;
    if (asText(block).starts_with("Exif")) base = 6;
    ByteSource source(block);
    readExif(source, base, properties);
}

}  // namespace tessaly::imageio
