#include "extension/PhotoSizeLocationDateTimeDetailsView.h"

#include <optional>
#include <utility>

#include "dates/NSDate+DateTools.h"
#include "platform/Foundation/Format.h"
#include "platform/Foundation/NSBundle.h"
#include "platform/Foundation/NSByteCountFormatter.h"
#include "platform/Foundation/NSDateFormatter.h"
#include "platform/Foundation/NSLocale.h"
#include "settings/Apperance.h"
#include "settings/PersistanceManager.h"

namespace tessaly {
namespace {

constexpr double kTextSize = 13;  // Points.

/// Shared by all lines, and made anew for another pattern or locale only: making one costs more than many dates.
const NSDateFormatter& sharedDateFormatter() {
    static std::unique_ptr<NSDateFormatter> shared;
    static std::string locale;
    const std::string pattern = PersistanceManager::sharedInstance().dateFormatString();
    if (!shared || shared->dateFormat() != pattern || locale != NSLocale::currentLocale()) {
        locale = NSLocale::currentLocale();
        shared = std::make_unique<NSDateFormatter>(pattern);
    }
    return *shared;
}

std::string dimensionsAndSize(const ExifInformation& record) {
    const std::int64_t bytes = record.fileSizeInBytes + record.liveVideoFileSizeInBytes;
    return formatted(localized("%0.0f x %0.0f (%@)"), record.dimensions.width, record.dimensions.height,
                     stringFromByteCount(bytes));
}

/// nullopt when the record has no place.
std::optional<std::string> coordinates(ExifInformation& record) {
    const KeyResult result = record.performCustomSelector("GPS");
    const auto* const value = std::get_if<ExifValue>(&result);
    if (!value || value->exifValueReadableFormat.empty() ||
        value->exifValueReadableFormat == ExifInformation::GPSDataNotAvailableString()) {
        return std::nullopt;
    }
    return value->exifValueReadableFormat;
}

}  // namespace

void PhotoSizeLocationDateTimeDetailsView::awakeFromNib() {
    imageFileNameLabel->setFont({"", kTextSize});
    for (const auto& label : {dateTakenLabel, locationLabel, imageDimensionAndFileSize, imageFileNameLabel}) {
        label->setTextColor(Apperance::textColorOnPhotos());
    }
    const std::weak_ptr<PhotoSizeLocationDateTimeDetailsView> weakSelf = weak_from_this();
    dateToggleButton->setAction([weakSelf] {
        if (const auto self = weakSelf.lock()) self->toggleTimeStamp();
    });
    locationToggleButton->setAction([weakSelf] {
        if (const auto self = weakSelf.lock()) self->toggleLocationLabel();
    });
}

void PhotoSizeLocationDateTimeDetailsView::prepareForReuse() {
    ++request_;
    locationCompletionHandler = nullptr;
    isDisplayingLocationCoordinates = true;
    geocoder->cancelGeocode();
}

void PhotoSizeLocationDateTimeDetailsView::updateFonts() {
    const UIFont font{std::string(Apperance::fontNameWithCurrentSettings()), imageFileNameLabel->font().pointSize};
    for (const auto& label : {dateTakenLabel, locationLabel, imageDimensionAndFileSize, imageFileNameLabel}) {
        label->setFont(font);
    }
}

void PhotoSizeLocationDateTimeDetailsView::updateUIWithExifOriginalCellBlock(const OriginalCellBlock& block) {
    const auto record = exifInfo.lock();
    if (!record) return;
    updateFonts();
    if (PersistanceManager::sharedInstance().datePreferenceTimeAgoSinceNow()) {
        showDateTimeAgo();
    } else {
        showDateTimeStamp();
    }
    imageDimensionAndFileSize->setText(dimensionsAndSize(*record));
    updateLocationUIWithExifOriginalCellBlock(block);
}

void PhotoSizeLocationDateTimeDetailsView::showDate(const std::string& text) {
    dateTakenLabel->setText(text);
    dateToggleButton->setAccessibility(&UIAccessibility::label, text);
}

void PhotoSizeLocationDateTimeDetailsView::showDateTimeAgo() {
    isDisplayingTimeAgo = true;
    const auto record = exifInfo.lock();
    showDate(record && record->dateTaken ? timeAgoSinceNow(*record->dateTaken) : std::string());
}

void PhotoSizeLocationDateTimeDetailsView::showDateTimeStamp() {
    isDisplayingTimeAgo = false;
    const auto record = exifInfo.lock();
    showDate(record && record->dateTaken ? sharedDateFormatter().stringFromDate(*record->dateTaken) : std::string());
}

void PhotoSizeLocationDateTimeDetailsView::toggleTimeStamp() {
    if (isDisplayingTimeAgo) {
        showDateTimeStamp();
    } else {
        showDateTimeAgo();
    }
}

void PhotoSizeLocationDateTimeDetailsView::showLocation(const std::string& text,
                                                        const std::string& accessibilityLabel) {
    locationLabel->setText(text);
    locationLabel->setAccessibility(&UIAccessibility::label, accessibilityLabel);
}

void PhotoSizeLocationDateTimeDetailsView::updateLocationUIWithExifOriginalCellBlock(const OriginalCellBlock& block) {
    if (block) originalCell = block();
    const auto record = exifInfo.lock();
    if (!record) return;
    std::string text = record->locationName;
    if (text.empty() && record->location && CLLocationCoordinate2DIsValid(record->location->coordinate)) {
        text = localized("Loading");
        requestName(*record->location, block);
    } else if (text.empty()) {
        text = localized("No Location data");
    }
    showLocation(text, text);
    locationToggleButton->setAccessibility(&UIAccessibility::label, text);
}

void PhotoSizeLocationDateTimeDetailsView::requestName(const CLLocation& location, const OriginalCellBlock& block) {
    const std::weak_ptr<PhotoSizeLocationDateTimeDetailsView> weakSelf = weak_from_this();
    const std::uint64_t request = ++request_;
    locationCompletionHandler = [weakSelf, block](const auto& placemarks, CLError error) {
        if (const auto self = weakSelf.lock()) self->finishedRequest(placemarks, error, block);
    };
    geocoder->reverseGeocodeLocation(location, [weakSelf, request](const auto& placemarks, CLError error) {
        const auto self = weakSelf.lock();
        if (!self || self->request_ != request) return;
        if (const auto handler = std::exchange(self->locationCompletionHandler, nullptr)) handler(placemarks, error);
    });
}

void PhotoSizeLocationDateTimeDetailsView::finishedRequest(const std::vector<CLPlacemark>& placemarks, CLError error,
                                                           const OriginalCellBlock& block) {
    const auto record = exifInfo.lock();
    if (!record) return;
    const std::string name = placemarks.empty() ? std::string() : placemarks.front().name(",");
    if (!name.empty()) {
        record->locationName = name;
        updateLocationUIWithExifOriginalCellBlock(block);
        return;
    }
    // A place without any name is as good as none found; asking again would find the same.
    if (placemarks.empty() && error == CLError::none) return;
    showCoordinates(*record);
    locationToggleButton->setAccessibility(&UIAccessibility::label, locationLabel->accessibility().label);
}

void PhotoSizeLocationDateTimeDetailsView::showCoordinates(ExifInformation& record) {
    if (const auto text = coordinates(record)) {
        showLocation(*text, formatted(localized("GPS Coordinates :- %@"), *text));
    } else {
        const std::string none = localized("No Location data");
        showLocation(none, none);
    }
}

void PhotoSizeLocationDateTimeDetailsView::toggleLocationLabel() {
    const auto record = exifInfo.lock();
    if (!record) return;
    if (isDisplayingLocationCoordinates) {
        showCoordinates(*record);
    } else if (!record->locationName.empty()) {
        showLocation(record->locationName, record->locationName);
    }
    isDisplayingLocationCoordinates = !isDisplayingLocationCoordinates;
    locationToggleButton->setAccessibility(&UIAccessibility::label, locationLabel->accessibility().label);
}

}  // namespace tessaly
