#include "Suggestion.h"

#include <algorithm>
#include <cctype>
#include <numeric>
#include <vector>

namespace tessaly::cli {
namespace {

constexpr std::size_t kMostEdits = 2;

char lower(char c) { return static_cast<char>(std::tolower(static_cast<unsigned char>(c))); }

/// Levenshtein distance without regard to case.
std::size_t edits(std::string_view a, std::string_view b) {
    std::vector<std::size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 1; i <= a.size(); ++i) {
        std::size_t diagonal = row[0];
        row[0] = i;
        for (std::size_t j = 1; j <= b.size(); ++j) {
            const std::size_t replaced = diagonal + (lower(a[i - 1]) == lower(b[j - 1]) ? 0 : 1);
            diagonal = row[j];
            row[j] = std::min({row[j] + 1, row[j - 1] + 1, replaced});
        }
    }
    return row.back();
}

}  // namespace

std::optional<std::string_view> closest(std::string_view word, std::span<const std::string_view> candidates) {
    const auto distance = [word](std::string_view candidate) { return edits(word, candidate); };
    const auto best = std::ranges::min_element(candidates, {}, distance);
    if (best == candidates.end()) return std::nullopt;
    // Short words are within two edits of everything.
    const std::size_t allowed = std::min(kMostEdits, word.size() / 2);
    return distance(*best) <= allowed ? std::optional(*best) : std::nullopt;
}

std::string suggestion(std::string_view word, std::span<const std::string_view> candidates) {
    const auto found = closest(word, candidates);
    return found ? "; did you mean '" + std::string(*found) + "'?" : std::string();
}

}  // namespace tessaly::cli
