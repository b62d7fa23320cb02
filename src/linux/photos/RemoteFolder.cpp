#include "linux/photos/RemoteFolder.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <vector>

#include "linux/photos/Renditions.h"
#include "linux/photos/WebDav.h"
#include "linux/remote/Download.h"
#include "platform/Foundation/NSFileManager.h"
#include "platform/Foundation/PropertyList.h"

namespace tessaly::photos {
namespace {

using Kind = DownloadFault::Kind;

/// A folder's index of more than this is not one.
constexpr std::size_t kIndexLimit = std::size_t{128} * 1024 * 1024;
constexpr std::size_t kDepthLimit = 32;
constexpr std::size_t kFolderLimit = 50'000;
constexpr std::size_t kFileLimit = 5'000'000;

std::string faultText(const DownloadFault& fault) {
    std::string text(describe(fault.kind));
    if (fault.status >= 400) text += " (" + std::to_string(fault.status) + ")";
    return text;
}

std::string indexFaultText(const DownloadFault& fault) {
    return fault.kind == Kind::wrongLength ? "The server's list of the folder is too large" : faultText(fault);
}

/// The server answers, but not to this question.
bool knowsNoWebDav(const DownloadFault& fault) {
    const bool isAnswer = fault.kind == Kind::refused || fault.kind == Kind::notFound;
    return isAnswer && fault.status != 0 && fault.status != 401 && (fault.status < 500 || fault.status == 501);
}

std::string_view textIn(const std::vector<std::byte>& content) {
    return {reinterpret_cast<const char*>(content.data()), content.size()};
}

class Listing {
public:
    Listing(std::string baseURL, const std::function<void(const RemoteFile&)>& visit)
        : baseURL_(std::move(baseURL)), visit_(visit) {}

    std::string list(const std::string& folder) {
        if (above_.size() > kDepthLimit) return {};
        if (++folders_ > kFolderLimit) return "The server lists folders without end";
        std::vector<RemoteEntry> entries;
        if (std::string why = fill(folder, entries); !why.empty()) return why;
        if (isLoop(entries)) return {};
        above_.push_back(std::move(entries));
        std::string why;
        // By number: the list of lists grows while this one is gone through.
        const std::size_t own = above_.size() - 1;
        for (std::size_t i = 0; i < above_[own].size() && why.empty(); ++i) {
            const RemoteEntry entry = above_[own][i];
            const std::string path = folder.empty() ? entry.name : folder + "/" + entry.name;
            if (entry.isFolder) {
                why = list(path);
            } else if (entry.size > 0) {
                if (++files_ > kFileLimit) return "The server lists files without end";
                visit_({path, entry.size, entry.changed, entry.etag});
            }
        }
        above_.pop_back();
        return why;
    }

private:
    /// A folder that is linked into itself looks the same each time.
    bool isLoop(const std::vector<RemoteEntry>& entries) const {
        return entries.size() > 1 && std::ranges::find(above_, entries) != above_.end();
    }

    std::string fill(const std::string& folder, std::vector<RemoteEntry>& entries) {
        DownloadRequest request;
        request.url = urlByAppending(baseURL_, folder.empty() ? "/" : folder + "/");
        if (usesWebDav_) {
            const auto answer = fillByWebDav(request, entries);
            if (answer) return *answer;
            // What the first folder does not know, the others do not; what it knows, they do.
            if (folders_ > 1) return "The server does not list the folder";
            usesWebDav_ = false;
        }
        return fillByIndex(request, entries);
    }

    /// nullopt where the server does not know WebDAV.
    static std::optional<std::string> fillByWebDav(DownloadRequest request, std::vector<RemoteEntry>& entries) {
        std::string url = request.url;
        request.method = "PROPFIND";
        request.body = propertyRequest();
        request.headers = {"Depth: 1", "Content-Type: application/xml; charset=utf-8"};
        request.finalURL = &url;
        std::vector<std::byte> content;
        if (const auto fault = downloadToMemory(request, kIndexLimit, content)) {
            if (knowsNoWebDav(fault)) return std::nullopt;
            return indexFaultText(fault);
        }
        return readMultistatus(textIn(content), url, entries);
    }

