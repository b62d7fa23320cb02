#pragma once
#include <functional>
#include <string>
#include <vector>

namespace tessaly::cli {

/// Visits every regular file below `folder`, folders and files each in the order of their names, without keeping more
/// than one folder's names a level. Symbolic links to folders are not followed, hidden folders are.
/// @param visit     gets the path (folder included); returns false to stop.
/// @param complain  gets a path and why it could not be read.
/// @return false when stopped.
bool walkTree(const std::string& folder, const std::function<bool(const std::string& path)>& visit,
              const std::function<void(const std::string& path, const std::string& why)>& complain);

[[nodiscard]] bool isFolder(const std::string& path);

/// A file that an argument names, or that was found in a folder that it names.
struct NamedFile {
    std::string path;
    std::string below;     ///< Its way below that folder, "2024/x.jpg"; of a file that is named itself its name.
    bool isFound = false;  ///< In a folder.
};

/// The files that arguments name; with `opensFolders` a folder stands for all files below it. A folder that cannot be
/// read is complained about, and sets `failed`.
[[nodiscard]] std::vector<std::string> namedFiles(const std::vector<std::string>& arguments, bool opensFolders,
                                                  bool& failed);
[[nodiscard]] std::vector<NamedFile> namedFilesBelow(const std::vector<std::string>& arguments, bool opensFolders,
                                                     bool& failed);

}  // namespace tessaly::cli
