#pragma once
#include <cstdint>
#include <string>

namespace tessaly {

/// Byte counts in file style: 1000 bytes a kilobyte, numbers by the user's locale.
struct NSByteCountFormatter {
    bool includesActualByteCount = false;
    bool zeroPadsFractionDigits = false;
    /// Adaptive: no fraction for bytes and KB, one digit for MB, two above; else three significant digits.
    bool adaptive = true;

    [[nodiscard]] std::string stringFromByteCount(std::int64_t count) const;
};

/// "3.2 MB": the style with its defaults.
[[nodiscard]] std::string stringFromByteCount(std::int64_t count);

}  // namespace tessaly
