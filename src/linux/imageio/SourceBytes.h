#pragma once
#include "linux/imageio/ByteSource.h"
#include "platform/ImageIO/CGImageSource.h"

namespace tessaly::imageio {

/// The bytes behind an open source, which keeps them.
[[nodiscard]] ByteSource& bytesOf(const CGImageSourceRef& source);

}  // namespace tessaly::imageio
