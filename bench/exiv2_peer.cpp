#include "exiv2_peer.h"

#include <exiv2/exiv2.hpp>

namespace tessaly::bench {

void readWithExiv2(const std::string& path) {
    try {
        const auto image = Exiv2::ImageFactory::open(path);
        image->readMetadata();
    } catch (const Exiv2::Error&) {
        // A file that the peer cannot read costs what it costs.
    }
}

}  // namespace tessaly::bench
