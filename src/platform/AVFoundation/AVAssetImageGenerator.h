#pragma once
#include <functional>
#include <memory>
#include <string>

#include "platform/AVFoundation/AVAsset.h"
#include "platform/CoreGraphics/CGGeometry.h"
#include "platform/CoreGraphics/CGImage.h"

namespace tessaly {

/// Pictures out of a movie.
class AVAssetImageGenerator {
public:
    /// The picture and "", or null and what went wrong.
    using Handler = std::function<void(const CGImageRef& image, const std::string& error)>;

    explicit AVAssetImageGenerator(std::shared_ptr<const AVAsset> asset) : asset_(std::move(asset)) {}

    bool appliesPreferredTrackTransform = false;  ///< Turns the picture upright.
    CGSize maximumSize;                           ///< Pixels; the picture fits into it. Zero: its own size.

    /// Calls `handler` once, on another thread, with the picture shown at `seconds`.
    void generateCGImageAsynchronouslyForTime(double seconds, Handler handler) const;

private:
    std::shared_ptr<const AVAsset> asset_;
};

}  // namespace tessaly
