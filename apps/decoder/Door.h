#pragma once
#include "linux/codecs/isolation/Orders.h"

/// What keeps the decoder in. A file that takes it over finds a process that can read what it was handed, ask for
/// memory within its limit, and answer; nothing else.
namespace tessaly::decoder {

/// Shuts the door behind the whole process, when its libraries are loaded and no thread runs: no file can be opened
/// from here on, nothing reached, nothing started but copies of this process. What the kernel refuses is told, and the
/// others hold all the same.
[[nodiscard]] codecs::Isolation shutDoor();

/// What a process that decodes one picture may take.
struct Allowance {
    std::uint64_t memory = 0;  ///< Bytes beside what the libraries take; 0 for no limit.
    std::uint64_t file = 0;    ///< Bytes that may lie in a file in place of memory.
    std::uint32_t cpuSeconds = 0;
};

/// In the copy that decodes: it makes no copies any more.
void shutDoorForCopy();
/// In the copy, before it looks at a picture.
void setLimits(const Allowance& allowance);

}  // namespace tessaly::decoder
