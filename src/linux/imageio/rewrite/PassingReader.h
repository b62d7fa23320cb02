#pragma once
#include <algorithm>
#include <array>
#include <optional>

#include "linux/imageio/ByteSource.h"

namespace tessaly::imageio {

/// Small reads in passing, over files of any size: unlike the source itself it keeps nothing but its last block.
class PassingReader {
public:
    explicit PassingReader(ByteSource& source) noexcept : source_(source) {}

    /// At most 256 bytes from `offset`, valid until the next call; nullopt where they do not all exist.
    [[nodiscard]] std::optional<Bytes> bytes(std::uint64_t offset, std::size_t length) {
        if (length > kLongest || offset > source_.size() || length > source_.size() - offset) return std::nullopt;
        if (offset < start_ || offset + length > start_ + held_) {
            start_ = offset;
            held_ = source_.copyTo(offset, block_);
            if (held_ < length) return std::nullopt;
        }
        return Bytes(block_).subspan(static_cast<std::size_t>(offset - start_), length);
    }

    template <std::unsigned_integral T>
    [[nodiscard]] std::optional<T> read(std::uint64_t offset, ByteOrder order = ByteOrder::big) {
        const auto part = bytes(offset, sizeof(T));
        if (!part) return std::nullopt;
        return loadInteger<T>(part->data(), order);
    }

    [[nodiscard]] std::uint64_t size() const noexcept { return source_.size(); }

private:
    static constexpr std::size_t kLongest = 256;
    ByteSource& source_;
    std::array<std::byte, 4096> block_;
    std::uint64_t start_ = 0;
    std::size_t held_ = 0;
};

}  // namespace tessaly::imageio
