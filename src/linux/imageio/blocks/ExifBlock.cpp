#include "linux/imageio/blocks/Blocks.h"

namespace tessaly::imageio {

void readExif(ByteSource&, std::uint64_t, ImageProperties&) {}
void readExif(Bytes, ImageProperties&) {}

}  // namespace tessaly::imageio
