#pragma once
#include <array>
#include <functional>
#include <ostream>
#include <string>

#include "platform/CoreGraphics/CGImage.h"
#include "platform/Foundation/Value.h"
#include "support/Bytes.h"

/// Small pictures that tests make, read and look at.
namespace tessaly::test {

using Pixel = std::array<int, 4>;  ///< Red, green, blue, alpha.

/// The bytes of a file of the folder "files".
[[nodiscard]] Data fileNamed(const std::string& name);
[[nodiscard]] std::string pathOfFileNamed(const std::string& name);
[[nodiscard]] Data dataOf(const ByteString& bytes);
[[nodiscard]] ByteString bytesOf(const Data& data);

/// A bitmap with its components as `fill` gives them, arranged as `alphaInfo` says.
[[nodiscard]] CGImageRef bitmap(std::size_t width, std::size_t height,
                                const std::function<Pixel(std::size_t x, std::size_t y)>& fill,
                                CGImageAlphaInfo alphaInfo = CGImageAlphaInfo::noneSkipLast, unsigned bits = 8);
/// Red, green, blue and white: from the top left, row by row.
[[nodiscard]] CGImageRef quadrants(std::size_t width = 64, std::size_t height = 32);

/// The components as they are stored; alpha of an opaque picture is full.
[[nodiscard]] Pixel pixelAt(const CGImageRef& image, std::size_t x, std::size_t y);
/// The middles of the four quadrants, row by row: R, G, B and W, '.' for what is transparent, '?' for anything else.
[[nodiscard]] std::string colorsOf(const CGImageRef& image, int tolerance = 30);
/// "64 x 32"; "none" without a picture.
[[nodiscard]] std::string sizeOf(const CGImageRef& image);

/// The JPEG with an Exif segment that tells an orientation.
[[nodiscard]] Data withOrientation(const Data& jpeg, unsigned orientation);
/// An RGB PNG of 8 bits: chunks before the pixels, and rows without their filter bytes.
[[nodiscard]] ByteString rgbPng(unsigned width, unsigned height, const ByteString& chunks, const ByteString& rows,
                                bool isInterlaced = false);

}  // namespace tessaly::test
