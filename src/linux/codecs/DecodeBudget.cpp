#include "linux/codecs/DecodeBudget.h"

#include <fcntl.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <string>
#include <utility>

#include "linux/foundation/HomeFolder.h"

namespace tessaly::codecs {
namespace {

constexpr std::uint64_t kGigabyte = std::uint64_t{1} << 30;

std::mutex& budgetMutex() {
    static std::mutex mutex;
    return mutex;
}
std::optional<DecodeBudget>& setBudget() {
    static std::optional<DecodeBudget> budget;
    return budget;
}

/// "max" is no limit.
std::optional<std::uint64_t> numberIn(const std::string& path) {
    std::uint64_t value = 0;
    std::ifstream file(path);
    return file >> value ? std::optional(value) : std::nullopt;
}

/// The smallest limit on the way to the top of the second version's hierarchy (cgroups(7)).
std::optional<std::uint64_t> allowedMemory() {
    const std::string top = "/sys/fs/cgroup";
    std::ifstream groups("/proc/self/cgroup");
    std::optional<std::uint64_t> smallest;
    for (std::string line; std::getline(groups, line);) {
        if (!line.starts_with("0::/")) continue;
        for (std::filesystem::path group = line.substr(3);; group = group.parent_path()) {
            if (const auto limit = numberIn(top + group.string() + "/memory.max"))
                smallest = std::min(smallest.value_or(*limit), *limit);
            if (group == group.parent_path()) break;
        }
    }
    return smallest;
}

/// $XDG_CACHE_HOME/tessaly (XDG Base Directory Specification 0.8); empty without a home.
std::filesystem::path cacheFolder() {
    const std::string caches = baseFolder("XDG_CACHE_HOME", ".cache");
    return caches.empty() ? std::filesystem::path() : std::filesystem::path(caches) / "tessaly";
}

/// Not every file system knows files without a name: there it loses its name at once.
int openUnnamed(const std::string& folder) {
    const int file = ::open(folder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, S_IRUSR | S_IWUSR);
    if (file >= 0) return file;
    std::string name = folder + "/pixels-XXXXXX";
    const int named = ::mkostemp(name.data(), O_CLOEXEC);
    if (named >= 0) ::unlink(name.c_str());
    return named;
}

}  // namespace

MachineMemory MachineMemory::current() {
    const long pages = ::sysconf(_SC_PHYS_PAGES);
    const long size = ::sysconf(_SC_PAGESIZE);
    MachineMemory memory;
    if (pages > 0 && size > 0) memory.installed = static_cast<std::uint64_t>(pages) * static_cast<std::uint64_t>(size);
    memory.allowed = allowedMemory();
    return memory;
}

std::uint64_t memoryLimit(const MachineMemory& memory) noexcept {
    const std::uint64_t most = 2 * kGigabyte;
    const std::uint64_t all = std::min(memory.installed.value_or(most), memory.allowed.value_or(UINT64_MAX));
    return std::min(most, all / 4);
}

std::uint64_t diskLimit(std::uint64_t free) noexcept { return std::min(4 * kGigabyte, free / 2); }

DecodeBudget DecodeBudget::current() {
    static const std::uint64_t machine = memoryLimit(MachineMemory::current());
    const std::lock_guard lock(budgetMutex());
    return setBudget().value_or(DecodeBudget{.memory = machine, .disk = std::nullopt});
}

void DecodeBudget::set(const std::optional<DecodeBudget>& budget) {
    const std::lock_guard lock(budgetMutex());
    setBudget() = budget;
}

std::optional<PixelFile> PixelFile::open() {
    const std::filesystem::path folder = cacheFolder();
    std::error_code error;
    if (!folder.empty()) std::filesystem::create_directories(folder, error);
    if (folder.empty() || error) return std::nullopt;
    const int file = openUnnamed(folder.string());
    if (file < 0) return std::nullopt;
    struct statvfs disk {};
    const bool isTold = ::fstatvfs(file, &disk) == 0;
    const auto free = isTold ? static_cast<std::uint64_t>(disk.f_bavail) * disk.f_frsize : 0;
    const std::uint64_t limit = std::min(diskLimit(free), DecodeBudget::current().disk.value_or(UINT64_MAX));
    PixelFile opened(file, limit);
    if (limit == 0) return std::nullopt;
    return opened;
}

PixelFile::PixelFile(PixelFile&& other) noexcept : file_(std::exchange(other.file_, -1)), limit_(other.limit_) {}

PixelFile::~PixelFile() {
    if (file_ >= 0) ::close(file_);
}

}  // namespace tessaly::codecs
