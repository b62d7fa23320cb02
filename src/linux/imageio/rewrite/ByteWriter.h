#pragma once
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <utility>
#include <vector>

#include "linux/imageio/ByteReader.h"

namespace tessaly::imageio {

using ByteVector = std::vector<std::byte>;

/// The opposite of loadInteger: `at` has room for the whole number.
template <std::unsigned_integral T>
inline void storeInteger(std::byte* at, T value, ByteOrder order) noexcept {
    const T stored = loadInteger<T>(reinterpret_cast<const std::byte*>(&value), order);  // Swapping is its own inverse.
    std::memcpy(at, &stored, sizeof stored);
}

/// Gathers bytes of one byte order.
class ByteWriter {
public:
    explicit ByteWriter(ByteOrder order = ByteOrder::big) noexcept : order_(order) {}

    template <std::unsigned_integral T>
    ByteWriter& write(T value) {
        const std::size_t at = bytes_.size();
        bytes_.resize(at + sizeof(T));
        storeInteger(bytes_.data() + at, value, order_);
        return *this;
    }
    /// The lowest `size` (0 to 8) bytes of `value`.
    ByteWriter& writeSized(std::uint64_t value, std::size_t size) {
        for (std::size_t i = 0; i < size; ++i) {
            const std::size_t shift = 8 * (order_ == ByteOrder::big ? size - 1 - i : i);
            bytes_.push_back(static_cast<std::byte>(value >> shift & 0xFF));
        }
        return *this;
    }
    ByteWriter& bytes(Bytes more) {
        const std::size_t at = bytes_.size();
        bytes_.resize(at + more.size());
        if (!more.empty()) std::memcpy(bytes_.data() + at, more.data(), more.size());
        return *this;
    }
    ByteWriter& text(std::string_view more) { return bytes(asBytes(more)); }
    ByteWriter& zeros(std::size_t count) {
        bytes_.resize(bytes_.size() + count);
        return *this;
    }
    ByteWriter& alignTo(std::size_t unit) { return zeros((unit - bytes_.size() % unit) % unit); }

    template <std::unsigned_integral T>
    void patch(std::size_t at, T value) noexcept {
        storeInteger(bytes_.data() + at, value, order_);
    }

    [[nodiscard]] std::size_t size() const noexcept { return bytes_.size(); }
    [[nodiscard]] ByteOrder order() const noexcept { return order_; }
    [[nodiscard]] Bytes view() const noexcept { return bytes_; }
    [[nodiscard]] ByteVector take() noexcept { return std::move(bytes_); }

private:
    ByteOrder order_;
    ByteVector bytes_;
};

[[nodiscard]] inline ByteVector copyOf(Bytes bytes) { return {bytes.begin(), bytes.end()}; }

}  // namespace tessaly::imageio
