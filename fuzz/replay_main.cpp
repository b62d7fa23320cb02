#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

/// Runs the fuzz target once over every file below the given paths, and over every short prefix of it: the cheap
/// half of fuzzing, without a fuzzer.
int main(int argc, char** argv) {
    std::size_t runs = 0;
    const auto replay = [&runs](const std::filesystem::path& path) {
        std::ifstream file(path, std::ios::binary);
        const std::vector<char> bytes{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
        const auto run = [&](std::size_t size) {
            const std::vector<char> exact(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(size));
            LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(exact.data()), exact.size());
            ++runs;
        };
        const std::size_t step = bytes.size() / 64 + 1;
        for (std::size_t size = 0; size < bytes.size(); size += step) run(size);
        run(bytes.size());
    };
    for (int i = 1; i < argc; ++i) {
        if (std::filesystem::is_regular_file(argv[i])) replay(argv[i]);
        if (!std::filesystem::is_directory(argv[i])) continue;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(argv[i]))
            if (entry.is_regular_file()) replay(entry.path());
    }
    std::printf("%zu inputs replayed\n", runs);
    return runs == 0 ? 1 : 0;
}
