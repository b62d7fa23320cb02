#pragma once
#include <memory>

#include "metadata/ExifKey.h"
#include "settings/OrderedKeys.h"

namespace tessaly {

class NSUserDefaults;

/// The order and visibility of the keys of the metadata list, for photos and for videos.
class AppSettings {
public:
    static AppSettings& sharedInstance();
    /// `standard` may still hold lists of before they were shared; they are moved into `suite`.
    AppSettings(const std::shared_ptr<NSUserDefaults>& standard, const std::shared_ptr<NSUserDefaults>& suite);

    static ExifKeyList exifKeysDefaultOrderedArray();
    static ExifKeyList exifKeysDefaultOrderedArrayForVideos();
    /// The default keys that `keys` lacks, in default order. See PersistanceManager::missingExifKeysIn.
    static ExifKeyList missingExifOrderedKeysIn(const ExifKeyList& keys, bool forVideo);

    // All keys, hidden ones included.
    [[nodiscard]] const ExifKeyList& exifKeysOrderedArray() const { return photoKeys_.all(); }
    void setExifKeysOrderedArray(ExifKeyList keys) { photoKeys_.set(std::move(keys)); }
    [[nodiscard]] const ExifKeyList& exifKeysOrderedArray_Video() const { return videoKeys_.all(); }
    void setExifKeysOrderedArray_Video(ExifKeyList keys) { videoKeys_.set(std::move(keys)); }

    // The keys that are not hidden.
    [[nodiscard]] const ExifKeyList& exifVisibleKeysOrderedArray() { return photoKeys_.visible(); }
    [[nodiscard]] const ExifKeyList& exifVisibleKeysOrderedArray_Video() { return videoKeys_.visible(); }

private:
    OrderedKeys photoKeys_;
    OrderedKeys videoKeys_;
};

}  // namespace tessaly
