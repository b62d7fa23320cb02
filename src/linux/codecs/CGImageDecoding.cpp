#include <array>

#include "linux/codecs/Pixels.h"
#include "linux/foundation/Module.h"
#include "linux/imageio/SourceBytes.h"
#include "platform/CoreGraphics/CGImageTurning.h"
#include "platform/ImageIO/CGImageProperties.h"
#include "platform/ImageIO/CGImageSource.h"

namespace tessaly {
namespace codecs {

const PixelsModule* pixelsModule() {
    static const auto* const module = moduleTable<PixelsModule>("tessaly-pixels.so", "tessaly_pixels");
    return module;
}

CGImageFault faultOf(DecodeFault fault) noexcept {
    switch (fault) {
        case DecodeFault::none:
            return CGImageFault::none;
        case DecodeFault::damaged:
            return CGImageFault::damaged;
        case DecodeFault::tooLarge:
            return CGImageFault::tooLarge;
        case DecodeFault::unsupported:
            return CGImageFault::unsupported;
        case DecodeFault::outOfMemory:
            return CGImageFault::outOfMemory;
    }
    return CGImageFault::damaged;
}

CGImageRef finished(DecodedPixels&& decoded) {
    if (const PixelsModule* module = pixelsModule()) module->convertToSRGB(decoded);
    return std::make_shared<CGImage>(std::move(decoded.image));
}

CGImageRef reducedTo(CGImageRef image, std::size_t limit) {
    const std::size_t longer = std::max(image->width, image->height);
    if (longer <= limit || limit == 0) return image;
    const auto part = [&](std::size_t side) { return std::max<std::size_t>(1, (side * limit + longer / 2) / longer); };
    auto scaled = std::make_shared<CGImage>();
    const PixelsModule* module = pixelsModule();
    if (!module || !module->scale(*image, part(image->width), part(image->height), *scaled)) return nullptr;
    return scaled;
}

namespace {

/// Who decodes a type: a function of the small module, or the one function of a module of its own.
struct Decoder {
    std::string_view typeIdentifier;
    DecodeImage PixelsModule::*small = nullptr;
    std::string_view module;
    bool isUpright = false;  ///< The library turns what it decodes.
};

constexpr std::array kDecoders{
    Decoder{"public.jpeg", &PixelsModule::decodeJpeg, {}},
    Decoder{"public.png", &PixelsModule::decodePng, {}},
    Decoder{"org.webmproject.webp", &PixelsModule::decodeWebp, {}},
    Decoder{"public.tiff", &PixelsModule::decodeTiff, {}},
    Decoder{"public.heic", nullptr, "tessaly-heif.so", true},
    Decoder{"public.heif", nullptr, "tessaly-heif.so", true},
    Decoder{"public.avif", nullptr, "tessaly-heif.so", true},
    Decoder{"public.jpeg-xl", nullptr, "tessaly-jxl.so", true},
    Decoder{"com.compuserve.gif", nullptr, "tessaly-ffmpeg.so"},
    Decoder{"com.microsoft.bmp", &PixelsModule::decodeBmp, {}},
    Decoder{"public.jpeg-2000", nullptr, "tessaly-ffmpeg.so"},
};
constexpr Decoder kRawDecoder{"raw-image", nullptr, "tessaly-raw.so", true};

const Decoder* decoderOf(std::string_view typeIdentifier) {
    for (const Decoder& decoder : kDecoders)
        if (decoder.typeIdentifier == typeIdentifier) return &decoder;
    return typeIdentifier.ends_with(kRawDecoder.typeIdentifier) ? &kRawDecoder : nullptr;
}

DecodeImage functionOf(const Decoder& decoder) {
    if (decoder.small) {
        const PixelsModule* module = pixelsModule();
        return module ? module->*decoder.small : nullptr;
    }
    const auto* function = moduleTable<DecodeImage>(decoder.module, "tessaly_decode");
    return function ? *function : nullptr;
}

CGImageRef decode(const CGImageSourceRef& source, const DecodeRequest& request, CGImageFault& fault) {
    const Decoder* decoder = source ? decoderOf(CGImageSourceGetType(source)) : nullptr;
    const DecodeImage function = decoder ? functionOf(*decoder) : nullptr;
    if (!function) {
        fault = CGImageFault::unsupported;
        return nullptr;
    }
    if (request.index > 0 && request.index >= CGImageSourceGetCount(source)) {
        fault = CGImageFault::damaged;
        return nullptr;
    }
    SourceInput input(imageio::bytesOf(source));
    DecodedPixels decoded;
    fault = faultOf(function(input, request, decoded));
    if (fault != CGImageFault::none) return nullptr;
    return finished(std::move(decoded));
}

int orientationOf(const CGImageSourceRef& source) {
    const auto properties = CGImageSourceCopyPropertiesAtIndex(source, 0, {});
    return properties ? static_cast<int>((*properties)[kCGImagePropertyOrientation].integerValue()) : 1;
}

}  // namespace
}  // namespace codecs

std::string_view describe(CGImageFault fault) noexcept {
    switch (fault) {
        case CGImageFault::none:
            return "";
        case CGImageFault::damaged:
            return "the picture is damaged";
        case CGImageFault::tooLarge:
            return "the picture has too many pixels";
        case CGImageFault::unsupported:
            return "no decoder for this kind of picture";
        case CGImageFault::outOfMemory:
            return "not enough memory";
    }
    return "";
}

CGImageRef CGImageSourceCreateImageAtIndex(const CGImageSourceRef& source, std::size_t index, const Dictionary&,
                                           CGImageFault* fault) {
    CGImageFault ignored{};
    return codecs::decode(source, {.index = index, .longerSide = 0, .pixelLimit = codecs::kPixelLimit},
                          fault ? *fault : ignored);
}

CGImageRef CGImageSourceCreateThumbnailAtIndex(const CGImageSourceRef& source, std::size_t index,
                                               const Dictionary& options, CGImageFault* fault) {
    CGImageFault ignored{};
    CGImageFault& reason = fault ? *fault : ignored;
    const auto limit = options[kCGImageSourceThumbnailMaxPixelSize].integerValue();
    const std::size_t longerSide = limit > 0 ? static_cast<std::size_t>(limit) : 0;
    CGImageRef image =
        codecs::decode(source, {.index = index, .longerSide = longerSide, .pixelLimit = codecs::kPixelLimit}, reason);
    if (!image) return nullptr;
    image = codecs::reducedTo(std::move(image), longerSide);
    if (image && options[kCGImageSourceCreateThumbnailWithTransform].boolValue() && !CGImageSourceIsUpright(source))
        image = CGImageCreateTurned(image, codecs::orientationOf(source));
    if (!image) reason = CGImageFault::outOfMemory;
    return image;
}

bool CGImageSourceIsUpright(const CGImageSourceRef& source) {
    const codecs::Decoder* decoder = source ? codecs::decoderOf(CGImageSourceGetType(source)) : nullptr;
    return decoder && decoder->isUpright;
}

bool CGImageSourceIsDecodable(const CGImageSourceRef& source) {
    return source && codecs::decoderOf(CGImageSourceGetType(source)) != nullptr;
}

}  // namespace tessaly
