#include "linux/imageio/containers/Containers.h"

namespace tessaly::imageio {

void readPng(ByteSource&, ImageProperties&) {}

}  // namespace tessaly::imageio
