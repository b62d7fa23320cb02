#include "linux/imageio/containers/Containers.h"

namespace tessaly::imageio {

void readBmp(ByteSource&, ImageProperties&) {}

}  // namespace tessaly::imageio
