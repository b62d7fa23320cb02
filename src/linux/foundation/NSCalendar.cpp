#include "platform/Foundation/NSCalendar.h"

#include <chrono>
#include <cmath>

#include "linux/foundation/CivilTime.h"
#include "platform/Foundation/NSTimeZone.h"

namespace tessaly {
namespace {

using std::chrono::days;
using std::chrono::months;
using std::chrono::sys_days;
using std::chrono::year_month_day;

/// A civil date and the second of its day.
struct Civil {
    year_month_day date;
    double second = 0;
};

Civil civilOf(NSDate date) {
    const double local = date.timeIntervalSince1970 + NSTimeZone::secondsFromGMT(date);
    const double day = std::floor(local / 86400);
    return {year_month_day(sys_days(days(static_cast<int>(day)))), local - day * 86400};
}

NSDate dateOf(const Civil& civil) {
    const auto count = sys_days(civil.date).time_since_epoch().count();
    return NSTimeZone::dateFromLocalTime(static_cast<double>(count) * 86400 + civil.second);
}

/// A month later is the same day of the month, or its last where that day does not exist.
NSDate dateByAddingMonths(const Civil& civil, int count) {
    Civil moved = civil;
    const auto target = moved.date.year() / moved.date.month() + months(count);
    const auto last = (target / std::chrono::last).day();
    moved.date = target / std::min(moved.date.day(), last);
    return dateOf(moved);
}

}  // namespace

NSDateComponents NSCalendar::components(NSDate date) {
    const Civil civil = civilOf(date);
    const int second = static_cast<int>(civil.second);
    return {.year = static_cast<int>(civil.date.year()),
            .month = static_cast<int>(static_cast<unsigned>(civil.date.month())),
            .day = static_cast<int>(static_cast<unsigned>(civil.date.day())),
            .hour = second / 3600,
            .minute = second / 60 % 60,
            .second = second % 60};
}

NSDate NSCalendar::dateByAddingDays(NSDate date, int count) {
    Civil civil = civilOf(date);
    civil.date = year_month_day(sys_days(civil.date) + days(count));
    return dateOf(civil);
}

NSDateComponents NSCalendar::difference(NSDate earlier, NSDate later) {
    if (later < earlier) return {};
    const Civil start = civilOf(earlier);
    const Civil end = civilOf(later);
    // Count whole months first, in one step: adding months one by one would drift at the ends of short months.
    auto total = (static_cast<int>(end.date.year()) - static_cast<int>(start.date.year())) * 12 +
                 static_cast<int>(static_cast<unsigned>(end.date.month())) -
                 static_cast<int>(static_cast<unsigned>(start.date.month()));
    while (total > 0 && dateByAddingMonths(start, total) > later) --total;
    NSDate reached = dateByAddingMonths(start, total);
    auto dayCount = static_cast<int>((sys_days(end.date) - sys_days(civilOf(reached).date)).count());
    while (dayCount > 0 && dateByAddingDays(reached, dayCount) > later) --dayCount;
    reached = dateByAddingDays(reached, dayCount);
    const double rest = later.timeIntervalSince1970 - reached.timeIntervalSince1970;
    const int seconds = static_cast<int>(std::max(0.0, rest));
    return {.year = total / 12,
            .month = total % 12,
            .weekOfYear = dayCount / 7,
            .day = dayCount % 7,
            .hour = seconds / 3600,
            .minute = seconds / 60 % 60,
            .second = seconds % 60};
}

}  // namespace tessaly
