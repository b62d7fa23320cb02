#pragma once
#include "linux/codecs/PixelsModule.h"

namespace tessaly::codecs {

DecodeFault decodeJpeg(PixelInput& input, const DecodeRequest& request, DecodedPixels& decoded);
DecodeFault decodePng(PixelInput& input, const DecodeRequest& request, DecodedPixels& decoded);
DecodeFault decodeWebp(PixelInput& input, const DecodeRequest& request, DecodedPixels& decoded);
DecodeFault decodeBmp(PixelInput& input, const DecodeRequest& request, DecodedPixels& decoded);
DecodeFault decodePsd(PixelInput& input, const DecodeRequest& request, DecodedPixels& decoded);
DecodeFault decodeTiff(PixelInput& input, const DecodeRequest& request, DecodedPixels& decoded);
bool encodeJpeg(const CGImage& image, double quality, std::span<const std::byte> profile,
                std::vector<std::byte>& encoded);
bool encodePng(const CGImage& image, std::span<const std::byte> profile, std::vector<std::byte>& encoded);
void convertToSRGB(DecodedPixels& decoded);
bool keepProfile(DecodedPixels& decoded);
bool scale(const CGImage& image, std::size_t width, std::size_t height, CGImage& scaled);
bool draw(const CGImage& image, const PixelTransform& transform, double cornerRadius, CGImage& target);

}  // namespace tessaly::codecs
