#pragma once
#include <chrono>
#include <string_view>

#include "linux/codecs/isolation/Orders.h"
#include "linux/imageio/ByteSource.h"
#include "platform/ImageIO/CGImageSource.h"

/// Pictures from processes that can do nothing else.
namespace tessaly::codecs {

/// Who decodes: the family of libraries, and which of its functions.
struct CodecOfFamily {
    std::string_view family;
    Codec codec = Codec::picture;
};

/// How long a picture of a file of `bytes` may take: slow machines develop large raws, hostile files never end.
[[nodiscard]] std::chrono::seconds timeLimit(std::uint64_t bytes) noexcept;

/// The picture, no longer than `request.longerSide` and in sRGB, unless its own profile was wanted and comes along;
/// without pixels where `fault` is not none. Waits for
/// it. `request.memory` does not count: the memory is the decoder's.
///
/// A decoder that crashes, takes too long or asks for too much is ended, and its picture is damaged (or too large). One
/// that was ended from outside is asked once more.
///
/// @param time  of a movie's frame, in seconds.
/// @param file  an empty file without a name, opened for reading and writing, that takes the pixels in place of memory
///              when `request.fileLimit` is not 0; -1 without. It stays the caller's, and what was mapped of it stays
///              when it is closed.
[[nodiscard]] DecodedPixels decodeIsolated(const CodecOfFamily& codec, imageio::ByteSource& source,
                                           const DecodeRequest& request, CGImageFault& fault, double time = 0,
                                           int file = -1);

}  // namespace tessaly::codecs
