#pragma once
#include <cstdint>
#include <span>
#include <vector>

#include "linux/imageio/ByteSource.h"
#include "linux/imageio/rewrite/ByteWriter.h"

namespace tessaly::imageio {

/// What a rewritten file consists of: parts of the source, which are copied when it is written and never looked at, and
/// new bytes. A plan for a file of gigabytes is as small as its metadata.
class RewritePlan {
public:
    struct Piece {
        std::uint64_t offset = 0;  ///< In the source, of a copied piece.
        std::uint64_t length = 0;
        ByteVector own;        ///< The bytes themselves, of a new piece; empty in a copied one.
        bool isScans = false;  ///< From `offset` to wherever the JPEG that is there ends; `length` is 0.
        [[nodiscard]] bool isCopied() const noexcept { return own.empty() && !isScans; }
    };

    /// Bytes that replace those of the source at `offset`.
    struct Patch {
        std::uint64_t offset = 0;
        ByteVector bytes;
    };

    /// `length` bytes of the source from `offset` on.
    void copy(std::uint64_t offset, std::uint64_t length);
    void add(ByteVector bytes);
    /// The scans of a JPEG from `offset` on (see JpegScans.h). Where they end is found while they are written, so that
    /// a large picture is read once; such a plan does not know its size().
    void copyScans(std::uint64_t offset);
    void add(Bytes bytes) { add(copyOf(bytes)); }
    /// The source from `offset` on, `length` bytes, with `patches` laid over it: ascending, not overlapping.
    void copyPatched(std::uint64_t offset, std::uint64_t length, std::span<const Patch> patches);

    /// The pieces of another plan, whose source starts at `base` of this one's.
    void append(RewritePlan other, std::uint64_t base);

    [[nodiscard]] std::uint64_t size() const noexcept { return size_; }
    [[nodiscard]] std::span<const Piece> pieces() const noexcept { return pieces_; }

    /// The result in memory; shorter than size() where the source ends early.
    [[nodiscard]] ByteVector bytes(ByteSource& source) const;
    /// Whether writing it would give back the source, byte for byte.
    [[nodiscard]] bool reproduces(ByteSource& source) const;
    /// The same plan with its scans found.
    [[nodiscard]] RewritePlan resolved(ByteSource& source) const;

private:
    std::vector<Piece> pieces_;
    std::uint64_t size_ = 0;
};

}  // namespace tessaly::imageio
