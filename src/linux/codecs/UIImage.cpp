#include "platform/UIKit/UIImage.h"

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <filesystem>
#include <mutex>
#include <optional>

#include "linux/codecs/Pixels.h"
#include "linux/imageio/SourceBytes.h"
#include "platform/CoreGraphics/CGImageTurning.h"
#include "platform/Foundation/Dispatch.h"
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

/// Where a picture's bitmap comes from.
struct UIImage::Pixels {
    Pixels() = default;
    Pixels(const Pixels&) = delete;
    Pixels& operator=(const Pixels&) = delete;
    virtual ~Pixels() = default;
    [[nodiscard]] virtual CGImageRef bitmap() = 0;
    /// The bitmap for an encoder: in the RGB of `profile`, which is empty for sRGB.
    [[nodiscard]] virtual CGImageRef bitmapWithProfile(std::vector<std::byte>& profile) {
        profile.clear();
        return bitmap();
    }
};

/// A bitmap, or the bytes or the file of one.
struct UIImage::StoredPixels final : Pixels {
    explicit StoredPixels(CGImageRef bitmap) : kept(std::move(bitmap)) {}
    StoredPixels(Data bytes, std::string file) : data(std::move(bytes)), path(std::move(file)) {}

    CGImageRef bitmap() override {
        std::call_once(decoded, [this] {
            if (!kept) kept = CGImageSourceCreateImageAtIndex(source(), 0, {});
        });
        return kept;
    }

    CGImageRef bitmapWithProfile(std::vector<std::byte>& profile) override {
        profile.clear();
        return data || !path.empty() ? codecs::decodeInOwnColors(source(), profile) : kept;
    }

    [[nodiscard]] CGImageSourceRef source() const {
        return data ? CGImageSourceCreateWithData(data) : CGImageSourceCreateWithURL(path);
    }

    Data data;
    std::string path;
    std::once_flag decoded;
    CGImageRef kept;
};

namespace {

/// Decoders round to a pixel more or less when they reduce: the size that was told before holds. What is of quite
/// another shape, as the file has changed since, is not distorted.
CGImageRef roundedTo(const CGImageRef& bitmap, std::size_t width, std::size_t height) {
    constexpr std::size_t kRounding = 2;
    const auto differs = [](std::size_t a, std::size_t b) { return a > b ? a - b : b - a; };
    const std::size_t most = bitmap ? std::max(differs(bitmap->width, width), differs(bitmap->height, height)) : 0;
    const codecs::PixelsModule* module = codecs::pixelsModule();
    if (most == 0 || most > kRounding || !module) return bitmap;
    auto scaled = std::make_shared<CGImage>();
    return module->scale(*bitmap, width, height, *scaled) ? scaled : nullptr;
}

}  // namespace

struct UIImage::PixelsOnDemand final : Pixels {
    PixelsOnDemand(std::function<CGImageRef()> function, const Head& head)
        : make(std::move(function)), width(head.width), height(head.height) {}

    CGImageRef bitmap() override {
        if (CGImageRef bitmap = known()) return bitmap;
        const Turn turn(maker);
        if (CGImageRef bitmap = known()) return bitmap;
        CGImageRef bitmap = make ? roundedTo(make(), width, height) : nullptr;
        // What is damaged takes as long to decode in vain every time.
        if (!bitmap) make = nullptr;
        const std::lock_guard lock(mutex);
        made = bitmap;
        return bitmap;
    }

    CGImageRef known() {
        const std::lock_guard lock(mutex);
        return made.lock();
    }

    /// Not a mutex: making may wait for blocks of the shared threads, and all of these may be waiting here. They are
    /// replaced while they wait at a semaphore.
    struct Turn {
        explicit Turn(DispatchSemaphore& semaphore) : turn(semaphore) { turn.wait(); }
        Turn(const Turn&) = delete;
        Turn& operator=(const Turn&) = delete;
        ~Turn() { turn.signal(); }
        DispatchSemaphore& turn;
    };

    DispatchSemaphore maker{1};
    std::function<CGImageRef()> make;  ///< Of whose turn it is.
    std::size_t width;
    std::size_t height;
    std::mutex mutex;
    std::weak_ptr<const CGImage> made;
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
    return make(std::make_shared<StoredPixels>(data, std::string()), *head, scale);
}

UIImageRef UIImage::imageWithContentsOfFile(const std::string& path) {
    const auto head = Head::read(CGImageSourceCreateWithURL(path));
    if (!head) return nullptr;
    return make(std::make_shared<StoredPixels>(nullptr, path), *head, 1);
}

