#pragma once
#include "platform/CoreGraphics/CGGeometry.h"
#include "platform/UIKit/UIImage.h"

namespace tessaly {

/// A transparent canvas to draw pictures on: x to the right, y down, from the top left corner, in points.
class UIGraphicsImageContext {
public:
    /// `scale` is the pixels a point has; 0 stands for the main screen's.
    explicit UIGraphicsImageContext(CGSize size, double scale = 1);
    [[nodiscard]] CGSize size() const noexcept { return size_; }

    void translate(double x, double y) noexcept;
    /// Clockwise.
    void rotate(double radians) noexcept;
    /// What is drawn from now on ends at the canvas's rounded corners.
    void clipToRoundedCorners(double radius) noexcept { cornerRadius_ = radius; }
    /// The picture, upright, stretched to the rectangle.
    void draw(const UIImageRef& image, CGRect rect);
    void draw(const CGImageRef& bitmap, CGRect rect);

    /// What was drawn so far; null when the canvas has no size or there was no memory for it.
    [[nodiscard]] UIImageRef image() const;

private:
    /// From a canvas point to a pixel: x' = a x + c y + tx, y' = b x + d y + ty.
    struct Transform {
        double a = 1, b = 0, c = 0, d = 1, tx = 0, ty = 0;
    };

    CGSize size_;
    double scale_;
    double cornerRadius_ = 0;
    Transform transform_;
    std::shared_ptr<CGImage> canvas_;
};

}  // namespace tessaly
