#include "platform/Foundation/NSByteCountFormatter.h"

#include <array>
#include <cmath>

#include "platform/Foundation/Format.h"
#include "platform/Foundation/NSBundle.h"
#include "platform/Foundation/NSNumberFormatter.h"

namespace tessaly {
namespace {

constexpr std::array<const char*, 7> kUnits{"%@ bytes", "%@ KB", "%@ MB", "%@ GB", "%@ TB", "%@ PB", "%@ EB"};
constexpr std::array<int, 7> kAdaptiveDigits{0, 0, 1, 2, 2, 2, 2};

std::string number(double value, int minimumDigits, int maximumDigits) {
    return NSNumberFormatter{.minimumFractionDigits = minimumDigits,
                             .maximumFractionDigits = maximumDigits,
                             .roundingMode = NSNumberFormatterRoundingMode::halfEven}
        .stringFromNumber(value);
}

std::string bytesText(std::int64_t count) {
    const std::string digits = number(static_cast<double>(count), 0, 0);
    return formatted(localized(count == 1 ? "%@ byte" : "%@ bytes"), digits);
}

/// Three significant digits: two behind the point below 10, one below 100.
int significantDigits(double value) {
    const double magnitude = std::fabs(value);
    return magnitude < 9.995 ? 2 : magnitude < 99.95 ? 1 : 0;
}

}  // namespace

std::string NSByteCountFormatter::stringFromByteCount(std::int64_t count) const {
    if (count == 0) return localized("Zero KB");
    double value = static_cast<double>(count);
    std::size_t unit = 0;
    while (unit + 1 < kUnits.size() && std::fabs(value) >= 1000) {
        value /= 1000;
        ++unit;
    }
    if (unit == 0) return bytesText(count);
    const auto digitsOf = [&] {
        return adaptive ? kAdaptiveDigits[unit] : zeroPadsFractionDigits ? 2 : significantDigits(value);
    };
    // 999,999 bytes are 1 MB, not 1,000 KB: rounding may reach the next unit.
    const double scale = std::pow(10, digitsOf());
    if (unit + 1 < kUnits.size() && std::nearbyint(std::fabs(value) * scale) / scale >= 1000) {
        value /= 1000;
        ++unit;
    }
    const int digits = digitsOf();
    std::string text = formatted(localized(kUnits[unit]), number(value, zeroPadsFractionDigits ? digits : 0, digits));
    if (includesActualByteCount) text = formatted(localized("%1$@ (%2$@)"), text, bytesText(count));
    return text;
}

std::string stringFromByteCount(std::int64_t count) { return NSByteCountFormatter{}.stringFromByteCount(count); }

}  // namespace tessaly
