#pragma once
#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include "linux/imageio/ByteReader.h"

/// What the heads of coded video say of its pictures. Bytes as they stand in a stream, with start codes between.
namespace tessaly::media {

struct VideoSequence {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    double framesPerSecond = 0;  ///< 0 where the stream does not tell.
};

/// ITU-T H.264, 7.3.2.1.1 and E.1.1.
[[nodiscard]] std::optional<VideoSequence> readH264Sequence(imageio::Bytes stream);
/// ISO/IEC 13818-2, 6.2.2.1 (and 11172-2, which differs in nothing that is read here).
[[nodiscard]] std::optional<VideoSequence> readMpegSequence(imageio::Bytes stream);

/// Every unit between start codes (H.264, annex B), its head first.
void forEachUnit(imageio::Bytes stream, const std::function<void(imageio::Bytes unit)>& each);
/// Without the bytes that keep start codes from arising by chance (7.4.1), at most `most` bytes.
[[nodiscard]] std::vector<std::byte> unescaped(imageio::Bytes unit, std::size_t most);

}  // namespace tessaly::media
