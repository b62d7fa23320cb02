#pragma once
#include <string>
#include <string_view>

#include "platform/Foundation/NSURL.h"
#include "platform/Foundation/Value.h"

/// Copies of picture bytes for readers that want a file.
namespace tessaly {

/// File URL of a copy of the bytes under that name, in a folder of this program's and user's own in the temporary
/// folder; a file of that name is replaced. Empty when it cannot be written.
[[nodiscard]] NSURL temporaryURLForImageNSData(const Data& data, std::string_view withFileName = "tempImage");
/// Whether the file can be deleted; it is left where it is.
bool deleteTemporaryFileAtURL(const NSURL& url);

namespace RawFileManager {

/// "temp_raw.tiff" in the temporary folder's part of this program; its folder is made.
[[nodiscard]] std::string temporaryFilePath();
/// The bytes of that file, null when there is none, whatever raw file is asked for: who develops one leaves it there.
[[nodiscard]] Data fetchImageFromRawFile(const NSURL& rawFile);

}  // namespace RawFileManager

namespace MemoryManager {

/// Logs what memory of the machine is used, free and there in total, in bytes.
void report_memory();

}  // namespace MemoryManager

}  // namespace tessaly
