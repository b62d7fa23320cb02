#pragma once
#include <string>

namespace tessaly {

/// One displayable item: what a key's formatter makes of a record.
struct ExifValue {
    std::string uniqueID;                           ///< The key name that produced it.
    std::string exifKeyReadableFormat;              ///< Localised label.
    std::string exifValueReadableFormat;            ///< Localised text; empty when there was nothing to format.
    std::string exifKeyWithUnitTypeReadableFormat;  ///< Label with its unit, for editors; not every formatter sets one.
    std::string exifRAWValue;                       ///< The raw value as text, for editors.
    std::string exifValueIconFileName;              ///< Name of an icon; only the flash has one.
};

}  // namespace tessaly
