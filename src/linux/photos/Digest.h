#pragma once
#include <cstdint>
#include <string>

/// Digests by which files are known again (SHA-256, FIPS 180-4), in hexadecimal.
namespace tessaly::photos {

/// Of the whole file; "" when it cannot be read.
[[nodiscard]] std::string digestOf(const std::string& path);

/// By which a file of `size` bytes is known again after it was moved. "" when it cannot be read, or is not of that
/// size.
///
/// Only what tells photos of one size apart is read: the beginning, where the camera notes the moment and its own
/// count, and the end of the compressed picture. Whoever throws bytes away compares all of them.
[[nodiscard]] std::string printOf(const std::string& path, std::uint64_t size);

/// That, and what libraries had before there were prints, at the price of one reading.
struct Prints {
    std::int64_t head = 0;  ///< A hash of the size and the first bytes; 0 when unreadable.
    std::string print;
    [[nodiscard]] static Prints of(const std::string& path, std::uint64_t size);
};

}  // namespace tessaly::photos
