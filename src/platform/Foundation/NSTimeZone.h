#pragma once
#include <string>
#include <string_view>

#include "platform/Foundation/NSDate.h"

namespace tessaly {

/// The time zone in which dates are read and shown: TZ's, else the machine's, unless one was set.
class NSTimeZone {
public:
    /// An Olson name ("Asia/Tokyo", "UTC"); "" puts the machine's own zone back.
    static void setDefaultTimeZone(std::string_view name);
    /// Seconds east of Greenwich at the instant, summer time included.
    [[nodiscard]] static int secondsFromGMT(NSDate date);
    /// The instant at which a clock on the wall shows the given civil time, told as if it were UTC. In the hour that
    /// summer time skips or repeats, the earlier reading.
    [[nodiscard]] static NSDate dateFromLocalTime(double secondsAsIfUTC);
};

}  // namespace tessaly
