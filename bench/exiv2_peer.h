#pragma once
#include <string>

namespace tessaly::bench {

/// Reads a file's metadata with libexiv2, the same question asked of a peer.
void readWithExiv2(const std::string& path);

}  // namespace tessaly::bench
