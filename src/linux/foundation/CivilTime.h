#pragma once
#include <chrono>
#include <cstdint>
#include <optional>

namespace tessaly {

/// Seconds since 1970 of a civil time told as if it were UTC; nullopt for a date that does not exist.
[[nodiscard]] inline std::optional<double> secondsOfCivilTime(int year, int month, int day, int hour, int minute,
                                                              double second) {
    const std::chrono::year_month_day date{std::chrono::year(year), std::chrono::month(static_cast<unsigned>(month)),
                                           std::chrono::day(static_cast<unsigned>(day))};
    if (month < 1 || day < 1 || !date.ok() || hour < 0 || hour > 24 || minute < 0 || minute > 59 || second < 0 ||
        second >= 61)
        return std::nullopt;
    const auto days = std::chrono::sys_days(date).time_since_epoch().count();
    return static_cast<double>(days) * 86400 + hour * 3600 + minute * 60 + second;
}

}  // namespace tessaly
