#pragma once
#include <functional>
#include <optional>
#include <string>

#include "platform/Foundation/NSURL.h"
#include "platform/Foundation/Value.h"
#include "platform/Photos/PHAssetResource.h"

namespace tessaly {

/// What an editor wants to remember of an edit.
struct PHAdjustmentData {
    std::string formatIdentifier;  ///< "org.tessaly.strip"
    std::string formatVersion;
    Data data;
};

/// What is edited.
struct PHContentEditingInput {
    PHAssetRef asset;
    /// The file to read: the asset's own, or with adjustment data that the editor understands, the unedited one.
    /// Empty when it is elsewhere and may not be fetched.
    NSURL fullSizeImageURL;
    std::string uniformTypeIdentifier;
    std::int64_t fullSizeImageOrientation = 1;
    std::optional<PHAdjustmentData> adjustmentData;
    std::string error;  ///< Why there is no URL.
};
using PHContentEditingInputRef = std::shared_ptr<const PHContentEditingInput>;

struct PHContentEditingInputRequestOptions {
    bool networkAccessAllowed = false;
    /// Whether the editor can start from its earlier adjustment data: it then gets the unedited file.
    std::function<bool(const PHAdjustmentData&)> canHandleAdjustmentData;
    PHProgressHandler progressHandler;
};

/// The handler is called once, on another thread.
void requestContentEditingInputWithOptions(const PHAssetRef& asset, const PHContentEditingInputRequestOptions& options,
                                           std::function<void(const PHContentEditingInputRef&)> completionHandler);

/// The result of an edit: the editor writes the new file to `renderedContentURL` before the change is performed.
struct PHContentEditingOutput {
    explicit PHContentEditingOutput(const PHContentEditingInput& input);
    NSURL renderedContentURL;
    PHAdjustmentData adjustmentData;
};

}  // namespace tessaly
