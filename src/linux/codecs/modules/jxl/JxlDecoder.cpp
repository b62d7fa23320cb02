#include <jxl/decode.h>
#include <jxl/resizable_parallel_runner.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>
#include <utility>

#include "linux/codecs/modules/Guarded.h"
#include "linux/codecs/modules/PixelRows.h"

namespace tessaly::codecs {
namespace {

template <auto Release>
struct Releaser {
    void operator()(auto* object) const { Release(object); }
};

using Decoder = std::unique_ptr<JxlDecoder, Releaser<&JxlDecoderDestroy>>;
using Threads = std::unique_ptr<void, Releaser<&JxlResizableParallelRunnerDestroy>>;

/// Bytes a pixel that the library takes beside our picture, by its channels: its floats of all groups at once (32.3
/// were measured with three channels, 48.5 with four). A photo that was coded with loss and without alpha takes 3 to
/// 15, but the library does not tell how a frame is coded before it decodes it. (Its hook for memory sees only a part
/// of what it asks for, and can limit nothing.)
constexpr double kColorBytes = 32.5, kExtraChannelBytes = 16.5;

/// Hands the input to the decoder piece by piece. What the decoder leaves of a piece it gets again with the next one.
class Feeder {
public:
    Feeder(PixelInput& input, JxlDecoder* decoder) : input_(input), decoder_(decoder) {}

    /// @return whether there was anything left.
    [[nodiscard]] bool feed() {
        const std::size_t left = JxlDecoderReleaseInput(decoder_);
        std::copy(piece_.end() - static_cast<std::ptrdiff_t>(left), piece_.end(), piece_.begin());
        piece_.resize(left + kPiece);
        const std::size_t count = input_.read(offset_, std::span(piece_).subspan(left));
        piece_.resize(left + count);
        offset_ += count;
        return count > 0 && JxlDecoderSetInput(decoder_, reinterpret_cast<const std::uint8_t*>(piece_.data()),
                                               piece_.size()) == JXL_DEC_SUCCESS;
    }

private:
    static constexpr std::size_t kPiece = 256 * 1024;

    PixelInput& input_;
    JxlDecoder* decoder_;
    std::uint64_t offset_ = 0;
    std::vector<std::byte> piece_;
};

/// One run through the events of the library.
class FrameReader {
public:
    FrameReader(const DecodeRequest& request, DecodedPixels& decoded)
        : request_(request),
          decoded_(decoded),
          threads_(JxlResizableParallelRunnerCreate(nullptr)),
          decoder_(JxlDecoderCreate(nullptr)) {}

    [[nodiscard]] DecodeFault run(PixelInput& input) {
        if (!decoder_ || !threads_) return DecodeFault::outOfMemory;
        if (!prepare()) return DecodeFault::damaged;
        Feeder feeder(input, decoder_.get());
        while (!isDone_) {
            const auto status = JxlDecoderProcessInput(decoder_.get());
            if (status == JXL_DEC_NEED_MORE_INPUT) {
                if (!feeder.feed()) return DecodeFault::damaged;
            } else if (const auto fault = handle(status); fault != DecodeFault::none) {
                return fault;
            }
        }
        return finish();
    }

private:
    [[nodiscard]] bool prepare() {
        constexpr int kEvents = JXL_DEC_BASIC_INFO | JXL_DEC_COLOR_ENCODING | JXL_DEC_FRAME | JXL_DEC_FULL_IMAGE;
        if (JxlDecoderSubscribeEvents(decoder_.get(), kEvents) != JXL_DEC_SUCCESS) return false;
        if (JxlDecoderSetParallelRunner(decoder_.get(), JxlResizableParallelRunner, threads_.get()) != JXL_DEC_SUCCESS)
            return false;
        JxlDecoderSkipFrames(decoder_.get(), request_.index);
        return true;
    }

