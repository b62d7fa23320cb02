#pragma once
#include "platform/UIKit/UICollectionViewCell.h"
#include "platform/UIKit/UIControls.h"

namespace tessaly {

/// The row at a list's end while there is more to load.
class LoadingMoreCollectionViewCell : public UICollectionViewCell {
public:
    [[nodiscard]] std::string_view interfaceName() const noexcept override { return "LoadingMoreCollectionViewCell"; }

    std::shared_ptr<UIActivityIndicatorView> activityIndicator = outlet<UIActivityIndicatorView>("activityIndicator");
    std::shared_ptr<UILabel> loadingMessageLabel = outlet<UILabel>("loadingMessageLabel");
    /// At 1 as wide as the row.
    std::shared_ptr<UIProgressView> progressView = outlet<UIProgressView>("progressView");
};

}  // namespace tessaly
