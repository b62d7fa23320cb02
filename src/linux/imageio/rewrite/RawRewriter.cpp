#include <algorithm>
#include <string_view>
#include <utility>

#include "linux/imageio/IsoBox.h"
#include "linux/imageio/rewrite/Rewriters.h"

// Raws in containers of their own that hold a camera's Exif in one piece. It is changed in place, and never grows.
namespace tessaly::imageio {
namespace {

constexpr std::uint64_t kMaximumPacket = 16 * 1024 * 1024;

RewriteResult patched(ByteSource& source, const std::vector<RewritePlan::Patch>& patches, RewriteFault& fault) {
    RewritePlan plan;
    plan.copyPatched(0, source.size(), patches);
    fault = RewriteFault::none;
    return plan;
}

/// What cannot be done in place: a value may need more room than there is.
bool isBeyond(const BlockChange& change, RewriteFault& fault) {
    fault = RewriteFault::unsupported;
    return !change.change().values.empty() || change.change().removal == MetadataChange::Removal::dictionaries;
}

/// Parts of a box that are changed where they stand.
class CanonPlaces {
public:
    CanonPlaces(ByteSource& source, const BlockChange& change) : source_(source), change_(change) {}

    std::vector<RewritePlan::Patch> run() {
        IsoBoxes boxes(source_);
        while (const auto box = boxes.next()) {
            if (isUserBox(*box, kXmpUserType)) changePacket(*box);
            if (box->type() == "moov") walkMovie(*box);
        }
        std::ranges::sort(patches_, {}, &RewritePlan::Patch::offset);
        return std::move(patches_);
    }

private:
    void walkMovie(const IsoBox& movie) {
        IsoBoxes boxes(source_, movie);
        while (const auto box = boxes.next()) {
            if (!isUserBox(*box, kCanonBox)) continue;
            // The GPS directory is a TIFF structure of its own, of which nothing stays.
            if (const auto positions = findBox(source_, *box, "CMT4")) {
                TiffRules rules;
                rules.removes = [](TiffKind, const TiffEntry&) { return true; };
                if (auto edit = editTiff(source_, positions->position, rules)) add(std::move(edit->patches));
            }
            if (const auto note = findBox(source_, *box, "CMT3")) changeNote(*note);
        }
    }

    /// The maker note as well is a structure of its own: its first directory is the note's.
    void changeNote(const IsoBox& box) {
        auto header = readTiffHeader(source_, box.position);
        if (!header || header->firstDirectory >= box.length) return;
        TiffEntry note;
        note.type = TiffType::undefined;
        note.position = box.position + header->firstDirectory;
        note.count = box.length - header->firstDirectory;
        for (NoteTrim& trim : noteTrims(header->context, note, "Canon", NotePurge::places))
            add(std::move(trim.patches));
    }

    void changePacket(const IsoBox& box) {
        const auto packet = source_.bytes(box.position, std::min(box.length, kMaximumPacket));
        if (!packet) return;
        ByteVector made = change_.xmp(*packet).value_or(ByteVector());
        if (made.size() > packet->size()) made.clear();
        made.resize(packet->size(), std::byte{' '});
        if (!std::ranges::equal(made, *packet)) patches_.push_back({box.position, std::move(made)});
    }

    void add(std::vector<RewritePlan::Patch> more) {
        for (RewritePlan::Patch& patch : more) patches_.push_back(std::move(patch));
    }

    ByteSource& source_;
    const BlockChange& change_;
    std::vector<RewritePlan::Patch> patches_;
};

}  // namespace

// Of a CR3 only the place can go: dates and serial numbers also stand in a stream of samples beside the pictures.
RewriteResult rewriteCr3(ByteSource& source, const BlockChange& change, RewriteFault& fault) {
    fault = RewriteFault::unsupported;
    if (change.change().removal != MetadataChange::Removal::place || !change.change().values.empty())
        return std::nullopt;
    return patched(source, CanonPlaces(source, change).run(), fault);
}

// The head tells, big-endian, where the preview JPEG stands, which carries all metadata.
RewriteResult rewriteRaf(ByteSource& source, const BlockChange& change, RewriteFault& fault) {
    if (isBeyond(change, fault)) return std::nullopt;
    const auto offset = source.read<std::uint32_t>(84);
    const auto length = source.read<std::uint32_t>(88);
    fault = RewriteFault::damaged;
    if (!offset || !length || *offset > source.size() || *length > source.size() - *offset) return std::nullopt;
    const BlockChange forRaw = change.of(BlockChange::Raw::makers);
    return patched(source, patchEmbeddedJpeg(source, *offset, *length, forRaw), fault);
}

// "\0MRM", the length of all blocks, then blocks of "\0XXX", a length and content; "\0TTW" is a TIFF structure.
RewriteResult rewriteMrw(ByteSource& source, const BlockChange& change, RewriteFault& fault) {
    if (isBeyond(change, fault)) return std::nullopt;
    fault = RewriteFault::damaged;
    const std::uint64_t end = 8ULL + source.read<std::uint32_t>(4).value_or(0);
    for (std::uint64_t at = 8; at + 8 <= end;) {
        const auto name = source.bytes(at, 4);
        const auto length = source.read<std::uint32_t>(at + 4);
        if (!name || !length) return std::nullopt;
        if (asText(*name) == std::string_view("\0TTW", 4)) {
            const BlockChange forRaw = change.of(BlockChange::Raw::makers);
            const auto edit = editTiff(source, at + 8, forRaw.tiffRules(ByteOrder::big));
            if (!edit || !edit->tail.empty()) return std::nullopt;
            return patched(source, edit->patches, fault);
        }
        at += 8ULL + *length;
    }
    return std::nullopt;
}

}  // namespace tessaly::imageio
