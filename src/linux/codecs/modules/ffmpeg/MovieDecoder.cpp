extern "C" {
#include <libavutil/display.h>
#include <libavutil/imgutils.h>
}

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <new>

#include "linux/codecs/VideoCodec.h"
#include "linux/codecs/modules/Guarded.h"
#include "linux/codecs/modules/PixelRows.h"
#include "linux/codecs/modules/ffmpeg/Ffmpeg.h"

/// A picture out of a movie.
namespace tessaly::codecs {
namespace {

using namespace ffmpeg;

/// Movies in one file. Lists that name other files are not among them.
constexpr const char* kFormats = "mov,matroska,avi,mpegts,mpeg,mpegvideo,flv,asf,ogg,dv,mxf,ivf,rm,nut,wtv,nsv";

/// What is spent on a file before it is given up.
constexpr int kPacketLimit = 300;
constexpr int kForeignPacketLimit = 20000;
constexpr std::uint64_t kProbedBytes = 64ULL << 20;
constexpr std::uint64_t kDecodedBytes = 512ULL << 20;

/// Frames in the decoder at once, those that others refer to and those of two threads: 9 were measured of H.264 with
/// five references, 7 of HEVC. Beside them stand the scaled picture and ours.
constexpr std::uint64_t kFrames = 10;
constexpr std::uint64_t kScaledBytes = 4;

/// Where a pixel of the upright picture comes from, as a movie can be turned by quarters and mirrored.
struct Orientation {
    bool isSwapped = false;   ///< Coded columns are shown as rows.
    bool isFlippedX = false;  ///< Coded columns run backwards.
    bool isFlippedY = false;  ///< Coded rows do.
};

/// The matrix maps coded places to shown ones. It is taken for the nearest one of quarters.
Orientation orientationOf(const std::int32_t* matrix) {
    const auto magnitude = [matrix](int i) { return std::abs(static_cast<double>(matrix[i])); };
    Orientation orientation;
    orientation.isSwapped = magnitude(1) + magnitude(3) > magnitude(0) + magnitude(4);
    orientation.isFlippedX = orientation.isSwapped ? matrix[1] < 0 : matrix[0] < 0;
    orientation.isFlippedY = orientation.isSwapped ? matrix[3] < 0 : matrix[4] < 0;
    return orientation;
}

Orientation orientationOf(const AVStream& stream, const AVFrame& frame) {
    std::size_t size = 0;
    const auto* data = av_stream_get_side_data(&stream, AV_PKT_DATA_DISPLAYMATRIX, &size);
    if (data == nullptr || size < 9 * sizeof(std::int32_t)) {
        const auto* ofFrame = av_frame_get_side_data(&frame, AV_FRAME_DATA_DISPLAYMATRIX);
        if (ofFrame == nullptr || ofFrame->size < 9 * sizeof(std::int32_t)) return {};
        data = ofFrame->data;
    }
    return orientationOf(reinterpret_cast<const std::int32_t*>(data));
}

struct Size {
    int width = 0;
    int height = 0;
};

/// The size at which the coded frame is converted: square pixels, and no more of them than are asked for.
Size targetSize(const AVFrame& frame, AVRational aspect, std::size_t longerSide) {
    double width = frame.width;
    double height = frame.height;
    const double ratio = aspect.num > 0 && aspect.den > 0 ? av_q2d(aspect) : 1;
    if (ratio > 1.0 / 16 && ratio < 16) width *= ratio;
    const double longer = std::max(width, height);
    const double scale =
        longerSide != 0 && longer > static_cast<double>(longerSide) ? static_cast<double>(longerSide) / longer : 1;
    return {std::max(1, static_cast<int>(std::lround(width * scale))),
            std::max(1, static_cast<int>(std::lround(height * scale)))};
}

void copyTurned(const AVFrame& source, const Orientation& orientation, CGImage& image) {
    const auto flip = [](std::size_t place, int count, bool isFlipped) {
        const auto index = static_cast<std::ptrdiff_t>(place);
        return isFlipped ? count - 1 - index : index;
    };
    for (std::size_t y = 0; y < image.height; ++y) {
        std::byte* target = image.row(y);
        for (std::size_t x = 0; x < image.width; ++x, target += CGImage::kComponents) {
            const auto column = flip(orientation.isSwapped ? y : x, source.width, orientation.isFlippedX);
            const auto row = flip(orientation.isSwapped ? x : y, source.height, orientation.isFlippedY);
            std::memcpy(target, source.data[0] + row * source.linesize[0] + column * std::ptrdiff_t{4}, 3);
            target[3] = std::byte{0xff};
        }
    }
}

class Movie {
public:
    Movie(const DecodeRequest& request, DecodedPixels& decoded) : request_(request), decoded_(decoded) {}

