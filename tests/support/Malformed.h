#pragma once
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace tessaly::test {

/// Damage to a picture's file, the same for the same number: every third one is cut off, has bits flipped, or says
/// that the picture is larger than it is.
struct Malformed {
    std::string how;  ///< "cut to 150 bytes", for messages.
    std::vector<std::byte> bytes;
};

/// @param width, height what the file says truly: the numbers of its head that are inflated.
[[nodiscard]] Malformed malformed(const std::vector<std::byte>& original, std::size_t width, std::size_t height,
                                  std::uint32_t number);

}  // namespace tessaly::test
