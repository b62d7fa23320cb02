#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "support/DirectDecoding.h"

// What decoding takes: for every file one line with its bitmap, the largest memory of a fresh process above what it
// had before, their ratio, bytes a pixel, and the time. "--side N" asks for a thumbnail in place of the whole picture.
//
//   tessaly_decoding_memory [--side N] FILE...
namespace {

using namespace tessaly;

void measure(const std::string& path, std::size_t side) {
    const test::DecodingCost cost = test::costOfDecoding(path, {.longerSide = side});
    const std::string name = path.substr(path.rfind('/') + 1);
    constexpr double kMega = 1e6;
    const double memory = static_cast<double>(cost.memory);
    if (cost.fault != codecs::DecodeFault::none || cost.signal != 0) {
        std::printf("%-28s fault %d, signal %d: %.1f MB, %.2f s\n", name.c_str(), static_cast<int>(cost.fault),
                    cost.signal, memory / kMega, cost.seconds);
        return;
    }
    const double pixels = static_cast<double>(cost.width) * static_cast<double>(cost.height);
    const double bitmap = pixels * cost.bits / 2;
    std::printf("%-28s %5zu x %5zu, %2u bits: bitmap %7.1f MB, peak %7.1f MB = %5.2f x, %6.2f bytes a pixel, %6.2f s\n",
                name.c_str(), cost.width, cost.height, cost.bits, bitmap / kMega, memory / kMega, memory / bitmap,
                memory / pixels, cost.seconds);
}

}  // namespace

int main(int argc, char** argv) {
    std::size_t side = 0;
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--side") == 0 && i + 1 < argc) {
            side = std::strtoull(argv[++i], nullptr, 10);
            continue;
        }
        measure(argv[i], side);
        std::fflush(stdout);
    }
}
