#pragma once
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace tessaly::test {

/// Bytes put together piece by piece. Numbers are big-endian unless said otherwise.
class ByteString {
public:
    ByteString() = default;
    ByteString(std::string_view text) : bytes_(text) {}
    ByteString(const char* text) : ByteString(std::string_view(text)) {}
    ByteString(const std::string& text) : ByteString(std::string_view(text)) {}

    ByteString& add(const char* text) { return add(std::string_view(text)); }
    ByteString& add(std::string_view text) {
        bytes_.append(text);
        return *this;
    }
    ByteString& add(const ByteString& other) { return add(other.text()); }
    ByteString& add(const std::string& text) { return add(std::string_view(text)); }
    ByteString& add(std::size_t count, char filler) { return add(std::string(count, filler)); }
    template <std::unsigned_integral T>
    ByteString& number(T value, bool little = false) {
        for (std::size_t i = 0; i < sizeof(T); ++i) {
            const std::size_t shift = 8 * (little ? i : sizeof(T) - 1 - i);
            bytes_ += static_cast<char>(static_cast<std::uint64_t>(value) >> shift & 0xFFU);
        }
        return *this;
    }
    ByteString& u8(unsigned value) { return number(static_cast<std::uint8_t>(value)); }
    ByteString& u16(unsigned value) { return number(static_cast<std::uint16_t>(value)); }
    ByteString& u32(std::uint32_t value) { return number(value); }
    ByteString& u64(std::uint64_t value) { return number(value); }

    [[nodiscard]] std::string_view text() const { return bytes_; }
    [[nodiscard]] std::size_t size() const { return bytes_.size(); }
    [[nodiscard]] std::span<const std::byte> bytes() const { return std::as_bytes(std::span(bytes_)); }
    operator std::span<const std::byte>() const { return bytes(); }

private:
    std::string bytes_;
};

/// A text with its NULs: "Exif\0\0"_z.
inline ByteString operator""_z(const char* text, std::size_t size) { return ByteString(std::string_view(text, size)); }

}  // namespace tessaly::test
