#pragma once
#include <functional>
#include <optional>
#include <string>

#include "linux/photos/AssetFacts.h"
#include "linux/photos/Digest.h"
#include "platform/Foundation/Value.h"

/// Folders of photos on a server.
namespace tessaly::photos {

struct RemoteFile {
    std::string path;  ///< Below the folder, plain text.
    std::uint64_t size = 0;
    std::int64_t changed = 0;  ///< Nanoseconds since 1970.
    std::string etag;          ///< As the server tells it, else "".
};

/// Lists the folder and those in it by WebDAV or, where the server does not have that, by the JSON index that web
/// servers make of a folder: an array of {"name", "type": "file" or "directory", "size", "mtime"}.
/// @return "" or what went wrong; what was listed until then was visited.
[[nodiscard]] std::string listRemoteFolder(const std::string& baseURL,
                                           const std::function<void(const RemoteFile&)>& visit);

/// What was read of a file there.
struct RemoteReading {
    std::optional<AssetFacts> facts;  ///< nullopt with what went wrong in `fault`.
    Prints prints;
    Data rendition;  ///< A small picture of it; null where there is none to be had.
    std::string fault;
    bool isServerAway = false;  ///< It is no use to ask for another file.
};

/// Reads what the library keeps of a file there. The file is fetched into the new folder `own` for it, which is
/// removed again.
[[nodiscard]] RemoteReading readRemoteFile(const std::string& baseURL, const std::string& path, const FileStamp& stamp,
                                           const std::string& own);

/// Fetches the file whole into `target`, which gets the size and the time of `stamp`: whoever changes it there leaves
/// another time. "" or what went wrong.
[[nodiscard]] std::string fetchRemoteFile(const std::string& baseURL, const std::string& path, const FileStamp& stamp,
                                          const std::string& target, const std::function<bool(double)>& progress);

/// Whether the local copy is what was fetched when the server's file had that stamp.
[[nodiscard]] bool isFetchedCopy(const std::string& local, const FileStamp& stamp);

/// "" when the server has the file in that size now, else what is wrong.
[[nodiscard]] std::string checkRemoteFile(const std::string& baseURL, const std::string& path, std::uint64_t size);

/// The URL without name and password, for people's eyes.
[[nodiscard]] std::string shownURL(const std::string& url);

}  // namespace tessaly::photos
