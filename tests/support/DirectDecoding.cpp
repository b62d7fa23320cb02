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
#include <map>

#include "linux/codecs/Pixels.h"
#include "linux/codecs/isolation/FamilyDecoder.h"
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

/// Loaded once, as in a program.
const FamilyDecoder& decoderOf(std::string_view family) {
    static std::map<std::string, FamilyDecoder, std::less<>> decoders;
    return decoders.try_emplace(std::string(family), family).first->second;
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

DecodeFault decodeDirectly(const CodecOfFamily& codec, const std::string& path, const DecodeRequest& request,
                           DecodedPixels& decoded) {
    FileInput input(path);
    return decoderOf(codec.family).decode(codec.codec, input, request, 0, decoded);
}

DecodeFault decodeDirectly(const std::string& path, const DecodeRequest& request, DecodedPixels& decoded) {
    const auto source = CGImageSourceCreateWithURL(path);
    const auto codec = source ? codecOf(CGImageSourceGetType(source)) : CodecOfFamily{"ffmpeg", Codec::movie};
    return codec ? decodeDirectly(*codec, path, request, decoded) : DecodeFault::unsupported;
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
