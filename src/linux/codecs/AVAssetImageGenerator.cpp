#include "platform/AVFoundation/AVAssetImageGenerator.h"

#include <algorithm>

#include "linux/codecs/Pixels.h"
#include "platform/CoreGraphics/CGImageTurning.h"
#include "platform/Foundation/Dispatch.h"

namespace tessaly {
namespace {

struct Frame {
    CGImageRef image;
    std::string error;
};

std::optional<imageio::ByteSource> bytesOf(const AVAsset& asset) {
    if (asset.data) return imageio::ByteSource(imageio::Bytes(*asset.data));
    FileFault fault{};
    return imageio::ByteSource::openFile(asset.path, fault);
}

/// `longerSide` 0 for the movie's own size.
Frame frameOf(const AVAsset& asset, double seconds, std::size_t longerSide, int turnedBack) {
    auto bytes = bytesOf(asset);
    if (!bytes) return {nullptr, "the movie cannot be opened"};
    CGImageFault fault{};
    const CGImageRef image =
        codecs::decodePicture({"ffmpeg", codecs::Codec::movie}, *bytes, 0, longerSide, fault, seconds);
    if (!image) return {nullptr, std::string(describe(fault))};
    return {CGImageCreateTurned(image, turnedBack), ""};
}

/// What undoes a clockwise turn, as an Exif orientation.
int undoing(int degrees) { return degrees == 90 ? 8 : degrees == 180 ? 3 : degrees == 270 ? 6 : 1; }

}  // namespace

void AVAssetImageGenerator::generateCGImageAsynchronouslyForTime(double seconds, Handler handler) const {
    const AVAssetTrack* video = asset_ ? asset_->firstVideoTrack() : nullptr;
    if (!video) return DispatchQueue::global().async([handler] { handler(nullptr, "there is no picture track"); });
    // The longer side that makes the picture fit into the box.
    CGSize shown = video->naturalSize;
    if (video->rotationDegrees % 180 != 0) std::swap(shown.width, shown.height);
    std::size_t longerSide = 0;
    if (maximumSize.width > 0 && maximumSize.height > 0 && shown.width > 0 && shown.height > 0) {
        const double factor = std::min({1.0, maximumSize.width / shown.width, maximumSize.height / shown.height});
        longerSide = std::max<std::size_t>(1, static_cast<std::size_t>(std::max(shown.width, shown.height) * factor));
    }
    const int turnedBack = appliesPreferredTrackTransform ? 1 : undoing(video->rotationDegrees);
    DispatchQueue::global().async([asset = asset_, seconds, longerSide, turnedBack, handler = std::move(handler)] {
        const Frame frame = frameOf(*asset, seconds, longerSide, turnedBack);
        handler(frame.image, frame.error);
    });
}

}  // namespace tessaly
