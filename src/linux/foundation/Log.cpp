#include "platform/Foundation/Log.h"

#include <unistd.h>

#include <cstdlib>
#include <string>

namespace tessaly {

bool isLogging() noexcept {
    static const bool wanted = std::getenv("TESSALY_LOG") != nullptr;
    return wanted;
}

void writeLogLine(std::string_view line) noexcept {
    // One write a line, so that lines of several threads do not mix.
    const std::string whole = std::string(line) + "\n";
    [[maybe_unused]] const auto written = ::write(STDERR_FILENO, whole.data(), whole.size());
}

}  // namespace tessaly
