#pragma once
#include <memory>
#include <string>

#include "ScratchFile.h"
#include "acquisition/MediaFile.h"

namespace tessaly::cli {

/// What an argument means as a file that can be opened again: itself, or what a pipe gave, kept as long as this.
struct PipedFile {
    std::string path;
    std::string name;  ///< As messages and output call it: "standard input".
    std::string why;   ///< Why there is nothing to read; "" when there is.
    std::unique_ptr<ScratchFile> kept;

    [[nodiscard]] static PipedFile of(const std::string& argument);
};

/// The record of such an argument.
struct PipedMedia {
    std::string name;
    std::string why;  ///< Why the pipe could not be read; what is wrong with its content `file` tells.
    MediaFile file;

    [[nodiscard]] static PipedMedia read(const std::string& argument);
};

}  // namespace tessaly::cli
