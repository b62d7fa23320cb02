#include "FuzzReader.h"
#include "linux/imageio/containers/Containers.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    return tessaly::fuzz::read(data, size, tessaly::imageio::readCrw);
}
