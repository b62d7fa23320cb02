#include <string_view>

#include "linux/imageio/rewrite/Rewriters.h"

// Raws in containers of their own that hold a camera's Exif in one piece. It is changed in place, and never grows.
namespace tessaly::imageio {
namespace {

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

}  // namespace

// The head tells, big-endian, where the preview JPEG stands, which carries all metadata.
RewriteResult rewriteRaf(ByteSource& source, const BlockChange& change, RewriteFault& fault) {
    if (isBeyond(change, fault)) return std::nullopt;
    const auto offset = source.read<std::uint32_t>(84);
    const auto length = source.read<std::uint32_t>(88);
    fault = RewriteFault::damaged;
    if (!offset || !length || *offset > source.size() || *length > source.size() - *offset) return std::nullopt;
    const BlockChange forRaw(change.change(), BlockChange::Raw::makers);
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
            const BlockChange forRaw(change.change(), BlockChange::Raw::makers);
            const auto edit = editTiff(source, at + 8, forRaw.tiffRules(ByteOrder::big));
            if (!edit || !edit->tail.empty()) return std::nullopt;
            return patched(source, edit->patches, fault);
        }
        at += 8ULL + *length;
    }
    return std::nullopt;
}

}  // namespace tessaly::imageio
