#pragma once
#include <functional>
#include <optional>
#include <utility>
#include <vector>

#include "linux/imageio/rewrite/RewritePlan.h"
#include "linux/imageio/rewrite/TiffEditor.h"

namespace tessaly::imageio {

/// A directory with everything that it points to, for writing a structure anew: nothing that it does not name, such as
/// what an editor left behind between its parts, comes along. Only for structures without fields that hold offsets of
/// their own (maker notes).
struct TiffTree {
    /// Parts of the source that a field pair points to.
    struct Parts {
        std::uint16_t offsetTag = 0;
        TiffType offsetType = TiffType::longInteger;
        std::vector<std::uint64_t> offsets;
    };
    struct Child {
        std::uint16_t tag = 0;
        std::vector<TiffTree> trees;
    };

    std::vector<TiffField> fields;
    std::vector<Parts> parts;
    std::vector<Child> children;

    /// Replaces the field of that tag, or adds it.
    void set(TiffField field);
};

/// Which fields a tree takes over. A pointer that is not kept leaves its directory behind.
using TiffFilter = std::function<bool(TiffKind, const TiffEntry&)>;

/// The directories of a chain from `offset` on, the parts that they point to added to `parts`. nullopt when a directory
/// is not whole or refers to bytes that do not exist.
[[nodiscard]] std::optional<std::vector<TiffTree>> readTiffTrees(TiffContext& tiff, std::uint64_t offset,
                                                                 const TiffFilter& keeps, ByteRanges& parts);

/// A whole structure: header, directories, values, then the parts. `order` and `big` are those of the fields' values.
[[nodiscard]] RewritePlan tiffPlan(const std::vector<TiffTree>& chain, ByteOrder order, bool big, ByteRanges& parts);

/// An Exif block written anew when it has no maker note; else nullopt.
[[nodiscard]] std::optional<ByteVector> compactExif(Bytes block);

}  // namespace tessaly::imageio
