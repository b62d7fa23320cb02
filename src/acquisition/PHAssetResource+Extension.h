#pragma once
#include <optional>

#include "platform/Photos/PHAssetResource.h"

namespace tessaly::PHAssetResourceExtension {

/// The asset's first resource of that type; nullopt without one, or without an asset.
[[nodiscard]] std::optional<PHAssetResource> assetResourcesForAsset(const PHAssetRef& asset, std::int64_t withType);

}  // namespace tessaly::PHAssetResourceExtension
