#pragma once
#include <string>
#include <string_view>

#include "platform/Foundation/Value.h"

namespace tessaly::desktop {

/// What the desktop calls the kind of the bytes, from their content alone: "image/jpeg", "video/mp4";
/// "application/octet-stream" for what is not recognised.
[[nodiscard]] std::string_view mimeTypeOf(const Data& data);

/// How names of such files usually end: ".jpg"; "" for what is not known.
[[nodiscard]] std::string_view extensionOf(std::string_view mimeType) noexcept;

}  // namespace tessaly::desktop
