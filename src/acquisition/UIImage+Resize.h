#pragma once
#include <functional>
#include <memory>
#include <string>

#include "platform/ImageIO/CGImageSource.h"
#include "platform/UIKit/UIImage.h"

/// Decoding, turning and scaling of pictures, beside what UIImage does itself. Operations hold no state and may run on
/// any thread; each returns nothing where it has no picture to work on, unless it says otherwise.
namespace tessaly::UIImageResize {

/// A picture of at most 512 pixels on its longer side, made from the full image and turned upright.
[[nodiscard]] UIImageRef thumbNailImageFromImageSource(const CGImageSourceRef& source);
/// The developed raw picture.
[[nodiscard]] UIImageRef imageFromDNGImageNSData(const Data& data);
/// The picture with its bitmap decoded, ready to draw; large (above 1 megapixel), deep (9 bits and more) and animated
/// ones stay undecoded.
[[nodiscard]] UIImageRef imageFromRAWData(const Data& data);

/// Where imageWithVeryLargeNSData leaves its picture.
struct SharedImage {
    UIImageRef image;  ///< Set on the main queue.
};
/// Writes the bytes beside the temporary folder's "largeImage" and opens the picture from there, so that they need not
/// stay in memory. The completion comes at once, on a background queue, normally before there is an image: that is
/// stored in the shared result by a later step on the main queue. @return the shared result.
std::shared_ptr<SharedImage> imageWithVeryLargeNSData(const Data& data,
                                                      std::function<void(const UIImageRef&)> completionBlock);

/// 0, 180, 90 and -90 for up, down, left and right, 0 for the mirrored ones.
[[nodiscard]] float degreeOfOrientation(UIImageOrientation orientation);
/// The same bitmap with scale 1 and orientation up, whatever is asked for.
[[nodiscard]] UIImageRef rotateUIImage(const UIImageRef& image, UIImageOrientation orientation);
/// The bitmap turned clockwise, stretched to a square as wide as its longer side, and as far off its middle as the
/// shorter side is shorter.
[[nodiscard]] UIImageRef rotateImage(const UIImageRef& image, float onDegrees);
/// The picture in a rectangle of a canvas of that size, in pixels.
[[nodiscard]] UIImageRef imageWithImage(const UIImageRef& image, CGSize scaledToSize, CGRect inRect);
/// As large as fits into that many points of the main screen, never enlarged.
[[nodiscard]] UIImageRef imageWithImageScaledToFitToSize(const UIImageRef& image, CGSize size);
/// Fills the size, in pixels, centred and cropped; a picture that is smaller both ways stays as it is.
[[nodiscard]] UIImageRef imageWithImageScaledToFillToSize(const UIImageRef& image, CGSize size);
/// With rounded corners, transparent outside, radius in points.
[[nodiscard]] UIImageRef imageWithRoundedCornersRadius(const UIImageRef& image, double radius);
/// Stretched to a size in points of the main screen; the picture itself when that is not possible.
[[nodiscard]] UIImageRef scaleTo(const UIImageRef& image, CGSize size);
/// The same picture with its bitmap turned upright, a pixel a point. A picture without a bitmap or of no finite size
/// ends the program.
[[nodiscard]] UIImageRef fixOrientation(const UIImageRef& image);

}  // namespace tessaly::UIImageResize
