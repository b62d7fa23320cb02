#pragma once
#include <unistd.h>

#include <utility>

namespace tessaly::codecs {

/// An open file of our own, closed with it.
class Descriptor {
public:
    Descriptor() = default;
    explicit Descriptor(int number) noexcept : number_(number) {}
    Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(number_, other.number_);
        return *this;
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() { close(); }

    [[nodiscard]] int get() const noexcept { return number_; }
    [[nodiscard]] explicit operator bool() const noexcept { return number_ >= 0; }
    void close() noexcept {
        if (number_ >= 0) ::close(std::exchange(number_, -1));
    }

private:
    int number_ = -1;
};

}  // namespace tessaly::codecs
