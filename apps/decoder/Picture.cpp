#include "Picture.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstring>

#include "Door.h"
#include "linux/codecs/isolation/Channel.h"

namespace tessaly::decoder {
namespace {

using namespace codecs;

/// The bytes as they lie in the file. A file that is shortened meanwhile ends this process, and no other one.
class MappedInput final : public PixelInput {
public:
    MappedInput(int file, std::uint64_t size) : file_(file), size_(size) {}
    MappedInput(const MappedInput&) = delete;
    MappedInput& operator=(const MappedInput&) = delete;
    ~MappedInput() override {
        if (bytes_) ::munmap(bytes_, static_cast<std::size_t>(size_));
    }

    [[nodiscard]] std::uint64_t size() const override { return size_; }

    /// By position: the place in the file is the program's, too.
    std::size_t read(std::uint64_t offset, std::span<std::byte> target) override {
        std::size_t done = 0;
        while (offset < size_ && done < target.size()) {
            const ssize_t count =
                ::pread(file_, target.data() + done, target.size() - done, static_cast<off_t>(offset + done));
            if (count <= 0) break;
            done += static_cast<std::size_t>(count);
        }
        return done;
    }

    [[nodiscard]] std::span<const std::byte> view() const override {
        if (!bytes_ && size_ > 0) {
            void* const bytes = ::mmap(nullptr, static_cast<std::size_t>(size_), PROT_READ, MAP_PRIVATE, file_, 0);
            if (bytes != MAP_FAILED) bytes_ = bytes;
        }
        return bytes_ ? std::span(static_cast<const std::byte*>(bytes_), static_cast<std::size_t>(size_))
                      : std::span<const std::byte>();
    }

private:
    int file_;
    std::uint64_t size_;
    mutable void* bytes_ = nullptr;  ///< Once somebody asked.
};

/// The memory, or the file, that the answer lies in. A picture that is wanted small is decoded on the heap first: only
/// what comes out in the end is handed over.
class HandedOver final : public PixelMemory {
public:
    explicit HandedOver(const Commission& commission) : commission_(commission) {}

    PixelBuffer allocate(std::size_t size) override {
        const bool isFinal = commission_.order.longerSide == 0 && !isTaken_;
        return isFinal ? mapped(size) : PixelBuffer::allocate(size);
    }

    [[nodiscard]] bool isInFile() const { return isInFile_; }

    /// Moves the pixels over unless they lie there, lets go of them, and has the profile follow them.
    [[nodiscard]] bool take(DecodedPixels& picture) {
        CGImage& image = picture.image;
        const std::size_t size = image.bytesPerRow() * image.height;
        if (!isTaken_ || image.pixels.get() != bytes_) {
            if (isTaken_) isInFile_ = false;
            PixelBuffer target = mapped(size);
            if (!target) return false;
            std::memcpy(target.get(), image.pixels.get(), size);
        }
        image.pixels = PixelBuffer();
        return picture.profile.empty() || append(picture.profile, size);
    }

private:
    /// Behind the pixels: mapped from the page on in which they end.
    [[nodiscard]] bool append(std::span<const std::byte> bytes, std::size_t end) {
        const int target = isInFile_ ? commission_.file.get() : commission_.memory.get();
        const std::size_t start = end - end % static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
        const std::size_t length = end - start + bytes.size();
        if (::ftruncate(target, static_cast<off_t>(end + bytes.size())) != 0) return false;
        void* const mapping =
            ::mmap(nullptr, length, PROT_READ | PROT_WRITE, MAP_SHARED, target, static_cast<off_t>(start));
        if (mapping == MAP_FAILED) return false;
        std::memcpy(static_cast<std::byte*>(mapping) + (end - start), bytes.data(), bytes.size());
        ::munmap(mapping, length);
        return true;
    }

    /// A file where there is one: it is given for what is too large for memory.
    PixelBuffer mapped(std::size_t size) {
        isInFile_ = commission_.order.fileLimit != 0 && commission_.file;
        const int target = isInFile_ ? commission_.file.get() : commission_.memory.get();
        if (::ftruncate(target, 0) != 0 || ::ftruncate(target, static_cast<off_t>(size)) != 0) return {};
        void* const bytes =
            ::mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED | (isInFile_ ? 0 : MAP_POPULATE), target, 0);
        if (bytes == MAP_FAILED) return {};
        isTaken_ = true;
        bytes_ = static_cast<std::byte*>(bytes);
        return {bytes_, size, [](std::byte* mapping, std::size_t length) noexcept { ::munmap(mapping, length); }};
    }

    const Commission& commission_;
    std::byte* bytes_ = nullptr;
    bool isTaken_ = false;
    bool isInFile_ = false;
};

Answer answerTo(const FamilyDecoder& decoder, const Commission& commission) {
    const Order& order = commission.order;
    MappedInput input(commission.input.get(), order.inputSize);
    HandedOver memory(commission);
    const DecodeRequest request{.index = static_cast<std::size_t>(order.index),
                                .longerSide = static_cast<std::size_t>(order.longerSide),
                                .pixelLimit = order.pixelLimit,
                                .memoryLimit = order.memoryLimit,
                                .fileLimit = order.fileLimit,
                                .keepsProfile = order.keepsProfile,
                                .memory = &memory};
    DecodedPixels picture;
    Answer answer;
    answer.fault = decoder.decode(order.codec, input, request, order.time, picture);
    if (answer.fault != DecodeFault::none) return answer;
    if (picture.profile.size() > kProfileLimit) {
        answer.fault = DecodeFault::tooLarge;
        return answer;
    }
    const CGImage& image = picture.image;
    answer.width = image.width;
    answer.height = image.height;
    answer.bitsPerComponent = image.bitsPerComponent;
    answer.alphaInfo = image.alphaInfo;
    answer.profileSize = picture.profile.size();
    if (!memory.take(picture)) answer.fault = DecodeFault::outOfMemory;
    answer.isInFile = memory.isInFile();
    return answer;
}

}  // namespace

void perform(const FamilyDecoder& decoder, Commission& commission) {
    setLimits({.memory = commission.order.memoryLimit,
               .file = commission.order.fileLimit,
               .cpuSeconds = commission.order.cpuSeconds});
    Answer answer;
    try {
        answer = answerTo(decoder, commission);
    } catch (const std::bad_alloc&) {
        answer.fault = DecodeFault::outOfMemory;
    } catch (...) {
        answer.fault = DecodeFault::damaged;
    }
    [[maybe_unused]] const bool isHeard = codecs::send(commission.reply.get(), answer);
}

}  // namespace tessaly::decoder
