#include <png.h>

#include <csetjmp>

#include "linux/codecs/PixelFormats.h"
#include "linux/codecs/modules/pixels/Pixels.h"

namespace tessaly::codecs {
namespace {

class PngEncoding {
public:
    PngEncoding(const CGImage& image, std::span<const std::byte> profile, std::vector<std::byte>& encoded)
        : image_(image), profile_(profile), encoded_(encoded) {}
    PngEncoding(const PngEncoding&) = delete;
    PngEncoding& operator=(const PngEncoding&) = delete;
    ~PngEncoding() { png_destroy_write_struct(&png_, &info_); }

    /// An error of libpng leaves this function by a jump: nothing in it may need a destructor.
    bool run() {
        png_ = png_create_write_struct(
            PNG_LIBPNG_VER_STRING, this, [](png_structp png, png_const_charp) { png_longjmp(png, 1); },
            [](png_structp, png_const_charp) {});
        info_ = png_ ? png_create_info_struct(png_) : nullptr;
        if (!info_ || setjmp(png_jmpbuf(png_))) return false;
        png_set_write_fn(
            png_, this,
            [](png_structp png, png_bytep bytes, png_size_t length) {
                auto& encoded = static_cast<PngEncoding*>(png_get_io_ptr(png))->encoded_;
                const auto* begin = reinterpret_cast<const std::byte*>(bytes);
                encoded.insert(encoded.end(), begin, begin + length);
            },
            nullptr);
        const bool isWide = image_.bitsPerComponent == 16;
        png_set_IHDR(png_, info_, static_cast<png_uint_32>(image_.width), static_cast<png_uint_32>(image_.height),
                     isWide ? 16 : 8, image_.hasAlpha() ? PNG_COLOR_TYPE_RGBA : PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE,
                     PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
        setColors();
        png_write_info(png_, info_);
        if (isWide) png_set_swap(png_);
        if (!image_.hasAlpha()) png_set_filler(png_, 0, PNG_FILLER_AFTER);
        row_.resize(image_.bytesPerRow());
        for (std::size_t y = 0; y < image_.height; ++y) {
            fillRow(y);
            png_write_row(png_, row_.data());
        }
        png_write_end(png_, info_);
        return true;
    }

private:
    void setColors() {
        // The library has doubts about some profiles that cameras write: the picture is written all the same.
        png_set_benign_errors(png_, 1);
        if (profile_.empty())
            png_set_sRGB_gAMA_and_cHRM(png_, info_, PNG_sRGB_INTENT_PERCEPTUAL);
        else
            png_set_iCCP(png_, info_, "ICC Profile", PNG_COMPRESSION_TYPE_BASE,
                         reinterpret_cast<png_const_bytep>(profile_.data()), static_cast<png_uint_32>(profile_.size()));
    }

    void fillRow(std::size_t y) {
        if (image_.bitsPerComponent == 8) return copyRowAsRgba8(image_, y, false, row_);
        std::memcpy(row_.data(), image_.row(y), row_.size());
        if (image_.isAlphaFirst()) rotateAlpha();
        if (image_.isPremultiplied()) unmultiply();
    }

    void rotateAlpha() {
        for (std::size_t x = 0; x < image_.width; ++x)
            std::rotate(row_.data() + x * 8, row_.data() + x * 8 + 2, row_.data() + x * 8 + 8);
    }

    void unmultiply() {
        for (std::size_t x = 0; x < image_.width; ++x) {
            std::uint16_t pixel[4];
            std::memcpy(pixel, row_.data() + x * 8, sizeof pixel);
            for (std::size_t c = 0; c < 3 && pixel[3] != 0; ++c)
                pixel[c] = static_cast<std::uint16_t>(
                    std::min<std::uint64_t>(65535, (std::uint64_t{pixel[c]} * 65535 + pixel[3] / 2U) / pixel[3]));
            std::memcpy(row_.data() + x * 8, pixel, sizeof pixel);
        }
    }

    const CGImage& image_;
    std::span<const std::byte> profile_;
    std::vector<std::byte>& encoded_;
    std::vector<std::uint8_t> row_;
    png_structp png_ = nullptr;
    png_infop info_ = nullptr;
};

}  // namespace

bool encodePng(const CGImage& image, std::span<const std::byte> profile, std::vector<std::byte>& encoded) {
    encoded.clear();
    return image.width > 0 && image.height > 0 && PngEncoding(image, profile, encoded).run();
}

}  // namespace tessaly::codecs
