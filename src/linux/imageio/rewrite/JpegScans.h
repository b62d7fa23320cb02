#pragma once
#include <cstdint>
#include <functional>
#include <vector>

#include "linux/imageio/ByteSource.h"

/// The compressed data of a JPEG: from its first start of scan to its end of image (ITU-T T.81, B.1.1 and B.2.3), with
/// the tables and further scans between.
namespace tessaly::imageio {

/// The next marker in compressed data, from `position` on, that is neither a restart nor stuffing; the end of the
/// source without one.
[[nodiscard]] std::uint64_t nextScanMarker(ByteSource& source, std::uint64_t position);

struct JpegScans {
    struct Part {
        std::uint64_t offset = 0;
        std::uint64_t length = 0;
    };
    std::vector<Part> parts;
    std::uint64_t end = 0;  ///< Behind the end of image; of the source, where there is none.
};

/// `dropsMetadata` leaves out application segments and comments.
[[nodiscard]] JpegScans findJpegScans(ByteSource& source, std::uint64_t start, bool dropsMetadata);

/// Writes the same without metadata, reading everything once. @return false as soon as `write` does.
[[nodiscard]] bool writeJpegScans(ByteSource& source, std::uint64_t start,
                                  const std::function<bool(std::span<const std::byte>)>& write);

}  // namespace tessaly::imageio
