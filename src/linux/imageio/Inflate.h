#pragma once
#include <optional>
#include <vector>

#include "linux/imageio/ByteReader.h"

namespace tessaly::imageio {

/// What one compressed block may grow to; metadata is never larger, a bomb always is.
inline constexpr std::size_t kMaximumInflated = 16 * 1024 * 1024;

/// A zlib stream (RFC 1950) or a Brotli stream (RFC 7932), as far as it can be decoded and at most kMaximumInflated.
[[nodiscard]] std::vector<std::byte> inflated(Bytes compressed);
[[nodiscard]] std::vector<std::byte> brotliDecoded(Bytes compressed);

}  // namespace tessaly::imageio
