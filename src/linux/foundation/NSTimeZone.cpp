#include "platform/Foundation/NSTimeZone.h"

#include <unicode/basictz.h>
#include <unicode/timezone.h>

#include <cmath>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <shared_mutex>

#include "linux/foundation/IcuTimeZone.h"

namespace tessaly {
namespace {

std::shared_mutex mutex;
std::shared_ptr<const icu::TimeZone> zone;  // Null until first used.

/// TZ may be ":Asia/Tokyo" or a path; ICU understands the name.
std::shared_ptr<const icu::TimeZone> machineZone() {
    return std::shared_ptr<const icu::TimeZone>(icu::TimeZone::detectHostTimeZone());
}

}  // namespace

std::shared_ptr<const icu::TimeZone> icuTimeZone() {
    {
        const std::shared_lock lock(mutex);
        if (zone) return zone;
    }
    const std::unique_lock lock(mutex);
    if (!zone) zone = machineZone();
    return zone;
}

void NSTimeZone::setDefaultTimeZone(std::string_view name) {
    const std::unique_lock lock(mutex);
    if (name.empty()) {
        zone = nullptr;
        return;
    }
    const auto id = icu::UnicodeString::fromUTF8(icu::StringPiece(name.data(), static_cast<int32_t>(name.size())));
    zone = std::shared_ptr<const icu::TimeZone>(icu::TimeZone::createTimeZone(id));
}

int NSTimeZone::secondsFromGMT(NSDate date) {
    int32_t raw = 0;
    int32_t summer = 0;
    UErrorCode status = U_ZERO_ERROR;
    icuTimeZone()->getOffset(date.timeIntervalSince1970 * 1000, false, raw, summer, status);
    return (raw + summer) / 1000;
}

NSDate NSTimeZone::dateFromLocalTime(double seconds) {
    int32_t raw = 0;
    int32_t summer = 0;
    UErrorCode status = U_ZERO_ERROR;
    icuTimeZone()->getOffset(seconds * 1000, true, raw, summer, status);
    return {seconds - (raw + summer) / 1000.0};
}

}  // namespace tessaly
