#pragma once
#include <optional>
#include <string>
#include <string_view>

#include "metadata/ExifInformation.h"

namespace tessaly::cli {

/// A property of a file as JSON has it under "metadata".
struct PropertyPath {
    std::string_view dictionary;  ///< "{Exif}"; "" for whichever has the name first.
    std::string name;
};

/// What "{Exif}.LensModel", "Exif.LensModel" or "LensModel" means; nullopt for a name that no file has. The
/// dictionaries of single formats and of makers have whatever their files do: every name in them is one.
[[nodiscard]] std::optional<PropertyPath> propertyNamed(std::string_view name);

/// "; did you mean 'Exif.LensModel'?", among the names of keys and properties; "" when nothing is close.
[[nodiscard]] std::string suggestionForKey(std::string_view name);

/// Null where the record's file does not have it.
[[nodiscard]] Value propertyOf(const ExifInformation& record, const PropertyPath& path);

}  // namespace tessaly::cli