    [[nodiscard]] DecodeFault run(PixelInput& input, double seconds) {
        container_.allow(kProbedBytes);
        if (const auto fault = container_.open(input, kFormats); fault != DecodeFault::none) return fault;
        if (const auto fault = findStream(); fault != DecodeFault::none) return fault;
        container_.allow(kDecodedBytes);
        if (const auto fault = openDecoder(); fault != DecodeFault::none) return fault;
        setTarget(seconds);
        const auto fault = target_ == kBeginning ? decodePicture() : decodeTarget();
        return fault == DecodeFault::none ? finish() : fault;
    }

private:
    static constexpr std::int64_t kBeginning = INT64_MIN;

    [[nodiscard]] DecodeFault findStream() {
        if (!container_.probe(kProbedBytes / 4, request_.pixelLimit)) return DecodeFault::outOfMemory;
        for (unsigned i = 0; i < container_->nb_streams; ++i) {
            AVStream* stream = container_->streams[i];
            if (stream_ == nullptr ? isVideo(*stream) : isVideo(*stream) && rank(*stream) > rank(*stream_))
                stream_ = stream;
        }
        if (stream_ == nullptr) return DecodeFault::unsupported;
        for (unsigned i = 0; i < container_->nb_streams; ++i)
            container_->streams[i]->discard = container_->streams[i] == stream_ ? AVDISCARD_DEFAULT : AVDISCARD_ALL;
        const auto& coded = *stream_->codecpar;
        const bool isTooLarge = exceeds(request_.pixelLimit, static_cast<std::uint64_t>(std::max(0, coded.width)),
                                        static_cast<std::uint64_t>(std::max(0, coded.height)));
        return isTooLarge ? DecodeFault::tooLarge : countMemory(coded);
    }

    /// A format that is not known yet is taken for one of 8 bits and halved colours.
    [[nodiscard]] DecodeFault countMemory(const AVCodecParameters& coded) const {
        if (coded.width <= 0 || coded.height <= 0) return DecodeFault::none;
        const auto format = coded.format < 0 ? AV_PIX_FMT_YUV420P : static_cast<AVPixelFormat>(coded.format);
        const int frame = av_image_get_buffer_size(format, coded.width, coded.height, 1);
        if (frame < 0) return DecodeFault::tooLarge;
        const auto width = static_cast<std::uint64_t>(coded.width);
        const auto height = static_cast<std::uint64_t>(coded.height);
        const double longer = static_cast<double>(std::max(width, height));
        const double side = request_.longerSide == 0 ? longer : static_cast<double>(request_.longerSide);
        const double scale = std::min(1.0, side / longer);
        const auto scaled = static_cast<std::uint64_t>(static_cast<double>(width * height) * scale * scale);
        return MemoryCount()
            .picture(scaled, 1, 8)
            .beside(scaled, kScaledBytes)
            .beside(static_cast<std::uint64_t>(frame), kFrames)
            .fault(request_);
    }