    [[nodiscard]] DecodeFault handle(JxlDecoderStatus status) {
        switch (status) {
            case JXL_DEC_BASIC_INFO:
                return takeInfo();
            case JXL_DEC_COLOR_ENCODING:
                takeColors();
                return DecodeFault::none;
            case JXL_DEC_FRAME:
                takeDelay();
                return DecodeFault::none;
            case JXL_DEC_NEED_IMAGE_OUT_BUFFER:
                return giveMemory();
            case JXL_DEC_FULL_IMAGE:
                isDone_ = true;
                return DecodeFault::none;
            default:
                return DecodeFault::damaged;  // or the end, before the frame came that was asked for
        }
    }

    [[nodiscard]] DecodeFault takeInfo() {
        if (JxlDecoderGetBasicInfo(decoder_.get(), &info_) != JXL_DEC_SUCCESS) return DecodeFault::damaged;
        if (info_.xsize == 0 || info_.ysize == 0) return DecodeFault::damaged;
        if (request_.pixelLimit != 0 && info_.xsize > request_.pixelLimit / info_.ysize) return DecodeFault::tooLarge;
        if (hasBlack()) return DecodeFault::unsupported;
        if (const auto fault = countMemory(); fault != DecodeFault::none) return fault;
        JxlResizableParallelRunnerSetThreads(threads_.get(),
                                             JxlResizableParallelRunnerSuggestThreads(info_.xsize, info_.ysize));
        decoded_.model = info_.num_color_channels == 1 ? PixelModel::gray : PixelModel::rgb;
        decoded_.isUpright = true;
        return DecodeFault::none;
    }

    /// The picture is in memory as a whole, whatever size is asked for.
    [[nodiscard]] DecodeFault countMemory() const {
        const std::size_t part = reduction(info_.xsize, info_.ysize, request_);
        return MemoryCount()
            .picture(info_.xsize / part, info_.ysize / part, bits())
            .beside(part > 1 ? std::uint64_t{info_.xsize} * info_.ysize : 0, bits() / 2)
            .besideEachPixel(info_.xsize, info_.ysize, kColorBytes + kExtraChannelBytes * info_.num_extra_channels)
            .fault(request_);
    }

    /// Four inks: without the black one, which the library hands out on its own, the colours would be wrong.
    [[nodiscard]] bool hasBlack() const {
        for (std::uint32_t i = 0; i < info_.num_extra_channels; ++i) {
            JxlExtraChannelInfo channel{};
            if (JxlDecoderGetExtraChannelInfo(decoder_.get(), i, &channel) == JXL_DEC_SUCCESS &&
                channel.type == JXL_CHANNEL_BLACK)
                return true;
        }
        return false;
    }

    /// Of the pixels as they are handed out, which need not be those of the original.
    void takeColors() {
        const auto format = pixelFormat();
        std::size_t size = 0;
        if (JxlDecoderGetICCProfileSize(decoder_.get(), &format, JXL_COLOR_PROFILE_TARGET_DATA, &size) ==
            JXL_DEC_SUCCESS) {
            decoded_.profile.resize(size);
            if (JxlDecoderGetColorAsICCProfile(decoder_.get(), &format, JXL_COLOR_PROFILE_TARGET_DATA,
                                               reinterpret_cast<std::uint8_t*>(decoded_.profile.data()),
                                               size) != JXL_DEC_SUCCESS)
                decoded_.profile.clear();
        }
        JxlColorEncoding encoding{};
        if (JxlDecoderGetColorAsEncodedProfile(decoder_.get(), &format, JXL_COLOR_PROFILE_TARGET_DATA, &encoding) ==
            JXL_DEC_SUCCESS)
            takeEncoding(encoding);
    }

