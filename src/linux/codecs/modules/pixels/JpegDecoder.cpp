#include <csetjmp>
#include <cstdio>
#include <cstdlib>
//
#include <jpeglib.h>
//
#include <jerror.h>

#include "linux/codecs/modules/Guarded.h"
#include "linux/codecs/modules/PixelRows.h"
#include "linux/codecs/modules/pixels/Pixels.h"

namespace tessaly::codecs {
namespace {

constexpr std::size_t kBufferSize = std::size_t{64} * 1024;
/// A block of 8 x 8 pixels takes two bits at least, and a component may have a sixteenth of the picture's pixels.
constexpr std::uint64_t kPixelsInByte = 256;
/// A progressive file may have a scan a coefficient and bit; thousands of them only keep a reader busy.
constexpr int kScanLimit = 500;

struct ErrorManager : jpeg_error_mgr {
    std::jmp_buf jump;
};

[[noreturn]] void fail(j_common_ptr info) { std::longjmp(static_cast<ErrorManager*>(info->err)->jump, 1); }
void ignoreMessage(j_common_ptr) {}

/// libjpeg's source over our input. What a damaged file lacks is answered with an end marker, as its own sources do.
struct InputManager : jpeg_source_mgr {
    PixelInput* input = nullptr;
    std::uint64_t offset = 0;
    JOCTET buffer[kBufferSize];

    explicit InputManager(PixelInput& from) : jpeg_source_mgr{}, input(&from) {
        init_source = [](j_decompress_ptr) {};
        term_source = [](j_decompress_ptr) {};
        resync_to_restart = jpeg_resync_to_restart;
        fill_input_buffer = [](j_decompress_ptr info) -> boolean {
            static_cast<InputManager*>(info->src)->fill();
            return TRUE;
        };
        skip_input_data = [](j_decompress_ptr info, long count) {
            if (count > 0) static_cast<InputManager*>(info->src)->skip(static_cast<std::size_t>(count));
        };
    }

    void fill() {
        const std::size_t count = input->read(offset, std::as_writable_bytes(std::span(buffer)));
        offset += count;
        next_input_byte = buffer;
        bytes_in_buffer = count;
        if (count == 0) {
            buffer[0] = 0xFF;
            buffer[1] = JPEG_EOI;
            bytes_in_buffer = 2;
        }
    }

    void skip(std::size_t count) {
        if (count <= bytes_in_buffer) {
            next_input_byte += count;
            bytes_in_buffer -= count;
            return;
        }
        offset += count - bytes_in_buffer;
        bytes_in_buffer = 0;
    }
};

class JpegDecoding {
public:
    JpegDecoding(PixelInput& input, const DecodeRequest& request, DecodedPixels& decoded)
        : input_(input), request_(request), decoded_(decoded) {
        info_.err = jpeg_std_error(&error_);
        error_.error_exit = fail;
        error_.output_message = ignoreMessage;
        progress_.progress_monitor = [](j_common_ptr info) {
            auto* decompress = reinterpret_cast<j_decompress_ptr>(info);
            if (decompress->input_scan_number > kScanLimit) ERREXIT(info, JERR_CANT_SUSPEND);
        };
    }
    JpegDecoding(const JpegDecoding&) = delete;
    JpegDecoding& operator=(const JpegDecoding&) = delete;
    ~JpegDecoding() { jpeg_destroy_decompress(&info_); }

