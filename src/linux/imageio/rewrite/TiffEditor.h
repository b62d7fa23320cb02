#pragma once
#include <functional>
#include <optional>
#include <utility>
#include <vector>

#include "linux/imageio/TiffDirectory.h"
#include "linux/imageio/rewrite/ByteRanges.h"
#include "linux/imageio/rewrite/NotePurge.h"
#include "linux/imageio/rewrite/RewritePlan.h"

namespace tessaly::imageio {

/// What a directory is for, which decides what its tags mean.
enum class TiffKind : std::uint8_t {
    first,    ///< IFD0.
    further,  ///< Behind it in the chain: the thumbnail of an Exif block, a page of a TIFF.
    image,    ///< A SubIFD: a preview, a raw image.
    exif,
    gps,
    interoperability,
};

/// The kind of the directories that a field of that tag points to; nullopt for any other field.
[[nodiscard]] std::optional<TiffKind> pointedKind(std::uint16_t tag) noexcept;

/// One field with its value's bytes in the byte order of its structure.
struct TiffField {
    std::uint16_t tag = 0;
    TiffType type = TiffType::undefined;
    std::uint64_t count = 0;
    ByteVector value;
};

/// What to do with the fields of a structure. Functions may be empty.
struct TiffRules {
    /// Whether the field goes, with everything that it points to.
    std::function<bool(TiffKind, const TiffEntry&)> removes;
    /// A field in the place of this one, without values for none; nullopt to leave it.
    std::function<std::optional<TiffField>(TiffKind, const TiffEntry&, Bytes value)> replaces;
    /// Fields to set, by directory; missing Exif, GPS and interoperability directories are made.
    std::vector<std::pair<TiffKind, TiffField>> sets;
    /// Whether the directories behind the first are removed.
    bool removesFurther = false;
    /// Whether a directory that ends before its count is written anew with what it has: once a reader gets over the
    /// fault, nothing may show up that was to go. Only for blocks, where it can move.
    bool mendsDirectories = false;
    /// What is taken out of a maker note that stays.
    NotePurge noteFields = NotePurge::nothing;
};

/// A structure as it will be: the source with patches, and bytes to append at `tailStart` (the gap before it is zeros).
struct TiffEdit {
    std::vector<RewritePlan::Patch> patches;  ///< Ascending, apart.
    std::uint64_t tailStart = 0;
    ByteVector tail;

    [[nodiscard]] bool isEmpty() const noexcept { return patches.empty() && tail.empty(); }
    /// The edited structure in memory, for one whose source is a block.
    [[nodiscard]] ByteVector applied(Bytes block) const;
};

/// Changes a TIFF structure where it stands. Whatever stays keeps its position, because a maker note or a raw converter
/// may hold offsets that nobody else knows; what goes is overwritten with zeros; what is new and finds no room is
/// appended. nullopt when there is no TIFF header at `base`.
[[nodiscard]] std::optional<TiffEdit> editTiff(ByteSource& source, std::uint64_t base, const TiffRules& rules);

}  // namespace tessaly::imageio
