#pragma once
#include <string>
#include <vector>

#include "linux/photos/LibraryStore.h"
#include "platform/Photos/PHPhotoLibrary.h"

namespace tessaly::photos {

/// Does all of the changes or none, to files and database alike. "" or what went wrong.
/// @param confirms  asked before anything is deleted; empty answers no.
[[nodiscard]] std::string performChanges(LibraryStore& store, const std::vector<PHChange>& changes,
                                         const std::function<bool(const std::vector<PHAssetRef>&)>& confirms);

}  // namespace tessaly::photos
