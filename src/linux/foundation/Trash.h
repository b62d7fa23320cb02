#pragma once
#include <optional>
#include <string>

namespace tessaly {

/// Where a file is in the trash that the desktop's file managers share.
struct TrashedFile {
    std::string path;
    std::string info;  ///< The file beside it that says where it came from, and when.
};

/// Moves a file, a link itself or a whole folder into the trash of its own file system: nothing is copied and nothing
/// in the trash is replaced. nullopt, with errno in `error`, leaves everything where it was.
[[nodiscard]] std::optional<TrashedFile> moveToTrash(const std::string& path, int& error);

/// Takes it back out. false, with errno in `error`, leaves it in the trash: EEXIST where there is something by now,
/// ENOENT where the folder or the trashed file is gone.
[[nodiscard]] bool restoreFromTrash(const TrashedFile& file, const std::string& originalPath, int& error);

}  // namespace tessaly
