#pragma once
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// URLs as arguments. They come from other programs, so nothing in them is trusted.
namespace tessaly::viewer {

/// Photos of the library to show, by their local identifiers, and the one to start with.
struct OpenRequest {
    std::vector<std::string> identifiers;
    std::size_t position = 0;  ///< Below the number of identifiers.
};

/// Whether the text has the containing app's scheme, whatever follows.
[[nodiscard]] bool isAppURL(std::string_view text);

/// What "tessalyapp://allphotos?phAssetsLocalIDCommaSeparated=ID,ID&currentPosition=N" asks for. What cannot be an
/// identifier is left out; a position that is missing, no number or too high counts as the nearest one.
/// @return nullopt for any other URL, and for one without identifiers.
[[nodiscard]] std::optional<OpenRequest> parseAppURL(std::string_view text);

/// Where an argument points at: a path, or why it is none.
struct FileArgument {
    std::string path;  ///< Absolute; "" where there is a fault.
    std::string fault;
};

/// The file of a path or of a file URL, whose path is percent-decoded.
[[nodiscard]] FileArgument fileOfArgument(const std::string& argument);

}  // namespace tessaly::viewer
