#pragma once
#include <string>

namespace tessaly {

/// One formatted item, as lists, the share text and editors show it. Texts are localised; an empty one was not set.
struct ExifValue {
    std::string uniqueID;                           ///< The key name that produced it, e.g. "FocalLength".
    std::string exifKeyReadableFormat;              ///< Label, e.g. "Focal Length".
    std::string exifValueReadableFormat;            ///< Display text, e.g. "26 mm".
    std::string exifKeyWithUnitTypeReadableFormat;  ///< Label with its unit, for editors.
    std::string exifRAWValue;                       ///< The raw value as text, for editors, e.g. "26".
    std::string exifValueIconFileName;              ///< Name of an icon that goes with the value.

    friend bool operator==(const ExifValue&, const ExifValue&) = default;
};

}  // namespace tessaly
