#pragma once
#include "linux/codecs/ImageCodec.h"

namespace tessaly::codecs {

/// Where a pixel (x, y) of a picture goes: x' = a x + c y + tx, y' = b x + d y + ty.
struct PixelTransform {
    double a = 1, b = 0, c = 0, d = 1, tx = 0, ty = 0;
};

/// The small libraries of pictures: coders of the common formats, colours, scaling, drawing.
struct PixelsModule {
    DecodeImage decodeJpeg;
    DecodeImage decodePng;
    DecodeImage decodeWebp;
    DecodeImage decodeTiff;
    DecodeImage decodeBmp;
    DecodeImage decodePsd;
    /// Quality 0 to 1; what is transparent becomes white. `profile` is the ICC profile of the pixels, empty for sRGB.
    /// False without memory.
    bool (*encodeJpeg)(const CGImage& image, double quality, std::span<const std::byte> profile,
                       std::vector<std::byte>& encoded);
    /// With alpha and 16 bits where the image has them.
    bool (*encodePng)(const CGImage& image, std::span<const std::byte> profile, std::vector<std::byte>& encoded);
    /// Turns the pixels into sRGB, after which the model is rgb. A profile that makes no sense counts as none.
    void (*convertToSRGB)(DecodedPixels& decoded);
    /// Whether the pixels can stay as they are: RGB, with a profile that says what they mean. Colours that are told by
    /// numbers get a profile.
    bool (*keepProfile)(DecodedPixels& decoded);
    /// The picture in another size, smooth and of 8 bits. False without memory.
    bool (*scale)(const CGImage& image, std::size_t width, std::size_t height, CGImage& scaled);
    /// Draws over what is in the target, which is premultiplied and of 8 bits. `cornerRadius` rounds the corners of
    /// the whole target, in pixels. False without memory.
    bool (*draw)(const CGImage& image, const PixelTransform& transform, double cornerRadius, CGImage& target);
};

}  // namespace tessaly::codecs
