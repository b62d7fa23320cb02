#pragma once
#include <cstdint>
#include <string_view>
#include <vector>

#include "linux/imageio/TiffDirectory.h"
#include "linux/imageio/rewrite/RewritePlan.h"

namespace tessaly::imageio {

/// Which fields are taken out of a maker note that itself stays: a raw file is not developed without it.
enum class NotePurge : std::uint8_t {
    nothing,
    places,    ///< Names of places.
    personal,  ///< Places, owners, serial numbers, dates, and what counts pictures.
};

/// A directory of a note and the fields to take out of it.
struct NoteTrim {
    TiffContext tiff;
    std::uint64_t position = 0;  ///< Of the directory, in the source.
    TiffDirectory directory;
    std::vector<std::uint16_t> tags;
    /// Values, or parts of them, that are overwritten instead, keeping their length; also inside `directory`.
    std::vector<RewritePlan::Patch> patches;
};

/// The directories of the note from which something is to be taken.
[[nodiscard]] std::vector<NoteTrim> noteTrims(TiffContext& tiff, const TiffEntry& note, std::string_view make,
                                              NotePurge purge);

}  // namespace tessaly::imageio