UIImageRef UIImage::imageWithCGImage(CGImageRef bitmap, double scale, UIImageOrientation orientation) {
    if (!bitmap) return nullptr;
    const Head head{bitmap->width, bitmap->height, 1, orientation};
    return make(std::make_shared<StoredPixels>(std::move(bitmap)), head, scale);
}

UIImageRef UIImage::imageMadeOnDemand(CGSize size, std::function<CGImageRef()> make) {
    if (!(size.width >= 1) || !(size.height >= 1)) return imageWithCGImage(make());
    const Head head{static_cast<std::size_t>(size.width), static_cast<std::size_t>(size.height)};
    return UIImage::make(std::make_shared<PixelsOnDemand>(std::move(make), head), head, 1);
}

namespace {

/// Opens the source once more when it is a file's: the source itself would hold the file open.
std::function<CGImageSourceRef()> reopening(const CGImageSourceRef& source) {
    const int file = imageio::bytesOf(source).descriptor();
    std::error_code error;
    const std::string path = std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(file), error).string();
    struct stat own = {};
    struct stat named = {};
    const bool isNamed = file >= 0 && !error && ::fstat(file, &own) == 0 && ::stat(path.c_str(), &named) == 0 &&
                         own.st_ino == named.st_ino && own.st_dev == named.st_dev;
    if (isNamed) return [path] { return CGImageSourceCreateWithURL(path); };
    return [source] { return source; };
}

/// The pixels of image 0, turned upright if wanted, with at most `limit` on the longer side.
CGSize thumbnailSize(const CGImageSourceRef& source, const Dictionary& options) {
    const auto properties = CGImageSourceCopyPropertiesAtIndex(source, 0, {}).value_or(Dictionary());
    CGSize size{properties[kCGImagePropertyPixelWidth].doubleValue(),
                properties[kCGImagePropertyPixelHeight].doubleValue()};
    const bool isTurned =
        options[kCGImageSourceCreateThumbnailWithTransform].boolValue() || CGImageSourceIsUpright(source);
    if (isTurned && isSideways(imageOrientation(properties[kCGImagePropertyOrientation].integerValue())))
        std::swap(size.width, size.height);
    const double limit = options[kCGImageSourceThumbnailMaxPixelSize].doubleValue();
    const double longer = std::max(size.width, size.height);
    if (limit <= 0 || longer <= limit || size.width < 1 || size.height < 1) return size;
    const auto part = [&](double side) { return std::max(1.0, std::floor((side * limit + longer / 2) / longer)); };
    return {part(size.width), part(size.height)};
}

}  // namespace

UIImageRef UIImage::thumbnailOfImageSource(const CGImageSourceRef& source, const Dictionary& options) {
    if (!CGImageSourceIsDecodable(source)) return nullptr;
    return imageMadeOnDemand(thumbnailSize(source, options), [reopen = reopening(source), options] {
        return CGImageSourceCreateThumbnailAtIndex(reopen(), 0, options);
    });
}

UIImageRef UIImage::copy(double scale, UIImageOrientation orientation) const {
    return make(pixels_, {width_, height_, frameCount_, orientation}, scale);
}

CGSize UIImage::size() const noexcept {
    const double width = static_cast<double>(width_) / scale_;
    const double height = static_cast<double>(height_) / scale_;
    return isSideways(orientation_) ? CGSize{height, width} : CGSize{width, height};
}

CGImageRef UIImage::cgImage() const { return pixels_->bitmap(); }
CGImageRef UIImage::cgImageWithProfile(std::vector<std::byte>& profile) const {
    return pixels_->bitmapWithProfile(profile);
}

namespace {

template <class Encode>
Data encoded(const UIImageRef& image, const Encode& encode) {
    const codecs::PixelsModule* module = codecs::pixelsModule();
    if (!image || !module) return nullptr;
    std::vector<std::byte> profile;
    const CGImageRef stored = image->cgImageWithProfile(profile);
    const CGImageRef upright = CGImageCreateTurned(stored, exifOrientation(image->imageOrientation()));
    auto bytes = std::make_shared<std::vector<std::byte>>();
    if (!upright || !encode(*module, *upright, std::span<const std::byte>(profile), *bytes)) return nullptr;
    return bytes;
}

}  // namespace

Data UIImageJPEGRepresentation(const UIImageRef& image, double quality) {
    return encoded(image, [quality](const codecs::PixelsModule& module, const CGImage& bitmap, auto profile,
                                    auto& bytes) { return module.encodeJpeg(bitmap, quality, profile, bytes); });
}

Data UIImagePNGRepresentation(const UIImageRef& image) {
    return encoded(image, [](const codecs::PixelsModule& module, const CGImage& bitmap, auto profile, auto& bytes) {
        return module.encodePng(bitmap, profile, bytes);
    });
}

}  // namespace tessaly
