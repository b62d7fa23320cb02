#pragma once
#include <optional>

#include "platform/CoreGraphics/CGGeometry.h"
#include "platform/UIKit/UIColor.h"

namespace tessaly {

/// How a view's surface is drawn.
struct CALayer {
    UIColor shadowColor = UIColor::blackColor();
    CGSize shadowOffset{0, -3};
    double shadowRadius = 3;
    double shadowOpacity = 0;
    std::optional<CGRect> shadowPath;  ///< What casts the shadow; nullopt for the surface itself.
    double cornerRadius = 0;
    double borderWidth = 0;
    UIColor borderColor = UIColor::blackColor();
    bool masksToBounds = false;
    bool shouldRasterize = false;
    double rasterizationScale = 1;
    friend bool operator==(const CALayer&, const CALayer&) = default;
};

}  // namespace tessaly