    static bool isVideo(const AVStream& stream) {
        return stream.codecpar->codec_type == AVMEDIA_TYPE_VIDEO &&
               avcodec_find_decoder(stream.codecpar->codec_id) != nullptr;
    }

    /// Covers of albums come last, then what the file itself prefers counts, then size.
    static std::int64_t rank(const AVStream& stream) {
        constexpr int kStill = AV_DISPOSITION_ATTACHED_PIC | AV_DISPOSITION_TIMED_THUMBNAILS;
        const auto pixels = static_cast<std::int64_t>(stream.codecpar->width) * stream.codecpar->height;
        std::int64_t rank = std::clamp<std::int64_t>(pixels, 0, (std::int64_t{1} << 60) - 1);
        if ((stream.disposition & AV_DISPOSITION_DEFAULT) != 0) rank += std::int64_t{1} << 60;
        if ((stream.disposition & kStill) == 0) rank += std::int64_t{1} << 61;
        return rank;
    }

    [[nodiscard]] bool isCover() const { return (stream_->disposition & AV_DISPOSITION_ATTACHED_PIC) != 0; }

    [[nodiscard]] DecodeFault openDecoder() {
        packet_.reset(av_packet_alloc());
        frame_.reset(av_frame_alloc());
        picture_.reset(av_frame_alloc());
        if (!packet_ || !frame_ || !picture_) return DecodeFault::outOfMemory;
        const AVCodec* decoder = avcodec_find_decoder(stream_->codecpar->codec_id);
        return openCodec(*decoder, stream_->codecpar, &stream_->time_base, 0, request_.pixelLimit, codec_);
    }

    void setTarget(double seconds) {
        if (!(seconds > 0) || isCover()) return;
        // Behind the end stands the last picture.
        if (container_->duration > 0)
            seconds = std::min(seconds, static_cast<double>(container_->duration) / AV_TIME_BASE);
        const double units = seconds / av_q2d(stream_->time_base);
        if (units < 1e18) target_ = firstTime() + std::llround(units);
    }

    [[nodiscard]] std::int64_t firstTime() const {
        if (container_->start_time != AV_NOPTS_VALUE)
            return av_rescale_q(container_->start_time, AVRational{1, AV_TIME_BASE}, stream_->time_base);
        return stream_->start_time != AV_NOPTS_VALUE ? stream_->start_time : 0;
    }

    /// Not every container knows its key pictures: one is looked for ever further ahead of the time.
    [[nodiscard]] DecodeFault decodeTarget() {
        for (const int seconds : {0, 2, 10}) {
            const auto time = target_ - std::llround(seconds / av_q2d(stream_->time_base));
            if (!goTo(time)) break;
            const auto fault = decodePicture();
            if (fault == DecodeFault::outOfMemory) return fault;
            const bool isFound = fault == DecodeFault::none && picture_->best_effort_timestamp <= target_;
            if (isFound || (fault == DecodeFault::none && time <= firstTime())) return fault;
        }
        return decodeBeginning();
    }

    /// An index may lead anywhere. The beginning is better than nothing.
    [[nodiscard]] DecodeFault decodeBeginning() {
        target_ = kBeginning;
        goTo(firstTime());
        return decodePicture();
    }

    /// To the last key picture that is not behind the time.
    bool goTo(std::int64_t time) {
        isDone_ = false;
        container_.allow(kDecodedBytes);
        av_frame_unref(picture_.get());
        avcodec_flush_buffers(codec_.get());
        // A stream that was cast rather than stored is searched for times, and not up to its very first packet.
        const bool isCast = (container_->iformat->flags & AVFMT_TS_DISCONT) != 0;
        if (isCast && time <= firstTime()) return av_seek_frame(container_.get(), -1, 0, AVSEEK_FLAG_BYTE) >= 0;
        return av_seek_frame(container_.get(), stream_->index, time, AVSEEK_FLAG_BACKWARD) >= 0;
    }

