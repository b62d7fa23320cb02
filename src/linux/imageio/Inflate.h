#pragma once
#include <optional>
#include <vector>

#include "linux/imageio/ByteReader.h"

namespace tessaly::imageio {

/// What the compressed blocks of one file may grow to together; metadata is never larger, a bomb always is.
inline constexpr std::size_t kMaximumInflated = 4 * 1024 * 1024;

/// A zlib stream (RFC 1950) or a Brotli stream (RFC 7932), as far as it can be decoded and at most `limit` bytes.
[[nodiscard]] std::vector<std::byte> inflated(Bytes compressed, std::size_t limit = kMaximumInflated);
[[nodiscard]] std::vector<std::byte> brotliDecoded(Bytes compressed, std::size_t limit = kMaximumInflated);

}  // namespace tessaly::imageio
