#include "platform/CoreImage/CIFilter.h"

#include "linux/codecs/Pixels.h"
#include "linux/foundation/Module.h"
#include "platform/ImageIO/CGImageSource.h"

namespace tessaly {

CIFilter CIFilter::filterWithImageData(const Data& data, const Dictionary& options) {
    CIFilter filter;
    filter.data_ = data;
    filter.typeHint_ = options[kCGImageSourceTypeIdentifierHint].string();
    return filter;
}

CGImageRef CIFilter::outputImage() const {
    if (!data_ || data_->empty()) return nullptr;
    // The hint says that it is raw data even where the bytes look like another TIFF.
    if (!typeHint_.ends_with("raw-image"))
        return CGImageSourceCreateImageAtIndex(CGImageSourceCreateWithData(data_), 0, {});
    const auto* develop = moduleTable<codecs::DecodeImage>("tessaly-raw.so", "tessaly_decode");
    if (!develop) return nullptr;
    imageio::ByteSource bytes{imageio::Bytes(*data_)};
    codecs::SourceInput input(bytes);
    codecs::DecodedPixels decoded;
    if ((*develop)(input, {.index = 0, .longerSide = 0, .pixelLimit = codecs::kPixelLimit}, decoded) !=
        codecs::DecodeFault::none)
        return nullptr;
    return codecs::finished(std::move(decoded));
}

}  // namespace tessaly
