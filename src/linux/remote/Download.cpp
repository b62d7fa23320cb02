#include "linux/remote/Download.h"

#include <algorithm>

#include "linux/foundation/Module.h"
#include "linux/remote/RemoteModule.h"
#include "platform/Foundation/NSURL.h"

namespace tessaly {
namespace {

/// libcurl brings thirty libraries along: they are loaded by whoever really fetches something.
const RemoteModule* remoteModule() {
    static const auto* const module = moduleTable<RemoteModule>("tessaly-remote.so", "tessaly_remote");
    return module;
}

constexpr DownloadFault kNotInstalled{.kind = DownloadFault::Kind::unreachable, .status = 0, .error = 0};

}  // namespace

DownloadFault download(const DownloadRequest& request, const std::string& path) {
    const RemoteModule* module = remoteModule();
    return module ? module->download(request, path) : kNotInstalled;
}

DownloadFault downloadToMemory(const DownloadRequest& request, std::size_t limit, std::vector<std::byte>& content) {
    const RemoteModule* module = remoteModule();
    return module ? module->downloadToMemory(request, limit, content) : kNotInstalled;
}

std::string_view describe(DownloadFault::Kind kind) {
    using Kind = DownloadFault::Kind;
    switch (kind) {
        case Kind::none:
            return "Nothing is wrong";
        case Kind::badAddress:
            return "The address is not one of a web server";
        case Kind::unreachable:
            return "The server cannot be reached";
        case Kind::refused:
            return "The server refuses to send the file";
        case Kind::notFound:
            return "The server does not have the file";
        case Kind::stalled:
            return "The server has stopped sending";
        case Kind::interrupted:
            return "The connection was lost";
        case Kind::wrongLength:
            return "The file does not have the expected size";
        case Kind::cancelled:
            return "The download was cancelled";
        case Kind::cannotWrite:
            return "The file cannot be saved";
        case Kind::insecure:
            return "The connection to the server is not secure";
    }
    return {};
}

std::string urlByAppending(std::string_view base, std::string_view relativePath) {
    const std::string_view query = base.substr(std::min(base.find_first_of("?#"), base.size()));
    std::string url(base.substr(0, base.size() - query.size()));
    while (url.ends_with('/')) url.pop_back();
    while (relativePath.starts_with('/')) relativePath.remove_prefix(1);
    std::string path(1, '/');
    path += relativePath;
    url += std::string_view(NSURL::fileURLWithPath(path).absoluteString()).substr(std::string_view("file://").size());
    url += query;
    return url;
}

}  // namespace tessaly
