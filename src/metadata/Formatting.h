#pragma once
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "metadata/ExifValue.h"
#include "platform/Foundation/NSBundle.h"
#include "platform/Foundation/NSDate.h"

namespace tessaly {

/// A code of an enumeration and the English key of its text.
struct CodeText {
    std::int64_t code;
    std::string_view text;
};

/// The localised text of a code; `other` for a code that the table lacks.
[[nodiscard]] inline std::string textOfCode(std::span<const CodeText> table, std::int64_t code,
                                            std::string_view other = {}) {
    for (const CodeText& row : table)
        if (row.code == code) return localized(row.text);
    return other.empty() ? std::string() : localized(other);
}

/// A date by the user's pattern, in the default time zone.
[[nodiscard]] std::string stampedDate(NSDate date);

/// A fresh item with its localised label.
[[nodiscard]] inline ExifValue item(std::string_view key, std::string_view label, std::string text = {}) {
    ExifValue value;
    value.uniqueID = key;
    value.exifKeyReadableFormat = localized(label);
    value.exifValueReadableFormat = std::move(text);
    return value;
}

}  // namespace tessaly
