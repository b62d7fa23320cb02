#include "platform/ImageIO/CGImageSource.h"

#include <mutex>
#include <utility>

#include "linux/imageio/ImageFormat.h"
#include "linux/imageio/SourceBytes.h"

namespace tessaly {

using imageio::ByteSource;
using imageio::ImageFormat;
using imageio::ImageProperties;

class CGImageSource {
public:
    CGImageSource(ByteSource bytes, const ImageFormat& format, Data data)
        : bytes_(std::move(bytes)), format_(format), data_(std::move(data)) {}

    [[nodiscard]] std::string_view type() const { return format_.typeIdentifier; }
    [[nodiscard]] ByteSource& bytes() { return bytes_; }
    [[nodiscard]] std::uint64_t byteCount() const { return bytes_.size(); }

    /// Reads on the first question; every later one is answered from memory.
    const Dictionary& properties() {
        read();
        return properties_;
    }
    std::size_t imageCount() {
        read();
        return imageCount_;
    }

    /// Every XMP property, which hardly anybody asks for: read by itself.
    const Dictionary& metadata() {
        std::call_once(readMetadata_, [this] {
            ImageProperties everything;
            everything.keepsAllXmp = true;
            format_.read(bytes_, everything);
            metadata_ = std::move(everything.xmp);
        });
        return metadata_;
    }

private:
    void read() {
        std::call_once(read_, [this] {
            ImageProperties found;
            format_.read(bytes_, found);
            imageCount_ = found.imageCount;
            properties_ = std::move(found).assemble();
        });
    }

    ByteSource bytes_;
    const ImageFormat& format_;
    Data data_;  // Kept alive for bytes_, which views it.
    std::once_flag read_;
    Dictionary properties_;
    std::size_t imageCount_ = 0;
    std::once_flag readMetadata_;
    Dictionary metadata_;
};

namespace {

CGImageSourceRef makeSource(ByteSource bytes, Data data, CGImageSourceFault& fault) {
    if (bytes.size() == 0) {
        fault = CGImageSourceFault::empty;
        return nullptr;
    }
    const ImageFormat* format = imageio::detectImageFormat(bytes);
    if (!format) {
        fault = CGImageSourceFault::unknownFormat;
        return nullptr;
    }
    fault = CGImageSourceFault::none;
    return std::make_shared<CGImageSource>(std::move(bytes), *format, std::move(data));
}

}  // namespace

ByteSource& imageio::bytesOf(const CGImageSourceRef& source) { return source->bytes(); }

CGImageSourceRef CGImageSourceCreateWithURL(const std::string& path, CGImageSourceFault* fault) {
    CGImageSourceFault ignored{};
    CGImageSourceFault& why = fault ? *fault : ignored;
    auto bytes = ByteSource::openFile(path, why);
    if (!bytes) return nullptr;
    return makeSource(std::move(*bytes), nullptr, why);
}

CGImageSourceRef CGImageSourceCreateWithData(const Data& data, CGImageSourceFault* fault) {
    CGImageSourceFault ignored{};
    CGImageSourceFault& why = fault ? *fault : ignored;
    return makeSource(ByteSource(data ? imageio::Bytes(*data) : imageio::Bytes()), data, why);
}

std::string_view CGImageSourceGetType(const CGImageSourceRef& source) {
    return source ? source->type() : std::string_view{};
}

std::size_t CGImageSourceGetCount(const CGImageSourceRef& source) { return source ? source->imageCount() : 0; }

std::uint64_t CGImageSourceGetByteCount(const CGImageSourceRef& source) { return source ? source->byteCount() : 0; }

std::optional<Dictionary> CGImageSourceCopyPropertiesAtIndex(const CGImageSourceRef& source, std::size_t index,
                                                             const Dictionary& /*options*/) {
    if (!source || index != 0) return std::nullopt;
    if (source->properties().empty()) return std::nullopt;
    return source->properties();
}

std::optional<Dictionary> CGImageSourceCopyMetadataAtIndex(const CGImageSourceRef& source, std::size_t index,
                                                           const Dictionary& /*options*/) {
    if (!source || index != 0 || source->metadata().empty()) return std::nullopt;
    return source->metadata();
}

}  // namespace tessaly
