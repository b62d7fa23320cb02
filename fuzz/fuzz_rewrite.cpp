#include <cstdint>
#include <cstdlib>
#include <memory>
#include <vector>

#include "platform/ImageIO/MetadataRewrite.h"

namespace {

using tessaly::Data;
using tessaly::Dictionary;
using tessaly::MetadataChange;

const std::vector<MetadataChange>& changes() {
    using Removal = MetadataChange::Removal;
    static const std::vector<MetadataChange> all = [] {
        std::vector<MetadataChange> made(4);
        made[0].removal = Removal::everything;
        made[1].removal = Removal::place;
        made[2].removal = Removal::dictionaries;
        made[2].removes = {.exif = true, .tiff = true, .gps = true, .iptc = true};
        made[3].values = {{"{TIFF}", Dictionary{{"Artist", "somebody"}}},
                          {"{GPS}", Dictionary{{"Latitude", 1.5}, {"LatitudeRef", "N"}}},
                          {"{IPTC}", Dictionary{{"Keywords", tessaly::Array{"one", "two"}}}}};
        return made;
    }();
    return all;
}

}  // namespace

/// Every writer's input side: the file is somebody else's, whatever is to become of it.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto* bytes = reinterpret_cast<const std::byte*>(data);
    const Data file = std::make_shared<const std::vector<std::byte>>(bytes, bytes + size);
    for (const MetadataChange& change : changes()) {
        const Data made = tessaly::rewriteMetadata(file, change);
        // A rewrite adds a few blocks at most; anything more is a length that was believed.
        if (made && made->size() > 8 * size + 256 * 1024) std::abort();
    }
    return 0;
}
