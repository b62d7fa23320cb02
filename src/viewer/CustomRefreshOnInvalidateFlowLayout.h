#pragma once
#include "platform/UIKit/UICollectionView.h"

namespace tessaly {

/// Lays out anew when the view's size changes, and only then.
class CustomRefreshOnInvalidateFlowLayout : public UICollectionViewFlowLayout {
public:
    [[nodiscard]] bool shouldInvalidateLayoutForBoundsChange(const CGRect& oldBounds,
                                                             const CGRect& newBounds) const override {
        return newBounds.size.width != oldBounds.size.width || newBounds.size.height != oldBounds.size.height;
    }
};

}  // namespace tessaly
