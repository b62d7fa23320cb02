#include "linux/photos/WallClock.h"

#include <unicode/timezone.h>

#include <memory>
#include <utility>

#include "linux/foundation/IcuTimeZone.h"
#include "platform/Foundation/NSTimeZone.h"
#include "platform/Photos/PHAsset.h"

namespace tessaly::photos {
namespace {

using Zone = std::unique_ptr<icu::TimeZone>;

std::string text(const icu::UnicodeString& id) {
    std::string result;
    return id.toUTF8String(result);
}

Zone zoneNamed(const std::string& name) {
    return Zone(icu::TimeZone::createTimeZone(icu::UnicodeString::fromUTF8(name)));
}

/// A name from which the zone can be made again; of one that has none, its offset ("GMT+09:00").
std::string nameOf(const icu::TimeZone& zone) {
    icu::UnicodeString id;
    if (std::string name = text(zone.getID(id)); zoneNamed(name)->hasSameRules(zone)) return name;
    const int minutes = zone.getRawOffset() / 60'000;
    const int absolute = minutes < 0 ? -minutes : minutes;
    const auto two = [](int number) { return (number < 10 ? "0" : "") + std::to_string(number); };
    return (minutes < 0 ? "GMT-" : "GMT+") + two(absolute / 60) + ":" + two(absolute % 60);
}

/// The same time of day in the zone in force.
double moved(double instant, const icu::TimeZone& from) {
    int32_t raw = 0;
    int32_t summer = 0;
    UErrorCode status = U_ZERO_ERROR;
    from.getOffset(instant * 1000, false, raw, summer, status);
    return NSTimeZone::dateFromLocalTime(instant + (raw + summer) / 1000.0).timeIntervalSince1970;
}

std::optional<std::string> storedZone(const Database& database) {
    return database.text("SELECT value FROM facts WHERE name = 'time_zone'");
}

void move(const Database& database, const icu::TimeZone& from) {
    std::vector<std::pair<std::int64_t, double>> dates;
    // As old as its file is a photo that tells no date.
    Statement rows = database.prepare(
        "SELECT id, created FROM assets WHERE media_type = ? AND created IS NOT NULL AND (modified IS NULL OR "
        "abs(created - modified) > 0.001)");
    rows.bind(PHAssetMediaTypeImage);
    while (rows.step()) dates.emplace_back(rows.integer(0), rows.real(1));
    for (const auto& [asset, created] : dates)
        database.run("UPDATE assets SET created = ? WHERE id = ?", moved(created, from), asset);
}

}  // namespace

void followTimeZone(const Database& database) {
    const std::string now = nameOf(*icuTimeZone());
    if (storedZone(database) == now) return;
    Transaction transaction(database);
    // Another program may have done it while we waited for its lock.
    const auto before = storedZone(database);
    if (before && *before != now) move(database, *zoneNamed(*before));
    database.run("INSERT OR REPLACE INTO facts VALUES ('time_zone', ?)", now);
    transaction.commit();
}

}  // namespace tessaly::photos
