#include "acquisition/AssetEditing.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <memory>
#include <optional>

#include "acquisition/ExifManager.h"
#include "acquisition/TemporaryImageFile.h"
#include "platform/AVFoundation/AVAssetExportSession.h"
#include "platform/Foundation/Log.h"
#include "platform/Foundation/NSBundle.h"
#include "platform/Foundation/NSFileManager.h"
#include "platform/ImageIO/CGImageSource.h"
#include "platform/ImageIO/MetadataRewrite.h"
#include "platform/Photos/PHChangeRequests.h"
#include "settings/AppDomain.h"

namespace tessaly {
namespace {

/// One edit on its way. Runs on platform threads, one after the other; whoever has the next step keeps it alive.
class Editing : public std::enable_shared_from_this<Editing> {
public:
    Editing(PHAssetRef asset, AssetEdit edit, EditCompletion completion)
        : asset_(std::move(asset)), edit_(std::move(edit)), completion_(std::move(completion)) {}

    void begin() {
        PHContentEditingInputRequestOptions options;
        options.networkAccessAllowed = true;
        requestContentEditingInputWithOptions(asset_, options,
                                              [self = shared_from_this()](const PHContentEditingInputRef& input) {
                                                  if (input->fullSizeImageURL.empty())
                                                      return self->completion_(false, input->error);
                                                  self->output_.emplace(*input);
                                                  self->output_->adjustmentData = self->edit_.adjustmentData;
                                                  self->rewrite(input->fullSizeImageURL);
                                              });
    }

private:
    void rewrite(const NSURL& source) {
        const NSURL& target = output_->renderedContentURL;
        std::string error;
        if (edit_.rewrite)
            return edit_.rewrite(source.path(), target.path(), error) ? changeLibrary() : completion_(false, error);
        if (asset_->mediaType == PHAssetMediaTypeVideo)
            return exportVideoWithoutPlace(asset_, target,
                                           [self = shared_from_this()](bool success, const std::string& why) {
                                               success ? self->changeLibrary() : self->completion_(false, why);
                                           });
        const Data stripped = photoWithoutMetadata(source);
        if (!stripped || stripped->empty()) return completion_(false, {});
        error = writeDataAtomically(stripped, target.path());
        error.empty() ? changeLibrary() : completion_(false, error);
    }

    void changeLibrary() {
        PHPhotoLibrary::sharedPhotoLibrary()->performChanges([self = shared_from_this()] { self->wish(); },
                                                             completion_);
    }

    void wish() const {
        const auto request = PHAssetChangeRequest::changeRequestForAsset(*asset_);
        if (edit_.removesLocation) {
            request.setLocation(std::nullopt);
            if (asset_->creationDate) request.setCreationDate(*asset_->creationDate);
        }
        request.setContentEditingOutput(*output_);
    }

