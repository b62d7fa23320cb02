#pragma once
#include <bit>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <span>
#include <string_view>

namespace tessaly::imageio {

using Bytes = std::span<const std::byte>;

enum class ByteOrder : std::uint8_t { little, big };

/// Whole numbers of 1 to 8 bytes from exactly enough bytes; the caller has checked the length.
template <std::unsigned_integral T>
[[nodiscard]] inline T loadInteger(const std::byte* at, ByteOrder order) noexcept {
    T value;
    std::memcpy(&value, at, sizeof value);
    constexpr auto native = std::endian::native == std::endian::big ? ByteOrder::big : ByteOrder::little;
    if (order == native) return value;
    if constexpr (sizeof(T) == 2) return __builtin_bswap16(value);
    if constexpr (sizeof(T) == 4) return __builtin_bswap32(value);
    if constexpr (sizeof(T) == 8) return __builtin_bswap64(value);
    return value;
}

/// The bytes seen as characters. Not terminated, any value.
[[nodiscard]] inline std::string_view asText(Bytes bytes) noexcept {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

[[nodiscard]] inline Bytes asBytes(std::string_view text) noexcept { return std::as_bytes(std::span(text)); }

/// A cursor over bytes owned by the caller. It never passes the end of its span; a read that would fails and does not
/// move it. A part taken from it cannot see its neighbours.
class ByteReader {
public:
    explicit constexpr ByteReader(Bytes bytes) noexcept : whole_(bytes), rest_(bytes) {}

    [[nodiscard]] constexpr std::size_t remaining() const noexcept { return rest_.size(); }
    [[nodiscard]] constexpr std::size_t position() const noexcept { return whole_.size() - rest_.size(); }
    [[nodiscard]] constexpr Bytes rest() const noexcept { return rest_; }

    /// Moves to `position` bytes from the start of the span; false, unmoved, when that lies beyond the end.
    constexpr bool seek(std::uint64_t position) noexcept {
        if (position > whole_.size()) return false;
        rest_ = whole_.subspan(static_cast<std::size_t>(position));
        return true;
    }

    constexpr bool skip(std::uint64_t count) noexcept { return take(count).has_value(); }

    /// The next `count` bytes.
    [[nodiscard]] constexpr std::optional<Bytes> take(std::uint64_t count) noexcept {
        if (count > rest_.size()) return std::nullopt;
        const auto length = static_cast<std::size_t>(count);
        const Bytes part = rest_.first(length);
        rest_ = rest_.subspan(length);
        return part;
    }

    template <std::unsigned_integral T>
    [[nodiscard]] std::optional<T> read(ByteOrder order = ByteOrder::big) noexcept {
        const auto part = take(sizeof(T));
        if (!part) return std::nullopt;
        return loadInteger<T>(part->data(), order);
    }

private:
    Bytes whole_;
    Bytes rest_;
};

}  // namespace tessaly::imageio
