#pragma once
#include "platform/CoreGraphics/CGImage.h"

namespace tessaly::codecs {

/// Turns pixels of CIE L*a*b* by a white of the chromaticity (x, y) into those by D50, which colour management counts
/// from. L* from 0 to 100, a* and b* from -128 to 127 over the whole range of a component.
void adaptLabToD50(CGImage& image, double x, double y);

}  // namespace tessaly::codecs
