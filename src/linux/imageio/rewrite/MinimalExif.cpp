#include "linux/imageio/rewrite/MinimalExif.h"

#include "linux/imageio/rewrite/ExifFields.h"
#include "linux/imageio/rewrite/TiffTags.h"
#include "linux/imageio/rewrite/TiffTree.h"

namespace tessaly::imageio {
namespace {

constexpr std::uint16_t kUncalibrated = 0xFFFF;
constexpr std::uint16_t kInteroperabilityIndex = 1;

class MinimalBlock {
public:
    explicit MinimalBlock(TiffContext& tiff) : tiff_(tiff) {}

    std::optional<ByteVector> make(std::uint64_t firstDirectory, bool containerHasDensity) {
        const TiffDirectory first = readTiffDirectory(tiff_, firstDirectory);
        keepOrientation(first);
        if (!containerHasDensity) keepDensity(first);
        if (const auto exif = first.find(tag::kExif)) keepAdobeRgb(*exif);
        if (tree_.fields.empty() && tree_.children.empty()) return std::nullopt;
        ByteRanges none;
        ByteSource nothing{Bytes()};
        return tiffPlan({tree_}, tiff_.order, tiff_.big, none).bytes(nothing);
    }

private:
    void keepOrientation(const TiffDirectory& first) {
        const auto entry = first.find(tag::kOrientation);
        const auto value = entry ? entry->integer(tiff_) : std::nullopt;
        if (value && *value >= 2 && *value <= 8)
            tree_.set(shortField(tag::kOrientation, static_cast<std::uint16_t>(*value), tiff_.order));
    }

    void keepDensity(const TiffDirectory& first) {
        const auto x = first.find(tag::kXResolution);
        const auto y = first.find(tag::kYResolution);
        if (!x || !y) return;
        const auto unit = first.find(tag::kResolutionUnit);
        const std::uint64_t unitValue = unit ? unit->integer(tiff_).value_or(2) : 2;
        const std::uint64_t perUnit = x->integer(tiff_).value_or(0);
        // 72 an inch is what every camera writes, meaning nothing by it.
        if (unitValue < 2 || unitValue > 3 || perUnit == 0 || (perUnit == 72 && unitValue == 2)) return;
        for (const TiffEntry& entry : {*x, *y}) {
            const auto value = entry.bytes(tiff_);
            if (!value || entry.count != 1 || value->size() > 8) return;
            tree_.set({entry.tag, entry.type, 1, copyOf(*value)});
        }
        tree_.set(shortField(tag::kResolutionUnit, static_cast<std::uint16_t>(unitValue), tiff_.order));
    }

    /// Exif 2.32, annex F (DCF): an uncalibrated colour space with the interoperability index "R03" is Adobe RGB.
    void keepAdobeRgb(const TiffEntry& pointer) {
        const auto offset = pointer.integer(tiff_);
        if (!offset) return;
        const TiffDirectory exif = readTiffDirectory(tiff_, *offset);
        const auto space = exif.find(tag::kColorSpace);
        const auto interoperability = exif.find(tag::kInteroperability);
        if (!space || !interoperability) return;
        const std::uint64_t value = space->integer(tiff_).value_or(1);
        const auto at = interoperability->integer(tiff_);
        if ((value != kUncalibrated && value != 2) || !at) return;
        const auto index = readTiffDirectory(tiff_, *at).find(kInteroperabilityIndex);
        const auto text = index ? index->bytes(tiff_) : std::nullopt;
        if (!text || !asText(*text).starts_with("R03")) return;
        TiffTree inner;
        inner.set({kInteroperabilityIndex, TiffType::ascii, 4, copyOf(asBytes(std::string_view("R03\0", 4)))});
        TiffTree directory;
        directory.set(shortField(tag::kColorSpace, kUncalibrated, tiff_.order));
        directory.children.push_back({tag::kInteroperability, {inner}});
        tree_.children.push_back({tag::kExif, {directory}});
    }

    TiffContext& tiff_;
    TiffTree tree_;
};

}  // namespace

std::optional<ByteVector> minimalExif(Bytes block, bool containerHasDensity) {
    ByteSource source(block);
    auto header = readTiffHeader(source);
    if (!header) return std::nullopt;
    return MinimalBlock(header->context).make(header->firstDirectory, containerHasDensity);
}

ByteVector emptyExif() {
    using std::string_view_literals::operator""sv;
    return copyOf(asBytes("MM\0*\0\0\0\x08\0\0\0\0\0\0"sv));
}

}  // namespace tessaly::imageio
