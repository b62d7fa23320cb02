#pragma once
#include <compare>
#include <cstddef>

namespace tessaly {

/// The place of an item in a list of sections.
struct NSIndexPath {
    std::size_t item = 0;
    std::size_t section = 0;
    friend auto operator<=>(const NSIndexPath& a, const NSIndexPath& b) noexcept {
        const auto bySection = a.section <=> b.section;
        return bySection != 0 ? bySection : a.item <=> b.item;
    }
    friend bool operator==(const NSIndexPath&, const NSIndexPath&) = default;
};

}  // namespace tessaly
