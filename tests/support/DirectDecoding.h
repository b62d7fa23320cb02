#pragma once
#include <string>
#include <vector>

#include "linux/codecs/isolation/IsolatedDecoding.h"

/// Decoders without the process that the program puts around them: what they take and how they end is seen as it is.
namespace tessaly::test {

/// A picture in this process, in sRGB and no longer than wanted.
[[nodiscard]] codecs::DecodeFault decodeDirectly(const codecs::CodecOfFamily& codec, const std::string& path,
                                                 const codecs::DecodeRequest& request, codecs::DecodedPixels& decoded);
/// The same by the decoder of what the bytes are; they are taken for a movie's where they are no picture's.
[[nodiscard]] codecs::DecodeFault decodeDirectly(const std::string& path, const codecs::DecodeRequest& request,
                                                 codecs::DecodedPixels& decoded);

struct DecodingCost {
    codecs::DecodeFault fault = codecs::DecodeFault::none;
    int signal = 0;            ///< That ended it; 0 for none.
    std::uint64_t memory = 0;  ///< The largest that a fresh process took above what it began with, in bytes.
    double seconds = 0;
    std::size_t width = 0;
    std::size_t height = 0;
    unsigned bits = 8;
};

/// The same in a fork of this process, measured.
[[nodiscard]] DecodingCost costOfDecoding(const std::string& path, const codecs::DecodeRequest& request);

}  // namespace tessaly::test
