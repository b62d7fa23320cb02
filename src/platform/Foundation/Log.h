#pragma once
#include <string_view>

#include "platform/Foundation/Format.h"

namespace tessaly {

/// Whether diagnostic lines are wanted: TESSALY_LOG is set.
[[nodiscard]] bool isLogging() noexcept;
void writeLogLine(std::string_view line) noexcept;

/// A diagnostic line on standard error. Costs a branch when nobody listens.
template <class... Arguments>
void log(std::string_view text, const Arguments&... arguments) {
    if (isLogging()) writeLogLine(formatted(text, arguments...));
}

}  // namespace tessaly
