#include "platform/UIKit/UIImage.h"

#include <array>

#include "linux/codecs/Pixels.h"
#include "platform/CoreGraphics/CGImageTurning.h"
#include "platform/ImageIO/CGImageProperties.h"

namespace tessaly {
namespace {

// By UIImageOrientation.
constexpr std::array kExifOrientations{1, 3, 8, 6, 2, 4, 5, 7};

}  // namespace

int exifOrientation(UIImageOrientation orientation) noexcept {
    return kExifOrientations[static_cast<std::size_t>(orientation)];
}

UIImageOrientation imageOrientation(std::int64_t value) noexcept {
    for (std::size_t i = 0; i < kExifOrientations.size(); ++i)
        if (kExifOrientations[i] == value) return static_cast<UIImageOrientation>(i);
    return UIImageOrientation::up;
}

/// What the head of an encoded file tells.
struct UIImage::Head {
    std::size_t width = 0;
    std::size_t height = 0;
    std::size_t frameCount = 1;
    UIImageOrientation orientation = UIImageOrientation::up;

    static std::optional<Head> read(const CGImageSourceRef& source) {
        if (!CGImageSourceIsDecodable(source)) return std::nullopt;
        const auto properties = CGImageSourceCopyPropertiesAtIndex(source, 0, {}).value_or(Dictionary());
        Head head;
        head.width =
            static_cast<std::size_t>(std::max<std::int64_t>(0, properties[kCGImagePropertyPixelWidth].integerValue()));
        head.height =
            static_cast<std::size_t>(std::max<std::int64_t>(0, properties[kCGImagePropertyPixelHeight].integerValue()));
        const std::string_view type = CGImageSourceGetType(source);
        if (type == "com.compuserve.gif" || type == "org.webmproject.webp" || type == "public.jpeg-xl")
            head.frameCount = std::max<std::size_t>(1, CGImageSourceGetCount(source));
        if (!CGImageSourceIsUpright(source))
            head.orientation = tessaly::imageOrientation(properties[kCGImagePropertyOrientation].integerValue());
        return head;
    }
};

UIImageRef UIImage::make(const std::shared_ptr<Pixels>& pixels, const Head& head, double scale) {
    const std::shared_ptr<UIImage> image(new UIImage);
    image->pixels_ = pixels;
    image->width_ = head.width;
    image->height_ = head.height;
    image->frameCount_ = head.frameCount;
    image->orientation_ = head.orientation;
    image->scale_ = scale > 0 ? scale : 1;
    return image;
}

UIImageRef UIImage::imageWithData(const Data& data, double scale) {
    if (!data || data->empty()) return nullptr;
    const auto head = Head::read(CGImageSourceCreateWithData(data));
    if (!head) return nullptr;
    auto pixels = std::make_shared<Pixels>();
    pixels->data = data;
    return make(pixels, *head, scale);
}

UIImageRef UIImage::imageWithContentsOfFile(const std::string& path) {
    const auto head = Head::read(CGImageSourceCreateWithURL(path));
    if (!head) return nullptr;
    auto pixels = std::make_shared<Pixels>();
    pixels->path = path;
    return make(pixels, *head, 1);
}

UIImageRef UIImage::imageWithCGImage(CGImageRef bitmap, double scale, UIImageOrientation orientation) {
    if (!bitmap) return nullptr;
    auto pixels = std::make_shared<Pixels>();
    const Head head{bitmap->width, bitmap->height, 1, orientation};
    pixels->bitmap = std::move(bitmap);
    return make(pixels, head, scale);
}

UIImageRef UIImage::copy(double scale, UIImageOrientation orientation) const {
    return make(pixels_, {width_, height_, frameCount_, orientation}, scale);
}

CGSize UIImage::size() const noexcept {
    const double width = static_cast<double>(width_) / scale_;
    const double height = static_cast<double>(height_) / scale_;
    return isSideways(orientation_) ? CGSize{height, width} : CGSize{width, height};
}

CGImageRef UIImage::cgImage() const {
    Pixels& pixels = *pixels_;
    std::call_once(pixels.decoded, [&pixels] {
        if (pixels.bitmap) return;
        const auto source =
            pixels.data ? CGImageSourceCreateWithData(pixels.data) : CGImageSourceCreateWithURL(pixels.path);
        pixels.bitmap = CGImageSourceCreateImageAtIndex(source, 0, {});
    });
    return pixels.bitmap;
}

namespace {

template <class Encode>
Data encoded(const UIImageRef& image, const Encode& encode) {
    const codecs::PixelsModule* module = codecs::pixelsModule();
    if (!image || !module) return nullptr;
    const CGImageRef upright = CGImageCreateTurned(image->cgImage(), exifOrientation(image->imageOrientation()));
    auto bytes = std::make_shared<std::vector<std::byte>>();
    if (!upright || !encode(*module, *upright, *bytes)) return nullptr;
    return bytes;
}

}  // namespace

Data UIImageJPEGRepresentation(const UIImageRef& image, double quality) {
    return encoded(image,
                   [quality](const codecs::PixelsModule& module, const CGImage& bitmap, std::vector<std::byte>& bytes) {
                       return module.encodeJpeg(bitmap, quality, bytes);
                   });
}

Data UIImagePNGRepresentation(const UIImageRef& image) {
    return encoded(image, [](const codecs::PixelsModule& module, const CGImage& bitmap, std::vector<std::byte>& bytes) {
        return module.encodePng(bitmap, bytes);
    });
}

}  // namespace tessaly
