#include <cmath>
#include <csetjmp>
#include <cstdio>
#include <cstdlib>
//
#include <jpeglib.h>

#include "linux/codecs/PixelFormats.h"
#include "linux/codecs/modules/pixels/Pixels.h"

namespace tessaly::codecs {
namespace {

struct ErrorManager : jpeg_error_mgr {
    std::jmp_buf jump;
};

/// From this quality on the colours keep every pixel.
constexpr double kFullColorQuality = 0.95;

class JpegEncoding {
public:
    JpegEncoding(const CGImage& image, std::span<const std::byte> profile)
        : image_(image), profile_(profile), row_(image.width * 4) {
        info_.err = jpeg_std_error(&error_);
        error_.error_exit = [](j_common_ptr info) { std::longjmp(static_cast<ErrorManager*>(info->err)->jump, 1); };
        error_.output_message = [](j_common_ptr) {};
    }
    JpegEncoding(const JpegEncoding&) = delete;
    JpegEncoding& operator=(const JpegEncoding&) = delete;
    ~JpegEncoding() {
        jpeg_destroy_compress(&info_);
        std::free(bytes_);
    }

    /// An error of libjpeg leaves this function by a jump: nothing in it may need a destructor.
    bool run(double quality) {
        if (setjmp(error_.jump)) return false;
        jpeg_create_compress(&info_);
        jpeg_mem_dest(&info_, &bytes_, &length_);
        info_.image_width = static_cast<JDIMENSION>(image_.width);
        info_.image_height = static_cast<JDIMENSION>(image_.height);
        info_.input_components = 4;
        info_.in_color_space = JCS_EXT_RGBX;
        jpeg_set_defaults(&info_);
        jpeg_set_quality(&info_, static_cast<int>(std::lround(std::clamp(quality, 0.0, 1.0) * 100)), TRUE);
        if (quality >= kFullColorQuality) info_.comp_info[0].h_samp_factor = info_.comp_info[0].v_samp_factor = 1;
        jpeg_start_compress(&info_, TRUE);
        if (!profile_.empty())
            jpeg_write_icc_profile(&info_, reinterpret_cast<const JOCTET*>(profile_.data()),
                                   static_cast<unsigned>(profile_.size()));
        while (info_.next_scanline < info_.image_height) {
            fillRow(info_.next_scanline);
            JSAMPROW row = row_.data();
            jpeg_write_scanlines(&info_, &row, 1);
        }
        jpeg_finish_compress(&info_);
        return true;
    }

    [[nodiscard]] std::span<const std::byte> bytes() const noexcept {
        return std::as_bytes(std::span(bytes_, static_cast<std::size_t>(length_)));
    }

private:
    void fillRow(std::size_t y) {
        copyRowAsRgba8(image_, y, true, row_);
        if (!image_.hasAlpha()) return;
        for (std::size_t x = 0; x < image_.width; ++x) {
            std::uint8_t* pixel = row_.data() + x * 4;
            for (std::size_t c = 0; c < 3; ++c)
                pixel[c] = static_cast<std::uint8_t>(std::min(255, pixel[c] + 255 - pixel[3]));
        }
    }

    const CGImage& image_;
    std::span<const std::byte> profile_;
    std::vector<std::uint8_t> row_;
    ErrorManager error_{};
    jpeg_compress_struct info_{};
    unsigned char* bytes_ = nullptr;
    unsigned long length_ = 0;
};

}  // namespace

bool encodeJpeg(const CGImage& image, double quality, std::span<const std::byte> profile,
                std::vector<std::byte>& encoded) {
    if (image.width == 0 || image.height == 0 || image.width > JPEG_MAX_DIMENSION || image.height > JPEG_MAX_DIMENSION)
        return false;
    JpegEncoding encoding(image, profile);
    if (!encoding.run(quality)) return false;
    encoded.assign(encoding.bytes().begin(), encoding.bytes().end());
    return true;
}

}  // namespace tessaly::codecs
