#include <fcntl.h>
#include <sys/ptrace.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "linux/codecs/modules/Guarded.h"
#include "linux/codecs/modules/PixelRows.h"

/// A family of one decoder, that does what its file says: what one would do that a file has taken over. It answers a
/// picture where it was let, and "damaged" where it was refused.
namespace tessaly::codecs {
namespace {

bool opens(const char* path, int flags) {
    const int file = ::open(path, flags, 0600);
    return file >= 0 || errno != EACCES;
}

bool eats() {
    std::vector<std::vector<std::byte>> eaten;
    for (;;) eaten.emplace_back(std::size_t{1} << 20, std::byte{1});
}

bool spins() {
    for (volatile bool goesOn = true; goesOn;) {
    }
    return true;
}

bool crashes() {
    ::kill(::getpid(), SIGSEGV);                           // Refused, too.
    static volatile std::uintptr_t nowhere = sizeof(int);  // Where no compiler sees what comes.
    *reinterpret_cast<volatile int*>(nowhere) = 1;
    return true;
}

const std::map<std::string, bool (*)(), std::less<>> kDeeds{
    {"nothing", [] { return true; }},
    {"read a file", [] { return opens("/etc/passwd", O_RDONLY); }},
    {"write a file", [] { return opens("/tmp/tessaly-misbehaving", O_WRONLY | O_CREAT); }},
    {"read its own memory", [] { return opens("/proc/self/mem", O_RDWR); }},
    {"look for a file", [] { return ::access("/etc/passwd", F_OK) == 0; }},
    {"connect", [] { return ::socket(AF_UNIX, SOCK_STREAM, 0) >= 0; }},
    {"reach the network", [] { return ::socket(AF_INET, SOCK_DGRAM, 0) >= 0; }},
    {"start a program", [] { return ::execl("/bin/true", "true", nullptr) == 0; }},
    {"make a copy", [] { return ::fork() >= 0; }},
    {"trace the program", [] { return ::ptrace(PTRACE_ATTACH, ::getppid(), 0, 0) == 0; }},
    {"read the program", [] { return ::syscall(SYS_process_vm_readv, ::getppid(), nullptr, 0, nullptr, 0, 0) == 0; }},
    {"end the program", [] { return ::kill(::getppid(), SIGTERM) == 0; }},
    {"queue calls", [] { return ::syscall(SYS_io_uring_setup, 1, nullptr) >= 0; }},
    {"eat", eats},
    {"spin", spins},
    {"crash", crashes},
};

DecodeFault misbehave(PixelInput& input, const DecodeRequest& request, DecodedPixels& decoded) {
    std::string deed(static_cast<std::size_t>(input.size()), ' ');
    if (input.read(0, std::as_writable_bytes(std::span(deed))) != deed.size()) return DecodeFault::unsupported;
    const auto known = kDeeds.find(deed);
    if (known == kDeeds.end()) return DecodeFault::unsupported;
    const auto fault = allocate(decoded.image, 4, 2, 8, CGImageAlphaInfo::noneSkipLast, request.memory);
    if (fault != DecodeFault::none) return fault;
    return known->second() ? DecodeFault::none : DecodeFault::damaged;
}

DecodeFault decode(PixelInput& input, const DecodeRequest& request, DecodedPixels& decoded) {
    return guarded([&] { return misbehave(input, request, decoded); });
}

}  // namespace
}  // namespace tessaly::codecs

TESSALY_MODULE_SYMBOL tessaly::codecs::DecodeImage tessaly_decode = &tessaly::codecs::decode;
