#pragma once
#include <cstddef>
#include <cstdlib>
#include <utility>

namespace tessaly {

/// The memory of a bitmap, wherever it lies: on the heap, or mapped from a file that is released with it. What another
/// process made is mapped for reading only; nobody writes into a bitmap that was given away.
class PixelBuffer {
public:
    using Release = void (*)(std::byte* bytes, std::size_t size) noexcept;

    PixelBuffer() = default;
    /// Takes over `size` bytes, which `release` gives back.
    PixelBuffer(std::byte* bytes, std::size_t size, Release release) noexcept
        : bytes_(bytes), size_(size), release_(release) {}
    PixelBuffer(PixelBuffer&& other) noexcept { swap(other); }
    PixelBuffer& operator=(PixelBuffer&& other) noexcept {
        PixelBuffer(std::move(other)).swap(*this);
        return *this;
    }
    PixelBuffer(const PixelBuffer&) = delete;
    PixelBuffer& operator=(const PixelBuffer&) = delete;
    ~PixelBuffer() {
        if (bytes_) release_(bytes_, size_);
    }

    /// Zeroes on the heap; empty without memory. What nobody writes to is not taken from the machine: a damaged
    /// picture costs what there is of it.
    [[nodiscard]] static PixelBuffer allocate(std::size_t size) noexcept {
        return {static_cast<std::byte*>(std::calloc(size, 1)), size,
                [](std::byte* bytes, std::size_t) noexcept { std::free(bytes); }};
    }

    [[nodiscard]] explicit operator bool() const noexcept { return bytes_ != nullptr; }
    [[nodiscard]] std::byte* get() noexcept { return bytes_; }
    [[nodiscard]] const std::byte* get() const noexcept { return bytes_; }
    [[nodiscard]] std::size_t size() const noexcept { return size_; }

private:
    void swap(PixelBuffer& other) noexcept {
        std::swap(bytes_, other.bytes_);
        std::swap(size_, other.size_);
        std::swap(release_, other.release_);
    }

    std::byte* bytes_ = nullptr;
    std::size_t size_ = 0;
    Release release_ = nullptr;
};

}  // namespace tessaly
