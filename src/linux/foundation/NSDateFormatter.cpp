#include "platform/Foundation/NSDateFormatter.h"

#include <unicode/smpdtfmt.h>

#include <array>
#include <mutex>

#include "linux/foundation/CivilTime.h"
#include "linux/foundation/IcuTimeZone.h"
#include "platform/Foundation/NSLocale.h"
#include "platform/Foundation/NSTimeZone.h"

namespace tessaly {
namespace {

constexpr std::string_view kExifPattern = "yyyy:MM:dd HH:mm:ss";

std::string_view withoutEnd(std::string_view text) {
    text = text.substr(0, text.find('\0'));
    while (!text.empty() && (text.back() == ' ' || text.back() == '\n' || text.back() == '\r')) text.remove_suffix(1);
    return text;
}

/// 'Y' is the year that a week belongs to, another one around New Year. Who writes it without a week means the
/// calendar's.
std::string withCalendarYears(std::string_view pattern) {
    std::string years(pattern);
    bool isLiteral = false;
    for (char& letter : years) {
        if (letter == '\'') isLiteral = !isLiteral;
        if (isLiteral) continue;
        if (letter == 'w') return std::string(pattern);
        if (letter == 'Y') letter = 'y';
    }
    return years;
}

icu::UnicodeString unicode(std::string_view text) {
    return icu::UnicodeString::fromUTF8(icu::StringPiece(text.data(), static_cast<int32_t>(text.size())));
}

/// As if it were UTC.
std::optional<double> secondsOfExifString(std::string_view text) {
    text = withoutEnd(text);
    if (text.size() != kExifPattern.size()) return std::nullopt;
    std::array<int, 6> parts{};
    std::size_t part = 0;
    for (std::size_t at = 0; at < text.size(); ++at) {
        const char pattern = kExifPattern[at];
        if (pattern == ':' || pattern == ' ') {
            if (text[at] != pattern) return std::nullopt;
            ++part;
        } else {
            if (text[at] < '0' || text[at] > '9') return std::nullopt;
            parts[part] = parts[part] * 10 + (text[at] - '0');
        }
    }
    const auto seconds = secondsOfCivilTime(parts[0], parts[1], parts[2], parts[3], parts[4], parts[5]);
    if (!seconds || parts[0] == 0) return std::nullopt;
    return seconds;
}

}  // namespace

std::optional<NSDate> dateFromExifString(std::string_view text) {
    const auto seconds = secondsOfExifString(text);
    return seconds ? std::optional(NSTimeZone::dateFromLocalTime(*seconds)) : std::nullopt;
}

struct NSDateFormatter::Icu {
    std::mutex mutex;  // SimpleDateFormat changes its own calendar while it formats.
    std::unique_ptr<icu::SimpleDateFormat> format;
};

NSDateFormatter::NSDateFormatter(std::string_view pattern, std::string_view locale)
    : pattern_(pattern),
      locale_(locale.empty() ? NSLocale::currentLocale() : std::string(locale)),
      icu_(std::make_unique<Icu>()) {}

NSDateFormatter::~NSDateFormatter() = default;

/// Made on first use, under the caller's lock: locale data costs a millisecond.
NSDateFormatter::Icu& NSDateFormatter::icu() const {
    if (!icu_->format) {
        UErrorCode status = U_ZERO_ERROR;
        icu_->format = std::make_unique<icu::SimpleDateFormat>(unicode(withCalendarYears(pattern_)),
                                                               icu::Locale(locale_.c_str()), status);
        if (U_FAILURE(status)) icu_->format = nullptr;
        if (icu_->format) icu_->format->setLenient(false);
    }
    if (icu_->format) icu_->format->setTimeZone(*icuTimeZone());
    return *icu_;
}

std::string NSDateFormatter::stringFromDate(NSDate date) const {
    const std::lock_guard lock(icu_->mutex);
    std::string text;
    if (const Icu& made = icu(); made.format) {
        icu::UnicodeString result;
        made.format->format(date.timeIntervalSince1970 * 1000, result);
        result.toUTF8String(text);
    }
    return text;
}

std::optional<NSDate> NSDateFormatter::dateFromString(std::string_view text) const {
    if (pattern_ == kExifPattern && locale_ == NSLocale::systemLocale()) return dateFromExifString(text);
    const std::lock_guard lock(icu_->mutex);
    const Icu& made = icu();
    if (!made.format) return std::nullopt;
    const icu::UnicodeString source = unicode(withoutEnd(text));
    icu::ParsePosition position(0);
    const UDate date = made.format->parse(source, position);
    if (position.getErrorIndex() >= 0 || position.getIndex() != source.length() || source.isEmpty())
        return std::nullopt;
    return NSDate{date / 1000};
}

}  // namespace tessaly
