#include "linux/codecs/isolation/Answers.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>

#include <cstdint>
#include <limits>

namespace tessaly::codecs {
namespace {

/// Copying as much takes no longer than mapping it, and a mapping for every small picture of a library would be too
/// many for a process.
constexpr std::size_t kCopiedSize = std::size_t{256} << 10;
/// No codec knows longer sides.
constexpr std::uint64_t kLongestSide = std::uint64_t{1} << 30;

void unmap(std::byte* bytes, std::size_t size) noexcept { ::munmap(bytes, size); }

PixelBuffer copied(int file, std::size_t size) {
    PixelBuffer pixels = PixelBuffer::allocate(size);
    for (std::size_t done = 0; pixels && done < size;) {
        const ssize_t count = ::pread(file, pixels.get() + done, size - done, static_cast<off_t>(done));
        if (count <= 0) return {};
        done += static_cast<std::size_t>(count);
    }
    return pixels;
}

/// Private, as kernels before 6.7 share nothing that is sealed; the pages are the file's all the same.
PixelBuffer mapped(int file, std::size_t size) {
    void* const bytes = ::mmap(nullptr, size, PROT_READ, MAP_PRIVATE | MAP_POPULATE, file, 0);
    if (bytes == MAP_FAILED) return {};
    return {static_cast<std::byte*>(bytes), size, unmap};
}

CGImage imageOf(const Answer& answer) {
    CGImage image;
    image.width = static_cast<std::size_t>(answer.width);
    image.height = static_cast<std::size_t>(answer.height);
    image.bitsPerComponent = answer.bitsPerComponent;
    image.alphaInfo = answer.alphaInfo;
    return image;
}

CGImage take(const Answer& answer, int file) {
    CGImage image = imageOf(answer);
    const std::size_t size = image.bytesPerRow() * image.height;
    struct stat status {};
    if (::fstat(file, &status) != 0 || static_cast<std::uint64_t>(status.st_size) != size + answer.profileSize)
        return image;
    image.pixels = size <= kCopiedSize ? copied(file, size) : mapped(file, size);
    return image;
}

}  // namespace

bool isSound(const Answer& answer, const Order& order) noexcept {
    if (answer.kind != Answer::Kind::decoded || answer.fault != DecodeFault::none) return false;
    const std::uint64_t width = answer.width, height = answer.height;
    if (width == 0 || height == 0 || width > kLongestSide || height > kLongestSide) return false;
    if (answer.bitsPerComponent != 8 && answer.bitsPerComponent != 16) return false;
    if (answer.alphaInfo > CGImageAlphaInfo::noneSkipFirst) return false;
    if (order.longerSide != 0 && (width > order.longerSide || height > order.longerSide)) return false;
    if (order.pixelLimit != 0 && width > order.pixelLimit / height) return false;
    if (answer.isInFile && order.fileLimit == 0) return false;
    if (answer.profileSize > (order.keepsProfile ? kProfileLimit : 0)) return false;
    // The sides above cannot overflow 64 bits; a machine may count in fewer.
    const std::uint64_t bytesPerRow = width * CGImage::kComponents * (answer.bitsPerComponent / 8);
    const std::uint64_t limit = answer.isInFile          ? order.fileLimit
                                : order.memoryLimit != 0 ? order.memoryLimit
                                                         : std::numeric_limits<std::uint64_t>::max();
    return bytesPerRow <= std::min<std::uint64_t>(limit, std::numeric_limits<std::size_t>::max() / 2) / height;
}

CGImage takeFromMemory(const Answer& answer, const Descriptor& memory) {
    // Fails as long as anybody has it mapped for writing.
    constexpr int kSeals = F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_WRITE | F_SEAL_SEAL;
    if (::fcntl(memory.get(), F_ADD_SEALS, kSeals) != 0) return imageOf(answer);
    return take(answer, memory.get());
}

CGImage takeFromFile(const Answer& answer, const Descriptor& file) { return take(answer, file.get()); }

std::vector<std::byte> takeProfile(const Answer& answer, const Descriptor& memory) {
    std::vector<std::byte> profile(static_cast<std::size_t>(answer.profileSize));
    const CGImage image = imageOf(answer);
    const auto start = static_cast<off_t>(image.bytesPerRow() * image.height);
    const auto count = profile.empty() ? 0 : ::pread(memory.get(), profile.data(), profile.size(), start);
    return count == static_cast<ssize_t>(profile.size()) ? profile : std::vector<std::byte>();
}

}  // namespace tessaly::codecs
