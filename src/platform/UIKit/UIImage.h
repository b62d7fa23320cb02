#pragma once
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "platform/CoreGraphics/CGGeometry.h"
#include "platform/CoreGraphics/CGImage.h"
#include "platform/Foundation/Value.h"
#include "platform/ImageIO/CGImageSource.h"

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

/// A picture: a bitmap, an encoded file whose head was read and whose pixels wait until they are asked for, or the way
/// to a bitmap that is made whenever somebody looks.
/// May be used by several threads.
class UIImage {
public:
    /// Null when the bytes are no image of a format that can be decoded.
    [[nodiscard]] static UIImageRef imageWithData(const Data& data, double scale = 1);
    [[nodiscard]] static UIImageRef imageWithContentsOfFile(const std::string& path);
    /// Null without a bitmap.
    [[nodiscard]] static UIImageRef imageWithCGImage(CGImageRef bitmap, double scale = 1,
                                                     UIImageOrientation orientation = UIImageOrientation::up);
    /// A picture whose size, in points at scale 1 and upright, is known before it is made: `make` runs on the first
    /// question for the bitmap, on the asker's thread and never twice at once, and again when everybody has let go of
    /// what it made. Once it answers null it is not asked any more. A bitmap that is a pixel or two off gets the size
    /// that was told. Without a known size it runs here and now.
    [[nodiscard]] static UIImageRef imageMadeOnDemand(CGSize size, std::function<CGImageRef()> make);
    /// What CGImageSourceCreateThumbnailAtIndex makes of image 0, made on demand; its size is told by the file's head.
    /// The file is opened anew for it, so that many such pictures hold no descriptors. Null when the source is none
    /// that can be decoded.
    [[nodiscard]] static UIImageRef thumbnailOfImageSource(const CGImageSourceRef& source, const Dictionary& options);
    /// The same picture with another scale and orientation; its bitmap is shared.
    [[nodiscard]] UIImageRef copy(double scale, UIImageOrientation orientation) const;

    /// Pixels a point.
    [[nodiscard]] double scale() const noexcept { return scale_; }
    [[nodiscard]] UIImageOrientation imageOrientation() const noexcept { return orientation_; }
    /// Points, upright.
    [[nodiscard]] CGSize size() const noexcept;
    /// Frames of an animation; 1 of a still picture.
    [[nodiscard]] std::size_t frameCount() const noexcept { return frameCount_; }
    /// The bitmap as it is stored, decoded on the first question and kept; one that is made on demand is kept by those
    /// who hold it alone. Null when it cannot be had.
    [[nodiscard]] CGImageRef cgImage() const;
    /// The same for who writes it anew: not in sRGB, but in the RGB of the picture's own ICC profile where it has one;
    /// `profile` is empty elsewhere. Decoded on every question.
    [[nodiscard]] CGImageRef cgImageWithProfile(std::vector<std::byte>& profile) const;

private:
    struct Pixels;
    struct StoredPixels;
    struct PixelsOnDemand;
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

/// The picture as a JPEG / PNG file, turned upright, without metadata but its colour profile; quality 0 to 1. Null when
/// there is no picture.
[[nodiscard]] Data UIImageJPEGRepresentation(const UIImageRef& image, double quality);
[[nodiscard]] Data UIImagePNGRepresentation(const UIImageRef& image);

}  // namespace tessaly
