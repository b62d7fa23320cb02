#include "linux/imageio/blocks/Blocks.h"

namespace tessaly::imageio {

void readXmp(Bytes, ImageProperties&) {}

}  // namespace tessaly::imageio
