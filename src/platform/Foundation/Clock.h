#pragma once
#include "platform/Foundation/NSDate.h"

namespace tessaly {

/// Where "now" comes from. Tests put a fixed one in its place.
class Clock {
public:
    Clock() = default;
    Clock(const Clock&) = delete;
    Clock& operator=(const Clock&) = delete;
    virtual ~Clock() = default;
    [[nodiscard]] virtual NSDate now() const = 0;

    /// The clock in force: the system's unless one was set.
    static const Clock& shared();
    /// `clock` must outlive its use; null puts the system's clock back. Returns the one that was set before, or null.
    static const Clock* setShared(const Clock* clock);
};

}  // namespace tessaly
