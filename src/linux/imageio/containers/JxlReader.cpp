#include "linux/imageio/containers/Containers.h"

namespace tessaly::imageio {

void readJxl(ByteSource&, ImageProperties&) {}

}  // namespace tessaly::imageio
