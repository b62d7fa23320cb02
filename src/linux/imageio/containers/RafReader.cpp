#include "linux/imageio/containers/Containers.h"

namespace tessaly::imageio {

void readRaf(ByteSource&, ImageProperties&) {}

}  // namespace tessaly::imageio
