#pragma once
#include <cstdint>
#include <functional>
#include <memory>

#include "metadata/ExifInformation.h"
#include "platform/CoreLocation/CLGeocoder.h"
#include "platform/UIKit/InterfaceOwner.h"
#include "platform/UIKit/UICollectionViewCell.h"
#include "platform/UIKit/UIControls.h"

namespace tessaly {

/// The line over the photo's edge: when and where it was taken, and how large it is. The date and the place are
/// buttons, which show the other way of telling them.
class PhotoSizeLocationDateTimeDetailsView : public UIView,
                                             public InterfaceOwner,
                                             public std::enable_shared_from_this<PhotoSizeLocationDateTimeDetailsView> {
public:
    /// Answers the cell that the view stands in, or null once that is gone.
    using OriginalCellBlock = std::function<std::shared_ptr<UICollectionReusableView>()>;

    [[nodiscard]] std::string_view interfaceName() const noexcept override {
        return "PhotoSizeLocationDateTimeDetailsView";
    }

    std::weak_ptr<ExifInformation> exifInfo;
    std::weak_ptr<UICollectionReusableView> originalCell;
    bool isDisplayingTimeAgo = false;
    /// What the next tap shows: the coordinates at first, for the place's name stands there.
    bool isDisplayingLocationCoordinates = true;
    /// Where place names come from.
    std::shared_ptr<CLGeocoder> geocoder = CLGeocoder::offlineGeocoder();
    /// Waits for a place's name; null when nobody does.
    CLGeocoder::CompletionHandler locationCompletionHandler;

    std::shared_ptr<UILabel> dateTakenLabel = outlet<UILabel>("dateTakenLabel");
    std::shared_ptr<UILabel> locationLabel = outlet<UILabel>("locationLabel");
    std::shared_ptr<UILabel> imageDimensionAndFileSize = outlet<UILabel>("imageDimensionAndFileSize");
    std::shared_ptr<UILabel> imageFileNameLabel = outlet<UILabel>("imageFileNameLabel");
    std::shared_ptr<UIButton> dateToggleButton = outlet<UIButton>("dateToggleButton");
    std::shared_ptr<UIButton> locationToggleButton = outlet<UIButton>("locationToggleButton");

    void awakeFromNib();
    /// Another record is to be shown: an answer that is still to come is for nobody.
    void prepareForReuse();
    void updateUIWithExifOriginalCellBlock(const OriginalCellBlock& block);
    void updateLocationUIWithExifOriginalCellBlock(const OriginalCellBlock& block);
    void showDateTimeAgo();
    void showDateTimeStamp();
    void toggleTimeStamp();
    void toggleLocationLabel();
    void updateFonts();

private:
    void showDate(const std::string& text);
    void showLocation(const std::string& text, const std::string& accessibilityLabel);
    void showCoordinates(ExifInformation& record);
    void requestName(const CLLocation& location, const OriginalCellBlock& block);
    void finishedRequest(const std::vector<CLPlacemark>& placemarks, CLError error, const OriginalCellBlock& block);

    std::uint64_t request_ = 0;  ///< The last one; the answers of those before are dropped.
};

}  // namespace tessaly
