#pragma once
#include <optional>

#include "linux/imageio/ByteSource.h"

namespace tessaly::imageio {

/// A JPEG that a file carries of its own picture.
struct EmbeddedPreview {
    std::uint64_t position = 0;
    std::uint64_t length = 0;
    std::uint64_t width = 0;
    std::uint64_t height = 0;
};

/// The largest one that a TIFF structure of the file points to: the thumbnail of Exif in whatever container, the
/// further images of an MP file (CIPA DC-007), the previews of raws; and those of a PSD and a CRW. A tile or a strip of
/// the picture is none.
[[nodiscard]] std::optional<EmbeddedPreview> largestPreview(ByteSource& source);

}  // namespace tessaly::imageio
