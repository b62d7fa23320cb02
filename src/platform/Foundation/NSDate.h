#pragma once
#include <compare>

namespace tessaly {

/// An instant: seconds since 1970-01-01T00:00:00Z, fractions kept.
struct NSDate {
    double timeIntervalSince1970 = 0;

    /// The injectable clock's present instant (see Clock.h).
    static NSDate date();

    friend auto operator<=>(const NSDate&, const NSDate&) = default;
};

}  // namespace tessaly
