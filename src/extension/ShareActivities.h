#pragma once
#include "platform/Foundation/NSBundle.h"
#include "platform/UIKit/UIActivity.h"

/// What a share sheet can name beside the programs to share with. They only report that they are done: whoever offers
/// one does the work.
namespace tessaly {

class RemoveExifDataActivity : public UIActivity {
public:
    [[nodiscard]] std::string_view activityType() const noexcept override { return "tessaly.remove.exifdata"; }
    [[nodiscard]] std::string activityTitle() const override { return "Remove Exif Data"; }
    [[nodiscard]] std::string_view activityImageName() const noexcept override { return "delete_button"; }
};

class DeletePhotoActivity : public UIActivity {
public:
    [[nodiscard]] std::string_view activityType() const noexcept override { return "tessaly.delete.photo"; }
    [[nodiscard]] std::string activityTitle() const override { return localized("Delete Photo"); }
    [[nodiscard]] std::string_view activityImageName() const noexcept override { return "delete_button"; }
};

class RemoveGeoTagActivity : public UIActivity {
public:
    [[nodiscard]] std::string_view activityType() const noexcept override { return "tessaly.remove.geotag"; }
    [[nodiscard]] std::string activityTitle() const override { return "Remove location"; }
    [[nodiscard]] std::string_view activityImageName() const noexcept override { return "delete_button"; }
};

}  // namespace tessaly