    /// The library's numbers are those of H.273, but for a free white point, free primaries or a free gamma.
    void takeEncoding(const JxlColorEncoding& encoding) {
        if (encoding.color_space != JXL_COLOR_SPACE_RGB || encoding.white_point != JXL_WHITE_POINT_D65 ||
            encoding.primaries == JXL_PRIMARIES_CUSTOM || encoding.transfer_function == JXL_TRANSFER_FUNCTION_GAMMA)
            return;
        // P3 with daylight white stands one further than P3 with the white of the cinema.
        decoded_.colors = {encoding.primaries == JXL_PRIMARIES_P3 ? 12 : static_cast<int>(encoding.primaries),
                           static_cast<int>(encoding.transfer_function)};
    }

    void takeDelay() {
        JxlFrameHeader header{};
        if (info_.have_animation == JXL_FALSE || info_.animation.tps_numerator == 0) return;
        if (JxlDecoderGetFrameHeader(decoder_.get(), &header) != JXL_DEC_SUCCESS) return;
        decoded_.delay =
            static_cast<double>(header.duration) * info_.animation.tps_denominator / info_.animation.tps_numerator;
    }

    [[nodiscard]] unsigned bits() const {
        return info_.bits_per_sample > 8 || info_.exponent_bits_per_sample > 0 ? 16 : 8;
    }

    [[nodiscard]] JxlPixelFormat pixelFormat() const {
        return {CGImage::kComponents, bits() == 16 ? JXL_TYPE_UINT16 : JXL_TYPE_UINT8, JXL_NATIVE_ENDIAN, 0};
    }

    [[nodiscard]] CGImageAlphaInfo alpha() const {
        if (info_.alpha_bits == 0) return CGImageAlphaInfo::noneSkipLast;
        return info_.alpha_premultiplied != JXL_FALSE ? CGImageAlphaInfo::premultipliedLast : CGImageAlphaInfo::last;
    }

    [[nodiscard]] DecodeFault giveMemory() {
        const auto format = pixelFormat();
        std::size_t size = 0;
        PixelMemory* const memory = reduction(info_.xsize, info_.ysize, request_) == 1 ? request_.memory : nullptr;
        if (const auto fault = allocate(image_, info_.xsize, info_.ysize, bits(), alpha(), memory);
            fault != DecodeFault::none)
            return fault;
        if (JxlDecoderImageOutBufferSize(decoder_.get(), &format, &size) != JXL_DEC_SUCCESS ||
            size != image_.bytesPerRow() * image_.height)
            return DecodeFault::damaged;
        return JxlDecoderSetImageOutBuffer(decoder_.get(), &format, image_.pixels.get(), size) == JXL_DEC_SUCCESS
                   ? DecodeFault::none
                   : DecodeFault::damaged;
    }

    /// Threads fill the picture in any order, so that it is there in full before it is reduced.
    [[nodiscard]] DecodeFault finish() {
        if (!image_.pixels) return DecodeFault::damaged;
        decoder_.reset();
        if (reduction(image_.width, image_.height, request_) == 1) {
            decoded_.image = std::move(image_);
            return DecodeFault::none;
        }
        PixelRows rows;
        const auto fault = rows.begin(decoded_.image, image_.width, image_.height, image_.bitsPerComponent,
                                      image_.alphaInfo, request_);
        if (fault != DecodeFault::none) return fault;
        for (std::size_t y = 0; y < image_.height; ++y) {
            std::memcpy(rows.next(), image_.row(y), image_.bytesPerRow());
            rows.done();
        }
        rows.end();
        return DecodeFault::none;
    }

    const DecodeRequest& request_;
    DecodedPixels& decoded_;
    JxlBasicInfo info_{};
    CGImage image_;
    bool isDone_ = false;
    Threads threads_;  // outlives the decoder, which works on it
    Decoder decoder_;
};

DecodeFault decodeJxl(PixelInput& input, const DecodeRequest& request, DecodedPixels& decoded) {
    return guarded([&] { return FrameReader(request, decoded).run(input); });
}

}  // namespace
}  // namespace tessaly::codecs

TESSALY_MODULE_SYMBOL tessaly::codecs::DecodeImage tessaly_decode = &tessaly::codecs::decodeJxl;
