#include "acquisition/ExifManager.h"
#include "platform/Foundation/Log.h"
#include "platform/ImageIO/CGImageDestination.h"
#include "platform/ImageIO/CGImageProperties.h"

namespace tessaly {
namespace {

constexpr double kBestQuality = 1.0;

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

/// Image 0 to the last, each with the same properties.
bool addAllImages(Rewriting& rewriting, const Dictionary& properties) {
    for (std::size_t index = 0; index < CGImageSourceGetCount(rewriting.source); ++index)
        CGImageDestinationAddImageFromSource(rewriting.destination, rewriting.source, index, properties);
    return CGImageDestinationFinalize(rewriting.destination);
}

void logFinalProperties(const Data& data) {
    if (isLogging())
        log("Final properties %@",
            Value(ExifManager::metadataFromImageData(data).value_or(Dictionary())).description());
}

}  // namespace

Data ExifManager::imageDataByRemovingExifAndGeoTagging(const Data& data) {
    Rewriting rewriting(data);
    if (!rewriting.source) return nullptr;
    Dictionary properties;
    properties.setNull(kCGImagePropertyExifDictionary);
    properties.setNull(kCGImagePropertyTIFFDictionary);
    properties.setNull(kCGImagePropertyIPTCDictionary);
    properties.setNull(kCGImagePropertyGPSDictionary);
    if (!addAllImages(rewriting, properties)) log("CGImageDestinationFinalize failed");
    return rewriting.result();
}

Data ExifManager::imageDataWithEXIFEdited(const Data& data) {
    Rewriting rewriting(data);
    if (!rewriting.source) return nullptr;
    const Dictionary properties = CGImageSourceCopyPropertiesAtIndex(rewriting.source, 0, {}).value_or(Dictionary());
    CGImageDestinationAddImageFromSource(rewriting.destination, rewriting.source, 0, properties);
    const bool finalized = CGImageDestinationFinalize(rewriting.destination);
    log(finalized ? "CGImageDestinationFinalize success" : "CGImageDestinationFinalize failed");
    logFinalProperties(rewriting.result());
    return rewriting.result();
}

UIImageRef ExifManager::imageByRemovingGeoTagging(const UIImageRef& image, Dictionary& metadata) {
    Rewriting rewriting(imageDataByFixingOrientationIssue(UIImageJPEGRepresentation(image, kBestQuality)));
    if (!rewriting.source) return nullptr;
    metadata.setNull(kCGImagePropertyGPSDictionary);
    if (isLogging()) {
        const std::string text = Value(metadata).description();
        log("\n\n\n %@ VS \n\n\n\n %@", text, text);
    }
    if (!addAllImages(rewriting, metadata)) log("CGImageDestinationFinalize failed");
    logFinalProperties(rewriting.result());
    return UIImage::imageWithData(rewriting.result());
}

Data ExifManager::imageData(const Data& data, const Dictionary& metadata) {
    Rewriting rewriting(imageDataByFixingOrientationIssue(data));
    const UIImageRef original = UIImage::imageWithData(data);
    log("Original Orientation = %ld", original ? static_cast<int>(original->imageOrientation()) : 0);
    // The pixels were turned when they were encoded again.
    const Dictionary edited = fixOrientationInMetadata(metadata, 1);
    if (!rewriting.source) return nullptr;
    log("Destination %@", CGImageSourceGetType(rewriting.source));
    if (isLogging()) log("Loop editedProperties %@", Value(edited).description());
    const bool finalized = addAllImages(rewriting, edited);
    log("2 Destination %@", CGImageSourceGetType(rewriting.source));
    if (!finalized) log("CGImageDestinationFinalize failed");
    logFinalProperties(rewriting.result());
    return rewriting.result();
}

Data ExifManager::imageDataByFixingOrientationIssue(const Data& data) {
    const UIImageRef image = UIImage::imageWithData(data);
    if (!image) return nullptr;
    log("NEED TO CHANGE %ld vs %ld", static_cast<int>(image->imageOrientation()), 0);
    log("Changed orientation to %ld", static_cast<int>(image->imageOrientation()));
    return UIImageJPEGRepresentation(image, kBestQuality);
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
