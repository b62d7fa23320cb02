#pragma once
#include <string>

#include "acquisition/LocalImageFiles.h"
#include "metadata/ExifInformation.h"

/// What all pieces of the detail screen ask of a record. Main thread.
namespace tessaly {

[[nodiscard]] inline bool isVideo(const ExifInformation& record) noexcept {
    return record.mediaType() == PHAssetMediaTypeVideo;
}

/// As it is shown: the name that was found for it, the library's, or the file's. "" for what has none of them.
[[nodiscard]] inline std::string fileName(const ExifInformation& record) {
    std::string name = record.fileNameCached();
    if (name.empty() && record.phAsset) name = LocalImageFiles::fileNameForPHAsset(record.phAsset, {});
    return name.empty() ? record.correctedImageFilePathURL().lastPathComponent() : name;
}

}  // namespace tessaly
