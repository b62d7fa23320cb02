#pragma once
#include <functional>
#include <memory>
#include <optional>

#include "metadata/ExifInformation.h"
#include "platform/CoreGraphics/CGGeometry.h"
#include "platform/Foundation/Dispatch.h"
#include "platform/Photos/PHImageManager.h"

namespace tessaly {

/// What came of the wish for a picture.
enum class DetailPictureState : std::uint8_t {
    whole,
    preview,      ///< Too large to be decoded: what is shown is the preview that the file carries.
    inCloud,      ///< None: its bytes are elsewhere.
    tooLarge,     ///< None: too large to be decoded, and without a preview.
    undecodable,  ///< None.
};

/// Gets the picture of one page at a time, in the size in which it is shown; all decoding happens on other threads.
/// Main thread.
class DetailPictureLoader {
public:
    /// The picture is null where the state says that there is none.
    using Completion = std::function<void(const UIImageRef& picture, DetailPictureState state)>;

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
