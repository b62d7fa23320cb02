#include "codecs/Pictures.h"

#include <zlib.h>

#include <cstdlib>
#include <cstring>

#include "support/Containers.h"
#include "support/TemporaryFolder.h"
#include "support/TiffBuilder.h"

namespace tessaly::test {

std::string pathOfFileNamed(const std::string& name) { return std::string(TESSALY_CODEC_FILES) + "/" + name; }

Data fileNamed(const std::string& name) { return dataOf(contentOf(pathOfFileNamed(name))); }

Data dataOf(const ByteString& bytes) {
    return std::make_shared<const std::vector<std::byte>>(bytes.bytes().begin(), bytes.bytes().end());
}

ByteString bytesOf(const Data& data) {
    return data ? ByteString(std::string_view(reinterpret_cast<const char*>(data->data()), data->size()))
                : ByteString();
}

CGImageRef bitmap(std::size_t width, std::size_t height, const std::function<Pixel(std::size_t, std::size_t)>& fill,
                  CGImageAlphaInfo alphaInfo, unsigned bits) {
    const auto image = std::make_shared<CGImage>();
    image->width = width;
    image->height = height;
    image->alphaInfo = alphaInfo;
    image->bitsPerComponent = bits;
    image->pixels = PixelBuffer::allocate(image->bytesPerRow() * height);
    for (std::size_t y = 0; y < height; ++y)
        for (std::size_t x = 0; x < width; ++x) {
            Pixel pixel = fill(x, y);
            if (image->isAlphaFirst()) pixel = {pixel[3], pixel[0], pixel[1], pixel[2]};
            std::byte* target = image->row(y) + x * image->bytesPerPixel();
            for (std::size_t c = 0; c < 4; ++c) {
                const auto value = static_cast<std::uint16_t>(pixel[c]);
                if (bits == 16)
                    std::memcpy(target + c * 2, &value, 2);
                else
                    target[c] = static_cast<std::byte>(value);
            }
        }
    return image;
}

CGImageRef quadrants(std::size_t width, std::size_t height) {
    return bitmap(width, height, [=](std::size_t x, std::size_t y) -> Pixel {
        if (y < height / 2) return x < width / 2 ? Pixel{255, 0, 0, 255} : Pixel{0, 255, 0, 255};
        return x < width / 2 ? Pixel{0, 0, 255, 255} : Pixel{255, 255, 255, 255};
    });
}

Pixel pixelAt(const CGImageRef& image, std::size_t x, std::size_t y) {
    const std::byte* stored = image->row(y) + x * image->bytesPerPixel();
    Pixel pixel{};
    for (std::size_t c = 0; c < 4; ++c) {
        std::uint16_t value = 0;
        if (image->bitsPerComponent == 16)
            std::memcpy(&value, stored + c * 2, 2);
        else
            value = std::to_integer<std::uint16_t>(stored[c]);
        pixel[c] = value;
    }
    if (image->isAlphaFirst()) pixel = {pixel[1], pixel[2], pixel[3], pixel[0]};
    if (!image->hasAlpha()) pixel[3] = image->bitsPerComponent == 16 ? 65535 : 255;
    return pixel;
}

std::string colorsOf(const CGImageRef& image, int tolerance) {
    struct Named {
        char name;
        Pixel color;
    };
    static constexpr std::array kColors{Named{'R', {255, 0, 0, 255}}, Named{'G', {0, 255, 0, 255}},
                                        Named{'B', {0, 0, 255, 255}}, Named{'W', {255, 255, 255, 255}},
                                        Named{'.', {0, 0, 0, 0}}};
    if (!image) return "none";
    std::string names;
    for (const std::size_t y : {image->height / 4, image->height * 3 / 4})
        for (const std::size_t x : {image->width / 4, image->width * 3 / 4}) {
            Pixel pixel = pixelAt(image, x, y);
            if (image->bitsPerComponent == 16)
                for (int& component : pixel) component /= 257;
            char name = '?';
            for (const Named& known : kColors) {
                bool isIt = true;
                for (std::size_t c = 0; c < 4; ++c) isIt &= std::abs(pixel[c] - known.color[c]) <= tolerance;
                if (isIt) name = known.name;
            }
            names += name;
        }
    return names;
}

std::string sizeOf(const CGImageRef& image) {
    return image ? std::to_string(image->width) + " x " + std::to_string(image->height) : "none";
}

Data withOrientation(const Data& jpeg, unsigned orientation) {
    TiffBuilder tiff;
    tiff.shorts(TiffBuilder::first, 0x0112, {orientation});
    const ByteString file = bytesOf(jpeg);
    const std::string whole(file.text());
    return dataOf(ByteString(whole.substr(0, 2))
                      .add(jpegSegment(0xE1, ByteString("Exif\0\0"_z).add(tiff.build())))
                      .add(whole.substr(2)));
}

ByteString rgbPng(unsigned width, unsigned height, const ByteString& chunks, const ByteString& rows,
                  bool isInterlaced) {
    std::string filtered;
    for (std::size_t at = 0; at < rows.size(); at += std::size_t{width} * 3)
        filtered += std::string(1, '\0') + std::string(rows.text().substr(at, std::size_t{width} * 3));
    uLongf length = ::compressBound(filtered.size());
    std::string packed(length, '\0');
    ::compress(reinterpret_cast<Bytef*>(packed.data()), &length, reinterpret_cast<const Bytef*>(filtered.data()),
               filtered.size());
    packed.resize(length);
    return ByteString("\x89PNG\r\n\x1a\n")
        .add(pngChunk("IHDR", ByteString().u32(width).u32(height).u8(8).u8(2).u8(0).u8(0).u8(isInterlaced ? 1 : 0)))
        .add(chunks)
        .add(pngChunk("IDAT", packed))
        .add(pngChunk("IEND", {}));
}

}  // namespace tessaly::test
