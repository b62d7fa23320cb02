#include "linux/imageio/containers/Containers.h"

namespace tessaly::imageio {

void readJpeg(ByteSource&, ImageProperties&) {}

}  // namespace tessaly::imageio
