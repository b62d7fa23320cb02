#pragma once
#include <cstdint>
#include <string>

namespace tessaly {

enum class NSNumberFormatterRoundingMode : std::uint8_t { halfEven, halfDown, halfUp, up, down, ceiling, floor };

/// Decimal style of the user's locale: its separators and grouping.
struct NSNumberFormatter {
    int minimumFractionDigits = 0;
    int maximumFractionDigits = 3;
    NSNumberFormatterRoundingMode roundingMode = NSNumberFormatterRoundingMode::halfEven;

    /// "up" is away from zero: 1.21 with one digit is 1.3, -1.25 is -1.3.
    [[nodiscard]] std::string stringFromNumber(double number) const;
};

}  // namespace tessaly
