#pragma once
#include <functional>
#include <string>

namespace tessaly::cli {

/// Visits every regular file below `folder`, folders and files each in the order of their names, without keeping more
/// than one folder's names a level. Symbolic links to folders are not followed, hidden folders are.
/// @param visit     gets the path (folder included); returns false to stop.
/// @param complain  gets a path and why it could not be read.
/// @return false when stopped.
bool walkTree(const std::string& folder, const std::function<bool(const std::string& path)>& visit,
              const std::function<void(const std::string& path, const std::string& why)>& complain);

}  // namespace tessaly::cli
