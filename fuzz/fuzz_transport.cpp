#include "FuzzReader.h"
#include "linux/media/Movie.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    tessaly::imageio::ByteSource source(tessaly::fuzz::bytesOf(data, size));
    tessaly::AVAsset asset;
    tessaly::media::readTransport(source, asset);
    return 0;
}
