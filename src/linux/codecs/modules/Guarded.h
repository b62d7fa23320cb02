#pragma once
#include <new>

#include "linux/codecs/ImageCodec.h"

/// The one symbol of a module: `TESSALY_MODULE_SYMBOL DecodeImage tessaly_decode = &decodeIt;`
#define TESSALY_MODULE_SYMBOL extern "C" __attribute__((visibility("default"))) const

namespace tessaly::codecs {

/// Runs a decoder. Whatever its library throws, some of them numbers, ends here: nothing crosses a module's edge.
template <class Decode>
[[nodiscard]] DecodeFault guarded(const Decode& decode) {
    try {
        return decode();
    } catch (const std::bad_alloc&) {
        return DecodeFault::outOfMemory;
    } catch (...) {
        return DecodeFault::damaged;
    }
}

}  // namespace tessaly::codecs
