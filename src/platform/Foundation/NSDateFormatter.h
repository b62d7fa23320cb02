#pragma once
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "platform/Foundation/NSDate.h"

namespace tessaly {

/// Dates by Unicode patterns (UTS #35), in the default time zone. "YYYY" is the calendar year, unless the pattern has a
/// week ("w") as well.
///
/// The pattern "yyyy:MM:dd HH:mm:ss" of the system locale, which every photo needs, is parsed without ICU.
/// One formatter may be used by several threads.
class NSDateFormatter {
public:
    /// An empty locale is the user's.
    explicit NSDateFormatter(std::string_view pattern, std::string_view locale = {});
    ~NSDateFormatter();
    NSDateFormatter(const NSDateFormatter&) = delete;
    NSDateFormatter& operator=(const NSDateFormatter&) = delete;

    [[nodiscard]] const std::string& dateFormat() const noexcept { return pattern_; }
    [[nodiscard]] std::string stringFromDate(NSDate date) const;
    /// Nullopt when the text does not follow the pattern or names no real date. Blanks and NULs at the end are ignored.
    [[nodiscard]] std::optional<NSDate> dateFromString(std::string_view text) const;

private:
    struct Icu;
    Icu& icu() const;

    std::string pattern_;
    std::string locale_;
    mutable std::unique_ptr<Icu> icu_;
};

/// "yyyy:MM:dd HH:mm:ss" as Exif writes it, in the default time zone.
[[nodiscard]] std::optional<NSDate> dateFromExifString(std::string_view text);

}  // namespace tessaly
