#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <new>
#include <string_view>

#include "linux/codecs/modules/Guarded.h"
#include "linux/codecs/modules/PixelRows.h"
#include "linux/codecs/modules/ffmpeg/Ffmpeg.h"
#include "linux/codecs/modules/ffmpeg/GifFrames.h"

/// Pictures of formats for which there is no small library here: GIF and JPEG 2000.
namespace tessaly::codecs {
namespace {

using namespace ffmpeg;

/// Files are taken into memory as a whole.
constexpr std::uint64_t kFileLimit = 512ULL << 20;
constexpr std::size_t kHeadLimit = std::size_t{1} << 20;

enum class Format : std::uint8_t { unknown, gif, jpeg2000 };

/// The first bytes of a file, with numbers in them. Behind the end everything is zero.
class Head {
public:
    explicit Head(PixelInput& input)
        : bytes_(static_cast<std::size_t>(std::min<std::uint64_t>(input.size(), kHeadLimit))) {
        bytes_.resize(input.read(0, std::as_writable_bytes(std::span(bytes_))));
    }

    [[nodiscard]] bool has(std::size_t offset, std::string_view text) const {
        return offset <= bytes_.size() && view().substr(offset, text.size()) == text;
    }
    [[nodiscard]] std::size_t find(std::string_view text) const { return view().find(text); }
    [[nodiscard]] std::uint32_t little(std::size_t offset, std::size_t count) const {
        std::uint32_t value = 0;
        for (std::size_t i = count; i-- > 0;) value = value << 8 | at(offset + i);
        return value;
    }
    [[nodiscard]] std::uint32_t big(std::size_t offset) const {
        return at(offset) << 24 | at(offset + 1) << 16 | at(offset + 2) << 8 | at(offset + 3);
    }
    [[nodiscard]] std::size_t size() const { return bytes_.size(); }
    [[nodiscard]] std::span<const std::byte> part(std::size_t from, std::size_t to) const {
        return std::as_bytes(std::span(bytes_)).subspan(from, to - from);
    }

private:
    [[nodiscard]] std::string_view view() const { return {bytes_.data(), bytes_.size()}; }
    [[nodiscard]] std::uint32_t at(std::size_t offset) const {
        return offset < bytes_.size() ? static_cast<unsigned char>(bytes_[offset]) : 0U;
    }

