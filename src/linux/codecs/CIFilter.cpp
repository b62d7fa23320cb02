#include "platform/CoreImage/CIFilter.h"

#include "linux/codecs/Pixels.h"
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
    imageio::ByteSource bytes{imageio::Bytes(*data_)};
    CGImageFault ignored{};
    return codecs::decodePicture({"raw"}, bytes, 0, 0, ignored);
}

}  // namespace tessaly
