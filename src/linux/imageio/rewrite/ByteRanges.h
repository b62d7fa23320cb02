#pragma once
#include <cstdint>
#include <optional>
#include <vector>

#include "linux/imageio/rewrite/RewritePlan.h"

namespace tessaly::imageio {

/// From `start` to before `end`.
struct ByteRange {
    std::uint64_t start = 0;
    std::uint64_t end = 0;
    bool operator==(const ByteRange&) const = default;
};

/// A set of positions, gathered in any order.
class ByteRanges {
public:
    void add(std::uint64_t start, std::uint64_t length) {
        if (length == 0 || start > UINT64_MAX - length) return;
        ranges_.push_back({start, start + length});
        isTidy_ = false;
    }

    /// Ascending, apart from each other: neighbours and overlaps are one.
    [[nodiscard]] const std::vector<ByteRange>& tidy();
    /// What is here and not in `others`.
    [[nodiscard]] std::vector<ByteRange> without(ByteRanges& others);

private:
    std::vector<ByteRange> ranges_;
    bool isTidy_ = true;
};

/// Where parts of a source stand in the result, when they are copied one behind the other in their old order.
class MovedRanges {
public:
    /// `kept` ascending and apart; the first is copied to `destination`, each to a multiple of `unit` (1 or 2).
    MovedRanges(std::vector<ByteRange> kept, std::uint64_t destination, std::uint64_t unit);

    /// Of a position inside a kept part (or right behind it), else nullopt.
    [[nodiscard]] std::optional<std::uint64_t> destinationOf(std::uint64_t position) const;
    /// Behind the last part.
    [[nodiscard]] std::uint64_t end() const noexcept { return end_; }
    /// Adds the parts to a plan that has come to the destination of the first.
    void addTo(RewritePlan& plan) const;

private:
    std::vector<ByteRange> kept_;
    std::vector<std::uint64_t> destinations_;
    std::uint64_t end_;
};

}  // namespace tessaly::imageio
