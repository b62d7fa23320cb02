#pragma once
#include <optional>
#include <string_view>

#include "linux/codecs/PixelsModule.h"
#include "linux/codecs/VideoCodec.h"
#include "linux/codecs/isolation/Orders.h"

namespace tessaly::codecs {

/// The libraries of one family, loaded into this process: from a file's bytes to a picture in sRGB, or in
/// its own RGB where that is wanted, that is no longer than wanted. The program leaves it to processes that can do
/// nothing else; tests and benchmarks compare with it.
class FamilyDecoder {
public:
    /// @param family the middle of a module's name: "pixels", "heif". Without the module every picture is unsupported.
    explicit FamilyDecoder(std::string_view family);

    [[nodiscard]] DecodeFault decode(Codec codec, PixelInput& input, const DecodeRequest& request, double time,
                                     DecodedPixels& decoded) const;

    /// Has the libraries make what they make on first use: copies of this process then have it already.
    void warmUp() const;

private:
    [[nodiscard]] DecodeFault decodePixels(Codec codec, PixelInput& input, const DecodeRequest& request, double time,
                                           DecodedPixels& decoded) const;

    const PixelsModule* pixels_ = nullptr;
    DecodeImage picture_ = nullptr;
    DecodeVideoFrame movie_ = nullptr;
};

}  // namespace tessaly::codecs
