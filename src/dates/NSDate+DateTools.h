#pragma once
#include <cstdint>
#include <string>
#include <string_view>

#include "platform/Foundation/NSDate.h"

/// Phrases that tell how long ago a date was, in the interface language (table "DateTools" of DateTools.bundle).
/// Of two dates the earlier is always the start, so a future date reads like its mirror image in the past.
namespace tessaly {

/// "3 days ago", relative to now.
[[nodiscard]] std::string timeAgoSinceNow(NSDate date);
/// Relative to `other`. `numericDates` says "1 day ago" for "Yesterday", `numericTimes` "1 hour ago" for "An hour ago".
[[nodiscard]] std::string timeAgoSinceDate(NSDate date, NSDate other, bool numericDates = false,
                                           bool numericTimes = false);

/// "3d", relative to now and to `other`.
[[nodiscard]] std::string shortTimeAgoSinceNow(NSDate date);
[[nodiscard]] std::string shortTimeAgoSinceDate(NSDate date, NSDate other);

/// Fills the plural marker into `format` ("%%d %@days ago"), looks the key up and formats it with `value`.
[[nodiscard]] std::string logicLocalizedStringFromFormat(std::string_view format, std::int64_t value);
/// "", "_" or "__": which plural a count takes in Russian and Ukrainian; "" in every other language.
[[nodiscard]] std::string getLocaleFormatUnderscoresWithValue(double value);

}  // namespace tessaly
