#include "support/Malformed.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "platform/ImageIO/CGImageProperties.h"
#include "platform/ImageIO/CGImageSource.h"
#include "support/DirectDecoding.h"

// Decodes damaged copies of pictures, each in a process of its own, and tells of every one that crashed, took more
// memory than the limit, or took longer than two seconds and longer than 1.2 times the picture itself.
//
//   tessaly_decoding_malformed COUNT FILE...
namespace {

using namespace tessaly;

constexpr std::uint64_t kLimit = std::uint64_t{2} << 30;
constexpr double kSlow = 2, kSlower = 1.2;

struct Original {
    std::string path;
    std::vector<std::byte> bytes;
    std::size_t width = 0;
    std::size_t height = 0;
    double seconds = 0;
};

Original readOriginal(const std::string& path) {
    Original original;
    original.path = path;
    std::ifstream file(path, std::ios::binary);
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    const auto bytes = std::as_bytes(std::span(text));
    original.bytes.assign(bytes.begin(), bytes.end());
    const test::DecodingCost cost = test::costOfDecoding(path, {.memoryLimit = kLimit});
    original.seconds = cost.seconds;
    original.width = cost.width;
    original.height = cost.height;
    if (const auto source = CGImageSourceCreateWithURL(path); source && cost.width == 0) {
        const auto properties = CGImageSourceCopyPropertiesAtIndex(source, 0, {}).value_or(Dictionary());
        original.width = static_cast<std::size_t>(properties[kCGImagePropertyPixelWidth].integerValue());
        original.height = static_cast<std::size_t>(properties[kCGImagePropertyPixelHeight].integerValue());
    }
    return original;
}

struct Totals {
    int crashed = 0, large = 0, slow = 0, shown = 0, refused = 0;
    std::uint64_t memory = 0;
    double seconds = 0;
};

void judge(const Original& original, const std::string& how, const test::DecodingCost& cost, Totals& totals) {
    const double allowed = std::max(kSlow, original.seconds * kSlower);
    const bool isShown = cost.fault == codecs::DecodeFault::none;
    (isShown ? totals.shown : totals.refused)++;
    totals.memory = std::max(totals.memory, cost.memory);
    totals.seconds = std::max(totals.seconds, cost.seconds);
    const bool isLarge = cost.memory > kLimit;
    const bool isSlow = cost.seconds > allowed;
    if (cost.signal != 0) ++totals.crashed;
    if (isLarge) ++totals.large;
    if (isSlow) ++totals.slow;
    constexpr double kMega = 1e6;
    constexpr std::uint64_t kWorthTelling = 500'000'000;
    if (cost.signal != 0 || isLarge || isSlow || cost.memory > kWorthTelling)
        std::printf("%s %s: signal %d, fault %d, %.0f MB, %.2f s (whole: %.2f s)\n", original.path.c_str(), how.c_str(),
                    cost.signal, static_cast<int>(cost.fault), static_cast<double>(cost.memory) / kMega, cost.seconds,
                    original.seconds);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 3) return 2;
    const int count = std::atoi(argv[1]);
    std::vector<Original> originals;
    for (int i = 2; i < argc; ++i) originals.push_back(readOriginal(argv[i]));
    std::erase_if(originals, [](const Original& original) { return original.bytes.empty(); });
    if (originals.empty()) return 2;
    const std::string path = std::filesystem::temp_directory_path() / ("malformed-" + std::to_string(::getpid()));
    Totals totals;
    for (int number = 0; number < count; ++number) {
        const Original& original = originals[static_cast<std::size_t>(number / 3) % originals.size()];
        const auto damaged =
            test::malformed(original.bytes, original.width, original.height, static_cast<std::uint32_t>(number));
        std::ofstream(path, std::ios::binary)
            .write(reinterpret_cast<const char*>(damaged.bytes.data()),
                   static_cast<std::streamsize>(damaged.bytes.size()));
        judge(original, damaged.how + " (" + std::to_string(number) + ")",
              test::costOfDecoding(path, {.memoryLimit = kLimit}), totals);
    }
    std::filesystem::remove(path);
    std::printf("%d pictures: %d shown, %d refused; %d crashed, %d above the limit, %d slow; at most %.0f MB, %.2f s\n",
                count, totals.shown, totals.refused, totals.crashed, totals.large, totals.slow,
                static_cast<double>(totals.memory) / 1e6, totals.seconds);
    return totals.crashed + totals.large + totals.slow > 0 ? 1 : 0;
}
