#include "linux/photos/Renditions.h"

#include <filesystem>

#include "linux/photos/AssetRows.h"
#include "platform/AVFoundation/AVAssetImageGenerator.h"
#include "platform/Foundation/Dispatch.h"
#include "platform/Foundation/NSFileManager.h"
#include "platform/ImageIO/CGImageSource.h"
#include "platform/Photos/PHAsset.h"
#include "platform/UIKit/UIImage.h"

namespace tessaly::photos {
namespace {

constexpr double kQuality = 0.8;
constexpr const char* kExtension = ".jpg";

CGImageRef pictureOf(const std::string& path) {
    const auto source = CGImageSourceCreateWithURL(path);
    if (!source) return nullptr;
    return CGImageSourceCreateThumbnailAtIndex(source, 0,
                                               {{kCGImageSourceCreateThumbnailWithTransform, true},
                                                {kCGImageSourceCreateThumbnailFromImageAlways, true},
                                                {kCGImageSourceThumbnailMaxPixelSize, kRenditionSide}});
}

CGImageRef frameOf(const std::string& path) {
    AVAssetImageGenerator generator(AVAsset::assetWithURL(path));
    generator.appliesPreferredTrackTransform = true;
    generator.maximumSize = {kRenditionSide, kRenditionSide};
    DispatchSemaphore done;
    CGImageRef frame;
    generator.generateCGImageAsynchronouslyForTime(0, [&, done](const CGImageRef& made, const std::string&) mutable {
        frame = made;
        done.signal();
    });
    done.wait();
    return frame;
}

}  // namespace

Data makeRendition(const std::string& path, std::int64_t mediaType) {
    CGImageRef picture;
    if (mediaType == PHAssetMediaTypeImage) picture = pictureOf(path);
    if (mediaType == PHAssetMediaTypeVideo) picture = frameOf(path);
    return picture ? UIImageJPEGRepresentation(UIImage::imageWithCGImage(picture), kQuality) : nullptr;
}

std::string renditionPath(const LibraryStore& store, const std::string& identifier) {
    return store.renditionsFolder() + "/" + identifier.substr(0, identifier.find('/')) + kExtension;
}

void keepRendition(const LibraryStore& store, std::int64_t folder, const std::string& path, const Data& rendition) {
    const auto identifier = store.read([&](const Database& database) {
        return database.text(
            "SELECT local_identifier FROM files JOIN assets ON assets.id = asset WHERE folder = ? AND path = ? AND "
            "type <> 9",
            folder, path);
    });
    if (!identifier) return;
    const std::string file = renditionPath(store, *identifier);
    // An older picture would show what the file is not any more.
    if (!rendition || !writeDataAtomically(rendition, file).empty()) NSFileManager::removeItemAtPath(file);
}

void sweepRenditions(const LibraryStore& store) {
    std::error_code error;
    std::filesystem::directory_iterator entry(store.renditionsFolder(), error);
    for (; !error && entry != std::filesystem::directory_iterator(); entry.increment(error)) {
        std::string identifier = entry->path().stem().string();
        identifier += kAssetSuffix;
        const bool isKept = store.read([&](const Database& database) {
            return database.integer("SELECT 1 FROM assets WHERE local_identifier = ?", identifier).has_value();
        });
        if (!isKept) NSFileManager::removeItemAtPath(entry->path().string());
    }
}

}  // namespace tessaly::photos
