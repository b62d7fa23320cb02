#pragma once
#include <string_view>

#include "linux/imageio/ByteSource.h"
#include "linux/imageio/ImageProperties.h"

namespace tessaly::imageio {

/// A container that can be read: how to tell it by its first bytes, and who reads it.
struct ImageFormat {
    std::string_view typeIdentifier;  ///< As CGImageSourceGetType answers it.
    void (*read)(ByteSource& source, ImageProperties& properties);
};

/// The format of the bytes, from their content alone, never from a name; null when it is none of ours.
[[nodiscard]] const ImageFormat* detectImageFormat(ByteSource& source);

}  // namespace tessaly::imageio
