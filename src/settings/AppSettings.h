#pragma once
#include <memory>
#include <string>
#include <string_view>

#include "platform/Foundation/NSUserDefaults.h"
#include "settings/OrderedKeyList.h"

namespace tessaly {

/// Which metadata rows are shown, and in what order: one list for photos, one for videos. Main thread.
class AppSettings {
public:
    /// Loads the lists from the suite; a list that an older version kept in `standard` moves into the suite once.
    AppSettings(std::string_view suiteName, const std::shared_ptr<NSUserDefaults>& standard);
    [[nodiscard]] static AppSettings& sharedInstance();

    [[nodiscard]] static ExifKeys exifKeysDefaultOrderedArray();
    [[nodiscard]] static ExifKeys exifKeysDefaultOrderedArrayForVideos();
    [[nodiscard]] static ExifKeys missingExifOrderedKeysIn(const ExifKeys& stored, bool forVideo);

    [[nodiscard]] const ExifKeys& exifKeysOrderedArray() const { return photoList_.keys(); }
    void setExifKeysOrderedArray(ExifKeys keys) { photoList_.set(std::move(keys), *suite_); }
    [[nodiscard]] const ExifKeys& exifKeysOrderedArray_Video() const { return videoList_.keys(); }
    void setExifKeysOrderedArray_Video(ExifKeys keys) { videoList_.set(std::move(keys), *suite_); }
    [[nodiscard]] const ExifKeys& exifVisibleKeysOrderedArray() const { return photoList_.visibleKeys(); }
    [[nodiscard]] const ExifKeys& exifVisibleKeysOrderedArray_Video() const { return videoList_.visibleKeys(); }

    /// Why the lists could not be stored last; "" when they were.
    [[nodiscard]] std::string lastError() const { return suite_->lastError(); }

private:
    void load(OrderedKeyList& list, NSUserDefaults& standard, bool forVideo);

    std::unique_ptr<NSUserDefaults> suite_;
    OrderedKeyList photoList_{"exifKeysOrderedArray"};
    OrderedKeyList videoList_{"exifKeysOrderedArray_Video"};
};

}  // namespace tessaly
