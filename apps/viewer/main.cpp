#include <cstdlib>
#include <string>
#include <variant>
#include <vector>

#include "Arguments.h"
#include "window/Viewer.h"

int main(int argc, char** argv) {
    using namespace tessaly::viewer;
    const auto parsed = parseArguments({argv + (argc > 0 ? 1 : 0), argv + argc});
    if (const int* status = std::get_if<int>(&parsed)) return *status;
    const int status = Viewer::run(std::get<Arguments>(parsed));
    // Files that are still being read for a window that is gone are not waited for.
    std::quick_exit(status);
}
