#pragma once
#include <optional>
#include <string_view>

#include "linux/imageio/rewrite/RewritePlan.h"
#include "platform/ImageIO/MetadataRewrite.h"

namespace tessaly::imageio {

/// Plans the file by whatever it is; nullopt with a failure.
[[nodiscard]] std::optional<RewritePlan> rewritePlan(ByteSource& source, const MetadataChange& change,
                                                     RewriteFailure& failure);

/// Whether there is a writer for the image format of that identifier.
[[nodiscard]] bool canRewrite(std::string_view typeIdentifier);

}  // namespace tessaly::imageio
