#include "Items.h"

#include <variant>

#include "Properties.h"
#include "metadata/PreciseValues.h"
#include "platform/Foundation/Format.h"
#include "platform/Foundation/NSBundle.h"
#include "settings/AppSettings.h"
#include "settings/PersistanceManager.h"

namespace tessaly::cli {
namespace {

constexpr std::string_view kMapKey = "MapView";
constexpr std::string_view kTiffOrientationKey = "Orientation_TIFF";
constexpr std::string_view kTiffOrientation = "TIFF.Orientation";

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

/// What a raw accessor answers, which looks at the top level only, or else the property of that name.
std::string storedText(const ExifInformation& record, const std::string& key, const KeyResult& result) {
    const auto* const stored = std::get_if<Value>(&result);
    if (stored && !stored->isNull()) return stored->description();
    const auto path = propertyNamed(key == kTiffOrientationKey ? kTiffOrientation : key);
    return path ? propertyOf(record, *path).description() : std::string();
}

Item itemOf(ExifInformation& record, const std::string& key) {
    const KeyResult result = record.performCustomSelector(key);
    if (const auto* value = std::get_if<ExifValue>(&result)) {
        std::string text = value->exifValueReadableFormat;
        if (value->uniqueID == kMapKey && hasValidLocation(record)) text = geoLink(*record.location);
        return {key, value->exifKeyReadableFormat, std::move(text), value->exifRAWValue};
    }
    const std::string stored = storedText(record, key, result);
    return {key, key, stored.empty() ? localized("Not available") : stored, stored};
}

Item rawItemOf(ExifInformation& record, const std::string& key) {
    const KeyResult result = record.performCustomSelector(key);
    const bool hasFormatter = std::holds_alternative<ExifValue>(result);
    const std::string text = hasFormatter ? statedValue(record, key).description() : storedText(record, key, result);
    return {key, key, text, text};
}

}  // namespace

bool isVideo(const ExifInformation& record) { return record.mediaType() == PHAssetMediaTypeVideo; }

bool hasValidLocation(const ExifInformation& record) {
    return record.location && CLLocationCoordinate2DIsValid(record.location->coordinate);
}

bool isKeyName(const std::string& name) {
    ExifInformation record;
    return propertyNamed(name) || !std::holds_alternative<std::monostate>(record.performCustomSelector(name));
}

KeySelection KeySelection::usersOwn(bool hiddenToo) {
    const AppSettings& settings = AppSettings::sharedInstance();
    if (hiddenToo)
        return {namesOf(withKeysHiddenAtFirst(settings.exifKeysOrderedArray())),
                namesOf(withKeysHiddenAtFirst(settings.exifKeysOrderedArray_Video())), true};
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
    const bool hidesEmpty =
        selection.isUsersOwn && !selection.isRaw && PersistanceManager::sharedInstance().hidesEmptyRows();
    for (const std::string& key : keys) {
        if ((withoutMap && key == kMapKey) || (hidesEmpty && isEmptyRow(record, key))) continue;
        items.push_back(selection.isRaw ? rawItemOf(record, key) : itemOf(record, key));
    }
    return items;
}

}  // namespace tessaly::cli
