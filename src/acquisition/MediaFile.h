#pragma once
#include <cstdint>
#include <string>
#include <string_view>

#include "metadata/ExifInformation.h"

namespace tessaly {

/// Why a file yielded no record.
enum class MediaFileFault : std::uint8_t {
    none,
    notFound,
    isFolder,
    notRegularFile,
    noPermission,
    readError,
    unknownFormat,
    empty
};

/// What is wrong, in words that follow a path: "no such file", "not an image or movie in a known format".
[[nodiscard]] std::string_view describe(MediaFileFault fault) noexcept;

/// A photo or movie file, told apart by its content and never by its name.
struct MediaFile {
    ExifInformationRef exifInformation;  ///< Null exactly when there is a fault.
    MediaFileFault fault = MediaFileFault::none;
    std::string typeIdentifier;  ///< Uniform type identifier: "public.jpeg", "com.apple.quicktime-movie", ...

    /// Reads the metadata of the file at `path`.
    static MediaFile open(const std::string& path);
    /// The same of bytes in memory.
    static MediaFile open(const Data& data);

    explicit operator bool() const noexcept { return exifInformation != nullptr; }
};

}  // namespace tessaly
