#include "Messages.h"

#include <unistd.h>

#include <string>

namespace tessaly::viewer {

void complain(std::string_view path, std::string_view what) {
    // One write a line, so that lines of several threads do not mix.
    std::string line = "tessaly-viewer: ";
    if (!path.empty()) line.append(path).append(": ");
    line.append(what).append("\n");
    [[maybe_unused]] const auto written = ::write(STDERR_FILENO, line.data(), line.size());
}

void complain(std::string_view what) { complain({}, what); }

}  // namespace tessaly::viewer
