#pragma once
#include "platform/CoreGraphics/CGImage.h"

namespace tessaly {

/// The bitmap turned as an Exif orientation says (Exif 2.32, 4.6.4), pixel for pixel and with the same depth and
/// alpha; the same one for 1. Null without memory.
[[nodiscard]] CGImageRef CGImageCreateTurned(const CGImageRef& image, int exifOrientation);

/// A copy with bits per component and alpha arranged otherwise; 8 or 16 bits. Null without memory.
[[nodiscard]] CGImageRef CGImageCreateRearranged(const CGImageRef& image, CGImageAlphaInfo alphaInfo);

}  // namespace tessaly
