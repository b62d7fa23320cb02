#include "linux/imageio/containers/Containers.h"

namespace tessaly::imageio {

void readWebp(ByteSource&, ImageProperties&) {}

}  // namespace tessaly::imageio