    /// Leaves the picture in `picture_`.
    [[nodiscard]] DecodeFault decodePicture() {
        int packets = 0;
        int foreign = 0;
        while (!isDone_ && packets < kPacketLimit && foreign < kForeignPacketLimit) {
            const int error = av_read_frame(container_.get(), packet_.get());
            if (error == AVERROR(ENOMEM)) return DecodeFault::outOfMemory;
            if (error < 0) break;
            if (packet_->stream_index == stream_->index) {
                ++packets;
                decode(packet_.get());
            } else {
                ++foreign;
            }
            av_packet_unref(packet_.get());
        }
        // The last pictures are still in the decoder.
        if (!isDone_) decode(nullptr);
        return picture_->data[0] != nullptr ? DecodeFault::none : DecodeFault::damaged;
    }

    /// Packets that are damaged are passed over: one that is not may come.
    void decode(const AVPacket* packet) {
        if (avcodec_send_packet(codec_.get(), packet) < 0) return;
        while (!isDone_ && avcodec_receive_frame(codec_.get(), frame_.get()) >= 0) take();
    }

    /// A picture is shown until the next one's time. At the beginning a whole key picture is waited for.
    void take() {
        const bool isWhole = frame_->decode_error_flags == 0 && (frame_->flags & AV_FRAME_FLAG_CORRUPT) == 0;
        const bool isFirst = target_ == kBeginning && isWhole && frame_->key_frame != 0;
        const auto time = frame_->best_effort_timestamp;
        const bool isPast = target_ != kBeginning && time != AV_NOPTS_VALUE && time > target_;
        const bool isShown = target_ == kBeginning ? isFirst : isWhole && !isPast;
        if (isShown || picture_->data[0] == nullptr) {
            av_frame_unref(picture_.get());
            av_frame_move_ref(picture_.get(), frame_.get());
        }
        isDone_ = isFirst || isPast;
        av_frame_unref(frame_.get());
    }

    [[nodiscard]] DecodeFault finish() {
        const AVRational aspect = av_guess_sample_aspect_ratio(container_.get(), stream_, picture_.get());
        const auto size = targetSize(*picture_, aspect, request_.longerSide);
        if (exceeds(request_.pixelLimit, static_cast<std::uint64_t>(size.width),
                    static_cast<std::uint64_t>(size.height)))
            return DecodeFault::tooLarge;
        Frame scaled;
        if (const auto fault = convert(*picture_, size.width, size.height, AV_PIX_FMT_RGB0, scaled);
            fault != DecodeFault::none)
            return fault;
        const auto orientation = orientationOf(*stream_, *picture_);
        const auto width = static_cast<std::size_t>(orientation.isSwapped ? size.height : size.width);
        const auto height = static_cast<std::size_t>(orientation.isSwapped ? size.width : size.height);
        if (const auto fault =
                allocate(decoded_.image, width, height, 8, CGImageAlphaInfo::noneSkipLast, request_.memory);
            fault != DecodeFault::none)
            return fault;
        copyTurned(*scaled, orientation, decoded_.image);
        decoded_.colors = {picture_->color_primaries, picture_->color_trc};
        decoded_.isUpright = true;
        return DecodeFault::none;
    }

    const DecodeRequest& request_;
    DecodedPixels& decoded_;
    Container container_;
    AVStream* stream_ = nullptr;
    Codec codec_;
    Packet packet_;
    Frame frame_;
    Frame picture_;
    std::int64_t target_ = kBeginning;
    bool isDone_ = false;
};

DecodeFault decodeMovie(PixelInput& input, double seconds, const DecodeRequest& request, DecodedPixels& decoded) {
    beSilent();
    limitPieces(request.memoryLimit);
    return guarded([&] { return Movie(request, decoded).run(input, seconds); });
}

}  // namespace
}  // namespace tessaly::codecs

TESSALY_MODULE_SYMBOL tessaly::codecs::DecodeVideoFrame tessaly_decode_video = &tessaly::codecs::decodeMovie;
