#pragma once
#include <cstdint>
#include <optional>

namespace tessaly {

/// Memory of the machine, in bytes.
struct HostStatistics {
    std::uint64_t used = 0;
    std::uint64_t free = 0;  ///< Without what could be freed.
    [[nodiscard]] std::uint64_t total() const noexcept { return used + free; }

    /// nullopt where the system does not tell.
    [[nodiscard]] static std::optional<HostStatistics> current();
};

}  // namespace tessaly
