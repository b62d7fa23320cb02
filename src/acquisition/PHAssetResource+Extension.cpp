#include <algorithm>

#include "acquisition/PHAssetResource+Extension.h"

namespace tessaly::PHAssetResourceExtension {

std::optional<PHAssetResource> assetResourcesForAsset(const PHAssetRef& asset, std::int64_t withType) {
    if (!asset) return std::nullopt;
    const auto resources = PHAssetResource::assetResourcesForAsset(asset);
    const auto found = std::ranges::find(resources, withType, &PHAssetResource::type);
    return found == resources.end() ? std::nullopt : std::optional(*found);
}

}  // namespace tessaly::PHAssetResourceExtension
