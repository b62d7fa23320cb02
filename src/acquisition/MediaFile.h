#pragma once
#include <string>

#include "acquisition/MeasuredFacts.h"
#include "metadata/ExifInformation.h"
#include "platform/Foundation/FileFault.h"

namespace tessaly {

/// Why a file yields no record.
using MediaFault = FileFault;

/// The fault in words, as they stand behind a path: "no such file".
[[nodiscard]] std::string_view describe(MediaFault fault) noexcept;

/// A photo or a movie, told apart by its content.
struct MediaFile {
    ExifInformationRef record;  ///< Null when there is a fault.
    MediaFault fault = MediaFault::none;
    Dictionary properties;  ///< As the reader delivered them; of a movie {"{TIFF}": ..., "{Exif}": ...}.
    MeasuredFacts facts;

    [[nodiscard]] static MediaFile read(const std::string& path);
};

}  // namespace tessaly
