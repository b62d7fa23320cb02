#include "linux/codecs/modules/ffmpeg/Ffmpeg.h"

extern "C" {
#include <libavutil/log.h>
#include <libavutil/mem.h>
#include <libavutil/opt.h>
}

#include <algorithm>
#include <cstdio>
#include <limits>
#include <mutex>
#include <vector>

namespace tessaly::codecs::ffmpeg {
namespace {

constexpr int kBufferSize = 64 * 1024;

int openNothing(AVFormatContext*, AVIOContext**, const char*, int, AVDictionary**) { return AVERROR(EACCES); }

std::int64_t clampedLimit(std::uint64_t pixelLimit) {
    return static_cast<std::int64_t>(std::min<std::uint64_t>(pixelLimit, std::numeric_limits<int>::max()));
}

/// Standard definition and high definition disagree on the matrix, and who says nothing means that of his size.
int matrixOf(const AVFrame& frame) {
    if (frame.colorspace != AVCOL_SPC_UNSPECIFIED && frame.colorspace != AVCOL_SPC_RESERVED) return frame.colorspace;
    return std::max(frame.width, frame.height) >= 1280 || frame.height >= 720 ? AVCOL_SPC_BT709 : AVCOL_SPC_SMPTE170M;
}

/// Gray and some old formats use the whole range without anybody saying so: the scaler knows them.
bool usesFullRange(SwsContext* scaler, const AVFrame& frame) {
    int* unused = nullptr;
    int isFull = 0;
    int ignored = 0;
    if (frame.color_range != AVCOL_RANGE_UNSPECIFIED) return frame.color_range == AVCOL_RANGE_JPEG;
    return sws_getColorspaceDetails(scaler, &unused, &isFull, &unused, &ignored, &ignored, &ignored, &ignored) >= 0 &&
           isFull != 0;
}

void setColors(SwsContext* scaler, const AVFrame& frame) {
    constexpr int kUnity = 1 << 16;
    const int* matrix = sws_getCoefficients(matrixOf(frame));
    // Fails for formats that have no matrix, which then need none.
    sws_setColorspaceDetails(scaler, matrix, usesFullRange(scaler, frame) ? 1 : 0, sws_getCoefficients(SWS_CS_DEFAULT),
                             1, 0, kUnity, kUnity);
}

Scaler makeScaler(const AVFrame& source, int width, int height, AVPixelFormat format) {
    const bool isSmaller = width < source.width && height < source.height;
    const int flags = (isSmaller ? SWS_AREA : SWS_BICUBIC) | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INT | SWS_FULL_CHR_H_INP;
    return Scaler(sws_getContext(source.width, source.height, static_cast<AVPixelFormat>(source.format), width, height,
                                 format, flags, nullptr, nullptr, nullptr));
}

}  // namespace

void beSilent() {
    static std::once_flag once;
    std::call_once(once, [] { av_log_set_level(AV_LOG_QUIET); });
}

void limitPieces(std::uint64_t bytes) {
    static std::mutex mutex;
    static std::uint64_t largest = 0;
    constexpr std::uint64_t kMost = std::numeric_limits<std::size_t>::max();
    const std::lock_guard lock(mutex);
    largest = std::max(largest, bytes == 0 ? kMost : bytes);
    av_max_alloc(static_cast<std::size_t>(largest));
}

DecodeFault faultOf(int error) {
    if (error >= 0) return DecodeFault::none;
    if (error == AVERROR(ENOMEM)) return DecodeFault::outOfMemory;
    const bool isUnknown = error == AVERROR_PATCHWELCOME || error == AVERROR(ENOSYS) ||
                           error == AVERROR_DECODER_NOT_FOUND || error == AVERROR_DEMUXER_NOT_FOUND;
    return isUnknown ? DecodeFault::unsupported : DecodeFault::damaged;
}

bool exceeds(std::uint64_t limit, std::uint64_t width, std::uint64_t height) {
    return limit != 0 && height != 0 && width > limit / height;
}

DecodeFault openCodec(const AVCodec& decoder, const AVCodecParameters* parameters, const AVRational* unit,
                      int reductions, std::uint64_t pixelLimit, Codec& codec) {
    codec.reset(avcodec_alloc_context3(&decoder));
    if (!codec) return DecodeFault::outOfMemory;
    if (parameters != nullptr) {
        if (const int error = avcodec_parameters_to_context(codec.get(), parameters); error < 0) return faultOf(error);
    }
    if (unit != nullptr) codec->pkt_timebase = *unit;
    // Pictures may grow from one frame to the next, and not the first alone is to be within the limit.
    if (pixelLimit != 0) codec->max_pixels = clampedLimit(pixelLimit);
    codec->thread_count = 2;
    codec->lowres = reductions;
    return faultOf(avcodec_open2(codec.get(), &decoder, nullptr));
}

DecodeFault convert(const AVFrame& source, int width, int height, AVPixelFormat format, Frame& target) {
    if (source.width <= 0 || source.height <= 0 || width <= 0 || height <= 0) return DecodeFault::damaged;
    if (source.format < 0 || sws_isSupportedInput(static_cast<AVPixelFormat>(source.format)) == 0)
        return DecodeFault::unsupported;
    const auto scaler = makeScaler(source, width, height, format);
    if (!scaler) return DecodeFault::unsupported;
    setColors(scaler.get(), source);

    // A frame of the library's own: its rows have room behind them, into which the scaler may write.
    target.reset(av_frame_alloc());
    if (!target) return DecodeFault::outOfMemory;
    target->width = width;
    target->height = height;
    target->format = format;
    if (const int error = av_frame_get_buffer(target.get(), 0); error < 0) return faultOf(error);
    return faultOf(
        sws_scale(scaler.get(), source.data, source.linesize, 0, source.height, target->data, target->linesize));
}

DecodeFault Container::open(PixelInput& input, const char* formats) {
    close();
    input_ = &input;
    position_ = 0;
    auto* buffer = static_cast<unsigned char*>(av_malloc(kBufferSize));
    if (buffer == nullptr) return DecodeFault::outOfMemory;
    io_ = avio_alloc_context(buffer, kBufferSize, 0, this, &Container::readNext, nullptr, &Container::seek);
    if (io_ == nullptr) {
        av_free(buffer);
        return DecodeFault::outOfMemory;
    }
    format_ = avformat_alloc_context();
    if (format_ == nullptr) return DecodeFault::outOfMemory;
    format_->pb = io_;
    format_->flags |= AVFMT_FLAG_CUSTOM_IO;
    format_->io_open = &openNothing;
    if (av_opt_set(format_, "format_whitelist", formats, 0) < 0) return DecodeFault::outOfMemory;
    const int error = avformat_open_input(&format_, nullptr, nullptr, nullptr);
    return error == AVERROR(EINVAL) ? DecodeFault::unsupported : faultOf(error);
}

bool Container::probe(std::uint64_t bytes, std::uint64_t pixelLimit) {
    // Pictures may be decoded on the way, for which the limit counts too.
    std::vector<AVDictionary*> options(format_->nb_streams, nullptr);
    if (pixelLimit != 0) {
        for (auto*& option : options) av_dict_set_int(&option, "max_pixels", clampedLimit(pixelLimit), 0);
    }
    format_->probesize = static_cast<std::int64_t>(bytes);
    const int error = avformat_find_stream_info(format_, options.empty() ? nullptr : options.data());
    for (auto*& option : options) av_dict_free(&option);
    return error != AVERROR(ENOMEM);
}

int Container::readNext(void* user, std::uint8_t* target, int size) {
    auto& self = *static_cast<Container*>(user);
    const auto wanted = std::min<std::uint64_t>(static_cast<std::uint64_t>(std::max(size, 0)), self.budget_);
    const auto count =
        self.input_->read(self.position_, {reinterpret_cast<std::byte*>(target), static_cast<std::size_t>(wanted)});
    self.position_ += count;
    self.budget_ -= count;
    return count == 0 ? AVERROR_EOF : static_cast<int>(count);
}

std::int64_t Container::seek(void* user, std::int64_t offset, int whence) {
    auto& self = *static_cast<Container*>(user);
    const auto size = static_cast<std::int64_t>(self.input_->size());
    std::int64_t base = 0;
    switch (whence & ~AVSEEK_FORCE) {
        case AVSEEK_SIZE:
            return size;
        case SEEK_SET:
            break;
        case SEEK_CUR:
            base = static_cast<std::int64_t>(self.position_);
            break;
        case SEEK_END:
            base = size;
            break;
        default:
            return AVERROR(EINVAL);
    }
    if (offset < -base || offset > std::numeric_limits<std::int64_t>::max() - base) return AVERROR(EINVAL);
    self.position_ = static_cast<std::uint64_t>(base + offset);
    return base + offset;
}

void Container::close() {
    avformat_close_input(&format_);
    // The library may have taken another buffer than the one that it was given.
    if (io_ != nullptr) av_freep(&io_->buffer);
    avio_context_free(&io_);
}

}  // namespace tessaly::codecs::ffmpeg
