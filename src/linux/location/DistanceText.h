#pragma once
#include <string>
#include <string_view>

namespace tessaly::location {

/// A length that a map's scale bar is to show: at most so many metres, and a round number in the unit that fits.
struct RoundLength {
    double metres = 0;
    std::string text;
};

/// "34 km", "1.2 km", "450 m", or the like in miles and feet; rounded, as a traveller would say it. `locale` is a
/// locale or language.
[[nodiscard]] std::string distanceText(double metres, bool metric, std::string_view locale);

[[nodiscard]] RoundLength roundLengthWithin(double metres, bool metric, std::string_view locale);

}  // namespace tessaly::location
