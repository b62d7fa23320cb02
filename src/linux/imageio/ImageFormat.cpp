#include "linux/imageio/ImageFormat.h"

namespace tessaly::imageio {

const ImageFormat* detectImageFormat(ByteSource&) { return nullptr; }

}  // namespace tessaly::imageio
