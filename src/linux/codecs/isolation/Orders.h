#pragma once
#include <cstdint>

#include "linux/codecs/ImageCodec.h"

/// What the program and its decoders say to each other. Both are of one build and one machine: structures as they lie
/// in memory. The decoder believes the program; the program believes nothing.
namespace tessaly::codecs {

/// Which function of a family's module decodes.
enum class Codec : std::uint8_t { jpeg, png, webp, tiff, bmp, psd, picture, movie };

/// Tells one build's messages from another's.
inline constexpr std::uint32_t kOrderVersion = 0x7E55'0002;

/// Profiles of screens and cameras take some hundred bytes, those of tables a megabyte.
inline constexpr std::uint64_t kProfileLimit = std::uint64_t{4} << 20;

/// How a decoder begins: what keeps it in.
struct Isolation {
    std::uint32_t version = kOrderVersion;
    bool hasFilter = false;      ///< System calls are filtered (seccomp).
    bool hasNamespaces = false;  ///< Of its own: users, network, names, mounts; and a root without a file.
    std::int32_t landlock = 0;   ///< The version of Landlock that denies it every file, 0 without.
};

/// A wish for a picture. With it come an end to answer at, the input, the empty memory for the pixels and, when
/// `fileLimit` is not 0, the empty file for them.
struct Order {
    std::uint32_t version = kOrderVersion;
    Codec codec = Codec::picture;
    bool keepsProfile = false;  ///< As DecodeRequest says.
    std::uint64_t inputSize = 0;
    std::uint64_t index = 0;
    std::uint64_t longerSide = 0;  ///< The answer is no longer than this, unless it is 0.
    std::uint64_t pixelLimit = 0;
    std::uint64_t memoryLimit = 0;
    std::uint64_t fileLimit = 0;
    double time = 0;               ///< Of a movie's frame, in seconds.
    std::uint32_t cpuSeconds = 0;  ///< Time of all processors together.
};

/// Of a picture, or of the end of the process that made it.
struct Answer {
    enum class Kind : std::uint8_t { decoded, ended };
    Kind kind = Kind::decoded;
    DecodeFault fault = DecodeFault::none;
    CGImageAlphaInfo alphaInfo = CGImageAlphaInfo::noneSkipLast;
    bool isInFile = false;
    std::uint32_t bitsPerComponent = 8;
    std::uint64_t width = 0;
    std::uint64_t height = 0;
    std::uint64_t profileSize = 0;  ///< Bytes of the profile, which follow the pixels.
    std::int32_t signal = 0;        ///< What ended the process, 0 for itself.
};

}  // namespace tessaly::codecs
