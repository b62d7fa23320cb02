#include "platform/Photos/PHAssetResource.h"

#include <fstream>
#include <limits>
#include <mutex>
#include <unordered_map>

#include "platform/Foundation/Dispatch.h"
#include "platform/Photos/PHPhotoLibrary.h"

namespace tessaly {
namespace {

constexpr std::size_t kPiece = std::size_t{256} * 1024;
constexpr const char* kCancelled = "the request was cancelled";

struct Request {
    std::int32_t identifier = 0;
    std::shared_ptr<PHPhotoLibrary> library = PHPhotoLibrary::sharedPhotoLibrary();
    PHAssetResource resource;
    PHAssetResourceRequestOptions options;
    std::function<void(std::span<const std::byte>)> dataReceived;
    std::atomic<bool> cancelled{false};
};
using RequestRef = std::shared_ptr<Request>;

/// The requests that are not finished. Shared with them: one may still run while the program ends.
struct Requests {
    static const std::shared_ptr<Requests>& shared() {
        static const auto requests = std::make_shared<Requests>();
        return requests;
    }

    void add(const RequestRef& request) {
        const std::lock_guard lock(mutex);
        last = last < std::numeric_limits<std::int32_t>::max() ? last + 1 : 1;
        request->identifier = last;
        running[last] = request;
    }
    void cancel(std::int32_t identifier) {
        const std::lock_guard lock(mutex);
        if (const auto found = running.find(identifier); found != running.end()) found->second->cancelled = true;
    }
    void remove(std::int32_t identifier) {
        const std::lock_guard lock(mutex);
        running.erase(identifier);
    }

    std::mutex mutex;
    std::int32_t last = 0;
    std::unordered_map<std::int32_t, RequestRef> running;
};

/// "" or what went wrong.
std::string deliverPart(const Request& request, const std::string& path, std::uint64_t offset) {
    std::ifstream file(path, std::ios::binary);
    if (!file) return "the file cannot be opened";
    file.seekg(static_cast<std::streamoff>(offset));
    std::vector<std::byte> piece(kPiece);
    bool any = false;
    while (!request.cancelled) {
        file.read(reinterpret_cast<char*>(piece.data()), static_cast<std::streamsize>(piece.size()));
        const auto count = static_cast<std::size_t>(file.gcount());
        if (file.bad()) return "the file cannot be read";
        if (count == 0) return any || offset == 0 ? "" : "the file ends before its part begins";
        any = true;
        request.dataReceived(std::span(piece).first(count));
    }
    return kCancelled;
}

std::string deliver(const Request& request) {
    if (request.cancelled) return kCancelled;
    const PHAssetContent content =
        request.library->content(request.resource.assetLocalIdentifier, request.resource.type,
                                 request.options.networkAccessAllowed, [&request](double progress) {
                                     if (request.options.progressHandler) request.options.progressHandler(progress);
                                     return !request.cancelled;
                                 });
    if (request.cancelled) return kCancelled;
    if (!content.path.empty()) return deliverPart(request, content.path, content.offset);
    if (!content.error.empty()) return content.error;
    return content.isInCloud ? "the file is elsewhere" : "the file is not there";
}

}  // namespace

std::vector<PHAssetResource> PHAssetResource::assetResourcesForAsset(const PHAssetRef& asset) {
    if (!asset) return {};
    return PHPhotoLibrary::sharedPhotoLibrary()->resources(asset->localIdentifier);
}

std::int32_t PHAssetResourceManager::requestDataForAssetResource(
    const PHAssetResource& resource, const PHAssetResourceRequestOptions& options,
    std::function<void(std::span<const std::byte>)> dataReceivedHandler,
    std::function<void(const std::string& error)> completionHandler) {
    auto request = std::make_shared<Request>();
    request->resource = resource;
    request->options = options;
    request->dataReceived = std::move(dataReceivedHandler);
    const auto requests = Requests::shared();
    requests->add(request);
    const std::int32_t identifier = request->identifier;
    DispatchQueue::global().async([requests, request = std::move(request), completed = std::move(completionHandler)] {
        const std::string error = deliver(*request);
        requests->remove(request->identifier);
        completed(error);
    });
    return identifier;
}

void PHAssetResourceManager::cancelDataRequest(std::int32_t identifier) { Requests::shared()->cancel(identifier); }

}  // namespace tessaly
