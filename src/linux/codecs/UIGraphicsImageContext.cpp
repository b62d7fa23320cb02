#include "platform/UIKit/UIGraphicsImageContext.h"

#include <cmath>

#include "linux/codecs/Pixels.h"
#include "platform/CoreGraphics/CGImageTurning.h"
#include "platform/UIKit/UIScreen.h"

namespace tessaly {
namespace {

std::shared_ptr<CGImage> canvasOf(CGSize size, double scale) {
    const double width = std::ceil(size.width * scale);
    const double height = std::ceil(size.height * scale);
    if (!(width >= 1) || !(height >= 1) || width * height > static_cast<double>(codecs::kPixelLimit)) return nullptr;
    auto canvas = std::make_shared<CGImage>();
    canvas->width = static_cast<std::size_t>(width);
    canvas->height = static_cast<std::size_t>(height);
    canvas->alphaInfo = CGImageAlphaInfo::premultipliedLast;
    canvas->pixels = PixelBuffer::allocate(canvas->bytesPerRow() * canvas->height);
    return canvas->pixels ? canvas : nullptr;
}

}  // namespace

UIGraphicsImageContext::UIGraphicsImageContext(CGSize size, double scale)
    : size_(size), scale_(scale > 0 ? scale : UIScreen::mainScreen().scale), canvas_(canvasOf(size, scale_)) {
    transform_.a = transform_.d = scale_;
}

void UIGraphicsImageContext::translate(double x, double y) noexcept {
    transform_.tx += transform_.a * x + transform_.c * y;
    transform_.ty += transform_.b * x + transform_.d * y;
}

void UIGraphicsImageContext::rotate(double radians) noexcept {
    const double sine = std::sin(radians);
    const double cosine = std::cos(radians);
    const Transform old = transform_;
    transform_.a = old.a * cosine + old.c * sine;
    transform_.b = old.b * cosine + old.d * sine;
    transform_.c = old.c * cosine - old.a * sine;
    transform_.d = old.d * cosine - old.b * sine;
}

void UIGraphicsImageContext::draw(const UIImageRef& image, CGRect rect) {
    if (image) draw(CGImageCreateTurned(image->cgImage(), exifOrientation(image->imageOrientation())), rect);
}

void UIGraphicsImageContext::draw(const CGImageRef& bitmap, CGRect rect) {
    const codecs::PixelsModule* module = codecs::pixelsModule();
    if (!bitmap || bitmap->width == 0 || bitmap->height == 0 || !canvas_ || !module) return;
    const double scaleX = rect.size.width / static_cast<double>(bitmap->width);
    const double scaleY = rect.size.height / static_cast<double>(bitmap->height);
    const Transform& t = transform_;
    const codecs::PixelTransform transform{.a = t.a * scaleX,
                                           .b = t.b * scaleX,
                                           .c = t.c * scaleY,
                                           .d = t.d * scaleY,
                                           .tx = t.a * rect.origin.x + t.c * rect.origin.y + t.tx,
                                           .ty = t.b * rect.origin.x + t.d * rect.origin.y + t.ty};
    module->draw(*bitmap, transform, cornerRadius_ * scale_, *canvas_);
}

UIImageRef UIGraphicsImageContext::image() const {
    if (!canvas_) return nullptr;
    // A copy: what is drawn later must not change a picture that was given away.
    return UIImage::imageWithCGImage(CGImageCreateRearranged(canvas_, canvas_->alphaInfo), scale_);
}

}  // namespace tessaly
