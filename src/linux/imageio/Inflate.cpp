#include "linux/imageio/Inflate.h"

#include <brotli/decode.h>
#include <zlib.h>

#include <algorithm>
#include <memory>

namespace tessaly::imageio {
namespace {

constexpr std::size_t kPiece = 16 * 1024;

/// Calls `decode(output, room)`, which returns the bytes that it wrote, until it writes none or the limit is reached.
template <class Decode>
std::vector<std::byte> collected(std::size_t limit, Decode decode) {
    std::vector<std::byte> whole;
    while (whole.size() < limit) {
        const std::size_t start = whole.size();
        const std::size_t room = std::min(std::max(kPiece, start), limit - start);
        whole.resize(start + room);
        const std::size_t written = decode(whole.data() + start, room);
        whole.resize(start + written);
        if (written == 0) break;
    }
    return whole;
}

}  // namespace

std::vector<std::byte> inflated(Bytes compressed, std::size_t limit) {
    z_stream stream{};
    if (::inflateInit(&stream) != Z_OK) return {};
    const std::unique_ptr<z_stream, int (*)(z_stream*)> owner(&stream, ::inflateEnd);
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<std::byte*>(compressed.data()));
    stream.avail_in = static_cast<uInt>(std::min<std::size_t>(compressed.size(), UINT32_MAX));
    return collected(limit, [&stream](std::byte* output, std::size_t room) {
        stream.next_out = reinterpret_cast<Bytef*>(output);
        stream.avail_out = static_cast<uInt>(room);
        ::inflate(&stream, Z_NO_FLUSH);
        return room - stream.avail_out;
    });
}

std::vector<std::byte> brotliDecoded(Bytes compressed, std::size_t limit) {
    const std::unique_ptr<BrotliDecoderState, void (*)(BrotliDecoderState*)> decoder(
        ::BrotliDecoderCreateInstance(nullptr, nullptr, nullptr), ::BrotliDecoderDestroyInstance);
    if (!decoder) return {};
    std::size_t inputLeft = compressed.size();
    const auto* input = reinterpret_cast<const std::uint8_t*>(compressed.data());
    return collected(limit, [&](std::byte* output, std::size_t room) {
        std::size_t left = room;
        auto* next = reinterpret_cast<std::uint8_t*>(output);
        ::BrotliDecoderDecompressStream(decoder.get(), &inputLeft, &input, &left, &next, nullptr);
        return room - left;
    });
}

}  // namespace tessaly::imageio
