#include "linux/location/DistanceText.h"

#include <unicode/locid.h>
#include <unicode/measunit.h>
#include <unicode/numberformatter.h>

#include <cmath>

namespace tessaly::location {
namespace {

struct Unit {
    double metres;
    icu::MeasureUnit (*unit)();
};

constexpr Unit kMetre{1, &icu::MeasureUnit::getMeter};
constexpr Unit kKilometre{1000, &icu::MeasureUnit::getKilometer};
constexpr Unit kFoot{0.3048, &icu::MeasureUnit::getFoot};
constexpr Unit kMile{1609.344, &icu::MeasureUnit::getMile};
constexpr double kLeastMiles = 0.2;  // Below, people count feet.

const Unit& unitFor(double metres, bool metric) {
    if (metric) return metres < kKilometre.metres ? kMetre : kKilometre;
    return metres < kLeastMiles * kMile.metres ? kFoot : kMile;
}

std::string written(double number, const Unit& unit, std::string_view locale) {
    UErrorCode status = U_ZERO_ERROR;
    const auto text = icu::number::NumberFormatter::with()
                          .unit(unit.unit())
                          .unitWidth(UNUM_UNIT_WIDTH_SHORT)
                          .precision(icu::number::Precision::maxFraction(1))
                          .locale(icu::Locale::createCanonical(std::string(locale).c_str()))
                          .formatDouble(number, status)
                          .toString(status);
    std::string written;
    if (U_SUCCESS(status)) text.toUTF8String(written);
    return written;
}

/// To tenths below ten, then to whole ones, and to tens above a thousand.
double rounded(double number) {
    const double step = number < 9.95 ? 0.1 : number < 1000 ? 1 : 10;
    return std::round(number / step) * step;
}

}  // namespace

std::string distanceText(double metres, bool metric, std::string_view locale) {
    const Unit& unit = unitFor(metres, metric);
    const bool isSmall = unit.unit == kMetre.unit || unit.unit == kFoot.unit;
    const double number = metres / unit.metres;
    return written(isSmall ? std::round(number / 10) * 10 : rounded(number), unit, locale);
}

RoundLength roundLengthWithin(double metres, bool metric, std::string_view locale) {
    const Unit& unit = unitFor(metres, metric);
    const double most = metres / unit.metres;
    const double power = std::pow(10, std::floor(std::log10(most)));
    const double digit = most / power;
    const double number = (digit >= 5 ? 5 : digit >= 2 ? 2 : 1) * power;
    return {number * unit.metres, written(number, unit, locale)};
}

}  // namespace tessaly::location
