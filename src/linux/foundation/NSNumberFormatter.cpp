#include "platform/Foundation/NSNumberFormatter.h"

#include <unicode/decimfmt.h>
#include <unicode/numfmt.h>

#include <map>
#include <memory>
#include <tuple>

#include "platform/Foundation/NSLocale.h"

namespace tessaly {
namespace {

using Mode = NSNumberFormatterRoundingMode;

icu::DecimalFormat::ERoundingMode icuMode(Mode mode) {
    using Icu = icu::DecimalFormat;
    switch (mode) {
        case Mode::halfDown:
            return Icu::kRoundHalfDown;
        case Mode::halfUp:
            return Icu::kRoundHalfUp;
        case Mode::up:
            return Icu::kRoundUp;
        case Mode::down:
            return Icu::kRoundDown;
        case Mode::ceiling:
            return Icu::kRoundCeiling;
        case Mode::floor:
            return Icu::kRoundFloor;
        case Mode::halfEven:
            break;
    }
    return Icu::kRoundHalfEven;
}

/// Each thread keeps its own: making one costs far more than using it, and one is not to be shared while it formats.
const icu::DecimalFormat* formatFor(const NSNumberFormatter& wanted) {
    using Key = std::tuple<std::string, int, int, Mode>;
    thread_local std::map<Key, std::unique_ptr<icu::DecimalFormat>> formats;
    Key key{NSLocale::currentLocale(), wanted.minimumFractionDigits, wanted.maximumFractionDigits, wanted.roundingMode};
    if (const auto found = formats.find(key); found != formats.end()) return found->second.get();
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::NumberFormat> made(
        icu::NumberFormat::createInstance(icu::Locale(std::get<0>(key).c_str()), UNUM_DECIMAL, status));
    auto* decimal = dynamic_cast<icu::DecimalFormat*>(made.get());
    if (U_FAILURE(status) || !decimal) return nullptr;
    decimal->setMinimumFractionDigits(wanted.minimumFractionDigits);
    decimal->setMaximumFractionDigits(wanted.maximumFractionDigits);
    decimal->setRoundingMode(icuMode(wanted.roundingMode));
    static_cast<void>(made.release());  // The map owns it from here.
    return formats.emplace(std::move(key), decimal).first->second.get();
}

}  // namespace

std::string NSNumberFormatter::stringFromNumber(double number) const {
    const icu::DecimalFormat* made = formatFor(*this);
    std::string text;
    if (!made) return text;
    icu::UnicodeString result;
    made->format(number, result);
    result.toUTF8String(text);
    return text;
}

}  // namespace tessaly
