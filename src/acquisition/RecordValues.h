#pragma once
#include <string_view>

#include "metadata/ExifInformation.h"

namespace tessaly {

/// What a record answers to a predicate: a field under its own name, a part of one ("exifDic.FNumber",
/// "phAsset.favorite", "location.coordinate.latitude"), or the text of a display key. The null value for any other.
[[nodiscard]] Value valueOfRecord(ExifInformation& record, std::string_view keyPath);

}  // namespace tessaly
