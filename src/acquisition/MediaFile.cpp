#include "acquisition/MediaFile.h"

#include "acquisition/ExifManager.h"
#include "platform/ImageIO/CGImageProperties.h"

namespace tessaly {

std::string_view describe(MediaFault fault) noexcept {
    switch (fault) {
        case MediaFault::none:
            return "";
        case MediaFault::notFound:
            return "no such file";
        case MediaFault::isFolder:
            return "is a folder (use -r to read what is in it)";
        case MediaFault::notRegularFile:
            return "is not a regular file";
        case MediaFault::noPermission:
            return "permission denied";
        case MediaFault::readError:
            return "cannot be read";
        case MediaFault::unknownFormat:
            return "is not a photo or video of a known format";
        case MediaFault::empty:
            return "is empty";
    }
    return "";
}

MediaFile MediaFile::read(const std::string& path) {
    const NSURL url = NSURL::fileURLWithPath(path);
    CGImageSourceFault fault{};
    if (const auto source = CGImageSourceCreateWithURL(path, &fault)) {
        auto record = ExifManager::exifInformationFromSource(source, url);
        record->setMediaType(PHAssetMediaTypeImage);
        Dictionary properties = record->metaDataDictionary;
        MeasuredFacts facts = measuredFacts(properties);
        return {std::move(record), MediaFault::none, std::move(properties), std::move(facts)};
    }
    if (fault != CGImageSourceFault::unknownFormat) return {nullptr, fault, {}, {}};
    const auto asset = AVAsset::assetWithURL(path);
    if (asset->fault != AVAssetFault::none) return {nullptr, asset->fault, {}, {}};
    auto record = ExifManager::exifInformationFromAsset(*asset, url);
    Dictionary properties{{kCGImagePropertyTIFFDictionary, *record->tifDic}};
    if (record->exifDic) properties.setLiteral(kCGImagePropertyExifDictionary, *record->exifDic);
    return {std::move(record), MediaFault::none, std::move(properties), measuredFacts(*asset)};
}

}  // namespace tessaly
