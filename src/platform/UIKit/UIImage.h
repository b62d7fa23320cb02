#pragma once
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "platform/CoreGraphics/CGGeometry.h"
#include "platform/CoreGraphics/CGImage.h"
#include "platform/Foundation/Value.h"

namespace tessaly {

/// How the bitmap has to be turned to be seen upright.
enum class UIImageOrientation : std::uint8_t {
    up = 0,
    down = 1,   ///< By 180 degrees.
    left = 2,   ///< By 90 degrees counter-clockwise.
    right = 3,  ///< By 90 degrees clockwise.
    upMirrored = 4,
    downMirrored = 5,
    leftMirrored = 6,
    rightMirrored = 7,
};

/// Whether width and height change places.
[[nodiscard]] constexpr bool isSideways(UIImageOrientation orientation) noexcept {
    return orientation == UIImageOrientation::left || orientation == UIImageOrientation::right ||
           orientation == UIImageOrientation::leftMirrored || orientation == UIImageOrientation::rightMirrored;
}

/// The same as an Exif orientation (Exif 2.32, 4.6.4), 1 to 8, and back; what is none of them is up.
[[nodiscard]] int exifOrientation(UIImageOrientation orientation) noexcept;
[[nodiscard]] UIImageOrientation imageOrientation(std::int64_t exifOrientation) noexcept;

class UIImage;
using UIImageRef = std::shared_ptr<const UIImage>;

/// A picture: a bitmap, or an encoded file whose head was read and whose pixels wait until they are asked for.
/// May be used by several threads.
class UIImage {
public:
    /// Null when the bytes are no image of a format that can be decoded.
    [[nodiscard]] static UIImageRef imageWithData(const Data& data, double scale = 1);
    [[nodiscard]] static UIImageRef imageWithContentsOfFile(const std::string& path);
    /// Null without a bitmap.
    [[nodiscard]] static UIImageRef imageWithCGImage(CGImageRef bitmap, double scale = 1,
                                                     UIImageOrientation orientation = UIImageOrientation::up);
    /// The same picture with another scale and orientation; its bitmap is shared.
    [[nodiscard]] UIImageRef copy(double scale, UIImageOrientation orientation) const;

    /// Pixels a point.
    [[nodiscard]] double scale() const noexcept { return scale_; }
    [[nodiscard]] UIImageOrientation imageOrientation() const noexcept { return orientation_; }
    /// Points, upright.
    [[nodiscard]] CGSize size() const noexcept;
    /// Frames of an animation; 1 of a still picture.
    [[nodiscard]] std::size_t frameCount() const noexcept { return frameCount_; }
    /// The bitmap as it is stored, decoded on the first question and kept. Null when it cannot be.
    [[nodiscard]] CGImageRef cgImage() const;

private:
    struct Pixels {
        Data data;  ///< Where they come from: bytes or a file, until there is a bitmap.
        std::string path;
        std::once_flag decoded;
        CGImageRef bitmap;
    };
    struct Head;
    UIImage() = default;
    static UIImageRef make(const std::shared_ptr<Pixels>& pixels, const Head& head, double scale);

    std::shared_ptr<Pixels> pixels_;
    std::size_t width_ = 0;  ///< Of the bitmap.
    std::size_t height_ = 0;
    std::size_t frameCount_ = 1;
    double scale_ = 1;
    UIImageOrientation orientation_ = UIImageOrientation::up;
};

/// The picture as a JPEG / PNG file, turned upright, without metadata; quality 0 to 1. Null when there is no picture.
[[nodiscard]] Data UIImageJPEGRepresentation(const UIImageRef& image, double quality);
[[nodiscard]] Data UIImagePNGRepresentation(const UIImageRef& image);

}  // namespace tessaly
