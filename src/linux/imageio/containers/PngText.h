#pragma once
#include <optional>
#include <string_view>

#include "linux/imageio/ByteReader.h"

namespace tessaly::imageio {

/// A text chunk of PNG, its text as stored.
struct PngText {
    std::string_view keyword;
    Bytes body;
    bool compressed = false;
};

/// Takes a tEXt, zTXt or iTXt chunk apart (PNG, 11.3.3); nullopt where it is none or is cut.
[[nodiscard]] std::optional<PngText> readPngText(std::string_view type, Bytes chunk);

}  // namespace tessaly::imageio
