#include "linux/imageio/containers/Containers.h"

namespace tessaly::imageio {

void readGif(ByteSource&, ImageProperties&) {}

}  // namespace tessaly::imageio
