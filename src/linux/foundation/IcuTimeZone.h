#pragma once
#include <unicode/timezone.h>

#include <memory>

namespace tessaly {

/// The zone in force, for formatters that need ICU's own object.
[[nodiscard]] std::shared_ptr<const icu::TimeZone> icuTimeZone();

}  // namespace tessaly
