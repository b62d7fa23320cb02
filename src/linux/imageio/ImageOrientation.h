#pragma once

namespace tessaly::imageio {

/// How an image is turned for display, gathered from a container's own transformations.
class ImageOrientation {
public:
    /// Turns what is shown so far by a quarter counter-clockwise, so many times (ISO/IEC 23008-12, 6.5.10).
    constexpr void rotateCounterClockwise(int quarters) noexcept {
        for (int i = 0; i < (quarters & 3); ++i) {
            // (x, y) of the old picture, y downwards, goes to (y, -x).
            const Axes old = axes_;
            axes_ = {old.yx, old.yy, -old.xx, -old.xy};
        }
    }
    constexpr void flipTopBottom() noexcept { axes_ = {axes_.xx, axes_.xy, -axes_.yx, -axes_.yy}; }
    constexpr void flipLeftRight() noexcept { axes_ = {-axes_.xx, -axes_.xy, axes_.yx, axes_.yy}; }

    /// The same as an Exif orientation, 1 to 8 (Exif 2.32, 4.6.4).
    [[nodiscard]] constexpr int exifValue() const noexcept {
        if (axes_.xx == 1) return axes_.yy == 1 ? 1 : 4;
        if (axes_.xx == -1) return axes_.yy == 1 ? 2 : 3;
        if (axes_.xy == 1) return axes_.yx == 1 ? 5 : 8;
        return axes_.yx == 1 ? 6 : 7;
    }

private:
    /// Rows of the matrix from stored to shown coordinates: x' = xx * x + xy * y, y' = yx * x + yy * y.
    struct Axes {
        int xx = 1, xy = 0, yx = 0, yy = 1;
    };
    Axes axes_;
};

}  // namespace tessaly::imageio
