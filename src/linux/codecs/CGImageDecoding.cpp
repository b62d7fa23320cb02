#include <array>

#include "linux/codecs/DecodeBudget.h"
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

namespace {

CGImageRef decodeWithinLimits(const CodecOfFamily& codec, imageio::ByteSource& source, DecodeRequest request,
                              CGImageFault& fault, double time, std::vector<std::byte>* profile) {
    request.pixelLimit = kPixelLimit;
    request.memoryLimit = DecodeBudget::current().memory;
    request.keepsProfile = profile != nullptr;
    DecodedPixels picture = decodeIsolated(codec, source, request, fault, time);
    if (fault == CGImageFault::tooLarge && request.longerSide == 0) {
        if (const auto file = PixelFile::open()) {
            request.fileLimit = file->limit();
            request.pixelLimit = request.fileLimit / CGImage::kComponents;
            picture = decodeIsolated(codec, source, request, fault, time, file->descriptor());
        }
    }
    if (!picture.image.pixels) return nullptr;
    if (profile) *profile = std::move(picture.profile);
    return std::make_shared<const CGImage>(std::move(picture.image));
}

/// Who decodes a type.
struct Decoder {
    std::string_view typeIdentifier;
    CodecOfFamily codec;
    bool isUpright = false;  ///< The library turns what it decodes.
};

constexpr std::array kDecoders{
    Decoder{"public.jpeg", {"pixels", Codec::jpeg}},
    Decoder{"public.png", {"pixels", Codec::png}},
    Decoder{"org.webmproject.webp", {"pixels", Codec::webp}},
    Decoder{"public.tiff", {"pixels", Codec::tiff}},
    Decoder{"public.heic", {"heif"}, true},
    Decoder{"public.heif", {"heif"}, true},
    Decoder{"public.avif", {"heif"}, true},
    Decoder{"public.jpeg-xl", {"jxl"}, true},
    Decoder{"com.compuserve.gif", {"ffmpeg"}},
    Decoder{"com.microsoft.bmp", {"pixels", Codec::bmp}},
    Decoder{"public.jpeg-2000", {"ffmpeg"}},
    Decoder{"com.adobe.photoshop-image", {"pixels", Codec::psd}},
    Decoder{"com.adobe.photoshop-large-image", {"pixels", Codec::psd}},
};
constexpr Decoder kRawDecoder{"raw-image", {"raw"}, true};

const Decoder* decoderOf(std::string_view typeIdentifier) {
    for (const Decoder& decoder : kDecoders)
        if (decoder.typeIdentifier == typeIdentifier) return &decoder;
    return typeIdentifier.ends_with(kRawDecoder.typeIdentifier) ? &kRawDecoder : nullptr;
}

CGImageRef decode(const CGImageSourceRef& source, const DecodeRequest& request, CGImageFault& fault,
                  std::vector<std::byte>* profile = nullptr) {
    const Decoder* decoder = source ? decoderOf(CGImageSourceGetType(source)) : nullptr;
    if (!decoder) {
        fault = CGImageFault::unsupported;
        return nullptr;
    }
    if (request.index > 0 && request.index >= CGImageSourceGetCount(source)) {
        fault = CGImageFault::damaged;
        return nullptr;
    }
    return decodeWithinLimits(decoder->codec, imageio::bytesOf(source), request, fault, 0, profile);
}

int orientationOf(const CGImageSourceRef& source) {
    const auto properties = CGImageSourceCopyPropertiesAtIndex(source, 0, {});
    return properties ? static_cast<int>((*properties)[kCGImagePropertyOrientation].integerValue()) : 1;
}

}  // namespace

CGImageRef decodePicture(const CodecOfFamily& codec, imageio::ByteSource& source, std::size_t index,
                         std::size_t longerSide, CGImageFault& fault, double time) {
    return decodeWithinLimits(codec, source, {.index = index, .longerSide = longerSide}, fault, time, nullptr);
}

CGImageRef decodeInOwnColors(const CGImageSourceRef& source, std::vector<std::byte>& profile) {
    CGImageFault ignored{};
    return decode(source, {}, ignored, &profile);
}

std::optional<CodecOfFamily> codecOf(std::string_view typeIdentifier) {
    const Decoder* decoder = decoderOf(typeIdentifier);
    return decoder ? std::optional(decoder->codec) : std::nullopt;
}

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
        case CGImageFault::noDecoder:
            return "tessaly-decoder is not installed or does not run";
    }
    return "";
}

CGImageRef CGImageSourceCreateImageAtIndex(const CGImageSourceRef& source, std::size_t index, const Dictionary&,
                                           CGImageFault* fault) {
    CGImageFault ignored{};
    return codecs::decode(source, {.index = index}, fault ? *fault : ignored);
}

CGImageRef CGImageSourceCreateThumbnailAtIndex(const CGImageSourceRef& source, std::size_t index,
                                               const Dictionary& options, CGImageFault* fault) {
    CGImageFault ignored{};
    CGImageFault& reason = fault ? *fault : ignored;
    const auto limit = options[kCGImageSourceThumbnailMaxPixelSize].integerValue();
    const std::size_t longerSide = limit > 0 ? static_cast<std::size_t>(limit) : 0;
    CGImageRef image = codecs::decode(source, {.index = index, .longerSide = longerSide}, reason);
    if (!image) return nullptr;
    if (options[kCGImageSourceCreateThumbnailWithTransform].boolValue() && !CGImageSourceIsUpright(source))
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
