#pragma once
#include <cstdint>
#include <span>
#include <string_view>

namespace tessaly::imageio {

/// How the value of a tag is delivered, whatever type the file stored it with.
enum class TagForm : std::uint8_t {
    text,         ///< Text, trimmed.
    number,       ///< The first element: a whole number, or a double for rationals and reals.
    numbers,      ///< All elements as an array.
    numberOrAll,  ///< One element as a number, more as an array.
    flagByte,     ///< One UNDEFINED byte as a number (FileSource, SceneType).
    version,      ///< Four ASCII digits as an array: "0231" is [2, 3, 1], "0100" is [1, 0].
    comment,      ///< Text behind an 8-byte character code (UserComment, ProcessingMethod).
    utf16,        ///< UTF-16LE text in bytes (the XP tags of Windows).
    degrees,      ///< Degrees, minutes, seconds as decimal degrees.
    timeOfDay,    ///< Hours, minutes, seconds as "HH:MM:SS".
    dateStamp,    ///< "YYYY:MM:DD", also where the file separates with other marks.
};

struct TagRule {
    std::uint16_t tag;
    TagForm form;
    std::string_view name;  ///< The platform's name, which is not always Exif's.
};

/// Each sorted by tag. Exif 2.32, 4.6.4 (TIFF), 4.6.5 (Exif), 4.6.6 (GPS).
[[nodiscard]] std::span<const TagRule> tiffTags() noexcept;
[[nodiscard]] std::span<const TagRule> exifTags() noexcept;
[[nodiscard]] std::span<const TagRule> gpsTags() noexcept;

}  // namespace tessaly::imageio
