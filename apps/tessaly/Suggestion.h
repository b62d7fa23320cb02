#pragma once
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace tessaly::cli {

/// The candidate that `word` was most likely meant to be: equal but for case, or at most two edits away.
[[nodiscard]] std::optional<std::string_view> closest(std::string_view word,
                                                      std::span<const std::string_view> candidates);

/// "; did you mean 'candidate'?", or nothing.
[[nodiscard]] std::string suggestion(std::string_view word, std::span<const std::string_view> candidates);

}  // namespace tessaly::cli
