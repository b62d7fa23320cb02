#pragma once
#include "linux/remote/Download.h"

namespace tessaly {

/// What the module with libcurl offers: the operations of Download.h.
struct RemoteModule {
    DownloadFault (*download)(const DownloadRequest& request, const std::string& path);
    DownloadFault (*downloadToMemory)(const DownloadRequest& request, std::size_t limit,
                                      std::vector<std::byte>& content);
};

}  // namespace tessaly
