#include "linux/imageio/containers/Containers.h"

namespace tessaly::imageio {

void readTiff(ByteSource&, ImageProperties&) {}

}  // namespace tessaly::imageio
