#include "acquisition/ExifManager.h"
#include "platform/Foundation/Log.h"
#include "platform/ImageIO/CGImageDestination.h"
#include "platform/ImageIO/CGImageProperties.h"

namespace tessaly {
namespace {

struct Rewriting {
    CGImageSourceRef source;
    MutableData buffer = std::make_shared<std::vector<std::byte>>();
    CGImageDestinationRef destination;

    explicit Rewriting(const Data& data) : source(CGImageSourceCreateWithData(data)) {
        if (source)
            destination =
                CGImageDestinationCreateWithData(buffer, CGImageSourceGetType(source), CGImageSourceGetCount(source));
    }
    [[nodiscard]] Data result() const { return buffer; }
};

}  // namespace

Data ExifManager::imageDataByRemovingExifAndGeoTagging(const Data& data) {
    Rewriting rewriting(data);
    if (!rewriting.source) return nullptr;
    Dictionary properties;
    properties.setNull(kCGImagePropertyExifDictionary);
    properties.setNull(kCGImagePropertyTIFFDictionary);
    properties.setNull(kCGImagePropertyIPTCDictionary);
    properties.setNull(kCGImagePropertyGPSDictionary);
    for (std::size_t index = 0; index < CGImageSourceGetCount(rewriting.source); ++index)
        CGImageDestinationAddImageFromSource(rewriting.destination, rewriting.source, index, properties);
    if (!CGImageDestinationFinalize(rewriting.destination)) log("CGImageDestinationFinalize failed");
    return rewriting.result();
}

Data ExifManager::imageDataWithEXIFEdited(const Data& data) {
    Rewriting rewriting(data);
    if (!rewriting.source) return nullptr;
    const Dictionary properties = CGImageSourceCopyPropertiesAtIndex(rewriting.source, 0, {}).value_or(Dictionary());
    CGImageDestinationAddImageFromSource(rewriting.destination, rewriting.source, 0, properties);
    const bool finalized = CGImageDestinationFinalize(rewriting.destination);
    log(finalized ? "CGImageDestinationFinalize success" : "CGImageDestinationFinalize failed");
    if (isLogging())
        log("Final properties %@",
            Value(metadataFromImageData(rewriting.result()).value_or(Dictionary())).description());
    return rewriting.result();
}

Dictionary ExifManager::fixOrientationInMetadata(const Dictionary& metadata, std::int64_t orientation) {
    Dictionary fixed = metadata;
    Dictionary tiff = metadata[kCGImagePropertyTIFFDictionary].dictionary();
    tiff.set(kCGImagePropertyTIFFOrientation, orientation);
    fixed.set(kCGImagePropertyTIFFDictionary, tiff);
    fixed.set(kCGImagePropertyOrientation, orientation);
    log("Orientation - %ld", orientation);
    return fixed;
}

}  // namespace tessaly
