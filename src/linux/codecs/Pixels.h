#pragma once
#include <optional>

#include "linux/codecs/PixelsModule.h"
#include "linux/codecs/isolation/IsolatedDecoding.h"
#include "linux/imageio/ByteSource.h"
#include "platform/ImageIO/CGImageSource.h"

namespace tessaly::codecs {

/// No picture of more pixels is decoded into memory: four bytes each, that is a gigabyte.
inline constexpr std::uint64_t kPixelLimit = std::uint64_t{256} * 1024 * 1024;

/// The module of the small libraries; null when it is not installed.
[[nodiscard]] const PixelsModule* pixelsModule();

[[nodiscard]] CGImageFault faultOf(DecodeFault fault) noexcept;

/// Who decodes files of a type.
[[nodiscard]] std::optional<CodecOfFamily> codecOf(std::string_view typeIdentifier);

/// The picture of an open source by whoever decodes its type, in sRGB, stored as it is, no longer than `longerSide`
/// (0 for its own size). In full it may lie in a file where it is too large for memory. Null with the reason in
/// `fault`.
[[nodiscard]] CGImageRef decodePicture(const CodecOfFamily& codec, imageio::ByteSource& source, std::size_t index,
                                       std::size_t longerSide, CGImageFault& fault, double time = 0);

/// The first picture of a source, stored as it is, in its own RGB where a profile describes it; else in sRGB, and
/// `profile` is empty. Null where it cannot be decoded.
[[nodiscard]] CGImageRef decodeInOwnColors(const CGImageSourceRef& source, std::vector<std::byte>& profile);

}  // namespace tessaly::codecs
