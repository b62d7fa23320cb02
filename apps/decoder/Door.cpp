#include "Door.h"

#include <linux/capability.h>
#include <malloc.h>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <limits>

#include "SystemCalls.h"

namespace tessaly::decoder {
namespace {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kHasShadowMemory = true;  // Terabytes of addresses, which no limit can stand beside.
#else
constexpr bool kHasShadowMemory = false;
#endif

/// Addresses beside the memory that a picture takes: stacks of threads, and what the C library keeps in reserve.
constexpr std::uint64_t kReserve = std::uint64_t{192} << 20;
constexpr rlim_t kOpenFiles = 64;

struct Footing {
    std::uint64_t addresses = 0;  ///< What the loaded libraries take of them.
    Filter filterOfCopy;
};
Footing footing;

std::uint64_t addressesInUse() {
    unsigned long pages = 0;
    if (std::FILE* file = std::fopen("/proc/self/statm", "re")) {
        if (std::fscanf(file, "%lu", &pages) != 1) pages = 0;
        std::fclose(file);
    }
    return std::uint64_t{pages} * static_cast<std::uint64_t>(::sysconf(_SC_PAGESIZE));
}

void limit(__rlimit_resource_t resource, std::uint64_t value) {
    const rlimit both{value, value};
    ::setrlimit(resource, &both);
}

/// Users, network, names and mounts of its own, and a root that leads nowhere.
bool enterNamespaces() {
    if (::unshare(CLONE_NEWUSER) != 0) return false;
    const bool isAlone = ::unshare(CLONE_NEWNET | CLONE_NEWIPC | CLONE_NEWUTS | CLONE_NEWNS) == 0;
    // A folder that holds a line on each of our own descriptors, nothing that leads anywhere, and that ends with us.
    const bool isRooted = ::chroot("/proc/self/fdinfo") == 0 && ::chdir("/") == 0;
    return isAlone && isRooted;
}

void dropCapabilities() {
    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
    std::array<__user_cap_data_struct, 2> none{};
    ::syscall(SYS_capset, &header, none.data());
}

/// Landlock's attributes as of its sixth version; older kernels take the beginning (linux/landlock.h).
struct LandlockRules {
    std::uint64_t files = 0;
    std::uint64_t network = 0;
    std::uint64_t scope = 0;
};
constexpr long kCreateRuleset = 444, kRestrictSelf = 446;
constexpr unsigned kAskVersion = 1;

/// Everything that this version can deny, and no exception.
LandlockRules landlockRules(long version) {
    constexpr std::array<unsigned, 6> kFileRights{0, 13, 14, 15, 15, 16};
    const auto known = static_cast<std::size_t>(std::min(version, 5L));
    LandlockRules rules;
    rules.files = (std::uint64_t{1} << kFileRights.at(known)) - 1;
    if (version >= 4) rules.network = 3;
    if (version >= 6) rules.scope = 3;
    return rules;
}

int enterLandlock() {
    const long version = ::syscall(kCreateRuleset, nullptr, 0, kAskVersion);
    if (version < 1) return 0;
    const LandlockRules rules = landlockRules(version);
    const std::size_t size = version >= 6 ? 24 : version >= 4 ? 16 : 8;
    const int ruleset = static_cast<int>(::syscall(kCreateRuleset, &rules, size, 0));
    if (ruleset < 0) return 0;
    const bool isIn = ::syscall(kRestrictSelf, ruleset, 0) == 0;
    ::close(ruleset);
    return isIn ? static_cast<int>(version) : 0;
}

}  // namespace

codecs::Isolation shutDoor() {
    codecs::Isolation isolation;
    footing.addresses = addressesInUse();
    // Libraries that write dates would look for the time zone in a file.
    ::setenv("TZ", "UTC0", 1);
    ::tzset();
    // A reserve of addresses for each thread would use the limit up.
    ::mallopt(M_ARENA_MAX, 2);
    limit(RLIMIT_CORE, 0);
    limit(RLIMIT_NOFILE, kOpenFiles);
    ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
    isolation.hasNamespaces = enterNamespaces();
    dropCapabilities();
    isolation.landlock = enterLandlock();
    // Whoever changes what he may do loses this wish: only now.
    ::prctl(PR_SET_PDEATHSIG, SIGKILL, 0, 0, 0);
    footing.filterOfCopy = filterOfCopy();
    isolation.hasFilter = install(filterOfProcess());
    return isolation;
}

void shutDoorForCopy() { [[maybe_unused]] const bool isShut = install(footing.filterOfCopy); }

void setLimits(const Allowance& allowance) {
    limit(RLIMIT_CPU, allowance.cpuSeconds);
    // A file that would be too long is a call that fails, not the end.
    ::signal(SIGXFSZ, SIG_IGN);
    if (allowance.memory != 0) {
        limit(RLIMIT_FSIZE, std::max(allowance.memory, allowance.file));
        if (!kHasShadowMemory) limit(RLIMIT_AS, footing.addresses + allowance.memory + allowance.file + kReserve);
    }
}

}  // namespace tessaly::decoder
