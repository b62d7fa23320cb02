#pragma once
#include <cstdint>
#include <optional>
#include <string_view>

namespace tessaly::cli {

/// Part `index` (from 1) of `count`: every path belongs to exactly one part, on every machine to the same one.
struct Shard {
    std::uint64_t index = 1;
    std::uint64_t count = 1;

    /// "K/N" with 1 <= K <= N.
    [[nodiscard]] static std::optional<Shard> parse(std::string_view text);
    [[nodiscard]] bool holds(std::string_view relativePath) const noexcept;
};

}  // namespace tessaly::cli
