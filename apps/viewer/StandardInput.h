#pragma once
#include <string>

#include "platform/Foundation/Value.h"

namespace tessaly::viewer {

struct StandardInput {
    Data data;  ///< Null where there is a fault.
    std::string fault;
};

/// Everything up to the end of a file or a pipe; a terminal is not waited for. Blocks.
[[nodiscard]] StandardInput readStandardInput(int file = 0);

}  // namespace tessaly::viewer
