#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>

#include "linux/codecs/Pixels.h"
#include "linux/codecs/isolation/DecodingInProcess.h"
#include "platform/ImageIO/CGImageSource.h"

// What decoding takes: for every file one line with its bitmap, the largest memory of a fresh process above what it
// had before, their ratio, bytes a pixel, and the time. "--side N" asks for a thumbnail in place of the whole picture.
//
//   tessaly_decoding_memory [--side N] FILE...
namespace {

using namespace tessaly;

/// Lines of /proc/self/status, in bytes.
std::uint64_t status(const char* key) {
    std::ifstream file("/proc/self/status");
    for (std::string line; std::getline(file, line);)
        if (line.starts_with(key)) return std::strtoull(line.c_str() + std::strlen(key), nullptr, 10) * 1024;
    return 0;
}

void resetPeak() { std::ofstream("/proc/self/clear_refs") << "5"; }

/// In this process, which is the one that is looked at.
CGImageRef decoded(const std::string& path, std::int64_t side, std::string& why) {
    FileFault unopened{};
    CGImageFault fault{};
    auto bytes = imageio::ByteSource::openFile(path, unopened);
    const auto type = CGImageSourceGetType(CGImageSourceCreateWithURL(path));
    const auto codec =
        type.empty() ? std::optional<codecs::CodecOfFamily>({"ffmpeg", codecs::Codec::movie}) : codecs::codecOf(type);
    if (!bytes || !codec) return nullptr;
    const codecs::DecodeRequest request{.longerSide = static_cast<std::size_t>(side),
                                        .pixelLimit = codecs::kPixelLimit};
    CGImage image = codecs::decodeInProcess(*codec, *bytes, request, fault);
    why = describe(fault);
    return image.pixels ? std::make_shared<const CGImage>(std::move(image)) : nullptr;
}

void measure(const std::string& path, std::int64_t side) {
    resetPeak();
    const std::uint64_t before = status("VmRSS:");
    const auto start = std::chrono::steady_clock::now();
    std::string why;
    const CGImageRef image = decoded(path, side, why);
    const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
    const auto extra = static_cast<double>(status("VmHWM:") - before);
    const std::string name = path.substr(path.rfind('/') + 1);
    constexpr double kMega = 1e6;
    if (!image) {
        std::printf("%-28s %s: %.1f MB, %.2f s\n", name.c_str(), why.c_str(), extra / kMega, taken.count());
        return;
    }
    const auto bitmap = static_cast<double>(image->bytesPerRow() * image->height);
    const auto pixels = static_cast<double>(image->width * image->height);
    std::printf("%-28s %5zu x %5zu, %2u bits: bitmap %7.1f MB, peak %7.1f MB = %5.2f x, %6.2f bytes a pixel, %6.2f s\n",
                name.c_str(), image->width, image->height, image->bitsPerComponent, bitmap / kMega, extra / kMega,
                extra / bitmap, extra / pixels, taken.count());
}

}  // namespace

int main(int argc, char** argv) {
    std::int64_t side = 0;
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--side") == 0 && i + 1 < argc) {
            side = std::atoll(argv[++i]);
            continue;
        }
        std::fflush(stdout);
        const pid_t child = ::fork();
        if (child == 0) {
            measure(argv[i], side);
            std::fflush(stdout);
            std::_Exit(0);
        }
        int ended = 0;
        ::waitpid(child, &ended, 0);
        if (!WIFEXITED(ended)) std::printf("%s: ended by signal %d\n", argv[i], WTERMSIG(ended));
    }
}
