#pragma once
#include <cstdint>

namespace tessaly {

/// Why nothing can be read from a file.
enum class FileFault : std::uint8_t {
    none,
    notFound,
    isFolder,
    notRegularFile,  ///< A device, a pipe, a socket.
    noPermission,
    readError,
    unknownFormat,
    empty,
};

}  // namespace tessaly
