#pragma once
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "platform/CoreGraphics/CGImage.h"
#include "platform/Foundation/FileFault.h"
#include "platform/Foundation/Value.h"

namespace tessaly {

inline constexpr std::string_view kCGImageSourceShouldCache = "kCGImageSourceShouldCache";
inline constexpr std::string_view kCGImageSourceShouldAllowFloat = "kCGImageSourceShouldAllowFloat";
inline constexpr std::string_view kCGImageSourceCreateThumbnailWithTransform =
    "kCGImageSourceCreateThumbnailWithTransform";
inline constexpr std::string_view kCGImageSourceCreateThumbnailFromImageAlways =
    "kCGImageSourceCreateThumbnailFromImageAlways";
inline constexpr std::string_view kCGImageSourceThumbnailMaxPixelSize = "kCGImageSourceThumbnailMaxPixelSize";
inline constexpr std::string_view kCGImageSourceTypeIdentifierHint = "kCGImageSourceTypeIdentifierHint";

/// Why a source could not be opened.
using CGImageSourceFault = FileFault;

/// An image file or image bytes, open for reading properties. Only the parts that a question needs are read.
class CGImageSource;
using CGImageSourceRef = std::shared_ptr<CGImageSource>;

/// Opens the file at `path`. Null when it cannot be opened or holds no known image format; `fault` says why.
[[nodiscard]] CGImageSourceRef CGImageSourceCreateWithURL(const std::string& path, CGImageSourceFault* fault = nullptr);
/// The same over bytes in memory, which the source shares.
[[nodiscard]] CGImageSourceRef CGImageSourceCreateWithData(const Data& data, CGImageSourceFault* fault = nullptr);

/// Uniform type identifier of the container: "public.jpeg", "public.heic", "com.adobe.raw-image", ...
[[nodiscard]] std::string_view CGImageSourceGetType(const CGImageSourceRef& source);
/// Number of images (pages, frames, top-level items).
[[nodiscard]] std::size_t CGImageSourceGetCount(const CGImageSourceRef& source);
/// Bytes of the whole file.
[[nodiscard]] std::uint64_t CGImageSourceGetByteCount(const CGImageSourceRef& source);

/// The properties of one image, shaped as CGImageProperties.h names them; nullopt when there are none.
/// A damaged file yields what could be read. Only index 0 carries the file-level metadata.
[[nodiscard]] std::optional<Dictionary> CGImageSourceCopyPropertiesAtIndex(const CGImageSourceRef& source,
                                                                           std::size_t index,
                                                                           const Dictionary& options);
/// The XMP properties of one image by qualified name ("dc:title"); nullopt when it carries none.
[[nodiscard]] std::optional<Dictionary> CGImageSourceCopyMetadataAtIndex(const CGImageSourceRef& source,
                                                                         std::size_t index, const Dictionary& options);

/// Why there is no picture.
enum class CGImageFault : std::uint8_t {
    none,
    damaged,
    tooLarge,     ///< More pixels than memory should be asked for.
    unsupported,  ///< No decoder of this format, or none installed.
    outOfMemory,
    noDecoder,  ///< The program that decodes is not installed, or does not run.
};

/// The fault in words, as they stand behind a path: "the picture is damaged"; "" for none.
[[nodiscard]] std::string_view describe(CGImageFault fault) noexcept;

/// The pixels of one image in sRGB, as they are stored: the Orientation property tells how to turn them, unless
/// CGImageSourceIsUpright. Null with the reason in `fault` when it cannot be decoded.
[[nodiscard]] CGImageRef CGImageSourceCreateImageAtIndex(const CGImageSourceRef& source, std::size_t index,
                                                         const Dictionary& options, CGImageFault* fault = nullptr);
/// A small picture made from the full image, never from an embedded one: its longer side has at most
/// kCGImageSourceThumbnailMaxPixelSize pixels; upright with kCGImageSourceCreateThumbnailWithTransform.
[[nodiscard]] CGImageRef CGImageSourceCreateThumbnailAtIndex(const CGImageSourceRef& source, std::size_t index,
                                                             const Dictionary& options, CGImageFault* fault = nullptr);
/// The largest JPEG that the file carries of its picture, for one that is too large to be decoded: the thumbnail of
/// Exif, a preview of a raw. The options are those of a thumbnail. Null when there is none.
[[nodiscard]] CGImageRef CGImageSourceCreateEmbeddedPreview(const CGImageSourceRef& source, const Dictionary& options);
/// Whether decoding the format turns its pictures upright by itself, whatever their Orientation says.
[[nodiscard]] bool CGImageSourceIsUpright(const CGImageSourceRef& source);
/// Whether there is a decoder for the format at all.
[[nodiscard]] bool CGImageSourceIsDecodable(const CGImageSourceRef& source);

}  // namespace tessaly
