#include "support/DirectDecoding.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fstream>

#include "linux/codecs/PixelsModule.h"
#include "linux/codecs/VideoCodec.h"
#include "linux/foundation/Module.h"
#include "platform/ImageIO/CGImageSource.h"

namespace tessaly::test {
namespace {

using namespace codecs;

class FileInput final : public PixelInput {
public:
    explicit FileInput(const std::string& path) : file_(::open(path.c_str(), O_RDONLY | O_CLOEXEC)) {
        struct stat status {};
        if (file_ >= 0 && ::fstat(file_, &status) == 0) size_ = static_cast<std::uint64_t>(status.st_size);
    }
    ~FileInput() override {
        if (file_ >= 0) ::close(file_);
    }
    [[nodiscard]] std::uint64_t size() const override { return size_; }
    std::size_t read(std::uint64_t offset, std::span<std::byte> target) override {
        std::size_t done = 0;
        while (done < target.size() && offset + done < size_) {
            const auto count =
                ::pread(file_, target.data() + done, target.size() - done, static_cast<off_t>(offset + done));
            if (count <= 0) break;
            done += static_cast<std::size_t>(count);
        }
        return done;
    }
    [[nodiscard]] int descriptor() const override { return file_; }

private:
    int file_;
    std::uint64_t size_ = 0;
};

struct Row {
    std::string_view type;
    DecodeImage PixelsModule::*small;
    const char* module;
};
constexpr std::array kRows{
    Row{"public.jpeg", &PixelsModule::decodeJpeg, nullptr},
    Row{"public.png", &PixelsModule::decodePng, nullptr},
    Row{"org.webmproject.webp", &PixelsModule::decodeWebp, nullptr},
    Row{"public.tiff", &PixelsModule::decodeTiff, nullptr},
    Row{"com.microsoft.bmp", &PixelsModule::decodeBmp, nullptr},
    Row{"com.adobe.photoshop-image", &PixelsModule::decodePsd, nullptr},
    Row{"com.adobe.photoshop-large-image", &PixelsModule::decodePsd, nullptr},
    Row{"public.heic", nullptr, "tessaly-heif.so"},
    Row{"public.heif", nullptr, "tessaly-heif.so"},
    Row{"public.avif", nullptr, "tessaly-heif.so"},
    Row{"public.jpeg-xl", nullptr, "tessaly-jxl.so"},
    Row{"com.compuserve.gif", nullptr, "tessaly-ffmpeg.so"},
    Row{"public.jpeg-2000", nullptr, "tessaly-ffmpeg.so"},
};

DecodeFault decodeAs(std::string_view type, PixelInput& input, const DecodeRequest& request, DecodedPixels& decoded) {
    const auto* pixels = moduleTable<PixelsModule>("tessaly-pixels.so", "tessaly_pixels");
    const char* module = type.ends_with("raw-image") ? "tessaly-raw.so" : nullptr;
    for (const Row& row : kRows) {
        if (row.type != type) continue;
        if (row.small) return pixels ? (pixels->*row.small)(input, request, decoded) : DecodeFault::unsupported;
        module = row.module;
    }
    const auto* decode = module ? moduleTable<DecodeImage>(module, "tessaly_decode") : nullptr;
    return decode ? (*decode)(input, request, decoded) : DecodeFault::unsupported;
}

/// A line of /proc/self/status, in bytes.
std::uint64_t status(const char* key) {
    std::ifstream file("/proc/self/status");
    for (std::string line; std::getline(file, line);)
        if (line.starts_with(key)) return std::strtoull(line.c_str() + std::strlen(key), nullptr, 10) * 1024;
    return 0;
}

DecodingCost measured(const std::string& path, const DecodeRequest& request) {
    std::ofstream("/proc/self/clear_refs") << "5";  // the largest so far is what it is now
    const std::uint64_t before = status("VmRSS:");
    const auto start = std::chrono::steady_clock::now();
    DecodedPixels decoded;
    DecodingCost cost;
    cost.fault = decodeDirectly(path, request, decoded);
    cost.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    const std::uint64_t largest = status("VmHWM:");
    cost.memory = largest > before ? largest - before : 0;
    cost.width = decoded.image.width;
    cost.height = decoded.image.height;
    cost.bits = decoded.image.bitsPerComponent;
    return cost;
}

}  // namespace

DecodeFault decodeDirectly(const std::string& path, const DecodeRequest& request, DecodedPixels& decoded) {
    FileInput input(path);
    const auto source = CGImageSourceCreateWithURL(path);
    DecodeFault fault = DecodeFault::unsupported;
    if (source) {
        fault = decodeAs(CGImageSourceGetType(source), input, request, decoded);
    } else if (const auto* movie = moduleTable<DecodeVideoFrame>("tessaly-ffmpeg.so", "tessaly_decode_video")) {
        fault = (*movie)(input, 0, request, decoded);
    }
    const auto* pixels = moduleTable<PixelsModule>("tessaly-pixels.so", "tessaly_pixels");
    if (fault == DecodeFault::none && pixels) pixels->convertToSRGB(decoded);
    return fault;
}

DecodingCost costOfDecoding(const std::string& path, const DecodeRequest& request) {
    DecodingCost cost;
    std::array<int, 2> ends{};
    if (::pipe(ends.data()) != 0) std::abort();
    const pid_t child = ::fork();
    if (child == 0) {
        cost = measured(path, request);
        const bool isWritten = ::write(ends[1], &cost, sizeof cost) == static_cast<ssize_t>(sizeof cost);
        std::_Exit(isWritten ? 0 : 1);
    }
    ::close(ends[1]);
    if (::read(ends[0], &cost, sizeof cost) != static_cast<ssize_t>(sizeof cost)) cost.fault = DecodeFault::damaged;
    ::close(ends[0]);
    int ended = 0;
    ::waitpid(child, &ended, 0);
    if (WIFSIGNALED(ended)) cost.signal = WTERMSIG(ended);
    if (WIFEXITED(ended) && WEXITSTATUS(ended) != 0) cost.signal = SIGABRT;  // a sanitizer's way to end
    return cost;
}

}  // namespace tessaly::test
