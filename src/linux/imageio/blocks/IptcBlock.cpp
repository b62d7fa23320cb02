#include "linux/imageio/blocks/Blocks.h"

namespace tessaly::imageio {

void readIptc(Bytes, ImageProperties&) {}

}  // namespace tessaly::imageio
