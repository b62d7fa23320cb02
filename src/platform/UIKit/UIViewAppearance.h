#pragma once
#include <cstdint>

namespace tessaly {

enum class UISemanticContentAttribute : std::uint8_t {
    unspecified,
    playback,
    spatial,
    forceLeftToRight,
    forceRightToLeft
};

/// What every view follows that chooses nothing itself. Main thread.
struct UIViewAppearance {
    UISemanticContentAttribute semanticContentAttribute = UISemanticContentAttribute::unspecified;

    [[nodiscard]] static UIViewAppearance& appearance() {
        static UIViewAppearance shared;
        return shared;
    }
};

}  // namespace tessaly
