#include "linux/imageio/blocks/Blocks.h"

namespace tessaly::imageio {

void readPhotoshopResources(Bytes, ImageProperties&) {}

}  // namespace tessaly::imageio
