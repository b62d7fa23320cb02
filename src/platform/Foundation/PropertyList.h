#pragma once
#include <optional>
#include <string>
#include <string_view>

#include "platform/Foundation/Value.h"

namespace tessaly {

/// Values as readable, typed text and back: what settings files and keyed archives are written in.
///
/// JSON whose strings, whole numbers, fractions, booleans, arrays and objects are themselves; a date is
/// {"$date": seconds since 1970}, bytes are {"$data": "base64"}. A fraction always carries "." or "e".
[[nodiscard]] std::string propertyListText(const Value& value, bool readable = false);
/// Nullopt for anything that is not one whole, well-formed value. Depth is limited to 64.
[[nodiscard]] std::optional<Value> valueFromPropertyList(std::string_view text);

}  // namespace tessaly
