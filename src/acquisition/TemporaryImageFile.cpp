#include "acquisition/TemporaryImageFile.h"

#include "platform/Foundation/HostStatistics.h"
#include "platform/Foundation/Log.h"
#include "platform/Foundation/NSFileManager.h"

namespace tessaly {
namespace {

/// The name's own letters: what was handed to us must not lead out of the folder.
std::string_view lastComponent(std::string_view name) {
    const std::size_t slash = name.rfind('/');
    const std::string_view last = slash == std::string_view::npos ? name : name.substr(slash + 1);
    return last.empty() || last == "." || last == ".." ? "tempImage" : last;
}

constexpr std::string_view kRawName = "/temp_raw.tiff";

std::string ownFolder() { return NSFileManager::temporaryDirectory() + "/tessaly-" + NSFileManager::userName(); }

/// "" where the folder cannot be made.
std::string preparedFolder() {
    std::string folder = ownFolder();
    log("FOLDER %@", folder);
    if (const std::string error = NSFileManager::createDirectoryAtPath(folder); !error.empty()) {
        log("Error %@", error);
        return {};
    }
    return folder;
}

}  // namespace

NSURL temporaryURLForImageNSData(const Data& data, std::string_view name) {
    const std::string folder = preparedFolder();
    if (folder.empty()) return {};
    const std::string path = folder + "/" + std::string(lastComponent(name));
    if (const std::string error = writeDataAtomically(data, path); !error.empty()) {
        log("Else %@", error);
        return {};
    }
    return NSURL::fileURLWithPath(path);
}

bool deleteTemporaryFileAtURL(const NSURL& url) { return NSFileManager::isDeletableFileAtPath(url.path()); }

std::string RawFileManager::temporaryFilePath() {
    const std::string folder = preparedFolder();
    return folder.empty() ? std::string() : std::string(folder).append(kRawName);
}

Data RawFileManager::fetchImageFromRawFile(const NSURL&) {
    return NSFileManager::contentsAtPath(ownFolder().append(kRawName));
}

void MemoryManager::report_memory() {
    const auto statistics = HostStatistics::current();
    if (!statistics) return log("Failed to fetch vm statistics");
    log("used: %u free: %u total: %u", statistics->used, statistics->free, statistics->total());
}

}  // namespace tessaly
