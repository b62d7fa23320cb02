#include "Shard.h"

#include <charconv>

namespace tessaly::cli {
namespace {

std::optional<std::uint64_t> wholeNumber(std::string_view text) {
    std::uint64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc{} || end != text.data() + text.size()) return std::nullopt;
    return number;
}

/// FNV-1a, 64 bits: the same on every machine and in every version.
std::uint64_t stableHash(std::string_view text) noexcept {
    std::uint64_t hash = 0xCBF29CE484222325;
    for (const char c : text) hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001B3;
    return hash;
}

}  // namespace

std::optional<Shard> Shard::parse(std::string_view text) {
    const auto slash = text.find('/');
    if (slash == std::string_view::npos) return std::nullopt;
    const auto index = wholeNumber(text.substr(0, slash));
    const auto count = wholeNumber(text.substr(slash + 1));
    if (!index || !count || *index < 1 || *index > *count) return std::nullopt;
    return Shard{*index, *count};
}

bool Shard::holds(std::string_view relativePath) const noexcept {
    return stableHash(relativePath) % count == index - 1;
}

}  // namespace tessaly::cli
