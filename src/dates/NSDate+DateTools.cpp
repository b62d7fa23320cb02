#include <algorithm>
#include <array>
#include <span>

#include "dates/NSDate+DateTools.h"
#include "platform/Foundation/Format.h"
#include "platform/Foundation/NSBundle.h"
#include "platform/Foundation/NSCalendar.h"

namespace tessaly {
namespace {

std::string phrase(std::string_view key) {
    return NSBundle::dateToolsBundle().localizedStringForKey(key, "", "DateTools");
}

NSDateComponents between(NSDate a, NSDate b) { return NSCalendar::difference(std::min(a, b), std::max(a, b)); }

/// Whether `date` falls on the calendar day before `other`. Only days of the month are compared: the rules for years,
/// months and weeks have taken every longer span by then.
bool isYesterday(NSDate date, NSDate other) {
    return NSCalendar::components(NSCalendar::dateByAddingDays(other, -1)).day == NSCalendar::components(date).day;
}

/// A unit of the long phrase: how many from two on, and what one of it is called.
struct Unit {
    int NSDateComponents::*count;
    std::string_view many;
    std::string_view oneNumeric;
    std::string_view one;
};

constexpr std::array kDateUnits{
    Unit{&NSDateComponents::year, "%%d %@years ago", "1 year ago", "Last year"},
    Unit{&NSDateComponents::month, "%%d %@months ago", "1 month ago", "Last month"},
    Unit{&NSDateComponents::weekOfYear, "%%d %@weeks ago", "1 week ago", "Last week"},
};
constexpr std::array kTimeUnits{
    Unit{&NSDateComponents::hour, "%%d %@hours ago", "1 hour ago", "An hour ago"},
    Unit{&NSDateComponents::minute, "%%d %@minutes ago", "1 minute ago", "A minute ago"},
};

std::string firstOf(std::span<const Unit> units, const NSDateComponents& span, bool numeric) {
    for (const Unit& unit : units) {
        const int count = span.*unit.count;
        if (count >= 2) return logicLocalizedStringFromFormat(unit.many, count);
        if (count == 1) return phrase(numeric ? unit.oneNumeric : unit.one);
    }
    return {};
}

}  // namespace

std::string getLocaleFormatUnderscoresWithValue(double value) {
    const std::string& language = NSBundle::mainBundle().preferredLocalization();
    if (language != "ru" && language != "uk") return {};
    const auto count = static_cast<std::int64_t>(value);
    const auto ones = count % 10;
    const auto hundreds = count % 100;
    if (ones < 1 || ones > 4 || (hundreds >= 11 && hundreds <= 14)) return {};
    return ones == 1 ? "__" : "_";
}

std::string logicLocalizedStringFromFormat(std::string_view format, std::int64_t value) {
    const std::string key = formatted(format, getLocaleFormatUnderscoresWithValue(static_cast<double>(value)));
    return formatted(phrase(key), value);
}

std::string timeAgoSinceDate(NSDate date, NSDate other, bool numericDates, bool numericTimes) {
    const NSDateComponents span = between(date, other);
    if (std::string text = firstOf(kDateUnits, span, numericDates); !text.empty()) return text;
    if (span.day >= 2) return logicLocalizedStringFromFormat("%%d %@days ago", span.day);
    if (isYesterday(date, other)) return phrase(numericDates ? "1 day ago" : "Yesterday");
    if (std::string text = firstOf(kTimeUnits, span, numericTimes); !text.empty()) return text;
    if (span.second >= 3) return logicLocalizedStringFromFormat("%%d %@seconds ago", span.second);
    return phrase(numericTimes ? "1 second ago" : "Just now");
}

std::string shortTimeAgoSinceDate(NSDate date, NSDate other) {
    const NSDateComponents span = between(date, other);
    const auto counted = [](std::string_view format, int count) {
        return logicLocalizedStringFromFormat(format, count);
    };
    if (span.year >= 1) return counted("%%d%@y", span.year);
    if (span.month >= 1) return counted("%%d%@M", span.month);
    if (span.weekOfYear >= 1) return counted("%%d%@w", span.weekOfYear);
    if (span.day >= 2) return counted("%%d%@d", span.day);
    if (isYesterday(date, other)) return counted("%%d%@d", 1);
    if (span.hour >= 1) return counted("%%d%@h", span.hour);
    if (span.minute >= 1) return counted("%%d%@m", span.minute);
    return counted("%%d%@s", span.second);
}

std::string timeAgoSinceNow(NSDate date) { return timeAgoSinceDate(date, NSDate::date()); }
std::string shortTimeAgoSinceNow(NSDate date) { return shortTimeAgoSinceDate(date, NSDate::date()); }

}  // namespace tessaly
