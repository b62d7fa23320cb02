#include <algorithm>
#include <array>
#include <utility>

#include "linux/imageio/rewrite/ExifFields.h"
#include "linux/imageio/rewrite/Rewriters.h"
#include "linux/imageio/rewrite/TiffTags.h"
#include "linux/imageio/rewrite/TiffTree.h"

namespace tessaly::imageio {
namespace {

constexpr std::uint16_t kDngVersion = 0xC612;
constexpr std::uint16_t kJpegFromRaw = 0x002E;
constexpr std::uint64_t kOldJpeg = 6;
constexpr std::size_t kMaximumDirectories = 64;

/// What a decoder, and whoever shows or prints the picture, needs to know. TIFF 6.0 and its supplements; ICC.1, annex
/// B.
constexpr std::array<std::uint16_t, 41> kPictureTags{
    0x00FE, 0x00FF, 0x0100, 0x0101, 0x0102, 0x0103, 0x0106, 0x010A, 0x0111, 0x0112, 0x0115, 0x0116, 0x0117, 0x011A,
    0x011B, 0x011C, 0x0124, 0x0125, 0x0128, 0x0129, 0x012D, 0x013D, 0x013E, 0x013F, 0x0140, 0x0142, 0x0143, 0x0144,
    0x0145, 0x014C, 0x014E, 0x0152, 0x0153, 0x0154, 0x0155, 0x015B, 0x0211, 0x0212, 0x0213, 0x0214, 0x8773};

bool isPictureTag(TiffKind, const TiffEntry& entry) { return std::ranges::binary_search(kPictureTags, entry.tag); }

/// The directories of the chain and below it.
template <typename Visit>
void forEachDirectory(TiffContext& tiff, std::uint64_t first, const Visit& visit) {
    std::vector<std::uint64_t> waiting{first};
    std::vector<std::uint64_t> seen;
    while (!waiting.empty() && seen.size() < kMaximumDirectories) {
        const std::uint64_t offset = waiting.back();
        waiting.pop_back();
        if (offset == 0 || std::ranges::find(seen, offset) != seen.end()) continue;
        seen.push_back(offset);
        const TiffDirectory directory = readTiffDirectory(tiff, offset);
        visit(directory);
        waiting.push_back(directory.next);
        if (const auto inner = directory.find(tag::kSubDirectories))
            for (std::uint64_t i = 0; i < std::min<std::uint64_t>(inner->count, kMaximumDirectories); ++i)
                waiting.push_back(inner->integer(tiff, i).value_or(0));
    }
}

/// JPEG streams by a scheme that scatters their tables over offsets of their own (TIFF 6.0, section 22).
bool hasOldJpeg(TiffContext& tiff, std::uint64_t first) {
    bool found = false;
    forEachDirectory(tiff, first, [&](const TiffDirectory& directory) {
        const auto compression = directory.find(tag::kCompression);
        found |= compression && compression->integer(tiff) == kOldJpeg;
    });
    return found;
}

/// A whole picture under JPEG that does not say what it is gets taken for a camera's preview.
void sayItIsNoPreview(TiffTree& page, ByteOrder order) {
    const bool says = std::ranges::find(page.fields, tag::kSubfileType, &TiffField::tag) != page.fields.end();
    if (!says)
        page.set({tag::kSubfileType, TiffType::longInteger, 1, ByteWriter(order).write(std::uint32_t{0}).take()});
}

void addValues(std::vector<TiffTree>& chain, const BlockChange& change, ByteOrder order) {
    TiffTree& first = chain.front();
    TiffTree exif, gps;
    for (auto& [kind, field] : exifFields(change.change().values, order)) {
        TiffTree& target = kind == TiffKind::exif ? exif : kind == TiffKind::gps ? gps : first;
        target.set(std::move(field));
    }
    if (!exif.fields.empty()) first.children.push_back({tag::kExif, {exif}});
    if (!gps.fields.empty()) first.children.push_back({tag::kGps, {gps}});
    const auto set = [&](std::uint16_t tag, TiffType type, ByteVector value) {
        if (value.empty()) return;
        const std::uint64_t count = value.size();
        first.set({tag, type, count, std::move(value)});
    };
    set(tag::kXmp, TiffType::byte, change.xmp({}).value_or(ByteVector()));
    set(tag::kIptc, TiffType::undefined, change.iptc({}));
}

/// The whole file made anew from what shows.
RewriteResult cleanTiff(const TiffHeader& opened, const BlockChange& change) {
    TiffContext tiff = opened.context;
    if (hasOldJpeg(tiff, opened.firstDirectory)) return std::nullopt;
    ByteRanges parts;
    auto chain = readTiffTrees(tiff, opened.firstDirectory, isPictureTag, parts);
    if (!chain || chain->empty() || parts.tidy().empty()) return std::nullopt;
    for (TiffTree& page : *chain) sayItIsNoPreview(page, tiff.order);
    addValues(*chain, change, tiff.order);
    RewritePlan plan = tiffPlan(*chain, tiff.order, tiff.big, parts);
    if (!tiff.big && plan.size() > UINT32_MAX) return std::nullopt;
    return plan;
}

RewritePlan patched(ByteSource& source, TiffEdit edit, std::vector<RewritePlan::Patch> more) {
    std::vector<RewritePlan::Patch> patches = std::move(edit.patches);
    patches.insert(patches.end(), std::make_move_iterator(more.begin()), std::make_move_iterator(more.end()));
    std::ranges::stable_sort(patches, {}, &RewritePlan::Patch::offset);
    std::uint64_t end = 0;
    std::erase_if(patches, [&](const RewritePlan::Patch& patch) {
        const bool overlaps = patch.offset < end;
        if (!overlaps) end = patch.offset + patch.bytes.size();
        return overlaps;
    });
    RewritePlan plan;
    plan.copyPatched(0, source.size(), patches);
    if (!edit.tail.empty()) {
        plan.add(ByteVector(static_cast<std::size_t>(edit.tailStart - source.size())));
        plan.add(std::move(edit.tail));
    }
    return plan;
}

/// Previews that cameras put into their raws, each a whole JPEG with Exif of its own.
std::vector<RewritePlan::Patch> previewPatches(ByteSource& source, TiffContext tiff, std::uint64_t first,
                                               const BlockChange& change) {
    std::vector<RewritePlan::Patch> patches;
    const auto patch = [&](std::uint64_t position, std::uint64_t length) {
        if (position >= source.size()) return;
        auto made = patchEmbeddedJpeg(source, position, std::min(length, source.size() - position), change);
        patches.insert(patches.end(), std::make_move_iterator(made.begin()), std::make_move_iterator(made.end()));
    };
    forEachDirectory(tiff, first, [&](const TiffDirectory& directory) {
        for (const auto& [offsetTag, lengthTag] :
             {std::pair{tag::kJpegOffset, tag::kJpegLength}, std::pair{tag::kStripOffsets, tag::kStripByteCounts}}) {
            const auto offset = directory.find(offsetTag);
            const auto length = directory.find(lengthTag);
            if (!offset || !length || offset->count != 1) continue;
            const auto at = offset->integer(tiff);
            const auto size = length->integer(tiff);
            if (at && size) patch(tiff.base + *at, *size);
        }
        if (const auto whole = directory.find(kJpegFromRaw)) patch(whole->position, whole->byteLength());
    });
    return patches;
}

RewriteResult editedTiff(ByteSource& source, const BlockChange& change, const TiffRules& rules, RewriteFault& fault) {
    auto header = readTiffHeader(source);
    auto edit = header ? editTiff(source, 0, rules) : std::nullopt;
    fault = RewriteFault::damaged;
    if (!edit) return std::nullopt;
    std::vector<RewritePlan::Patch> previews;
    if (change.removesPlace()) previews = previewPatches(source, header->context, header->firstDirectory, change);
    fault = RewriteFault::none;
    return patched(source, std::move(*edit), std::move(previews));
}

/// A whole file has XMP and IPTC as fields: where values are new and the field is not there yet, it is added.
TiffRules inPlaceRules(TiffHeader& header, const BlockChange& change) {
    TiffRules rules = change.tiffRules(header.context.order);
    rules.removesFurther = change.change().firstImageOnly;
    if (change.change().values.empty()) return rules;
    const TiffDirectory first = readTiffDirectory(header.context, header.firstDirectory);
    const auto add = [&](std::uint16_t tag, TiffType type, ByteVector value) {
        if (value.empty() || first.find(tag)) return;
        const std::uint64_t count = value.size();
        rules.sets.push_back({TiffKind::first, {tag, type, count, std::move(value)}});
    };
    add(tag::kXmp, TiffType::byte, change.xmp({}).value_or(ByteVector()));
    add(tag::kIptc, TiffType::undefined, change.iptc({}));
    return rules;
}

}  // namespace

RewriteResult rewriteTiff(ByteSource& source, const BlockChange& change, RewriteFault& fault) {
    auto header = readTiffHeader(source);
    fault = RewriteFault::damaged;
    if (!header) return std::nullopt;
    if (change.removesEverything()) {
        if (auto plan = cleanTiff(*header, change)) {
            fault = RewriteFault::none;
            return plan;
        }
        // Where the parts cannot be moved, what goes is taken out in its place.
        TiffRules rules = change.tiffRules(header->context.order);
        rules.removes = [](TiffKind kind, const TiffEntry& entry) {
            const bool isOldTable = entry.tag >= 0x0200 && entry.tag <= 0x0209;
            return !isOldTable && !isPictureTag(kind, entry);
        };
        return editedTiff(source, change, rules, fault);
    }
    return editedTiff(source, change, inPlaceRules(*header, change), fault);
}

RewriteResult rewriteRawTiff(ByteSource& source, const BlockChange& change, RewriteFault& fault) {
    auto header = readTiffHeader(source);
    fault = RewriteFault::damaged;
    if (!header) return std::nullopt;
    const bool isDng = readTiffDirectory(header->context, header->firstDirectory).find(kDngVersion).has_value();
    const BlockChange forRaw = change.of(isDng ? BlockChange::Raw::dng : BlockChange::Raw::makers);
    return editedTiff(source, forRaw, inPlaceRules(*header, forRaw), fault);
}

}  // namespace tessaly::imageio
