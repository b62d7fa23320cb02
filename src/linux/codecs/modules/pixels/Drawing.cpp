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
        reinterpret_cast<std::uint32_t*>(const_cast<std::byte*>(image.pixels.get())),
        static_cast<int>(image.bytesPerRow())));
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
        &count, pixman_double_to_fixed(scaleX), pixman_double_to_fixed(scaleY), PIXMAN_KERNEL_BOX, PIXMAN_KERNEL_BOX,
        PIXMAN_KERNEL_BOX, PIXMAN_KERNEL_BOX, 4, 4);
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

/// How many pixels of the source, along its sides, become one before it is drawn.
struct Reduction {
    std::size_t x = 1;
    std::size_t y = 1;
};

/// pixman counts in 16.16 fixed point: its weights lose light beyond a few times, its pictures end at 32767 pixels.
constexpr double kLargestFilter = 4;
constexpr std::size_t kPixmanSide = 32767;

Reduction reductionFor(const CGImage& image, const PixelTransform& t) {
    const auto along = [](double length, std::size_t side) {
        const double factor = 1 / std::max(length, 1e-9);
        const double wanted = factor > kLargestFilter ? factor / 2 : 1;
        const std::size_t least = (side + kPixmanSide - 1) / kPixmanSide;
        return std::clamp<std::size_t>(static_cast<std::size_t>(std::min(wanted, 1e9)), std::max<std::size_t>(least, 1),
                                       std::max<std::size_t>(side, 1));
    };
    return {along(std::hypot(t.a, t.b), image.width), along(std::hypot(t.c, t.d), image.height)};
}

/// Averages of rectangles of pixels of 8 bits, alpha multiplied in or opaque.
bool reduceByBoxes(const CGImage& image, Reduction reduction, CGImage& reduced) {
    if (allocate(reduced, (image.width + reduction.x - 1) / reduction.x, (image.height + reduction.y - 1) / reduction.y,
                 8, image.alphaInfo) != DecodeFault::none)
        return false;
    std::vector<std::uint32_t> sums(reduced.width * CGImage::kComponents);
    for (std::size_t y = 0; y < reduced.height; ++y) {
        std::ranges::fill(sums, 0U);
        const std::size_t end = std::min(image.height, (y + 1) * reduction.y);
        for (std::size_t from = y * reduction.y; from < end; ++from) {
            const auto* pixel = reinterpret_cast<const std::uint8_t*>(image.row(from));
            for (std::size_t x = 0; x < image.width; ++x)
                for (std::size_t c = 0; c < CGImage::kComponents; ++c)
                    sums[x / reduction.x * CGImage::kComponents + c] += *pixel++;
        }
        auto* target = reinterpret_cast<std::uint8_t*>(reduced.row(y));
        for (std::size_t x = 0; x < reduced.width; ++x) {
            const std::size_t columns = std::min(reduction.x, image.width - x * reduction.x);
            const std::uint64_t count = columns * (end - y * reduction.y);
            for (std::size_t c = 0; c < CGImage::kComponents; ++c)
                *target++ = static_cast<std::uint8_t>((sums[x * CGImage::kComponents + c] + count / 2) / count);
        }
    }
    return true;
}

/// Numbers that are none, or so large that no pixel of a canvas comes of them, would end in pixman's assertions.
bool isDrawable(const PixelTransform& t) {
    constexpr double kLimit = 1e10;
    const auto isSensible = [](double value) { return std::isfinite(value) && std::abs(value) < kLimit; };
    const double area = t.a * t.d - t.b * t.c;
    return isSensible(t.a) && isSensible(t.b) && isSensible(t.c) && isSensible(t.d) && isSensible(t.tx) &&
           isSensible(t.ty) && std::abs(area) > 1e-12;
}

bool composite(const CGImage& image, const PixelTransform& transform, double cornerRadius, CGImage& target) {
    const PixmanImage source = view(image);
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
    if (!image.pixels || !isDrawable(transform)) return false;
    CGImage copy;
    PixelTransform t = transform;
    const CGImage* source = &image;
    if (image.bitsPerComponent != 8 || (image.hasAlpha() && !image.isPremultiplied())) {
        if (!copyAsRgba8(image, true, copy)) return false;
        source = &copy;
    }
    CGImage reduced;
    const Reduction reduction = reductionFor(*source, t);
    if (reduction.x > 1 || reduction.y > 1) {
        if (!reduceByBoxes(*source, reduction, reduced)) return false;
        t.a *= static_cast<double>(reduction.x);
        t.b *= static_cast<double>(reduction.x);
        t.c *= static_cast<double>(reduction.y);
        t.d *= static_cast<double>(reduction.y);
        source = &reduced;
    }
    return composite(*source, t, cornerRadius, target);
}

}  // namespace tessaly::codecs
