#pragma once
#include <cstdint>
#include <optional>
#include <string>

#include "platform/CoreLocation/CLLocation.h"
#include "platform/Foundation/NSDate.h"

namespace tessaly::photos {

/// What the file system tells of a file, enough to know whether it changed, or whether it is another one.
struct FileStamp {
    std::uint64_t size = 0;
    std::int64_t changed = 0;  ///< Nanoseconds since 1970.
    std::uint64_t inode = 0;
    std::uint64_t device = 0;  ///< Holds while it is mounted: another one may be the same disk.
    std::int64_t born = 0;     ///< Nanoseconds since 1970; 0 where it is not known. Inodes are used again.

    /// nullopt for what is no regular file.
    [[nodiscard]] static std::optional<FileStamp> of(const std::string& path);
    /// The same size and time.
    [[nodiscard]] bool isUnchanged(const FileStamp& other) const noexcept {
        return size == other.size && changed == other.changed;
    }
    /// The same file of a file system, whatever was written into it.
    [[nodiscard]] bool isSameFile(const FileStamp& other) const noexcept {
        return inode == other.inode && (born == other.born || born == 0 || other.born == 0);
    }
    friend bool operator==(const FileStamp&, const FileStamp&) = default;
};

/// What the library keeps of a photo or video.
struct AssetFacts {
    std::int64_t mediaType = 0;  ///< 0: neither.
    std::uint64_t subtypes = 0;  ///< Of the file alone; a separate video of a live photo is found by the scan.
    std::string typeIdentifier;
    std::optional<NSDate> created;
    bool isDated = false;  ///< By the file's own words, rather than by its time.
    std::optional<CLLocation> location;
    std::uint64_t width = 0;  ///< Upright.
    std::uint64_t height = 0;
    double duration = 0;
    std::string contentIdentifier;  ///< The same in the photo and the video of a live photo.
    std::optional<std::uint64_t> embeddedVideoAt;

    /// Reads the heads of the file. `fileName` may tell a screenshot.
    [[nodiscard]] static AssetFacts read(const std::string& path, const FileStamp& stamp);
};

}  // namespace tessaly::photos
