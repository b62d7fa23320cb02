#include "Items.h"

#include <variant>

#include "platform/Foundation/Format.h"
#include "platform/Foundation/NSBundle.h"
#include "settings/AppSettings.h"

namespace tessaly::cli {
namespace {

constexpr std::string_view kMapKey = "MapView";

std::vector<std::string> namesOf(const ExifKeys& keys) {
    std::vector<std::string> names;
    names.reserve(keys.size());
    for (const ExifKey& key : keys) names.push_back(key.key);
    return names;
}

/// RFC 5870: any map program opens it.
std::string geoLink(const CLLocation& location) {
    return formatted("geo:%f,%f", location.coordinate.latitude, location.coordinate.longitude);
}

Item itemOf(ExifInformation& record, const std::string& key) {
    const KeyResult result = record.performCustomSelector(key);
    if (const auto* value = std::get_if<ExifValue>(&result)) {
        std::string text = value->exifValueReadableFormat;
        if (value->uniqueID == kMapKey && hasValidLocation(record)) text = geoLink(*record.location);
        return {key, value->exifKeyReadableFormat, std::move(text), value->exifRAWValue};
    }
    const auto* stored = std::get_if<Value>(&result);
    if (stored && !stored->isNull()) return {key, key, stored->description(), stored->description()};
    return {key, key, localized("Not available"), {}};
}

}  // namespace

bool isVideo(const ExifInformation& record) { return record.mediaType() == PHAssetMediaTypeVideo; }

bool hasValidLocation(const ExifInformation& record) {
    return record.location && CLLocationCoordinate2DIsValid(record.location->coordinate);
}

bool isKeyName(const std::string& name) {
    ExifInformation record;
    return !std::holds_alternative<std::monostate>(record.performCustomSelector(name));
}

KeySelection KeySelection::usersOwn(bool hiddenToo) {
    const AppSettings& settings = AppSettings::sharedInstance();
    if (hiddenToo)
        return {namesOf(settings.exifKeysOrderedArray()), namesOf(settings.exifKeysOrderedArray_Video()), true};
    return {namesOf(settings.exifVisibleKeysOrderedArray()), namesOf(settings.exifVisibleKeysOrderedArray_Video()),
            true};
}

KeySelection KeySelection::named(const std::vector<std::string>& keys) { return {keys, keys, false}; }

const std::vector<std::string>& KeySelection::of(const ExifInformation& record) const {
    return isVideo(record) ? video : photo;
}

std::vector<Item> itemsOf(ExifInformation& record, const KeySelection& selection) {
    const std::vector<std::string>& keys = selection.of(record);
    const bool withoutMap = selection.isUsersOwn && !hasValidLocation(record);
    std::vector<Item> items;
    items.reserve(keys.size());
    for (const std::string& key : keys)
        if (!withoutMap || key != kMapKey) items.push_back(itemOf(record, key));
    return items;
}

}  // namespace tessaly::cli
