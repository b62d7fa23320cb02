#include "platform/Photos/PHContentEditing.h"

#include <filesystem>

#include "platform/AVFoundation/AVAsset.h"
#include "platform/Foundation/Dispatch.h"
#include "platform/Foundation/NSFileManager.h"
#include "platform/ImageIO/CGImageProperties.h"
#include "platform/ImageIO/CGImageSource.h"
#include "platform/Photos/PHPhotoLibrary.h"
#include "platform/UIKit/UIImage.h"

namespace tessaly {
namespace {

using Options = PHContentEditingInputRequestOptions;

/// The asset's current file, brought here first where that is allowed.
PHAssetContent fetch(const PHPhotoLibrary& library, const PHAsset& asset, const Options& options) {
    double reached = 0;
    bool stop = false;
    const auto tell = [&](double progress, const std::string& error) {
        reached = progress;
        if (options.progressHandler && !stop) options.progressHandler(progress, error, stop, {});
        return !stop;
    };
    const bool isVideo = asset.mediaType == PHAssetMediaTypeVideo;
    PHAssetContent content =
        library.content(asset.localIdentifier, isVideo ? PHAssetResourceTypeVideo : PHAssetResourceTypePhoto,
                        options.networkAccessAllowed, [&](double progress) { return tell(progress, ""); });
    if (!content.path.empty() && !stop) return content;
    content.path.clear();
    if (stop) content.error = "the request was cancelled";
    if (content.error.empty()) content.error = content.isInCloud ? "the file is elsewhere" : "the file is not there";
    if (options.networkAccessAllowed) tell(reached, content.error);
    return content;
}

/// The unedited file, where the editor takes up its earlier work from there.
std::optional<PHPhotoLibrary::Original> resumable(const PHPhotoLibrary& library, const PHAsset& asset,
                                                  const Options& options) {
    if (!options.canHandleAdjustmentData) return std::nullopt;
    auto original = library.original(asset.localIdentifier);
    if (!original || !NSFileManager::fileExistsAtPath(original->path)) return std::nullopt;
    return options.canHandleAdjustmentData(original->adjustmentData) ? original : std::nullopt;
}

void describeFile(const std::string& path, PHContentEditingInput& input) {
    input.fullSizeImageURL = NSURL::fileURLWithPath(path);
    const auto source = CGImageSourceCreateWithURL(path);
    if (!source) {
        if (input.uniformTypeIdentifier.empty())
            input.uniformTypeIdentifier = AVAsset::assetWithURL(path)->typeIdentifier;
        return;
    }
    input.uniformTypeIdentifier = CGImageSourceGetType(source);
    const auto properties = CGImageSourceCopyPropertiesAtIndex(source, 0, {}).value_or(Dictionary());
    input.fullSizeImageOrientation =
        exifOrientation(imageOrientation(properties[kCGImagePropertyOrientation].integerValue()));
}

PHContentEditingInput inputOf(const PHPhotoLibrary& library, const PHAssetRef& asset, const Options& options) {
    PHContentEditingInput input;
    input.asset = asset;
    if (!asset) {
        input.error = "there is no such photo or video";
        return input;
    }
    if (auto original = resumable(library, *asset, options)) {
        describeFile(original->path, input);
        input.adjustmentData = std::move(original->adjustmentData);
        return input;
    }
    const PHAssetContent content = fetch(library, *asset, options);
    input.error = content.path.empty() ? content.error : "";
    input.uniformTypeIdentifier = content.typeIdentifier;
    if (!content.path.empty()) describeFile(content.path, input);
    return input;
}

}  // namespace

void requestContentEditingInputWithOptions(const PHAssetRef& asset, const PHContentEditingInputRequestOptions& options,
                                           std::function<void(const PHContentEditingInputRef&)> completionHandler) {
    DispatchQueue::global().async(
        [library = PHPhotoLibrary::sharedPhotoLibrary(), asset, options, completed = std::move(completionHandler)] {
            completed(std::make_shared<const PHContentEditingInput>(inputOf(*library, asset, options)));
        });
}

PHContentEditingOutput::PHContentEditingOutput(const PHContentEditingInput& input) {
    std::string extension = std::filesystem::path(input.fullSizeImageURL.path()).extension().string();
    if (!extension.empty()) extension.erase(0, 1);  // The dot.
    const std::string path = PHPhotoLibrary::sharedPhotoLibrary()->newPendingFile(extension);
    if (!path.empty()) renderedContentURL = NSURL::fileURLWithPath(path);
}

}  // namespace tessaly
