#pragma once
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/Foundation/FileFault.h"
#include "platform/Foundation/Value.h"
#include "platform/ImageIO/MetadataChange.h"

namespace tessaly {

/// Why a file was not rewritten. The original is untouched whenever there is a fault.
struct RewriteFailure {
    enum class Kind : std::uint8_t {
        none,
        cannotRead,   ///< `fault` says why.
        unsupported,  ///< This format, or this variant of it, cannot be rewritten without loss.
        damaged,      ///< The structure of the file contradicts itself.
        tooLarge,     ///< A value does not fit where the format puts it.
        exists,       ///< There is a file at the target already.
        cannotWrite,  ///< `error` is the system's errno.
    };
    Kind kind = Kind::none;
    FileFault fault = FileFault::none;
    int error = 0;

    [[nodiscard]] explicit operator bool() const noexcept { return kind != Kind::none; }
};

struct RewriteOptions {
    bool replaces = false;    ///< An existing target is replaced.
    bool keepsTimes = false;  ///< The new file has the times of the old one.
};

/// Writes `target` as `source` with its metadata changed. Both may be the same file: it is replaced in one step, and
/// keeps its mode, owner and extended attributes. Compressed pixels, sound and frames are copied byte for byte.
[[nodiscard]] RewriteFailure rewriteMetadata(const std::string& source, const std::string& target,
                                             const MetadataChange& change, const RewriteOptions& options);

/// The same into a file that is open for writing, from where it stands on: a temporary one, of which nothing is asked
/// after a failure.
[[nodiscard]] RewriteFailure rewriteMetadata(const std::string& source, int target, const MetadataChange& change);

/// The same over bytes in memory; null with a failure.
[[nodiscard]] Data rewriteMetadata(const Data& bytes, const MetadataChange& change, RewriteFailure* failure = nullptr);

/// What the removals of `change` would still take from the file, in words a person understands: properties that are
/// left, and "hidden data" where the file itself would change. Empty: the file is clean. nullopt when it cannot be read
/// or judged.
[[nodiscard]] std::optional<std::vector<std::string>> metadataLeft(const std::string& path,
                                                                   const MetadataChange& change);

}  // namespace tessaly
