#include "linux/photos/RemoteFolder.h"

#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <chrono>

#include "linux/foundation/CivilTime.h"
#include "linux/photos/AssetRows.h"
#include "linux/remote/Download.h"
#include "platform/Foundation/NSFileManager.h"
#include "platform/Foundation/PropertyList.h"

namespace tessaly::photos {
namespace {

/// A folder's index of more than this is not one.
constexpr std::size_t kIndexLimit = std::size_t{64} * 1024 * 1024;
constexpr int kDepthLimit = 32;

std::string faultText(const DownloadFault& fault) {
    std::string text(describe(fault.kind));
    if (fault.status >= 400) text += " (" + std::to_string(fault.status) + ")";
    return text;
}

/// "Wed, 21 Oct 2015 07:28:00 GMT" (RFC 9110, 5.6.7), in nanoseconds since 1970; 0 for anything else.
std::int64_t timeOf(std::string_view text) {
    constexpr std::string_view kMonths = "JanFebMarAprMayJunJulAugSepOctNovDec";
    if (text.size() < 25 || text[3] != ',') return 0;
    const auto number = [&](std::size_t at, std::size_t length) {
        int value = -1;
        std::from_chars(text.data() + at, text.data() + at + length, value);
        return value;
    };
    const std::size_t month = kMonths.find(text.substr(8, 3));
    if (month == std::string_view::npos || month % 3 != 0) return 0;
    const auto seconds = secondsOfCivilTime(number(12, 4), static_cast<int>(month / 3) + 1, number(5, 2), number(17, 2),
                                            number(20, 2), number(23, 2));
    return seconds ? static_cast<std::int64_t>(*seconds) * 1'000'000'000 : 0;
}

class Listing {
public:
    Listing(std::string baseURL, const std::function<void(const RemoteFile&)>& visit)
        : baseURL_(std::move(baseURL)), visit_(visit) {}

    std::string list(const std::string& folder, int depth) {
        if (depth > kDepthLimit) return {};
        DownloadRequest request;
        request.url = urlByAppending(baseURL_, folder.empty() ? "/" : folder + "/");
        std::vector<std::byte> content;
        if (const auto fault = downloadToMemory(request, kIndexLimit, content)) return faultText(fault);
        const auto index = valueFromPropertyList({reinterpret_cast<const char*>(content.data()), content.size()});
        if (!index || !index->isArray()) return "the server makes no JSON index of the folder";
        for (const Value& entry : index->array())
            if (std::string why = take(entry.dictionary(), folder, depth); !why.empty()) return why;
        return {};
    }

private:
    std::string take(const Dictionary& entry, const std::string& folder, int depth) {
        const std::string name(entry["name"].string());
        // A name with a slash would lead out of the folder.
        if (name.empty() || name.starts_with('.') || name.find('/') != std::string::npos) return {};
        const std::string path = folder.empty() ? name : folder + "/" + name;
        if (entry["type"].string() == "directory") return list(path, depth + 1);
        const std::int64_t size = entry["size"].integerValue();
        if (entry["type"].string() == "file" && size > 0)
            visit_({path, static_cast<std::uint64_t>(size), timeOf(entry["mtime"].string())});
        return {};
    }

    std::string baseURL_;
    const std::function<void(const RemoteFile&)>& visit_;
};

}  // namespace

std::string listRemoteFolder(const std::string& baseURL, const std::function<void(const RemoteFile&)>& visit) {
    return Listing(baseURL, visit).list({}, 0);
}

std::string fetchRemoteFile(const std::string& baseURL, const std::string& path, std::uint64_t size,
                            const std::string& target, const std::function<bool(double)>& progress) {
    const std::string folder = target.substr(0, target.rfind('/'));
    if (!NSFileManager::fileExistsAtPath(folder))
        if (std::string why = NSFileManager::createDirectoryAtPath(folder); !why.empty()) return folder + ": " + why;
    DownloadRequest request;
    request.url = urlByAppending(baseURL, path);
    if (size > 0) request.expectedSize = size;
    request.progress = progress;
    const auto fault = download(request, target);
    return fault ? request.url + ": " + faultText(fault) : std::string();
}

std::optional<AssetFacts> readRemoteFile(const std::string& baseURL, const std::string& path, const FileStamp& stamp,
                                         const std::string& folder, std::string& fault) {
    const std::string local = folder + "/" + newIdentifier({}) + "-" + path.substr(path.rfind('/') + 1);
    fault = fetchRemoteFile(baseURL, path, stamp.size, local, {});
    if (!fault.empty()) return std::nullopt;
    AssetFacts facts = AssetFacts::read(local, stamp);
    ::unlink(local.c_str());
    return facts;
}

}  // namespace tessaly::photos
