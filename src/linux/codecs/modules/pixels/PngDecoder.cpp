#include <png.h>

#include <cmath>
#include <csetjmp>
#include <cstring>
#include <utility>

#include "linux/codecs/modules/Guarded.h"
#include "linux/codecs/modules/PixelRows.h"
#include "linux/codecs/modules/pixels/Pixels.h"

namespace tessaly::codecs {
namespace {

/// Text and profiles that unpack to more than this are not a picture's.
constexpr png_alloc_size_t kChunkLimit = std::size_t{16} * 1024 * 1024;
constexpr png_uint_32 kSideLimit = 1'000'000;
/// Deflate makes 258 bytes of two bits at the most (RFC 1951).
constexpr std::uint64_t kLargestRatio = 1032;
constexpr double kSRGBGamma = 1 / 2.2;

class PngDecoding {
public:
    PngDecoding(PixelInput& input, const DecodeRequest& request, DecodedPixels& decoded)
        : input_(input), request_(request), decoded_(decoded) {}
    PngDecoding(const PngDecoding&) = delete;
    PngDecoding& operator=(const PngDecoding&) = delete;
    ~PngDecoding() { png_destroy_read_struct(&png_, &info_, nullptr); }

    /// An error of libpng leaves this function by a jump: nothing in it may need a destructor.
    DecodeFault run() {
        png_ = png_create_read_struct(
            PNG_LIBPNG_VER_STRING, this, [](png_structp png, png_const_charp) { png_longjmp(png, 1); },
            [](png_structp, png_const_charp) {});
        info_ = png_ ? png_create_info_struct(png_) : nullptr;
        if (!info_) return DecodeFault::outOfMemory;
        if (setjmp(png_jmpbuf(png_))) {
            // What came before the damage is worth showing.
            if (rowsDone_ == 0) return fault_ == DecodeFault::none ? DecodeFault::damaged : fault_;
            finish();
            return DecodeFault::none;
        }
        png_set_read_fn(png_, this, [](png_structp png, png_bytep target, png_size_t length) {
            if (!static_cast<PngDecoding*>(png_get_io_ptr(png))->read(target, length)) png_error(png, "truncated");
        });
        png_set_user_limits(png_, kSideLimit, kSideLimit);
        png_set_chunk_malloc_max(png_, kChunkLimit);
        png_set_crc_action(png_, PNG_CRC_WARN_USE, PNG_CRC_WARN_USE);
        png_read_info(png_, info_);
        if (!isPlausible(input_.size(), kLargestRatio, packedSize())) return DecodeFault::damaged;
        takeProfile();
        askForRgba();
        return readRows();
    }

private:
    /// libpng asks for kilobytes at once: where the file ends within them, what there is must not be lost.
    bool read(png_bytep target, std::size_t length) {
        const std::size_t count = input_.read(offset_, std::as_writable_bytes(std::span(target, length)));
        offset_ += count;
        if (count == length) return true;
        std::memset(target + count, 0, length - count);
        return !std::exchange(isBehindEnd_, true) && count > 0;
    }

    /// Of the rows before they were packed.
    [[nodiscard]] std::uint64_t packedSize() const {
        return std::uint64_t{png_get_rowbytes(png_, info_)} * png_get_image_height(png_, info_);
    }

    void takeProfile() {
        char* name = nullptr;
        png_bytep bytes = nullptr;
        png_uint_32 length = 0;
        int ignored = 0;
        if (png_get_iCCP(png_, info_, &name, &ignored, &bytes, &length)) {
            const auto* begin = reinterpret_cast<const std::byte*>(bytes);
            decoded_.profile.assign(begin, begin + length);
        }
        const int type = png_get_color_type(png_, info_);
        if ((type & PNG_COLOR_MASK_COLOR) == 0) decoded_.model = PixelModel::gray;
    }

