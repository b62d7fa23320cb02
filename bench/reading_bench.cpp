#include "reading_bench.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "exiv2_peer.h"
#include "platform/AVFoundation/AVAsset.h"
#include "platform/ImageIO/CGImageSource.h"

namespace tessaly::bench {
namespace {

/// What any program must do at least that looks into a file: the yardstick of every reader.
void floorOf(const std::string& path) {
    static std::array<char, 64 * 1024> buffer;
    const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0) return;
    benchmark::DoNotOptimize(::pread(file, buffer.data(), buffer.size(), 0));
    ::close(file);
}

void readImage(const std::string& path) {
    const auto source = CGImageSourceCreateWithURL(path);
    benchmark::DoNotOptimize(CGImageSourceCopyPropertiesAtIndex(source, 0, {}));
}

void readMovie(const std::string& path) { benchmark::DoNotOptimize(AVAsset::assetWithURL(path)); }

struct Kind {
    bool movie = false;
    std::vector<std::string> files;
};

std::map<std::string, Kind> filesByType() {
    std::map<std::string, Kind> byType;
    const char* chosen = std::getenv("TESSALY_BENCH_FILES");
    for (const auto& entry : std::filesystem::recursive_directory_iterator(chosen ? chosen : TESSALY_SAMPLES)) {
        if (!entry.is_regular_file()) continue;
        const std::string path = entry.path().string();
        if (const auto source = CGImageSourceCreateWithURL(path)) {
            byType[std::string(CGImageSourceGetType(source))].files.push_back(path);
        } else if (const auto asset = AVAsset::assetWithURL(path); asset->fault == AVAssetFault::none) {
            byType[asset->typeIdentifier].files.push_back(path);
            byType[asset->typeIdentifier].movie = true;
        }
    }
    return byType;
}

void registerOne(const std::string& name, const std::vector<std::string>& files, void (*read)(const std::string&)) {
    benchmark::RegisterBenchmark(name.c_str(), [files, read](benchmark::State& state) {
        std::size_t next = 0;
        for (auto _ : state) {
            read(files[next]);
            next = (next + 1) % files.size();
        }
    });
}

}  // namespace

void registerReading() {
    for (const auto& [type, kind] : filesByType()) {
        registerOne("read/" + type + "/floor", kind.files, floorOf);
        registerOne("read/" + type + "/tessaly", kind.files, kind.movie ? readMovie : readImage);
#ifdef TESSALY_HAVE_EXIV2
        if (!kind.movie) registerOne("read/" + type + "/libexiv2", kind.files, readWithExiv2);
#endif
    }
}

}  // namespace tessaly::bench
