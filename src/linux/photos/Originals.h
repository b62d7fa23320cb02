#pragma once
#include <span>
#include <string>
#include <vector>

#include "linux/photos/LibraryStore.h"
#include "platform/Photos/PHPhotoLibrary.h"

/// What the library keeps of photos that are not there: their unedited files, and what it remembers of them.
namespace tessaly::photos {

/// Where an original is that was kept when the library's folder may have had another path.
[[nodiscard]] std::string ownOriginal(const LibraryStore& store, const std::string& original);

/// The kept originals, by path: those of edited photos, and those whose photos were deleted or forgotten.
[[nodiscard]] std::vector<PHPhotoLibrary::KeptOriginal> keptOriginals(const LibraryStore& store);
/// "" or what is wrong.
[[nodiscard]] std::string exportOriginal(const LibraryStore& store, const std::string& original,
                                         const std::string& target);
[[nodiscard]] std::string discardOriginal(LibraryStore& store, const std::string& original);

/// Forgets photos that are away or gone. "" or what is wrong.
[[nodiscard]] std::string forgetAssets(LibraryStore& store, std::span<const std::string> identifiers);

}  // namespace tessaly::photos
