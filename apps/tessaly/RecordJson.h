#pragma once
#include <string>
#include <string_view>

#include "Items.h"

namespace tessaly::cli {

/// Appends one file as a JSON object (see docs/json.md); without a record, its path and error.
void appendJson(std::string& out, const std::string& path, const MediaFile& file, const KeySelection& selection);
void appendJsonError(std::string& out, std::string_view path, std::string_view error);

/// "2016-08-01T12:34:56+02:00", in the default time zone.
[[nodiscard]] std::string iso8601(NSDate date);

}  // namespace tessaly::cli
