#include "platform/AVFoundation/AVAssetExportSession.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "platform/Foundation/Dispatch.h"
#include "platform/Foundation/NSFileManager.h"
#include "platform/ImageIO/MetadataRewrite.h"

namespace tessaly {
namespace {

std::string describe(const RewriteFailure& failure) {
    using enum RewriteFailure::Kind;
    switch (failure.kind) {
        case cannotRead:
            return "the movie cannot be read";
        case damaged:
            return "the movie is damaged";
        case cannotWrite:
            return std::strerror(failure.error);
        case none:
            return {};
        default:
            return "this kind of movie cannot be rewritten without loss";
    }
}

/// "" or why not.
std::string write(const AVAsset& asset, const std::string& target, const MetadataChange& change) {
    if (!asset.path.empty()) return describe(rewriteMetadata(asset.path, target, change, {.replaces = true}));
    RewriteFailure failure;
    const Data written = rewriteMetadata(asset.data, change, &failure);
    return written ? writeDataAtomically(written, target) : describe(failure);
}

}  // namespace

void AVAssetExportSession::exportAsynchronouslyWithCompletionHandler(std::function<void()> handler) {
    status_ = AVAssetExportSessionStatus::exporting;
    DispatchQueue::global().async([self = shared_from_this(), handler = std::move(handler)] {
        self->run();
        handler();
    });
}

void AVAssetExportSession::run() {
    if (cancelled_) {
        status_ = AVAssetExportSessionStatus::cancelled;
        return;
    }
    const auto isEmpty = [](const AVMetadataItem& item) { return item.stringValue().empty(); };
    const auto removal = metadata.empty() ? MetadataChange::Removal::nothing : MetadataChange::Removal::everything;
    if (!asset_ || outputURL.empty())
        error_ = "there is nothing to export";
    else if (presetName_ != AVAssetExportPresetPassthrough || outputFileType != AVFileTypeQuickTimeMovie)
        error_ = "movies are only copied, into the container that they have";
    else if (!std::ranges::all_of(metadata, isEmpty))
        error_ = "no metadata can be written into a movie";
    else
        error_ = write(*asset_, outputURL.path(), {.removal = removal, .removes = {}, .values = {}});
    status_ = error_.empty() ? AVAssetExportSessionStatus::completed : AVAssetExportSessionStatus::failed;
}

}  // namespace tessaly
