#include "StandardInput.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <new>
#include <utility>
#include <vector>

namespace tessaly::viewer {
namespace {

constexpr std::size_t kPiece = std::size_t{1} << 18;
constexpr std::size_t kMost = std::size_t{1} << 30;

/// "" or what went wrong.
std::string readAll(int file, std::vector<std::byte>& bytes) {
    while (true) {
        const std::size_t have = bytes.size();
        bytes.resize(have + kPiece);
        const auto count = ::read(file, bytes.data() + have, kPiece);
        bytes.resize(have + static_cast<std::size_t>(count > 0 ? count : 0));
        if (count == 0) return {};
        if (count < 0 && errno != EINTR) return std::strerror(errno);
        if (bytes.size() > kMost) return "is larger than 1 GB";
    }
}

}  // namespace

StandardInput readStandardInput(int file) try {
    if (::isatty(file) == 1) return {nullptr, "standard input is a terminal; give it a file or a pipe"};
    std::vector<std::byte> bytes;
    if (std::string fault = readAll(file, bytes); !fault.empty()) return {nullptr, std::move(fault)};
    if (bytes.empty()) return {nullptr, "is empty"};
    return {std::make_shared<const std::vector<std::byte>>(std::move(bytes)), {}};
} catch (const std::bad_alloc&) {
    return {nullptr, "is larger than the memory"};
}

}  // namespace tessaly::viewer
