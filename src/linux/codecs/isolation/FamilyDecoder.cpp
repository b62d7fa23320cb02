#include "linux/codecs/isolation/FamilyDecoder.h"

#include <algorithm>
#include <string>

#include "linux/foundation/Module.h"

namespace tessaly::codecs {
namespace {

constexpr std::string_view kSmallFamily = "pixels";
constexpr std::string_view kMovieFamily = "ffmpeg";

template <class Function>
Function functionOf(std::string_view module, const char* symbol) {
    const auto* const function = moduleTable<Function>(module, symbol);
    return function ? *function : nullptr;
}

/// Proportions kept, never larger than it is.
DecodeFault reduce(const PixelsModule& module, std::size_t limit, CGImage& image) {
    const std::size_t longer = std::max(image.width, image.height);
    if (limit == 0 || longer <= limit) return DecodeFault::none;
    const auto part = [&](std::size_t side) { return std::max<std::size_t>(1, (side * limit + longer / 2) / longer); };
    CGImage scaled;
    if (!module.scale(image, part(image.width), part(image.height), scaled)) return DecodeFault::outOfMemory;
    image = std::move(scaled);
    return DecodeFault::none;
}

}  // namespace

FamilyDecoder::FamilyDecoder(std::string_view family)
    : pixels_(moduleTable<PixelsModule>("tessaly-pixels.so", "tessaly_pixels")) {
    if (family == kSmallFamily) return;
    const std::string module = "tessaly-" + std::string(family) + ".so";
    picture_ = functionOf<DecodeImage>(module, "tessaly_decode");
    if (family == kMovieFamily) movie_ = functionOf<DecodeVideoFrame>(module, "tessaly_decode_video");
}

DecodeFault FamilyDecoder::decodePixels(Codec codec, PixelInput& input, const DecodeRequest& request, double time,
                                        DecodedPixels& decoded) const {
    switch (codec) {
        case Codec::jpeg:
            return pixels_->decodeJpeg(input, request, decoded);
        case Codec::png:
            return pixels_->decodePng(input, request, decoded);
        case Codec::webp:
            return pixels_->decodeWebp(input, request, decoded);
        case Codec::tiff:
            return pixels_->decodeTiff(input, request, decoded);
        case Codec::bmp:
            return pixels_->decodeBmp(input, request, decoded);
        case Codec::psd:
            return pixels_->decodePsd(input, request, decoded);
        case Codec::picture:
            return picture_ ? picture_(input, request, decoded) : DecodeFault::unsupported;
        case Codec::movie:
            return movie_ ? movie_(input, time, request, decoded) : DecodeFault::unsupported;
    }
    return DecodeFault::unsupported;
}

void FamilyDecoder::warmUp() const {
    if (!pixels_) return;
    constexpr std::size_t kSide = 64;
    DecodedPixels decoded;
    decoded.image.width = decoded.image.height = kSide;
    decoded.image.pixels = PixelBuffer::allocate(decoded.image.bytesPerRow() * kSide);
    if (!decoded.image.pixels) return;
    pixels_->convertToSRGB(decoded);
    [[maybe_unused]] const auto fault = reduce(*pixels_, kSide / 2, decoded.image);
}

DecodeFault FamilyDecoder::decode(Codec codec, PixelInput& input, const DecodeRequest& request, double time,
                                  DecodedPixels& decoded) const {
    if (!pixels_) return DecodeFault::unsupported;
    if (const auto fault = decodePixels(codec, input, request, time, decoded); fault != DecodeFault::none) return fault;
    if (!request.keepsProfile || !pixels_->keepProfile(decoded)) pixels_->convertToSRGB(decoded);
    return reduce(*pixels_, request.longerSide, decoded.image);
}

}  // namespace tessaly::codecs
