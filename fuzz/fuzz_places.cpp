#include <vector>

#include "FuzzReader.h"
#include "linux/location/PlaceIndex.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace tessaly;
    constexpr std::size_t kSizeAt = 12;
    std::vector<std::uint8_t> bytes(data, data + size);
    // The size that the file gives for itself is right, or nothing behind it would be read.
    for (std::size_t i = 0; i < 4 && kSizeAt + i < size; ++i)
        bytes[kSizeAt + i] = static_cast<std::uint8_t>(size >> (8 * i));
    const auto index = location::PlaceIndex::open(fuzz::bytesOf(bytes.data(), bytes.size()));
    if (!index) return 0;
    std::vector<CLLocationCoordinate2D> points{{52.5, 13.4}, {-33.9, 151.2}, {0, -150}, {90, 0}, {-16.8, 180}};
    for (std::uint32_t place = 0; place < index->count() && place < 16; ++place) {
        points.push_back(index->coordinate(place));
        static_cast<void>(index->name(place));
        static_cast<void>(index->reach(place));
    }
    for (const CLLocationCoordinate2D point : points) {
        static_cast<void>(index->names(point));
        static_cast<void>(index->nearest(point, 20000));
    }
    return 0;
}