    PHAssetRef asset_;
    AssetEdit edit_;
    EditCompletion completion_;
    std::optional<PHContentEditingOutput> output_;
};

void exportMovie(const std::shared_ptr<AVAsset>& movie, const NSURL& target, EditCompletion completion) {
    const auto session = std::make_shared<AVAssetExportSession>(movie, AVAssetExportPresetPassthrough);
    session->outputURL = target;
    session->outputFileType = AVFileTypeQuickTimeMovie;
    for (const std::string_view key : {AVMetadataCommonKeySoftware, AVMetadataCommonKeyModel, AVMetadataCommonKeyMake})
        session->metadata.push_back({std::string(key), {}, Value(""), {}});
    session->exportAsynchronouslyWithCompletionHandler([exported = session.get(), completion = std::move(completion)] {
        switch (exported->status()) {
            case AVAssetExportSessionStatus::cancelled:
                log("Export canceled");
                return completion(false, exported->error());
            case AVAssetExportSessionStatus::failed:
                log("Export failed: %@", exported->error());
                return completion(false, exported->error());
            default:
                log("Export sucess");
                completion(true, {});
        }
    });
}

const MetadataChange& everything() {
    static const MetadataChange change{.removal = MetadataChange::Removal::everything, .removes = {}, .values = {}};
    return change;
}

bool write(const MetadataChange& change, const std::string& source, const std::string& target, std::string& error) {
    const RewriteFailure failure = rewriteMetadata(source, target, change, {.replaces = true});
    error = failure.error != 0 ? std::strerror(failure.error) : "";
    return !failure;
}

bool haveSameBytes(const std::string& a, const std::string& b) {
    std::ifstream first(a, std::ios::binary), second(b, std::ios::binary);
    std::array<char, 1 << 16> left{}, right{};
    while (first && second) {
        first.read(left.data(), left.size());
        second.read(right.data(), right.size());
        if (first.gcount() != second.gcount() ||
            !std::equal(left.begin(), left.begin() + first.gcount(), right.begin()))
            return false;
    }
    return first.eof() && second.eof();
}

/// Whether a removal found nothing. A JPEG's metadata is written anew, and may stand in another order all the same.
bool isOnlyRewritten(const std::string& source, const std::string& target) {
    if (haveSameBytes(source, target)) return true;
    const auto image = CGImageSourceCreateWithURL(source);
    if (!image || CGImageSourceGetType(image) != "public.jpeg") return false;
    const std::string plain = target + ".plain";
    std::string ignored;
    const bool isSame = write({}, source, plain, ignored) && haveSameBytes(plain, target);
    std::remove(plain.c_str());
    return isSame;
}

}  // namespace

std::string noPlaceError() { return localized("No Location data"); }

AssetEdit AssetEdit::placeRemoval(const PHAsset& asset) {
    AssetEdit edit;
    edit.rewrite = [isPlaced = asset.location.has_value()](const std::string& source, const std::string& target,
                                                           std::string& error) {
        if (!write({.removal = MetadataChange::Removal::place, .removes = {}, .values = {}}, source, target, error))
            return false;
        if (isPlaced || !isOnlyRewritten(source, target)) return true;
        error = noPlaceError();
        return false;
    };
    edit.adjustmentData = {std::string(AppDomainPrefix) + ".tessaly.removeLocation", "1.0", nullptr};
    edit.removesLocation = true;
    return edit;
}

AssetEdit AssetEdit::completeRemoval() {
    AssetEdit edit = removal();
    edit.rewrite = [](const std::string& source, const std::string& target, std::string& error) {
        return write(everything(), source, target, error);
    };
    return edit;
}

AssetEdit AssetEdit::removal() {
    // By this mark others know that they can revert it.
    static constexpr std::string_view kText = "removedEXIF";
    const auto bytes = std::as_bytes(std::span(kText));
    AssetEdit edit;
    edit.adjustmentData = {std::string(AppDomainPrefix) + ".tessaly.removeExif", "1.0",
                           std::make_shared<const std::vector<std::byte>>(bytes.begin(), bytes.end())};
    edit.removesLocation = true;
    return edit;
}

void editAsset(const PHAssetRef& asset, AssetEdit edit, EditCompletion completion) {
    std::make_shared<Editing>(asset, std::move(edit), std::move(completion))->begin();
}

Data photoWithoutMetadata(const NSURL& photo) {
    // Its bytes are no part of the result: a raw photo is not replaced by its development.
    static_cast<void>(RawFileManager::fetchImageFromRawFile(photo));
    const Data file = NSFileManager::contentsAtPath(photo.path());
    const Data stripped = ExifManager::imageDataByRemovingExifAndGeoTagging(file);
    // Of a raw no single dictionaries are taken; all that tells of a person goes, or nothing.
    return stripped && stripped->empty() ? rewriteMetadata(file, everything()) : stripped;
}

void exportVideoWithoutPlace(const PHAssetRef& video, const NSURL& target, EditCompletion completion) {
    PHVideoRequestOptions options;
    options.networkAccessAllowed = true;
    options.deliveryMode = PHImageRequestOptionsDeliveryMode::highQualityFormat;
    options.version = PHImageRequestOptionsVersion::original;
    PHImageManager::defaultManager().requestAVAssetForVideo(
        video, options,
        [target, completion = std::move(completion)](const std::shared_ptr<AVAsset>& movie, const Dictionary& info) {
            if (!movie) return completion(false, std::string(info[PHImageErrorKey].string()));
            exportMovie(movie, target, completion);
        });
}

}  // namespace tessaly
