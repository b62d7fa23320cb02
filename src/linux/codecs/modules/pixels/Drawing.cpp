#include <pixman.h>
#include <webp/encode.h>

#include <cmath>
#include <cstring>

#include "linux/codecs/PixelFormats.h"
#include "linux/codecs/modules/PixelRows.h"
#include "linux/codecs/modules/pixels/Pixels.h"

namespace tessaly::codecs {
namespace {

struct ImageUnref {
    void operator()(pixman_image_t* image) const noexcept { pixman_image_unref(image); }
};
using PixmanImage = std::unique_ptr<pixman_image_t, ImageUnref>;

/// The same picture with 8 bits a component and alpha last, multiplied in or not.
bool copyAsRgba8(const CGImage& image, bool premultiplied, CGImage& copy) {
    const auto withAlpha = premultiplied ? CGImageAlphaInfo::premultipliedLast : CGImageAlphaInfo::last;
    if (allocate(copy, image.width, image.height, 8, image.hasAlpha() ? withAlpha : CGImageAlphaInfo::noneSkipLast) !=
        DecodeFault::none)
        return false;
    for (std::size_t y = 0; y < image.height; ++y)
        copyRowAsRgba8(image, y, premultiplied,
                       std::span(reinterpret_cast<std::uint8_t*>(copy.row(y)), copy.bytesPerRow()));
    return true;
}

/// Formats are named from the high byte down; memory is little-endian on every machine we run on.
pixman_format_code_t formatOf(const CGImage& image) {
    if (image.isAlphaFirst()) return image.hasAlpha() ? PIXMAN_b8g8r8a8 : PIXMAN_b8g8r8x8;
    return image.hasAlpha() ? PIXMAN_a8b8g8r8 : PIXMAN_x8b8g8r8;
}

/// pixman takes what it only reads as writable, too.
PixmanImage view(const CGImage& image) {
    return PixmanImage(pixman_image_create_bits_no_clear(
        formatOf(image), static_cast<int>(image.width), static_cast<int>(image.height),
        reinterpret_cast<std::uint32_t*>(image.pixels.get()), static_cast<int>(image.bytesPerRow())));
}

/// pixman asks where a pixel of the target comes from.
bool setTransform(pixman_image_t* image, const PixelTransform& t) {
    pixman_f_transform forward{{{t.a, t.c, t.tx}, {t.b, t.d, t.ty}, {0, 0, 1}}};
    pixman_f_transform inverse;
    pixman_transform fixed;
    return pixman_f_transform_invert(&inverse, &forward) &&
           pixman_transform_from_pixman_f_transform(&fixed, &inverse) && pixman_image_set_transform(image, &fixed);
}

/// Enlarging and turning interpolate; reducing averages over what falls into a pixel.
void setFilter(pixman_image_t* image, const PixelTransform& t) {
    const double scaleX = 1 / std::max(std::hypot(t.a, t.b), 1e-6);
    const double scaleY = 1 / std::max(std::hypot(t.c, t.d), 1e-6);
    if (std::max(scaleX, scaleY) <= 1.01) {
        pixman_image_set_filter(image, PIXMAN_FILTER_BILINEAR, nullptr, 0);
        return;
    }
    int count = 0;
    pixman_fixed_t* values = pixman_filter_create_separable_convolution(
        &count, pixman_double_to_fixed(scaleX), pixman_double_to_fixed(scaleY), PIXMAN_KERNEL_LINEAR,
        PIXMAN_KERNEL_LINEAR, PIXMAN_KERNEL_BOX, PIXMAN_KERNEL_BOX, 4, 4);
    if (values) pixman_image_set_filter(image, PIXMAN_FILTER_SEPARABLE_CONVOLUTION, values, count);
    free(values);
}

/// How much of each pixel lies within the rounded corners, 0 to 255.
PixmanImage cornerMask(std::size_t width, std::size_t height, double radius) {
    PixmanImage mask(
        pixman_image_create_bits(PIXMAN_a8, static_cast<int>(width), static_cast<int>(height), nullptr, 0));
    if (!mask) return nullptr;
    auto* bytes = reinterpret_cast<std::uint8_t*>(pixman_image_get_data(mask.get()));
    const auto stride = static_cast<std::size_t>(pixman_image_get_stride(mask.get()));
    const double limit = std::min({radius, static_cast<double>(width) / 2, static_cast<double>(height) / 2});
    for (std::size_t y = 0; y < height; ++y)
        for (std::size_t x = 0; x < width; ++x) {
            const double px = static_cast<double>(x) + 0.5;
            const double py = static_cast<double>(y) + 0.5;
            const double dx = std::max({limit - px, px - (static_cast<double>(width) - limit), 0.0});
            const double dy = std::max({limit - py, py - (static_cast<double>(height) - limit), 0.0});
            const double inside = dx > 0 && dy > 0 ? std::clamp(limit - std::hypot(dx, dy) + 0.5, 0.0, 1.0) : 1.0;
            bytes[y * stride + x] = static_cast<std::uint8_t>(std::lround(inside * 255));
        }
    return mask;
}

/// libwebp's scaler is the smooth and quick one of the libraries at hand; its pictures end at 16383 pixels a side.
bool scaleQuickly(CGImage& source, std::size_t width, std::size_t height, CGImage& scaled) {
    WebPPicture picture;
    if (!WebPPictureInit(&picture)) return false;
    picture.use_argb = 1;
    picture.width = static_cast<int>(source.width);
    picture.height = static_cast<int>(source.height);
    picture.argb = reinterpret_cast<std::uint32_t*>(source.pixels.get());
    picture.argb_stride = picture.width;
    // A view borrows our pixels; the scaled picture then owns its own.
    const bool done = WebPPictureRescale(&picture, static_cast<int>(width), static_cast<int>(height)) != 0 &&
                      allocate(scaled, width, height, 8, source.alphaInfo) == DecodeFault::none;
    for (std::size_t y = 0; done && y < height; ++y)
        std::memcpy(scaled.row(y), picture.argb + y * static_cast<std::size_t>(picture.argb_stride), width * 4);
    WebPPictureFree(&picture);
    return done;
}

/// The part of the target that is drawn on.
struct Area {
    int x = 0, y = 0, width = 0, height = 0;
    bool isStraight = false;
};

Area areaOf(const CGImage& image, const PixelTransform& t, const CGImage& target) {
    const auto right = static_cast<double>(target.width);
    const auto bottom = static_cast<double>(target.height);
    if (t.b != 0 || t.c != 0 || t.a <= 0 || t.d <= 0)
        return {0, 0, static_cast<int>(target.width), static_cast<int>(target.height), false};
    const double left = std::clamp(std::round(t.tx), 0.0, right);
    const double top = std::clamp(std::round(t.ty), 0.0, bottom);
    const double end = std::clamp(std::round(t.tx + t.a * static_cast<double>(image.width)), left, right);
    const double foot = std::clamp(std::round(t.ty + t.d * static_cast<double>(image.height)), top, bottom);
    return {static_cast<int>(left), static_cast<int>(top), static_cast<int>(end - left), static_cast<int>(foot - top),
            true};
}

bool isScalable(const CGImage& image) { return image.width < WEBP_MAX_DIMENSION && image.height < WEBP_MAX_DIMENSION; }

}  // namespace

bool scale(const CGImage& image, std::size_t width, std::size_t height, CGImage& scaled) {
    if (width == 0 || height == 0 || !image.pixels) return false;
    if (width <= image.width && height <= image.height && isScalable(image)) {
        CGImage copy;
        return copyAsRgba8(image, false, copy) && scaleQuickly(copy, width, height, scaled);
    }
    if (allocate(scaled, width, height, 8, CGImageAlphaInfo::premultipliedLast) != DecodeFault::none) return false;
    const PixelTransform transform{.a = static_cast<double>(width) / static_cast<double>(image.width),
                                   .d = static_cast<double>(height) / static_cast<double>(image.height)};
    if (!draw(image, transform, 0, scaled)) return false;
    if (!image.hasAlpha()) scaled.alphaInfo = CGImageAlphaInfo::noneSkipLast;
    return true;
}

bool draw(const CGImage& image, const PixelTransform& transform, double cornerRadius, CGImage& target) {
    CGImage copy;
    const bool isReady = image.bitsPerComponent == 8 && (!image.hasAlpha() || image.isPremultiplied());
    if (!image.pixels || (!isReady && !copyAsRgba8(image, true, copy))) return false;
    const PixmanImage source = view(isReady ? image : copy);
    const PixmanImage canvas = view(target);
    if (!source || !canvas || !setTransform(source.get(), transform)) return false;
    setFilter(source.get(), transform);
    const PixmanImage mask = cornerRadius > 0 ? cornerMask(target.width, target.height, cornerRadius) : nullptr;
    if (cornerRadius > 0 && !mask) return false;
    const Area area = areaOf(image, transform, target);
    // A picture that lies straight covers whole pixels to its very edge; a turned one fades into what is below it.
    if (area.isStraight) pixman_image_set_repeat(source.get(), PIXMAN_REPEAT_PAD);
    pixman_image_composite32(PIXMAN_OP_OVER, source.get(), mask.get(), canvas.get(), area.x, area.y, area.x, area.y,
                             area.x, area.y, area.width, area.height);
    return true;
}

}  // namespace tessaly::codecs
