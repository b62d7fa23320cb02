#pragma once
#include "linux/codecs/PixelsModule.h"
#include "linux/imageio/ByteSource.h"
#include "platform/ImageIO/CGImageSource.h"

namespace tessaly::codecs {

/// No picture of more pixels is decoded in full: four bytes each, that is a gigabyte.
inline constexpr std::uint64_t kPixelLimit = std::uint64_t{256} * 1024 * 1024;

/// The module of the small libraries; null when it is not installed.
[[nodiscard]] const PixelsModule* pixelsModule();

/// A decoder's view of a source.
class SourceInput final : public PixelInput {
public:
    explicit SourceInput(imageio::ByteSource& source) : source_(source) {}
    [[nodiscard]] std::uint64_t size() const override { return source_.size(); }
    std::size_t read(std::uint64_t offset, std::span<std::byte> target) override {
        return source_.copyTo(offset, target);
    }
    [[nodiscard]] int descriptor() const override { return source_.descriptor(); }

private:
    imageio::ByteSource& source_;
};

/// Length of the longer side at most `limit`, proportions kept, never larger than it is. Null without memory.
[[nodiscard]] CGImageRef reducedTo(CGImageRef image, std::size_t limit);
[[nodiscard]] CGImageFault faultOf(DecodeFault fault) noexcept;
/// In sRGB, shared.
[[nodiscard]] CGImageRef finished(DecodedPixels&& decoded);

}  // namespace tessaly::codecs
