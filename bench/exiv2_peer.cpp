#include "exiv2_peer.h"

#include <exiv2/exiv2.hpp>

namespace tessaly::bench {

namespace {

/// Its complaints about damaged files are not what is measured.
const bool muted = (Exiv2::LogMsg::setLevel(Exiv2::LogMsg::mute), true);

}  // namespace

void readWithExiv2(const std::string& path) {
    try {
        const auto image = Exiv2::ImageFactory::open(path);
        image->readMetadata();
    } catch (const Exiv2::Error&) {
        // A file that the peer cannot read costs what it costs.
    }
}

}  // namespace tessaly::bench
