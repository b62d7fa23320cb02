#include <libraw/libraw.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <memory>
#include <new>
#include <string>

#include "linux/codecs/modules/Guarded.h"
#include "linux/codecs/modules/PixelRows.h"

/// What a camera's sensor measured, developed as the camera would have done.
namespace tessaly::codecs {
namespace {

/// A file that has no descriptor is taken into memory as a whole; larger ones are none of a camera.
constexpr std::uint64_t kMemoryLimit = 512ULL << 20;

/// Bytes a pixel of the sensor: what it measured (2), four components that are developed from it (8), and the
/// library's picture (3); 13.15 were measured. Half a side makes a quarter of all but the first: 4.9.
constexpr double kBytes = 13.3, kHalfBytes = 5;
/// Of a sensor that measures all colours in one place, or of a raw that was developed a part: four more of two bytes.
constexpr double kColorBytes = 8;
/// A camera packs no pixel into less than an eighth of a bit.
constexpr std::uint64_t kPixelsInByte = 64;

DecodeFault faultOf(int error) {
    switch (error) {
        case LIBRAW_SUCCESS:
            return DecodeFault::none;
        case LIBRAW_UNSUFFICIENT_MEMORY:
            return DecodeFault::outOfMemory;
        case LIBRAW_TOO_BIG:
        case LIBRAW_MEMPOOL_OVERFLOW:
            return DecodeFault::tooLarge;
        case LIBRAW_DATA_ERROR:
        case LIBRAW_IO_ERROR:
        case LIBRAW_BAD_CROP:
        case LIBRAW_UNSPECIFIED_ERROR:
            return DecodeFault::damaged;
        default:
            return DecodeFault::unsupported;
    }
}

class Developer {
public:
    Developer(const DecodeRequest& request, DecodedPixels& decoded) : request_(request), decoded_(decoded) {}

    [[nodiscard]] DecodeFault run(PixelInput& input) {
        if (request_.index != 0) return DecodeFault::damaged;
        if (const auto fault = open(input); fault != DecodeFault::none) return fault;
        if (const auto fault = checkSize(input.size()); fault != DecodeFault::none) return fault;
        if (!isComplete(input)) return DecodeFault::damaged;
        setParameters();
        if (const auto fault = faultOf(raw_->unpack()); fault != DecodeFault::none) return fault;
        // The library fills what it could not read with anything. A preview shows more than that.
        if (raw_->error_count() > 0) return DecodeFault::damaged;
        // The library would take daylight for granted when the camera tells no white.
        if (raw_->imgdata.color.cam_mul[0] <= 0) raw_->imgdata.params.use_auto_wb = 1;
        if (const auto fault = faultOf(raw_->dcraw_process()); fault != DecodeFault::none) return fault;
        if (const auto fault = takePixels(); fault != DecodeFault::none) return fault;
        raw_.reset();  // has by far more memory than the picture takes
        return copyRows();
    }

private:
    /// Through the descriptor when there is one: the library then opens a file of its own and keeps its own place.
    [[nodiscard]] DecodeFault open(PixelInput& input) {
        if (input.descriptor() >= 0) {
            const auto path = "/proc/self/fd/" + std::to_string(input.descriptor());
            if (::access(path.c_str(), R_OK) == 0) return faultOf(raw_->open_file(path.c_str()));
        }
        if (input.size() > kMemoryLimit) return DecodeFault::tooLarge;
        file_.resize(input.size());
        if (input.read(0, file_) != file_.size()) return DecodeFault::damaged;
        return faultOf(raw_->open_buffer(file_.data(), file_.size()));
    }

    /// What is unpacked is the whole sensor, its masked edges too.
    [[nodiscard]] DecodeFault checkSize(std::uint64_t fileSize) const {
        const auto& sizes = raw_->imgdata.sizes;
        const auto pixels =
            std::max(std::uint64_t{sizes.width} * sizes.height, std::uint64_t{sizes.raw_width} * sizes.raw_height);
        if (pixels == 0 || !isPlausible(fileSize, kPixelsInByte, pixels)) return DecodeFault::damaged;
        if (const auto fault = countMemory(pixels); fault != DecodeFault::none) return fault;
        return request_.pixelLimit != 0 && pixels > request_.pixelLimit ? DecodeFault::tooLarge : DecodeFault::none;
    }

