#pragma once
#include <functional>
#include <optional>
#include <string>

#include "linux/photos/AssetFacts.h"

/// Folders of photos on a server.
namespace tessaly::photos {

struct RemoteFile {
    std::string path;  ///< Below the folder, plain text.
    std::uint64_t size = 0;
    std::int64_t changed = 0;  ///< Nanoseconds since 1970.
};

/// Lists the folder and those in it by the JSON index that web servers make of a folder: an array of {"name", "type":
/// "file" or "directory", "size", "mtime"}.
/// @return "" or what went wrong; what was listed until then was visited.
[[nodiscard]] std::string listRemoteFolder(const std::string& baseURL,
                                           const std::function<void(const RemoteFile&)>& visit);

/// What the library keeps of a file there. The file is fetched into `folder` for it, and removed again.
/// nullopt with what went wrong in `fault`.
[[nodiscard]] std::optional<AssetFacts> readRemoteFile(const std::string& baseURL, const std::string& path,
                                                       const FileStamp& stamp, const std::string& folder,
                                                       std::string& fault);

/// Fetches the file whole into `target`. "" or what went wrong.
[[nodiscard]] std::string fetchRemoteFile(const std::string& baseURL, const std::string& path, std::uint64_t size,
                                          const std::string& target, const std::function<bool(double)>& progress);

}  // namespace tessaly::photos