    static std::string fillByIndex(const DownloadRequest& request, std::vector<RemoteEntry>& entries) {
        std::vector<std::byte> content;
        if (const auto fault = downloadToMemory(request, kIndexLimit, content)) return indexFaultText(fault);
        const auto index = valueFromPropertyList(textIn(content));
        if (!index || !index->isArray()) return "The server makes no list of the folder";
        for (const Value& value : index->array()) {
            const Dictionary& row = value.dictionary();
            const bool isFolder = row["type"].string() == "directory";
            if (!isVisibleName(row["name"].string()) || (!isFolder && row["type"].string() != "file")) continue;
            RemoteEntry entry;
            entry.name = row["name"].string();
            entry.isFolder = isFolder;
            entry.size = static_cast<std::uint64_t>(std::max<std::int64_t>(0, row["size"].integerValue()));
            entry.changed = timeOfHttpDate(row["mtime"].string());
            entries.push_back(std::move(entry));
        }
        return {};
    }

    std::string baseURL_;
    const std::function<void(const RemoteFile&)>& visit_;
    bool usesWebDav_ = true;
    std::size_t folders_ = 0;
    std::size_t files_ = 0;
    std::vector<std::vector<RemoteEntry>> above_;  ///< What is in the folders on the way to this one.
};

DownloadFault fetch(const DownloadRequest& request, const std::string& target, std::int64_t changed) {
    DownloadFault fault = download(request, target);
    if (fault) return fault;
    constexpr std::int64_t kSecond = 1'000'000'000;
    const timespec time{changed / kSecond, changed % kSecond};
    const timespec times[]{{0, UTIME_OMIT}, time};
    static_cast<void>(::utimensat(AT_FDCWD, target.c_str(), times, 0));
    return fault;
}

DownloadRequest requestOf(const std::string& baseURL, const std::string& path, std::uint64_t size) {
    DownloadRequest request;
    request.url = urlByAppending(baseURL, path);
    request.expectedSize = size;
    return request;
}

std::string makeFolderOf(const std::string& file) {
    const std::string folder = file.substr(0, file.rfind('/'));
    if (NSFileManager::fileExistsAtPath(folder)) return {};
    const std::string why = NSFileManager::createDirectoryAtPath(folder);
    return why.empty() ? why : folder + ": " + why;
}

std::string described(const DownloadRequest& request, const DownloadFault& fault) {
    return shownURL(request.url) + ": " + faultText(fault);
}

}  // namespace

std::string listRemoteFolder(const std::string& baseURL, const std::function<void(const RemoteFile&)>& visit) {
    return Listing(baseURL, visit).list({});
}

std::string fetchRemoteFile(const std::string& baseURL, const std::string& path, const FileStamp& stamp,
                            const std::string& target, const std::function<bool(double)>& progress) {
    if (std::string why = makeFolderOf(target); !why.empty()) return why;
    DownloadRequest request = requestOf(baseURL, path, stamp.size);
    request.progress = progress;
    const auto fault = fetch(request, target, stamp.changed);
    return fault ? described(request, fault) : std::string();
}

RemoteReading readRemoteFile(const std::string& baseURL, const std::string& path, const FileStamp& stamp,
                             const std::string& own) {
    RemoteReading reading;
    // Under its own name, and its folder's: some photos are known by them.
    const std::string local = own + "/" + path;
    reading.fault = makeFolderOf(local);
    if (reading.fault.empty()) {
        const DownloadRequest request = requestOf(baseURL, path, stamp.size);
        if (const auto fault = fetch(request, local, stamp.changed)) {
            reading.fault = faultText(fault);
            reading.isServerAway = fault.kind == Kind::unreachable || fault.kind == Kind::insecure;
        } else {
            reading.facts = AssetFacts::read(local, stamp);
            reading.prints = Prints::of(local, stamp.size);
            reading.rendition = makeRendition(local, reading.facts->mediaType);
        }
    }
    std::error_code ignored;
    std::filesystem::remove_all(own, ignored);
    return reading;
}

bool isFetchedCopy(const std::string& local, const FileStamp& stamp) {
    const auto own = FileStamp::of(local);
    return own && own->size == stamp.size && own->changed == stamp.changed;
}

std::string checkRemoteFile(const std::string& baseURL, const std::string& path, std::uint64_t size) {
    DownloadRequest request = requestOf(baseURL, path, size);
    request.method = "HEAD";
    std::vector<std::byte> nothing;
    const auto fault = downloadToMemory(request, 0, nothing);
    return fault ? described(request, fault) : std::string();
}

std::string shownURL(const std::string& url) {
    const auto scheme = url.find("://");
    if (scheme == std::string::npos) return url;
    const auto host = scheme + 3;
    const auto end = std::min(url.find_first_of("/?#", host), url.size());
    const auto at = url.rfind('@', end);
    return at == std::string::npos || at < host ? url : url.substr(0, host) + url.substr(at + 1);
}

}  // namespace tessaly::photos