    /// An error of libjpeg leaves this function by a jump: nothing in it may need a destructor.
    DecodeFault run() {
        if (setjmp(error_.jump)) {
            // What came before the damage is worth showing.
            if (rowsDone_ == 0) return fault_ == DecodeFault::none ? DecodeFault::damaged : fault_;
            rows_.end();
            return DecodeFault::none;
        }
        jpeg_create_decompress(&info_);
        info_.src = &input_;
        info_.progress = &progress_;
        jpeg_save_markers(&info_, JPEG_APP0 + 2, 0xFFFF);
        jpeg_save_markers(&info_, JPEG_APP0 + 14, 0xFFFF);
        if (jpeg_read_header(&info_, TRUE) != JPEG_HEADER_OK) return DecodeFault::damaged;
        if (!prepare()) return fault_;
        jpeg_start_decompress(&info_);
        fault_ = rows_.begin(decoded_.image, info_.output_width, info_.output_height, 8, CGImageAlphaInfo::noneSkipLast,
                             request_);
        if (fault_ != DecodeFault::none) return fault_;
        readRows();
        jpeg_finish_decompress(&info_);
        return DecodeFault::none;
    }

private:
    bool prepare() {
        const std::uint64_t pixels = std::uint64_t{info_.image_width} * info_.image_height;
        fault_ = isPlausible(input_.input->size(), kPixelsInByte, pixels) ? DecodeFault::none : DecodeFault::damaged;
        if (fault_ != DecodeFault::none) return false;
        chooseColors();
        chooseScale();
        takeProfile();
        jpeg_calc_output_dimensions(&info_);
        fault_ = countMemory();
        return fault_ == DecodeFault::none;
    }

    /// A picture of several scans has all of its coefficients in memory at once, whatever size comes out. They are
    /// counted exactly: 3 bytes a pixel with halved colours. One scan takes no more than its rows (1.02 times the
    /// bitmap was measured, and 1.77 times for several).
    [[nodiscard]] DecodeFault countMemory() {
        const std::size_t part = reduction(info_.output_width, info_.output_height, request_);
        MemoryCount count;
        count.picture(info_.output_width / part, info_.output_height / part, 8);
        for (int i = 0; jpeg_has_multiple_scans(&info_) && i < info_.num_components; ++i) {
            const jpeg_component_info& component = info_.comp_info[i];
            count.beside(std::uint64_t{component.width_in_blocks} * component.height_in_blocks, sizeof(JBLOCK));
        }
        return count.fault(request_);
    }

    void chooseColors() {
        switch (info_.jpeg_color_space) {
            case JCS_CMYK:
            case JCS_YCCK:
                info_.out_color_space = JCS_CMYK;
                decoded_.model = info_.saw_Adobe_marker ? PixelModel::invertedCmyk : PixelModel::cmyk;
                break;
            case JCS_GRAYSCALE:
                info_.out_color_space = JCS_EXT_RGBX;
                decoded_.model = PixelModel::gray;
                break;
            default:
                info_.out_color_space = JCS_EXT_RGBX;
        }
    }

    /// The transform makes halves, quarters and eighths itself, for a fraction of the work.
    void chooseScale() {
        if (request_.longerSide == 0) return;
        const std::size_t longer = std::max(info_.image_width, info_.image_height);
        unsigned part = 8;
        while (part > 1 && longer * (part / 2) / 8 >= request_.longerSide) part /= 2;
        info_.scale_num = part;
        info_.scale_denom = 8;
        if (part < 8) info_.do_fancy_upsampling = FALSE;
    }

    void takeProfile() {
        JOCTET* bytes = nullptr;
        unsigned length = 0;
        if (!jpeg_read_icc_profile(&info_, &bytes, &length)) return;
        const auto* begin = reinterpret_cast<const std::byte*>(bytes);
        decoded_.profile.assign(begin, begin + length);
        std::free(bytes);
    }

    void readRows() {
        while (info_.output_scanline < info_.output_height) {
            auto* row = reinterpret_cast<JSAMPROW>(rows_.next());
            jpeg_read_scanlines(&info_, &row, 1);
            rows_.done();
            ++rowsDone_;
        }
        rows_.end();
    }

    InputManager input_;
    const DecodeRequest& request_;
    DecodedPixels& decoded_;
    ErrorManager error_{};
    jpeg_progress_mgr progress_{};
    jpeg_decompress_struct info_{};
    PixelRows rows_;
    std::size_t rowsDone_ = 0;
    DecodeFault fault_ = DecodeFault::none;
};

}  // namespace

DecodeFault decodeJpeg(PixelInput& input, const DecodeRequest& request, DecodedPixels& decoded) {
    // Further pictures of a multi-picture file are files of their own, which nobody asks for yet.
    if (request.index > 0) return DecodeFault::unsupported;
    return guarded([&] { return std::make_unique<JpegDecoding>(input, request, decoded)->run(); });
}

}  // namespace tessaly::codecs
