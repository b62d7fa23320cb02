#include <webp/decode.h>
#include <webp/demux.h>

#include <cstring>

#include "linux/codecs/modules/Guarded.h"
#include "linux/codecs/modules/PixelRows.h"
#include "linux/codecs/modules/pixels/Pixels.h"

namespace tessaly::codecs {
namespace {

/// A WebP says its own length in 32 bits; no picture of ours comes near this.
constexpr std::uint64_t kFileLimit = std::uint64_t{512} * 1024 * 1024;

/// Bytes a pixel beside the picture and the file: lossy pictures have few rows in memory (0.2 were measured), alpha
/// is a lossless picture of its own (2.2 to 5, by what it holds), and lossless ones have all of their pixels in memory,
/// whatever size comes out (4.2).
constexpr double kLossyBytes = 0.3, kAlphaBytes = 4.8, kLosslessBytes = 4.3;
/// Of an animation: two canvases beside the picture, and a frame with alpha (8.2 were measured where frames have none).
constexpr double kAnimationBytes = 12.5;

struct DemuxerDeleter {
    void operator()(WebPDemuxer* demuxer) const noexcept { WebPDemuxDelete(demuxer); }
};
struct AnimationDeleter {
    void operator()(WebPAnimDecoder* decoder) const noexcept { WebPAnimDecoderDelete(decoder); }
};

std::vector<std::byte> profileOf(const WebPDemuxer* demuxer) {
    std::vector<std::byte> profile;
    WebPChunkIterator chunk;
    if (WebPDemuxGetChunk(demuxer, "ICCP", 1, &chunk)) {
        const auto* begin = reinterpret_cast<const std::byte*>(chunk.chunk.bytes);
        profile.assign(begin, begin + chunk.chunk.size);
    }
    WebPDemuxReleaseChunkIterator(&chunk);
    return profile;
}

/// The codec scales while it decodes.
void chooseSize(WebPDecoderConfig& config, const DecodeRequest& request) {
    const auto width = static_cast<std::size_t>(config.input.width);
    const auto height = static_cast<std::size_t>(config.input.height);
    const std::size_t longer = std::max(width, height);
    if (request.longerSide == 0 || longer <= request.longerSide) return;
    config.options.use_scaling = 1;
    config.options.scaled_width = static_cast<int>(std::max<std::size_t>(1, width * request.longerSide / longer));
    config.options.scaled_height = static_cast<int>(std::max<std::size_t>(1, height * request.longerSide / longer));
}

DecodeFault countMemory(const WebPDecoderConfig& config, std::uint64_t fileSize, const DecodeRequest& request) {
    const auto width = static_cast<std::uint64_t>(config.input.width);
    const auto height = static_cast<std::uint64_t>(config.input.height);
    const bool scales = config.options.use_scaling != 0;
    constexpr int kLossless = 2;  // 0 is a mixture
    const double bytes = (config.input.format == kLossless ? kLosslessBytes : kLossyBytes) +
                         (config.input.has_alpha != 0 ? kAlphaBytes : 0);
    return MemoryCount()
        .picture(scales ? static_cast<std::uint64_t>(config.options.scaled_width) : width,
                 scales ? static_cast<std::uint64_t>(config.options.scaled_height) : height, 8)
        .beside(fileSize)
        .besideEachPixel(width, height, bytes)
        .fault(request);
}

DecodeFault decodeStill(std::span<const std::uint8_t> bytes, const DecodeRequest& request, DecodedPixels& decoded) {
    WebPDecoderConfig config;
    if (!WebPInitDecoderConfig(&config) || WebPGetFeatures(bytes.data(), bytes.size(), &config.input) != VP8_STATUS_OK)
        return DecodeFault::damaged;
    const auto pixels =
        static_cast<std::uint64_t>(config.input.width) * static_cast<std::uint64_t>(config.input.height);
    if (request.pixelLimit != 0 && pixels > request.pixelLimit) return DecodeFault::tooLarge;
    chooseSize(config, request);
    const bool scales = config.options.use_scaling != 0;
    if (const auto fault = countMemory(config, bytes.size(), request); fault != DecodeFault::none) return fault;
    const auto fault =
        allocate(decoded.image, static_cast<std::size_t>(scales ? config.options.scaled_width : config.input.width),
                 static_cast<std::size_t>(scales ? config.options.scaled_height : config.input.height), 8,
                 config.input.has_alpha ? CGImageAlphaInfo::last : CGImageAlphaInfo::noneSkipLast, request.memory);
    if (fault != DecodeFault::none) return fault;
    config.output.colorspace = MODE_RGBA;
    config.output.is_external_memory = 1;
    config.output.u.RGBA.rgba = reinterpret_cast<std::uint8_t*>(decoded.image.pixels.get());
    config.output.u.RGBA.stride = static_cast<int>(decoded.image.bytesPerRow());
    config.output.u.RGBA.size = decoded.image.bytesPerRow() * decoded.image.height;
    const VP8StatusCode status = WebPDecode(bytes.data(), bytes.size(), &config);
    WebPFreeDecBuffer(&config.output);
    // A file that was cut off shows what is there of it.
    return status == VP8_STATUS_OK || status == VP8_STATUS_NOT_ENOUGH_DATA ? DecodeFault::none : DecodeFault::damaged;
}

DecodeFault decodeFrame(const WebPData& data, const DecodeRequest& request, DecodedPixels& decoded) {
    WebPAnimDecoderOptions options;
    if (!WebPAnimDecoderOptionsInit(&options)) return DecodeFault::unsupported;
    options.color_mode = MODE_RGBA;
    WebPBitstreamFeatures canvas;
    if (WebPGetFeatures(data.bytes, data.size, &canvas) == VP8_STATUS_OK) {
        const auto fault =
            MemoryCount()
                .beside(data.size)
                .besideEachPixel(static_cast<std::uint64_t>(canvas.width), static_cast<std::uint64_t>(canvas.height),
                                 kAnimationBytes + CGImage::kComponents)
                .fault(request);
        if (fault != DecodeFault::none) return fault;
    }
    const std::unique_ptr<WebPAnimDecoder, AnimationDeleter> decoder(WebPAnimDecoderNew(&data, &options));
    WebPAnimInfo info;
    if (!decoder || !WebPAnimDecoderGetInfo(decoder.get(), &info)) return DecodeFault::damaged;
    if (request.index >= info.frame_count) return DecodeFault::damaged;
    std::uint8_t* pixels = nullptr;
    int shownUntil = 0;
    int shownFrom = 0;
    for (std::size_t frame = 0; frame <= request.index; ++frame) {
        shownFrom = shownUntil;
        if (!WebPAnimDecoderGetNext(decoder.get(), &pixels, &shownUntil)) return DecodeFault::damaged;
    }
    decoded.delay = (shownUntil - shownFrom) / 1000.0;
    PixelRows rows;
    const auto fault =
        rows.begin(decoded.image, info.canvas_width, info.canvas_height, 8, CGImageAlphaInfo::last, request);
    if (fault != DecodeFault::none) return fault;
    const std::size_t length = std::size_t{info.canvas_width} * CGImage::kComponents;
    for (std::size_t y = 0; y < info.canvas_height; ++y) {
        std::memcpy(rows.next(), pixels + y * length, length);
        rows.done();
    }
    rows.end();
    return DecodeFault::none;
}

DecodeFault decodeFile(PixelInput& input, const DecodeRequest& request, DecodedPixels& decoded) {
    if (input.size() > kFileLimit) return DecodeFault::tooLarge;
    std::vector<std::uint8_t> bytes(static_cast<std::size_t>(input.size()));
    bytes.resize(input.read(0, std::as_writable_bytes(std::span(bytes))));
    const WebPData data{bytes.data(), bytes.size()};
    WebPDemuxState state{};
    const std::unique_ptr<WebPDemuxer, DemuxerDeleter> demuxer(WebPDemuxPartial(&data, &state));
    if (!demuxer) return decodeStill(bytes, request, decoded);
    decoded.profile = profileOf(demuxer.get());
    const bool isAnimated = (WebPDemuxGetI(demuxer.get(), WEBP_FF_FORMAT_FLAGS) & ANIMATION_FLAG) != 0;
    const std::uint64_t pixels = std::uint64_t{WebPDemuxGetI(demuxer.get(), WEBP_FF_CANVAS_WIDTH)} *
                                 WebPDemuxGetI(demuxer.get(), WEBP_FF_CANVAS_HEIGHT);
    if (request.pixelLimit != 0 && pixels > request.pixelLimit) return DecodeFault::tooLarge;
    if (!isAnimated && request.index > 0) return DecodeFault::damaged;
    return isAnimated ? decodeFrame(data, request, decoded) : decodeStill(bytes, request, decoded);
}

}  // namespace

DecodeFault decodeWebp(PixelInput& input, const DecodeRequest& request, DecodedPixels& decoded) {
    return guarded([&] { return decodeFile(input, request, decoded); });
}

}  // namespace tessaly::codecs
