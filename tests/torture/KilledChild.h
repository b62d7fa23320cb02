#pragma once
#include <cstddef>
#include <functional>
#include <optional>

namespace tessaly::test {

/// How a child came to its end.
struct ChildEnd {
    bool isKilled = false;  ///< By us, on the way.
    int status = 0;         ///< Else what it left, as waitpid tells it.
    std::size_t steps = 0;  ///< System calls that change something, as far as it came; 0 when it was not traced.
};

/// Runs `work` in a child. With `killAt` the child is killed just before its system call of that number, from 1 on,
/// that changes a file: whatever it could have left behind on the way is left behind at one number. Its own
/// computations, and what it reads, change nothing and are not counted.
///
/// `between` is called before each of these calls with its number, while the child waits: what another program does at
/// that instant.
[[nodiscard]] ChildEnd runChild(const std::function<void()>& work, std::optional<std::size_t> killAt = std::nullopt,
                                const std::function<void(std::size_t step)>& between = {});

/// Whether this system lets us follow a child's system calls.
[[nodiscard]] bool canTraceChildren();

}  // namespace tessaly::test
