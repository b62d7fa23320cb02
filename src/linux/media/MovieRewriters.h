#pragma once
#include "linux/imageio/rewrite/Rewriters.h"

namespace tessaly::media {

/// Matroska (RFC 9559) and WebM: what goes becomes empty space, nothing moves.
[[nodiscard]] imageio::RewriteResult rewriteMatroska(imageio::ByteSource& source, const imageio::BlockChange& change,
                                                     imageio::RewriteFault& fault);

/// AVI: what goes becomes empty space, nothing moves. With a place goes the whole block that may tell it.
[[nodiscard]] imageio::RewriteResult rewriteAvi(imageio::ByteSource& source, const imageio::BlockChange& change,
                                                imageio::RewriteFault& fault);

}  // namespace tessaly::media
