#include "linux/codecs/modules/pixels/LabWhite.h"

#include <lcms2.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <limits>

namespace tessaly::codecs {
namespace {

template <class Component>
void adaptRow(std::byte* row, std::size_t width, const cmsCIEXYZ& white, const std::array<cmsCIEXYZ, 3>& axes) {
    constexpr double kFull = std::numeric_limits<Component>::max();
    const auto component = [](double fraction) {
        return static_cast<Component>(std::clamp(fraction, 0.0, 1.0) * kFull + 0.5);
    };
    auto* pixel = reinterpret_cast<Component*>(row);
    for (std::size_t i = 0; i < width; ++i, pixel += CGImage::kComponents) {
        cmsCIELab lab{pixel[0] / kFull * 100, pixel[1] / kFull * 255 - 128, pixel[2] / kFull * 255 - 128};
        cmsCIEXYZ from;
        cmsLab2XYZ(&white, &from, &lab);
        const cmsCIEXYZ adapted{from.X * axes[0].X + from.Y * axes[1].X + from.Z * axes[2].X,
                                from.X * axes[0].Y + from.Y * axes[1].Y + from.Z * axes[2].Y,
                                from.X * axes[0].Z + from.Y * axes[1].Z + from.Z * axes[2].Z};
        cmsXYZ2Lab(cmsD50_XYZ(), &lab, &adapted);
        pixel[0] = component(lab.L / 100);
        pixel[1] = component((lab.a + 128) / 255);
        pixel[2] = component((lab.b + 128) / 255);
    }
}

}  // namespace

void adaptLabToD50(CGImage& image, double x, double y) {
    constexpr double kD50x = 0.3457, kD50y = 0.3585, kSame = 0.002;
    const bool isChromaticity = x > 0 && y > 0 && x + y < 1;
    if (!isChromaticity || (std::abs(x - kD50x) < kSame && std::abs(y - kD50y) < kSame)) return;
    const cmsCIEXYZ white{x / y, 1, (1 - x - y) / y};
    // The adaptation is linear: where it takes the axes tells all of it.
    const std::array<cmsCIEXYZ, 3> units{{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}};
    std::array<cmsCIEXYZ, 3> axes{};
    for (std::size_t i = 0; i < axes.size(); ++i)
        if (!cmsAdaptToIlluminant(&axes.at(i), &white, cmsD50_XYZ(), &units.at(i))) return;
    for (std::size_t row = 0; row < image.height; ++row) {
        if (image.bitsPerComponent == 8)
            adaptRow<std::uint8_t>(image.row(row), image.width, white, axes);
        else
            adaptRow<std::uint16_t>(image.row(row), image.width, white, axes);
    }
}

}  // namespace tessaly::codecs
