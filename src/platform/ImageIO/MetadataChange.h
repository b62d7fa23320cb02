#pragma once
#include <cstdint>

#include "platform/Foundation/Value.h"

namespace tessaly {

/// What a rewrite does to the metadata of a file. Pixels, and what decides how they show (orientation, colour profile,
/// density, animation, transparency, gain maps), are never touched.
struct MetadataChange {
    enum class Removal : std::uint8_t {
        nothing,
        dictionaries,  ///< Those of `removes`, wherever the file repeats them.
        place,         ///< Only what tells where: coordinates, place names, location tracks.
        everything,    ///< All that could tell who, where, when or with what.
    };
    struct Dictionaries {
        bool exif = false;
        bool tiff = false;
        bool gps = false;
        bool iptc = false;
        [[nodiscard]] bool any() const noexcept { return exif || tiff || gps || iptc; }
    };

    Removal removal = Removal::nothing;
    Dictionaries removes;  ///< With Removal::dictionaries.
    /// Values to write afterwards, shaped as CGImageProperties.h names them: {"{TIFF}": {"Artist": "..."}, ...}. An
    /// empty text removes that one. Where several blocks of a format hold a value (Exif, IPTC, XMP), all are written.
    Dictionary values;

    /// Of a file with several images (pages, frames, views) only the first stays, where they are chained.
    bool firstImageOnly = false;

    [[nodiscard]] bool removesEverything() const noexcept { return removal == Removal::everything; }
    /// Whether the place goes.
    [[nodiscard]] bool removesPlace() const noexcept {
        return removesEverything() || removal == Removal::place || (removal == Removal::dictionaries && removes.gps);
    }
};

}  // namespace tessaly
