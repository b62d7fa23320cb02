#include "linux/imageio/containers/Containers.h"

namespace tessaly::imageio {

void readHeif(ByteSource&, ImageProperties&) {}

}  // namespace tessaly::imageio
