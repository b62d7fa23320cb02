#include <array>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "linux/codecs/Pixels.h"
#include "reading_bench.h"
#include "support/DirectDecoding.h"

// Thumbnails by processes that can do nothing else, and the same by the same libraries in this process: the ratio is
// the price of isolation.
namespace tessaly::bench {
namespace {

using namespace codecs;

constexpr DecodeRequest kThumbnail{.longerSide = 512, .pixelLimit = kPixelLimit};

struct Photo {
    std::string path;
    CodecOfFamily codec;
};

using Decode = bool (*)(const Photo& photo);

bool here(const Photo& photo) {
    DecodedPixels decoded;
    return test::decodeDirectly(photo.codec, photo.path, kThumbnail, decoded) == DecodeFault::none;
}

bool isolated(const Photo& photo) {
    FileFault fault{};
    CGImageFault why{};
    auto source = imageio::ByteSource::openFile(photo.path, fault);
    return source && decodeIsolated(photo.codec, *source, kThumbnail, why).image.pixels;
}

/// Those of the files that can be decoded, by their family.
std::map<std::string, std::vector<Photo>> photosByFamily() {
    std::map<std::string, std::vector<Photo>> photos;
    const char* chosen = std::getenv("TESSALY_BENCH_FILES");
    for (const auto& entry : std::filesystem::recursive_directory_iterator(chosen ? chosen : TESSALY_SAMPLES)) {
        const auto source = entry.is_regular_file() ? CGImageSourceCreateWithURL(entry.path().string()) : nullptr;
        const auto codec = codecOf(CGImageSourceGetType(source));
        if (!codec) continue;
        const Photo photo{entry.path().string(), *codec};
        if (here(photo)) photos[std::string(codec->family)].push_back(photo);
    }
    return photos;
}

void registerOne(const std::string& name, const std::vector<Photo>& photos, Decode function) {
    benchmark::RegisterBenchmark(name.c_str(), [photos, function](benchmark::State& state) {
        std::size_t next = 0;
        for (auto _ : state) {
            if (!function(photos[next])) state.SkipWithError("no picture");
            next = (next + 1) % photos.size();
        }
    })->UseRealTime();
}

}  // namespace

void registerDecoding() {
    for (const auto& [family, photos] : photosByFamily()) {
        registerOne("thumbnail/" + family + "/floor", photos, here);
        registerOne("thumbnail/" + family + "/isolated", photos, isolated);
    }
}

}  // namespace tessaly::bench