    std::vector<char> bytes_;
};

constexpr std::string_view kBoxedJpeg2000("\0\0\0\x0cjP  ", 8);
constexpr std::string_view kJpeg2000("\xff\x4f\xff\x51", 4);

Format formatOf(const Head& head) {
    if (head.has(0, "GIF8")) return Format::gif;
    return head.has(0, kBoxedJpeg2000) || head.has(0, kJpeg2000) ? Format::jpeg2000 : Format::unknown;
}

struct Size {
    std::uint64_t width = 0;
    std::uint64_t height = 0;
};

/// The picture is a window of a grid that begins at the grid's own origin.
Size sizeOfJpeg2000(const Head& head) {
    const std::size_t start = head.find(kJpeg2000);
    if (start == std::string_view::npos) return {};
    const auto extent = [&](std::size_t offset) {
        return std::max<std::int64_t>(0, std::int64_t{head.big(start + offset)} - head.big(start + offset + 8));
    };
    return {static_cast<std::uint64_t>(extent(8)), static_cast<std::uint64_t>(extent(12))};
}

Size sizeOf(const Head& head, Format format) {
    switch (format) {
        case Format::gif:
            return {head.little(6, 2), head.little(8, 2)};
        case Format::jpeg2000:
            return sizeOfJpeg2000(head);
        default:
            return {};
    }
}

/// Goes through the boxes between two places, down into the one that tells of colours.
std::vector<std::byte> profileOf(const Head& head, std::size_t from, std::size_t to) {
    constexpr std::size_t kBoxHeader = 8;
    constexpr std::size_t kColorHeader = kBoxHeader + 3;
    while (to - from > kBoxHeader) {
        const std::size_t size = head.big(from);
        if (size < kBoxHeader || size > to - from) break;
        if (head.has(from + 4, "jp2h")) return profileOf(head, from + kBoxHeader, from + size);
        const bool isProfile =
            head.has(from + 4, "colr") && (head.has(from + kBoxHeader, "\2") || head.has(from + kBoxHeader, "\3"));
        if (isProfile && size > kColorHeader) {
            const auto profile = head.part(from + kColorHeader, from + size);
            return {profile.begin(), profile.end()};
        }
        from += size;
    }
    return {};
}

/// Bytes a pixel of JPEG 2000 beside our picture: coefficients, the decoder's frame and the converted one. 18.8 were
/// measured with 8 bits, 26.4 with 16, and 8 for the pixels of the whole when an eighth of a side is decoded.
constexpr double kJpeg2000Bytes = 19, kDeepJpeg2000Bytes = 26.6, kReducedJpeg2000Bytes = 8.2;
/// Of GIF: the canvas, a copy of it for frames that are taken back, and indices (6.1 were measured where no frame is
/// taken back).
constexpr double kGifBytes = 9.5;
/// Codes of 12 bits stand for 4096 pixels at most.
constexpr std::uint64_t kGifPixelsInByte = 2731;

DecodeFault countMemory(const Size& size, double bytes, unsigned bits, std::uint64_t fileSize,
                        const DecodeRequest& request) {
    const auto part = reduction(static_cast<std::size_t>(size.width), static_cast<std::size_t>(size.height), request);
    return MemoryCount()
        .picture(size.width / part, size.height / part, bits)
        .beside(fileSize)
        .besideEachPixel(size.width, size.height, bytes)
        .fault(request);
}

bool isTransparent(const AVFrame& frame) {
    const bool isDeep = frame.format == AV_PIX_FMT_RGBA64;
    const std::ptrdiff_t step = isDeep ? 8 : 4;
    const std::ptrdiff_t place = step / 4 * 3;
    for (int y = 0; y < frame.height; ++y) {
        const std::uint8_t* alpha = frame.data[0] + std::ptrdiff_t{y} * frame.linesize[0] + place;
        for (int x = 0; x < frame.width; ++x, alpha += step) {
            if (alpha[0] != 0xff || (isDeep && alpha[1] != 0xff)) return true;
        }
    }
    return false;
}

DecodeFault copyRows(const AVFrame& source, const DecodeRequest& request, CGImage& image) {
    PixelRows rows;
    const unsigned bits = source.format == AV_PIX_FMT_RGBA64 ? 16 : 8;
    const auto alpha = isTransparent(source) ? CGImageAlphaInfo::last : CGImageAlphaInfo::noneSkipLast;
    const auto width = static_cast<std::size_t>(source.width);
    const auto fault = rows.begin(image, width, static_cast<std::size_t>(source.height), bits, alpha, request);
    if (fault != DecodeFault::none) return fault;
    for (int y = 0; y < source.height; ++y) {
        std::memcpy(rows.next(), source.data[0] + std::ptrdiff_t{y} * source.linesize[0],
                    width * CGImage::kComponents * bits / 8);
        rows.done();
    }
    rows.end();
    return DecodeFault::none;
}

bool isDeep(const AVFrame& frame) {
    const auto* description = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(frame.format));
    return description != nullptr && description->comp[0].depth > 8;
}

DecodeFault finish(const AVFrame& frame, const DecodeRequest& request, DecodedPixels& decoded) {
    if (frame.width <= 0 || frame.height <= 0) return DecodeFault::damaged;
    if (exceeds(request.pixelLimit, static_cast<std::uint64_t>(frame.width), static_cast<std::uint64_t>(frame.height)))
        return DecodeFault::tooLarge;
    Frame converted;
    const auto format = isDeep(frame) ? AV_PIX_FMT_RGBA64 : AV_PIX_FMT_RGBA;
    const auto fault = convert(frame, frame.width, frame.height, format, converted);
    return fault == DecodeFault::none ? copyRows(*converted, request, decoded.image) : fault;
}

/// The whole file as a packet.
DecodeFault readFile(PixelInput& input, Packet& packet) {
    if (input.size() > kFileLimit) return DecodeFault::tooLarge;
    packet.reset(av_packet_alloc());
    if (!packet || av_new_packet(packet.get(), static_cast<int>(input.size())) < 0) return DecodeFault::outOfMemory;
    const auto size = static_cast<std::size_t>(packet->size);
    return input.read(0, {reinterpret_cast<std::byte*>(packet->data), size}) == size ? DecodeFault::none
                                                                                     : DecodeFault::damaged;
}

DecodeFault decodePacket(const AVCodec& decoder, const AVPacket& packet, int reductions, std::uint64_t pixelLimit,
                         Frame& frame) {
    Codec codec;
    if (const auto fault = openCodec(decoder, nullptr, nullptr, reductions, pixelLimit, codec);
        fault != DecodeFault::none)
        return fault;
    frame.reset(av_frame_alloc());
    if (!frame) return DecodeFault::outOfMemory;
    if (const int error = avcodec_send_packet(codec.get(), &packet); error < 0) return faultOf(error);
    avcodec_send_packet(codec.get(), nullptr);  // Nothing more comes, so that threads need not wait for it.
    return faultOf(avcodec_receive_frame(codec.get(), frame.get()));
}

/// How often a picture may be halved and still be large enough.
int reductionsOf(const Size& size, const DecodeRequest& request) {
    const auto factor = reduction(static_cast<std::size_t>(size.width), static_cast<std::size_t>(size.height), request);
    return static_cast<int>(std::bit_width(factor)) - 1;
}

/// The depth of the first component stands behind the sizes (ISO/IEC 15444-1, A.5.1), one less and with a sign.
DecodeFault countJpeg2000(const Head& head, std::uint64_t fileSize, const DecodeRequest& request) {
    constexpr std::size_t kDepth = 42;
    const Size size = sizeOfJpeg2000(head);
    const bool isDeep = (head.little(head.find(kJpeg2000) + kDepth, 1) & 0x7fU) >= 8;
    const bool isReduced = reductionsOf(size, request) > 0;
    const double bytes = isReduced ? kReducedJpeg2000Bytes : isDeep ? kDeepJpeg2000Bytes : kJpeg2000Bytes;
    return countMemory(size, bytes, isDeep ? 16 : 8, fileSize, request);
}

DecodeFault decodeJpeg2000(PixelInput& input, const Head& head, const DecodeRequest& request, DecodedPixels& decoded) {
    Packet packet;
    Frame frame;
    const AVCodec* decoder = avcodec_find_decoder(AV_CODEC_ID_JPEG2000);
    if (decoder == nullptr) return DecodeFault::unsupported;
    if (const auto fault = countJpeg2000(head, input.size(), request); fault != DecodeFault::none) return fault;
    if (const auto fault = readFile(input, packet); fault != DecodeFault::none) return fault;
    // It keeps itself in sizes, each half of the other, but how many there are is known to the decoder alone.
    const int reductions = reductionsOf(sizeOfJpeg2000(head), request);
    auto fault = decodePacket(*decoder, *packet, reductions, request.pixelLimit, frame);
    if (fault != DecodeFault::none && reductions > 0) {
        const auto size = sizeOfJpeg2000(head);
        if (const auto counted = countMemory(size, kDeepJpeg2000Bytes, 16, input.size(), request);
            counted != DecodeFault::none)
            return counted;
        fault = decodePacket(*decoder, *packet, 0, request.pixelLimit, frame);
    }
    if (fault != DecodeFault::none) return fault;
    frame->color_range = AVCOL_RANGE_JPEG;
    if (frame->colorspace == AVCOL_SPC_UNSPECIFIED) frame->colorspace = AVCOL_SPC_SMPTE170M;
    if (head.has(0, kBoxedJpeg2000)) decoded.profile = profileOf(head, 0, head.size());
    return finish(*frame, request, decoded);
}

bool isTransparent(const GifFrames& frames) {
    for (std::size_t y = 0; y < frames.height(); ++y) {
        const auto* row = frames.row(y);
        if (std::any_of(row, row + frames.width(), [](const auto& pixel) { return pixel[3] != 0xff; })) return true;
    }
    return false;
}

DecodeFault copyRows(const GifFrames& frames, const DecodeRequest& request, CGImage& image) {
    PixelRows rows;
    const auto alpha = isTransparent(frames) ? CGImageAlphaInfo::last : CGImageAlphaInfo::noneSkipLast;
    const auto fault = rows.begin(image, frames.width(), frames.height(), 8, alpha, request);
    if (fault != DecodeFault::none) return fault;
    for (std::size_t y = 0; y < frames.height(); ++y) {
        std::memcpy(rows.next(), frames.row(y), frames.width() * sizeof(GifFrames::Pixel));
        rows.done();
    }
    rows.end();
    return DecodeFault::none;
}

/// Every frame lies over those before it, so that all of them are played.
DecodeFault decodeGif(PixelInput& input, const Size& size, const DecodeRequest& request, DecodedPixels& decoded) {
    if (input.size() > kFileLimit) return DecodeFault::tooLarge;
    if (!isPlausible(input.size(), kGifPixelsInByte, size.width * size.height)) return DecodeFault::damaged;
    if (const auto fault = countMemory(size, kGifBytes, 8, input.size(), request); fault != DecodeFault::none)
        return fault;
    std::vector<std::uint8_t> file(static_cast<std::size_t>(input.size()));
    file.resize(input.read(0, std::as_writable_bytes(std::span(file))));
    GifFrames frames(file);
    if (const auto fault = frames.open(); fault != DecodeFault::none) return fault;
    for (std::size_t index = 0; index <= request.index; ++index) {
        if (const auto fault = frames.next(); fault != DecodeFault::none) return fault;
    }
    decoded.delay = frames.delay();
    return copyRows(frames, request, decoded.image);
}

DecodeFault decode(PixelInput& input, const DecodeRequest& request, DecodedPixels& decoded) {
    const Head head(input);
    const auto format = formatOf(head);
    if (format == Format::unknown) return DecodeFault::unsupported;
    const auto size = sizeOf(head, format);
    if (size.width == 0 || size.height == 0) return DecodeFault::damaged;
    if (exceeds(request.pixelLimit, size.width, size.height)) return DecodeFault::tooLarge;
    if (format == Format::gif) return decodeGif(input, size, request, decoded);
    if (request.index != 0) return DecodeFault::damaged;
    return decodeJpeg2000(input, head, request, decoded);
}

DecodeFault decodeImage(PixelInput& input, const DecodeRequest& request, DecodedPixels& decoded) {
    beSilent();
    limitPieces(request.memoryLimit);
    return guarded([&] { return decode(input, request, decoded); });
}

}  // namespace
}  // namespace tessaly::codecs

TESSALY_MODULE_SYMBOL tessaly::codecs::DecodeImage tessaly_decode = &tessaly::codecs::decodeImage;
