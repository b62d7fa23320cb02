#include "linux/imageio/blocks/Blocks.h"

namespace tessaly::imageio {

void readIccProfile(Bytes, ImageProperties&) {}

}  // namespace tessaly::imageio
