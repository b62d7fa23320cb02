#pragma once
#include <cstddef>
#include <string_view>

namespace tessaly {

/// Bytes of the sequence that starts at `text[at]`; 0 when it is not the shortest form of a scalar value (Unicode 15,
/// table 3-7).
[[nodiscard]] constexpr std::size_t utf8SequenceLength(std::string_view text, std::size_t at = 0) noexcept {
    const auto byte = [&](std::size_t i) -> unsigned {
        return at + i < text.size() ? static_cast<unsigned char>(text[at + i]) : 0U;
    };
    const auto follows = [&](std::size_t i) { return (byte(i) & 0xC0U) == 0x80U; };
    const unsigned lead = byte(0);
    if (at >= text.size()) return 0;
    if (lead < 0x80) return 1;
    if (lead < 0xC2 || !follows(1)) return 0;
    if (lead < 0xE0) return 2;
    if (!follows(2) || (lead == 0xE0 && byte(1) < 0xA0) || (lead == 0xED && byte(1) > 0x9F)) return 0;
    if (lead < 0xF0) return 3;
    if (lead > 0xF4 || !follows(3) || (lead == 0xF0 && byte(1) < 0x90) || (lead == 0xF4 && byte(1) > 0x8F)) return 0;
    return 4;
}

}  // namespace tessaly
