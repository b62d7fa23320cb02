#pragma once
#include <cstdint>
#include <optional>
#include <string>

#include "platform/Foundation/Value.h"

/// Files and folders, as far as the system asks for them itself.
namespace tessaly::NSFileManager {

/// $TMPDIR, else /tmp; without a slash at the end.
[[nodiscard]] std::string temporaryDirectory();
[[nodiscard]] bool fileExistsAtPath(const std::string& path);
[[nodiscard]] bool isWritableFileAtPath(const std::string& path);
/// Whether the folder that holds it lets it be removed.
[[nodiscard]] bool isDeletableFileAtPath(const std::string& path);
/// The folder, private to the user, and those above it. "" when it is there, else what went wrong.
[[nodiscard]] std::string createDirectoryAtPath(const std::string& path);
/// All bytes; null when it cannot be read.
[[nodiscard]] Data contentsAtPath(const std::string& path);
/// What tells this user's files from others' in a shared folder.
[[nodiscard]] std::string userName();
/// False where there was nothing to remove.
bool removeItemAtPath(const std::string& path);

}  // namespace tessaly::NSFileManager

namespace tessaly {

/// Writes the bytes as one step: afterwards there is the whole file or, on failure, what was there before.
/// "" on success, else what went wrong; EEXIST's words where there is a file and `replaces` is not set.
[[nodiscard]] std::string writeDataAtomically(const Data& data, const std::string& path, bool replaces = true);

}  // namespace tessaly
