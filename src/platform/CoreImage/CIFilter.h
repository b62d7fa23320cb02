#pragma once
#include "platform/CoreGraphics/CGImage.h"
#include "platform/Foundation/Value.h"

namespace tessaly {

/// Developing of raw data.
class CIFilter {
public:
    /// `options` may name the kind of data under kCGImageSourceTypeIdentifierHint, in case the bytes do not tell.
    [[nodiscard]] static CIFilter filterWithImageData(const Data& data, const Dictionary& options);
    /// The developed picture, upright; null when it cannot be developed.
    [[nodiscard]] CGImageRef outputImage() const;

private:
    Data data_;
    std::string typeHint_;
};

}  // namespace tessaly
