#pragma once
extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/frame.h>
#include <libavutil/pixdesc.h>
#include <libswscale/swscale.h>
}

#include <memory>

#include "linux/codecs/ImageCodec.h"

/// What the decoders of movies and of pictures have in common: handles that release themselves, and a way for the
/// library to read from a PixelInput.
namespace tessaly::codecs::ffmpeg {

template <auto Release>
struct Releaser {
    void operator()(auto* object) const { Release(&object); }
};

using Codec = std::unique_ptr<AVCodecContext, Releaser<&avcodec_free_context>>;
using Frame = std::unique_ptr<AVFrame, Releaser<&av_frame_free>>;
using Packet = std::unique_ptr<AVPacket, Releaser<&av_packet_free>>;

struct ScalerReleaser {
    void operator()(SwsContext* scaler) const { sws_freeContext(scaler); }
};
using Scaler = std::unique_ptr<SwsContext, ScalerReleaser>;

/// The library would write what it thinks of a file into the log of the program.
void beSilent();

/// The library asks for no piece of memory beyond that; 0 for none. One limit for the process: the largest that was
/// ever asked for holds.
void limitPieces(std::uint64_t bytes);

[[nodiscard]] DecodeFault faultOf(int error);

/// Whether there are more pixels than the limit, which is none when it is 0.
[[nodiscard]] bool exceeds(std::uint64_t limit, std::uint64_t width, std::uint64_t height);

/// Opened, with the limit on pixels and with no more threads than two: pictures are decoded side by side as it is.
[[nodiscard]] DecodeFault openCodec(const AVCodec& decoder, const AVCodecParameters* parameters, const AVRational* unit,
                                    int reductions, std::uint64_t pixelLimit, Codec& codec);

/// The pixels of a frame as `format` and at a size. The colours go by what the frame says of them.
[[nodiscard]] DecodeFault convert(const AVFrame& source, int width, int height, AVPixelFormat format, Frame& target);

/// A container that is read from an input, and from nowhere else: files that it refers to are not opened.
class Container {
public:
    Container() = default;
    Container(const Container&) = delete;
    Container& operator=(const Container&) = delete;
    ~Container() { close(); }

    /// @param formats the names of the formats that may be tried, parted by commas.
    [[nodiscard]] DecodeFault open(PixelInput& input, const char* formats);
    /// Makes out the streams, some of which may stay unknown. @return whether there was memory for it.
    [[nodiscard]] bool probe(std::uint64_t bytes, std::uint64_t pixelLimit);
    /// More bytes than those are not read from here on.
    void allow(std::uint64_t bytes) { budget_ = bytes; }
    [[nodiscard]] AVFormatContext* get() const { return format_; }
    [[nodiscard]] AVFormatContext* operator->() const { return format_; }

private:
    static int readNext(void* user, std::uint8_t* target, int size);
    static std::int64_t seek(void* user, std::int64_t offset, int whence);
    void close();

    PixelInput* input_ = nullptr;
    std::uint64_t position_ = 0;
    std::uint64_t budget_ = 64ULL << 20;
    AVIOContext* io_ = nullptr;
    AVFormatContext* format_ = nullptr;
};

}  // namespace tessaly::codecs::ffmpeg
