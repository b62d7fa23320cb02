#pragma once
#include <string>

#include "platform/MapKit/MKMapView.h"

namespace tessaly {

/// An arrow at a photo's place; its rotation tells where the camera went.
class PhotoDirectionAnnotationView final : public MKAnnotationView {
public:
    static constexpr CGSize kSize{100, 100};

    explicit PhotoDirectionAnnotationView(std::string reuseIdentifier) : MKAnnotationView(std::move(reuseIdentifier)) {
        setFrame({{}, kSize});
        iconView->setFrame({{}, kSize});
        iconView->setContentMode(UIViewContentMode::scaleAspectFit);
        iconView->setUserInteractionEnabled(false);
        CALayer border;
        border.borderColor = UIColor::whiteColor();
        iconView->setLayer(border);
        titleCountLabel->setHidden(true);
    }
    void setAnnotation(const MKAnnotationRef& annotation) override {
        if (annotation) iconView->setImageNamed("photo_direction_indicator");
        MKAnnotationView::setAnnotation(annotation);
    }
    void prepareForReuse() override { iconView->setFrame({{}, kSize}); }
    [[nodiscard]] std::string imageName() const override { return iconView->imageName(); }

    std::shared_ptr<UIImageView> iconView = std::make_shared<UIImageView>();
    std::shared_ptr<UILabel> titleCountLabel = std::make_shared<UILabel>();
    double mapScale = 1;
};

}  // namespace tessaly
