#include "linux/imageio/EmbeddedPreview.h"

#include <cmath>

#include "linux/imageio/SourceBytes.h"
#include "platform/CoreGraphics/CGImageTurning.h"
#include "platform/ImageIO/CGImageProperties.h"
#include "platform/ImageIO/CGImageSource.h"

namespace tessaly {
namespace {

Data bytesOf(imageio::ByteSource& source, const imageio::EmbeddedPreview& preview) {
    auto bytes = std::make_shared<std::vector<std::byte>>(static_cast<std::size_t>(preview.length));
    return source.copyTo(preview.position, *bytes) == bytes->size() ? bytes : nullptr;
}

/// Another picture that the file carries, a map of depths or one of another moment, is rarely of the same shape.
bool hasShapeOf(const imageio::EmbeddedPreview& preview, const Dictionary& properties) {
    const double width = properties[kCGImagePropertyPixelWidth].doubleValue();
    const double height = properties[kCGImagePropertyPixelHeight].doubleValue();
    if (width < 1 || height < 1) return true;
    // Thumbnails of 160 x 120 have black bars where the picture is wider.
    constexpr double kTolerance = 0.35;
    const double shape = width / height * static_cast<double>(preview.height) / static_cast<double>(preview.width);
    return std::abs(std::log(shape)) < kTolerance;
}

}  // namespace

CGImageRef CGImageSourceCreateEmbeddedPreview(const CGImageSourceRef& source, const Dictionary& options) {
    if (!source) return nullptr;
    const auto preview = imageio::largestPreview(imageio::bytesOf(source));
    const auto properties = CGImageSourceCopyPropertiesAtIndex(source, 0, {}).value_or(Dictionary());
    if (!preview || !hasShapeOf(*preview, properties)) return nullptr;
    Dictionary asStored = options;
    asStored.set(std::string(kCGImageSourceCreateThumbnailWithTransform), false);
    const Data bytes = bytesOf(imageio::bytesOf(source), *preview);
    const auto embedded = bytes ? CGImageSourceCreateWithData(bytes) : nullptr;
    if (!embedded) return nullptr;
    CGImageRef image = CGImageSourceCreateThumbnailAtIndex(embedded, 0, asStored);
    if (!options[kCGImageSourceCreateThumbnailWithTransform].boolValue()) return image;
    // It lies as the picture itself does.
    return CGImageCreateTurned(image, static_cast<int>(properties[kCGImagePropertyOrientation].integerValue()));
}

}  // namespace tessaly
