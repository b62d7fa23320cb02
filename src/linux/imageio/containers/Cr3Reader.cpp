#include "linux/imageio/containers/Containers.h"

namespace tessaly::imageio {

void readCr3(ByteSource&, ImageProperties&) {}

}  // namespace tessaly::imageio
