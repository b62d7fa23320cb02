#pragma once
#include <cstdint>
#include <optional>

#include "linux/imageio/rewrite/BlockChange.h"
#include "linux/imageio/rewrite/RewritePlan.h"

/// One writer a container. Each plans the file with its metadata changed and its compressed pixels copied; nothing is
/// decoded. What no part of the format accounts for (bytes behind the image, gaps) is not carried over when everything
/// is to go.
namespace tessaly::imageio {

/// Why no plan could be made.
enum class RewriteFault : std::uint8_t {
    none,
    unsupported,  ///< The format, or this variant of it, cannot be rewritten without loss.
    damaged,      ///< The structure ends or contradicts itself before its end.
    tooLarge,     ///< A value does not fit where the format puts it.
};

using RewriteResult = std::optional<RewritePlan>;

[[nodiscard]] RewriteResult rewriteJpeg(ByteSource& source, const BlockChange& change, RewriteFault& fault);
[[nodiscard]] RewriteResult rewritePng(ByteSource& source, const BlockChange& change, RewriteFault& fault);
[[nodiscard]] RewriteResult rewriteGif(ByteSource& source, const BlockChange& change, RewriteFault& fault);
[[nodiscard]] RewriteResult rewriteWebp(ByteSource& source, const BlockChange& change, RewriteFault& fault);
[[nodiscard]] RewriteResult rewriteBmp(ByteSource& source, const BlockChange& change, RewriteFault& fault);
[[nodiscard]] RewriteResult rewriteTiff(ByteSource& source, const BlockChange& change, RewriteFault& fault);
/// A TIFF-based raw, in place: nothing moves, since offsets may stand where nobody knows.
[[nodiscard]] RewriteResult rewriteRawTiff(ByteSource& source, const BlockChange& change, RewriteFault& fault);
[[nodiscard]] RewriteResult rewriteRaf(ByteSource& source, const BlockChange& change, RewriteFault& fault);
[[nodiscard]] RewriteResult rewriteCr3(ByteSource& source, const BlockChange& change, RewriteFault& fault);
[[nodiscard]] RewriteResult rewriteMrw(ByteSource& source, const BlockChange& change, RewriteFault& fault);
/// Layers and picture as they are, with whatever stands inside the layers.
[[nodiscard]] RewriteResult rewritePsd(ByteSource& source, const BlockChange& change, RewriteFault& fault);
[[nodiscard]] RewriteResult rewriteHeif(ByteSource& source, const BlockChange& change, RewriteFault& fault);
[[nodiscard]] RewriteResult rewriteJp2(ByteSource& source, const BlockChange& change, RewriteFault& fault);
[[nodiscard]] RewriteResult rewriteJxl(ByteSource& source, const BlockChange& change, RewriteFault& fault);

/// QuickTime, MP4, 3GP: the movie box first ("fast start"), media data copied.
[[nodiscard]] RewriteResult rewriteMovie(ByteSource& source, const BlockChange& change, RewriteFault& fault);

/// Changes a JPEG that is embedded at `offset` of a larger file, keeping its length: patches in the source's positions.
[[nodiscard]] std::vector<RewritePlan::Patch> patchEmbeddedJpeg(ByteSource& source, std::uint64_t offset,
                                                                std::uint64_t length, const BlockChange& change);

}  // namespace tessaly::imageio