    /// The library's memory is free again before ours is asked for, but for its picture.
    [[nodiscard]] DecodeFault countMemory(std::uint64_t pixels) const {
        const bool hasColors = raw_->imgdata.idata.filters == 0 && raw_->imgdata.idata.colors > 1;
        return MemoryCount()
            .beside(file_.size())
            .besideEachPixel(pixels, 1, (canBeHalf() ? kHalfBytes : kBytes) + (hasColors ? kColorBytes : 0))
            .fault(request_);
    }

    /// Not every unpacker of the library notices that the file ends before the measurements do.
    [[nodiscard]] bool isComplete(const PixelInput& input) const {
        const auto& data = raw_->get_internal_data_pointer()->unpacker_data;
        const std::uint64_t size = input.size();
        const auto offset = static_cast<std::uint64_t>(std::max<INT64>(0, data.data_offset));
        return offset < size && data.data_size <= size - offset;
    }

    /// One pixel out of four sensor cells is done in a fraction of the time that one out of one takes.
    [[nodiscard]] bool canBeHalf() const {
        const auto& sizes = raw_->imgdata.sizes;
        return request_.longerSide != 0 && std::max(sizes.width, sizes.height) / 2U >= request_.longerSide;
    }

    void setParameters() {
        auto& parameters = raw_->imgdata.params;
        parameters.output_color = 1;  // sRGB, with its own curve rather than that of television
        parameters.gamm[0] = 1 / 2.4;
        parameters.gamm[1] = 12.92;
        parameters.output_bps = 8;
        constexpr std::uint64_t kMegabyte = 1 << 20;
        if (request_.memoryLimit != 0)
            parameters.max_raw_memory_mb =
                static_cast<unsigned>(std::clamp<std::uint64_t>(request_.memoryLimit / kMegabyte, 1, 1 << 20));
        parameters.use_camera_wb = 1;
        parameters.no_auto_bright = 0;
        parameters.half_size = canBeHalf() ? 1 : 0;
    }

    [[nodiscard]] DecodeFault takePixels() {
        int depth = 0;
        raw_->get_mem_image_format(&width_, &height_, &colors_, &depth);
        if (width_ <= 0 || height_ <= 0 || depth != 8) return DecodeFault::damaged;
        if (colors_ != 1 && colors_ != 3) return DecodeFault::unsupported;
        // The library counts bytes in an int.
        if (width_ > INT_MAX / colors_ / height_) return DecodeFault::tooLarge;
        pixels_.resize(rowBytes() * static_cast<std::size_t>(height_));
        return faultOf(raw_->copy_mem_image(pixels_.data(), static_cast<int>(rowBytes()), 0));
    }

    [[nodiscard]] std::size_t rowBytes() const {
        return static_cast<std::size_t>(width_) * static_cast<std::size_t>(colors_);
    }

    [[nodiscard]] DecodeFault copyRows() {
        PixelRows rows;
        const auto fault = rows.begin(decoded_.image, static_cast<std::size_t>(width_),
                                      static_cast<std::size_t>(height_), 8, CGImageAlphaInfo::noneSkipLast, request_);
        if (fault != DecodeFault::none) return fault;
        for (std::size_t y = 0; y < static_cast<std::size_t>(height_); ++y) {
            copyRow(pixels_.data() + y * rowBytes(), rows.next());
            rows.done();
        }
        rows.end();
        decoded_.isUpright = true;
        return DecodeFault::none;
    }

    void copyRow(const std::byte* source, std::byte* target) const {
        const std::size_t green = colors_ == 3 ? 1 : 0;
        for (int x = 0; x < width_; ++x, source += colors_, target += CGImage::kComponents) {
            target[0] = source[0];
            target[1] = source[green];
            target[2] = source[green * 2];
            target[3] = std::byte{0xff};
        }
    }

    static constexpr unsigned kSilent = LIBRAW_OPIONS_NO_MEMERR_CALLBACK | LIBRAW_OPIONS_NO_DATAERR_CALLBACK;

    const DecodeRequest& request_;
    DecodedPixels& decoded_;
    std::vector<std::byte> file_;  // outlives the library's object, which reads from it
    std::unique_ptr<LibRaw> raw_ = std::make_unique<LibRaw>(kSilent);
    std::vector<std::byte> pixels_;
    int width_ = 0;
    int height_ = 0;
    int colors_ = 0;
};

DecodeFault decodeRaw(PixelInput& input, const DecodeRequest& request, DecodedPixels& decoded) {
    return guarded([&] { return Developer(request, decoded).run(input); });
}

}  // namespace
}  // namespace tessaly::codecs

TESSALY_MODULE_SYMBOL tessaly::codecs::DecodeImage tessaly_decode = &tessaly::codecs::decodeRaw;
