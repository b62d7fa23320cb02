#pragma once
#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "platform/Foundation/Value.h"
#include "platform/Photos/PHAsset.h"

namespace tessaly {

inline constexpr std::int64_t PHAssetResourceTypePhoto = 1;
inline constexpr std::int64_t PHAssetResourceTypeVideo = 2;
inline constexpr std::int64_t PHAssetResourceTypePairedVideo = 9;  ///< The moving part of a live photo.

/// One of the files, or parts of files, behind an asset.
struct PHAssetResource {
    std::int64_t type = 0;
    std::string assetLocalIdentifier;
    std::string originalFilename;  ///< Without a folder.
    std::string uniformTypeIdentifier;

    /// The photo or video itself comes first.
    [[nodiscard]] static std::vector<PHAssetResource> assetResourcesForAsset(const PHAssetRef& asset);
};

/// Progress of a request that may have to fetch from elsewhere: 0 to 1, what went wrong ("" for nothing), a flag to
/// set to stop it, and the info dictionary of the request.
using PHProgressHandler =
    std::function<void(double progress, const std::string& error, bool& stop, const Dictionary& info)>;

struct PHAssetResourceRequestOptions {
    bool networkAccessAllowed = false;
    std::function<void(double progress)> progressHandler;
};

class PHAssetResourceManager {
public:
    /// Delivers the resource's bytes in pieces, on another thread, then what went wrong, "" for nothing.
    /// @return an identifier for cancelDataRequest.
    static std::int32_t requestDataForAssetResource(const PHAssetResource& resource,
                                                    const PHAssetResourceRequestOptions& options,
                                                    std::function<void(std::span<const std::byte>)> dataReceivedHandler,
                                                    std::function<void(const std::string& error)> completionHandler);
    static void cancelDataRequest(std::int32_t identifier);
};

}  // namespace tessaly
