#pragma once
#include <functional>
#include <memory>
#include <optional>

#include "metadata/ExifInformation.h"
#include "platform/CoreGraphics/CGGeometry.h"
#include "platform/Foundation/Dispatch.h"
#include "platform/Photos/PHImageManager.h"

namespace tessaly {

/// Gets the picture of one page at a time, in the size in which it is shown; all decoding happens on other threads.
/// Main thread.
class DetailPictureLoader {
public:
    /// Null when there is no picture to be had: `isInCloud` when its bytes are elsewhere, else it cannot be decoded.
    using Completion = std::function<void(const UIImageRef& picture, bool isInCloud)>;

    DetailPictureLoader() = default;
    DetailPictureLoader(const DetailPictureLoader&) = delete;
    DetailPictureLoader& operator=(const DetailPictureLoader&) = delete;
    ~DetailPictureLoader() { cancel(); }

    /// Cancels what was asked for before. The completion comes later, on the main queue; a library's photo may be
    /// delivered twice, a rough one first.
    void load(const ExifInformationRef& record, CGSize points, Completion completion);
    /// The completion does not come any more, and what has not begun does not begin.
    void cancel();

    /// The longest side in pixels of a picture that fills that many points. Never more than the photo has, and never
    /// so much that the long side of a panorama, most of which is cut off, fills the memory.
    [[nodiscard]] static std::int64_t pixelSizeFilling(const ExifInformation& record, CGSize points);

private:
    struct Request;
    void loadAsset(const ExifInformation& record, CGSize points, const std::weak_ptr<Request>& request);
    void loadFile(const ExifInformation& record, CGSize points, const std::weak_ptr<Request>& request);

    std::shared_ptr<Request> request_;  ///< What is under way; whose answers find it gone are dropped.
    std::shared_ptr<BlockOperation> operation_;
    std::optional<PHImageRequestID> assetRequest_;
};

}  // namespace tessaly
