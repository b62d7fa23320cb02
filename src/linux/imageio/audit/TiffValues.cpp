#include <algorithm>
#include <array>
#include <set>

#include "linux/imageio/Text.h"
#include "linux/imageio/audit/FoundValues.h"
#include "linux/imageio/blocks/ExifTags.h"

namespace tessaly::imageio {
namespace {

constexpr std::uint16_t kMake = 0x010F;
constexpr std::uint64_t kLongestText = 64 * 1024;
constexpr std::size_t kMaximumPages = 256;

struct TagName {
    std::uint16_t tag;
    std::string_view name;
};
/// Those that no property is made of, from TIFF/EP, DNG, Windows and image editors.
constexpr std::array kFurtherNames{
    TagName{0x0100, "ImageWidth"},
    TagName{0x0101, "ImageLength"},
    TagName{0x0102, "BitsPerSample"},
    TagName{0x0111, "StripOffsets"},
    TagName{0x0115, "SamplesPerPixel"},
    TagName{0x0116, "RowsPerStrip"},
    TagName{0x0117, "StripByteCounts"},
    TagName{0x011C, "PlanarConfiguration"},
    TagName{0x0201, "ThumbnailOffset"},
    TagName{0x0202, "ThumbnailLength"},
    TagName{0x0213, "YCbCrPositioning"},
    TagName{0x001E, "TimeCodes"},
    TagName{0x4746, "Rating"},
    TagName{0x800D, "ImageID"},
    TagName{0x882A, "TimeZoneOffset"},
    TagName{0x9211, "ImageNumber"},
    TagName{0x9212, "SecurityClassification"},
    TagName{0x9213, "ImageHistory"},
    TagName{0x9C9B, "XPTitle"},
    TagName{0x9C9C, "XPComment"},
    TagName{0x9C9D, "XPAuthor"},
    TagName{0x9C9E, "XPKeywords"},
    TagName{0x9C9F, "XPSubject"},
    TagName{0xA420, "ImageUniqueID"},
    TagName{0xA436, "ImageTitle"},
    TagName{0xA437, "Photographer"},
    TagName{0xA438, "ImageEditor"},
    TagName{0xC62F, "CameraSerialNumber"},
    TagName{0xC65D, "RawDataUniqueID"},
    TagName{0xC68B, "OriginalFileName"},
    TagName{0xC71B, "PreviewDateTime"},
    TagName{0xC7A1, "CameraLabel"},
    TagName{0xFDE8, "OwnerName"},
    TagName{0xFDE9, "SerialNumber"},
    TagName{0xC789, "ReelName"},
};

std::string nameOf(std::span<const TagRule> rules, std::uint16_t tag) {
    const auto rule = std::ranges::lower_bound(rules, tag, {}, &TagRule::tag);
    if (rule != rules.end() && rule->tag == tag) return std::string(rule->name);
    const auto further = std::ranges::find(kFurtherNames, tag, &TagName::tag);
    if (further != kFurtherNames.end()) return std::string(further->name);
    static constexpr std::string_view kDigits = "0123456789ABCDEF";
    std::string text = "tag 0x";
    for (unsigned shift = 16; shift > 0; shift -= 4) text += kDigits[(tag >> (shift - 4)) & 15U];
    return text;
}

std::string numbersOf(TiffContext& tiff, const TiffEntry& entry) {
    constexpr std::uint64_t kShown = 6;
    std::string text;
    for (std::uint64_t i = 0; i < std::min(entry.count, kShown); ++i) {
        const auto number = entry.integer(tiff, i);
        if (!number) break;
        if (!text.empty()) text += ' ';
        text += std::to_string(*number);
    }
    return text;
}

std::string textOf(TiffContext& tiff, const TiffEntry& entry) {
    const bool isBytes =
        entry.type == TiffType::ascii || entry.type == TiffType::undefined || entry.type == TiffType::byte;
    if (!isBytes || entry.byteLength() > kLongestText) return numbersOf(tiff, entry);
    const auto bytes = entry.bytes(tiff);
    if (!bytes) return {};
    if (entry.tag >= 0x9C9B && entry.tag <= 0x9C9F) return utf8FromUtf16(*bytes, ByteOrder::little);
    if (entry.type == TiffType::byte) return numbersOf(tiff, entry);
    if (entry.tag == 0x9286 && bytes->size() >= 8) return toUtf8(trimmed(asText(bytes->subspan(8))));
    // NULs part the texts of one value, and fill the rest of it.
    std::string text = toUtf8(asText(*bytes));
    std::ranges::replace(text, '\0', ' ');
    return text;
}

class Directories {
public:
    Directories(TiffContext tiff, const ValueVisitor& visit,
                const std::function<void(std::uint64_t, std::uint64_t)>& notes)
        : tiff_(tiff), visit_(visit), notes_(notes) {}

    void readChain(std::uint64_t offset) {
        for (std::size_t page = 0; offset != 0 && page < kMaximumPages; ++page) {
            if (!seen_.insert(offset).second) return;
            const TiffDirectory directory = readTiffDirectory(tiff_, offset);
            read(directory, page == 0 ? "TIFF" : "TIFF page " + std::to_string(page + 1), tiffTags());
            offset = directory.next;
        }
    }

private:
    void read(const TiffDirectory& directory, const std::string& block, std::span<const TagRule> rules) {
        if (const auto make = directory.find(kMake); make && make_.empty())
            make_ = std::string(trimmed(textOf(tiff_, *make)));
        for (std::size_t i = 0; i < directory.entries.size(); ++i) {
            const TiffEntry entry = directory.entries[i];
            if (!follow(entry)) visit_({block, nameOf(rules, entry.tag), textOf(tiff_, entry)});
        }
    }

    void readAt(const TiffEntry& entry, const std::string& block, std::span<const TagRule> rules) {
        for (std::uint64_t i = 0; i < std::min<std::uint64_t>(entry.count, kMaximumPages); ++i) {
            const auto offset = entry.integer(tiff_, i);
            if (offset && *offset != 0 && seen_.insert(*offset).second)
                read(readTiffDirectory(tiff_, *offset), block, rules);
        }
    }

    /// Whether the field leads on to others.
    bool follow(const TiffEntry& entry) {
        switch (entry.tag) {
            case 0x014A:
                readAt(entry, "TIFF", tiffTags());
                return true;
            case 0x8769:
                readAt(entry, "Exif", exifTags());
                return true;
            case 0x8825:
                readAt(entry, "GPS", gpsTags());
                return true;
            case 0xA005:
                return true;
            case 0x02BC:  // Found by their own marks.
            case 0x8649:
                return true;
            case 0x83BB:
                if (const auto datasets = entry.bytes(tiff_)) visitIptcValues(*datasets, visit_);
                return true;
            case 0x927C:
                notes_(entry.position, entry.byteLength());
                visitNoteValues(tiff_, entry, make_, visit_);
                return true;
            default:
                return false;
        }
    }

    TiffContext tiff_;
    const ValueVisitor& visit_;
    const std::function<void(std::uint64_t, std::uint64_t)>& notes_;
    std::set<std::uint64_t> seen_;
    std::string make_;
};

}  // namespace

void visitTiffValues(ByteSource& source, std::uint64_t base, const ValueVisitor& visit,
                     const std::function<void(std::uint64_t, std::uint64_t)>& notes) {
    if (const auto header = readTiffHeader(source, base))
        Directories(header->context, visit, notes).readChain(header->firstDirectory);
}

}  // namespace tessaly::imageio
