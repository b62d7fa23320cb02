#pragma once
#include "platform/Foundation/NSDate.h"

namespace tessaly {

/// Parts of a date or of a span, on the Gregorian calendar in the default time zone.
struct NSDateComponents {
    int year = 0, month = 0, weekOfYear = 0, day = 0, hour = 0, minute = 0, second = 0;
};

class NSCalendar {
public:
    /// The civil date and time (weekOfYear stays 0).
    [[nodiscard]] static NSDateComponents components(NSDate date);
    /// From `earlier` to `later`, each unit the remainder after the larger ones.
    [[nodiscard]] static NSDateComponents difference(NSDate earlier, NSDate later);
    [[nodiscard]] static NSDate dateByAddingDays(NSDate date, int days);
};

}  // namespace tessaly
