#pragma once
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/ImageIO/MetadataChange.h"

namespace tessaly {

/// What a value gives away.
enum class PrivateKind : std::uint8_t {
    none,    ///< How it was taken, how it shows.
    place,   ///< Coordinates, names of places.
    person,  ///< Who took it, owns it, is in it.
    device,  ///< Serial numbers, counters, identifiers of pictures.
    date,
    text,  ///< Titles, captions, keywords, comments.
};

/// A value that was found in a file.
struct MetadataFinding {
    std::string block;  ///< "Exif", "GPS", "TIFF page 2", "IPTC", "XMP", "Canon maker note", "PNG", "movie".
    std::string name;   ///< "City", "photoshop:City"; "tag 0x1234" of what has no name.
    std::string text;
    PrivateKind kind = PrivateKind::none;

    bool operator==(const MetadataFinding&) const = default;
};

/// What the words of a property's name say that it gives away: "photoshop:City", "LensSerialNumber".
[[nodiscard]] PrivateKind privateKindOf(std::string_view name);

/// Every value of a file that the readers find, in every block and copy of it, and those that only their marks give
/// away behind a picture's end. It knows nothing of what is removed, or how. nullopt when the file cannot be read.
[[nodiscard]] std::optional<std::vector<MetadataFinding>> auditMetadata(const std::string& path);

/// Those that should not be in a file after `change`: places without `removesEverything`, else all that give something
/// away. Values that `change` writes may be there.
[[nodiscard]] std::vector<MetadataFinding> remaining(const std::vector<MetadataFinding>& found,
                                                     const MetadataChange& change);

}  // namespace tessaly
