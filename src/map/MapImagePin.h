#pragma once
#include "platform/MapKit/MKMapView.h"

namespace tessaly {

/// The place where a photo was taken.
class MapImagePin final : public MKAnnotation {
public:
    using MKAnnotation::MKAnnotation;
};

}  // namespace tessaly