    void askForRgba() {
        png_set_expand(png_);
        png_set_gray_to_rgb(png_);
        isWide_ = png_get_bit_depth(png_, info_) == 16;
        hasAlpha_ = (png_get_color_type(png_, info_) & PNG_COLOR_MASK_ALPHA) != 0 ||
                    png_get_valid(png_, info_, PNG_INFO_tRNS) != 0;
        if (!hasAlpha_) png_set_add_alpha(png_, isWide_ ? 0xFFFF : 0xFF, PNG_FILLER_AFTER);
        if (isWide_) png_set_swap(png_);
        double gamma = 0;
        if (decoded_.profile.empty() && !png_get_valid(png_, info_, PNG_INFO_sRGB) &&
            png_get_gAMA(png_, info_, &gamma) && gamma > 0.01 && std::abs(gamma - kSRGBGamma) > 0.02)
            png_set_gamma(png_, PNG_DEFAULT_sRGB, gamma);
        passes_ = png_set_interlace_handling(png_);
        png_read_update_info(png_, info_);
    }

    DecodeFault readRows() {
        const std::size_t width = png_get_image_width(png_, info_);
        const std::size_t height = png_get_image_height(png_, info_);
        const unsigned bits = isWide_ ? 16 : 8;
        const auto alpha = hasAlpha_ ? CGImageAlphaInfo::last : CGImageAlphaInfo::noneSkipLast;
        fault_ = rows_.begin(decoded_.image, width, height, bits, alpha, request_);
        if (fault_ != DecodeFault::none) return fault_;
        if (png_get_rowbytes(png_, info_) != width * CGImage::kComponents * bits / 8) return DecodeFault::unsupported;
        if (passes_ > 1) return readInterlaced(width, height, bits, alpha);
        for (std::size_t y = 0; y < height; ++y) {
            png_read_row(png_, reinterpret_cast<png_bytep>(rows_.next()), nullptr);
            rows_.done();
            ++rowsDone_;
        }
        finish();
        return DecodeFault::none;
    }

    /// Every pass touches every row: all of them are in memory at once. They are in their place already where the
    /// picture is not to be reduced.
    DecodeFault readInterlaced(std::size_t width, std::size_t height, unsigned bits, CGImageAlphaInfo alpha) {
        const bool isReduced = reduction(width, height, request_) > 1;
        if (isReduced) {
            fault_ = MemoryCount().beside(std::uint64_t{width} * height, bits / 2).fault(request_);
            if (fault_ == DecodeFault::none) fault_ = allocate(whole_, width, height, bits, alpha);
        }
        CGImage& target = isReduced ? whole_ : decoded_.image;
        for (int pass = 0; pass < passes_ && fault_ == DecodeFault::none; ++pass)
            for (std::size_t y = 0; y < height; ++y) {
                png_read_row(png_, reinterpret_cast<png_bytep>(target.row(y)), nullptr);
                ++rowsDone_;
            }
        if (fault_ == DecodeFault::none) finish();
        return fault_;
    }

    void finish() {
        for (std::size_t y = 0; whole_.pixels && y < whole_.height; ++y) {
            std::memcpy(rows_.next(), whole_.row(y), whole_.bytesPerRow());
            rows_.done();
        }
        rows_.end();
    }

    PixelInput& input_;
    const DecodeRequest& request_;
    DecodedPixels& decoded_;
    png_structp png_ = nullptr;
    png_infop info_ = nullptr;
    std::uint64_t offset_ = 0;
    bool isBehindEnd_ = false;
    bool isWide_ = false;
    bool hasAlpha_ = false;
    int passes_ = 1;
    PixelRows rows_;
    CGImage whole_;
    std::size_t rowsDone_ = 0;
    DecodeFault fault_ = DecodeFault::none;
};

}  // namespace

DecodeFault decodePng(PixelInput& input, const DecodeRequest& request, DecodedPixels& decoded) {
    // libpng knows nothing of animations: it has the picture that every reader shows.
    if (request.index > 0) return DecodeFault::unsupported;
    return guarded([&] { return PngDecoding(input, request, decoded).run(); });
}

}  // namespace tessaly::codecs
