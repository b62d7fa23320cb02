#pragma once
#include <compare>
#include <string_view>

namespace tessaly {

/// Compares texts with each run of digits in them taken as one number: "9.3" is before "10.0", "11" before "11.0".
[[nodiscard]] constexpr std::strong_ordering compareNumerically(std::string_view a, std::string_view b) noexcept {
    const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
    const auto takeNumber = [&](std::string_view& text) {
        while (text.size() > 1 && text[0] == '0' && isDigit(text[1])) text.remove_prefix(1);
        std::size_t length = 0;
        while (length < text.size() && isDigit(text[length])) ++length;
        const std::string_view number = text.substr(0, length);
        text.remove_prefix(length);
        return number;
    };
    while (!a.empty() && !b.empty()) {
        if (isDigit(a[0]) && isDigit(b[0])) {
            const std::string_view left = takeNumber(a);
            const std::string_view right = takeNumber(b);
            if (const auto order = left.size() <=> right.size(); order != 0) return order;
            if (const int order = left.compare(right); order != 0) return order <=> 0;
        } else {
            if (const auto order = a[0] <=> b[0]; order != 0) return order;
            a.remove_prefix(1);
            b.remove_prefix(1);
        }
    }
    return a.size() <=> b.size();
}

}  // namespace tessaly
