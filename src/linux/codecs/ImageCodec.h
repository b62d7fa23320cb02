#pragma once
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "platform/CoreGraphics/CGImage.h"

/// What a decoder is asked and answers. Decoders stand in modules that are loaded on first use, so this header is all
/// that they share with the program: plain structures and one interface, no function that would have to be linked.
namespace tessaly::codecs {

/// Where a decoder gets its bytes.
class PixelInput {
public:
    PixelInput() = default;
    PixelInput(const PixelInput&) = delete;
    PixelInput& operator=(const PixelInput&) = delete;
    virtual ~PixelInput() = default;
    [[nodiscard]] virtual std::uint64_t size() const = 0;
    /// Copies bytes from `offset` on. @return how many there were: fewer at the end.
    virtual std::size_t read(std::uint64_t offset, std::span<std::byte> target) = 0;
    /// All of the bytes, where they lie in memory as they are; else empty. They stay the input's own.
    [[nodiscard]] virtual std::span<const std::byte> view() const { return {}; }
    /// The descriptor of a file, -1 of memory. It stays the input's own.
    [[nodiscard]] virtual int descriptor() const { return -1; }
};

/// Where the pixels of the picture that is answered lie: in memory that is handed over without a copy, or in a file
/// for what is too large for memory.
class PixelMemory {
public:
    PixelMemory() = default;
    PixelMemory(const PixelMemory&) = delete;
    PixelMemory& operator=(const PixelMemory&) = delete;
    virtual ~PixelMemory() = default;
    /// Zeroes; empty when there is no room for so many.
    [[nodiscard]] virtual PixelBuffer allocate(std::size_t size) = 0;
};

struct DecodeRequest {
    /// The frame or page, from 0.
    std::size_t index = 0;
    /// Length in pixels that the longer side needs at least: whoever can decode smaller, and so with less time and
    /// memory, may, down to that size. 0 asks for every pixel.
    std::size_t longerSide = 0;
    /// More pixels than that are refused before memory is asked for.
    std::uint64_t pixelLimit = 0;
    /// Bytes that decoding may take at once, the pixels and all that the codec keeps beside them; 0 for no limit.
    std::uint64_t memoryLimit = 0;
    /// Bytes of pixels that may lie in a file in place of memory, where they do not count against `memoryLimit`; 0
    /// when there is no such file. `memory` gives out the file's then.
    std::uint64_t fileLimit = 0;
    /// Seconds that it may take; 0 for as many as a file of its size may need.
    std::uint32_t timeLimit = 0;
    /// Whether RGB that a profile describes stays as it is, and the profile goes with it; else all becomes sRGB.
    bool keepsProfile = false;
    /// Gives the memory for the picture that is answered; null for the heap.
    PixelMemory* memory = nullptr;
};

enum class DecodeFault : std::uint8_t { none, damaged, tooLarge, unsupported, outOfMemory };

/// How the four components of a decoded pixel are meant until it is turned into sRGB.
enum class PixelModel : std::uint8_t {
    rgb,
    gray,          ///< The value stands in all three colours.
    cmyk,          ///< 0 is no ink.
    invertedCmyk,  ///< 255 is no ink.
    lab,           ///< CIE L*a*b* of D50, as ICC.1:2022, 6.3.4, encodes it.
};

/// Colours told by numbers rather than by a profile (ITU-T H.273): of no use when there is a profile.
struct CodedColors {
    int primaries = 0;  ///< 0 and 2: not told.
    int transfer = 0;
};

struct DecodedPixels {
    CGImage image;
    PixelModel model = PixelModel::rgb;
    std::vector<std::byte> profile;  ///< ICC; empty where the file has none.
    CodedColors colors;
    /// The decoder has turned the picture upright already.
    bool isUpright = false;
    double delay = 0;  ///< Seconds that a frame stays.
};

using DecodeImage = DecodeFault (*)(PixelInput& input, const DecodeRequest& request, DecodedPixels& decoded);

}  // namespace tessaly::codecs
