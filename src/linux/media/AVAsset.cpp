#include "platform/AVFoundation/AVAsset.h"

namespace tessaly {

std::shared_ptr<AVAsset> AVAsset::assetWithURL(const std::string& /*path*/) {
    auto asset = std::make_shared<AVAsset>();
    asset->fault = AVAssetFault::unknownFormat;
    return asset;
}

std::shared_ptr<AVAsset> AVAsset::assetWithData(const Data& /*data*/) { return assetWithURL({}); }

const AVAssetTrack* AVAsset::firstVideoTrack() const noexcept {
    for (const AVAssetTrack& track : tracks)
        if (track.mediaType == AVMediaType::video) return &track;
    return nullptr;
}

}  // namespace tessaly
