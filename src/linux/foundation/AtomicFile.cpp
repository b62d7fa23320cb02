#include "linux/foundation/AtomicFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <memory>
#include <string_view>
#include <utility>
#include <vector>

namespace tessaly {
namespace {

constexpr mode_t kDefaultMode = 0666;  // Less the umask.
constexpr int kAttempts = 100;
// Between them stand the process, by which an abandoned file is known, and a number.
constexpr std::string_view kTemporaryPrefix = ".tessaly-";
constexpr std::string_view kTemporarySuffix = ".part";

/// Where the bytes of `path` really are: replacing a link would leave the photo itself untouched.
std::string resolved(const std::string& path) {
    struct stat status {};
    if (::lstat(path.c_str(), &status) != 0 || !S_ISLNK(status.st_mode)) return path;
    const std::unique_ptr<char, decltype(&std::free)> real(::realpath(path.c_str(), nullptr), &std::free);
    return real ? std::string(real.get()) : path;
}

std::string temporaryName(std::string_view suffix) {
    timespec now{};
    ::clock_gettime(CLOCK_MONOTONIC, &now);
    std::string name(kTemporaryPrefix);
    name += std::to_string(::getpid()) + "-" + std::to_string(now.tv_nsec);
    name += suffix;
    return name;
}

std::string descriptorPath(int file) { return "/proc/self/fd/" + std::to_string(file); }

void copyAttributes(int source, int target) {
    std::array<char, 64 * 1024> names{};
    const auto length = ::flistxattr(source, names.data(), names.size());
    std::vector<char> value(64 * 1024);
    for (ssize_t at = 0; at < length;) {
        const char* name = names.data() + at;
        const auto size = ::fgetxattr(source, name, value.data(), value.size());
        // A file system that lacks an attribute's kind is no reason to lose the file.
        if (size >= 0) static_cast<void>(::fsetxattr(target, name, value.data(), static_cast<std::size_t>(size), 0));
        at += static_cast<ssize_t>(std::strlen(name)) + 1;
    }
}

}  // namespace

AtomicFile::AtomicFile(int file, int folder, std::string path, std::string name) noexcept
    : file_(file), folder_(folder), path_(std::move(path)), name_(std::move(name)) {}

AtomicFile::AtomicFile(AtomicFile&& other) noexcept
    : file_(std::exchange(other.file_, -1)),
      folder_(std::exchange(other.folder_, -1)),
      path_(std::move(other.path_)),
      name_(std::move(other.name_)),
      temporary_(std::exchange(other.temporary_, {})),
      isCommitted_(other.isCommitted_) {}

AtomicFile::~AtomicFile() {
    const int error = errno;
    if (!temporary_.empty() && !isCommitted_) ::unlinkat(folder_, temporary_.c_str(), 0);
    if (file_ >= 0) ::close(file_);
    if (folder_ >= 0) ::close(folder_);
    errno = error;
}

std::optional<AtomicFile> AtomicFile::create(const std::string& path) {
    const std::string target = resolved(path);
    const auto slash = target.rfind('/');
    const std::string folderPath = slash == std::string::npos ? "./" : target.substr(0, slash + 1);
    const int folder = ::open(folderPath.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (folder < 0) return std::nullopt;
    AtomicFile made(-1, folder, folderPath, slash == std::string::npos ? target : target.substr(slash + 1));
    // Without a name nothing is left behind even by a kill; not every file system can.
    made.file_ = ::openat(folder, ".", O_TMPFILE | O_RDWR | O_CLOEXEC, kDefaultMode);
    if (made.file_ < 0 && !made.takeTemporaryName()) return std::nullopt;
    return made;
}

/// Names the nameless file, or opens one under a name.
bool AtomicFile::takeTemporaryName() {
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        std::string name = temporaryName(kTemporarySuffix);
        if (file_ < 0) {
            file_ = ::openat(folder_, name.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, kDefaultMode);
            if (file_ >= 0) {
                temporary_ = std::move(name);
                return true;
            }
        } else if (::linkat(AT_FDCWD, descriptorPath(file_).c_str(), folder_, name.c_str(), AT_SYMLINK_FOLLOW) == 0) {
            temporary_ = std::move(name);
            return true;
        }
        if (errno != EEXIST) return false;
    }
    return false;
}

bool AtomicFile::write(std::span<const std::byte> bytes) {
    while (!bytes.empty()) {
        const auto put = ::write(file_, bytes.data(), bytes.size());
        if (put < 0 && errno == EINTR) continue;
        if (put < 0) return false;
        bytes = bytes.subspan(static_cast<std::size_t>(put));
    }
    return true;
}

bool AtomicFile::copyFrom(int source, std::uint64_t offset, std::uint64_t length) {
    auto from = static_cast<off_t>(offset);
    while (length > 0) {
        const auto chunk = static_cast<std::size_t>(std::min<std::uint64_t>(length, SSIZE_MAX));
        const auto moved = ::copy_file_range(source, &from, file_, nullptr, chunk, 0);
        if (moved < 0 && errno == EINTR) continue;
        if (moved <= 0) break;
        length -= static_cast<std::uint64_t>(moved);
    }
    // Between two file systems, or on one that cannot copy by itself.
    std::vector<std::byte> buffer(length == 0 ? 0 : 256 * 1024);
    while (length > 0) {
        const auto wanted = static_cast<std::size_t>(std::min<std::uint64_t>(length, buffer.size()));
        const auto got = ::pread(source, buffer.data(), wanted, from);
        if (got < 0 && errno == EINTR) continue;
        if (got == 0) errno = EIO;  // The file has become shorter.
        if (got <= 0) return false;
        if (!write(std::span(buffer).first(static_cast<std::size_t>(got)))) return false;
        from += got;
        length -= static_cast<std::uint64_t>(got);
    }
    return true;
}

bool AtomicFile::adopt(int source, bool times) {
    struct stat status {};
    if (::fstat(source, &status) != 0) return false;
    // Only a privileged program may give a file away; the group alone often works.
    if (::fchown(file_, status.st_uid, status.st_gid) != 0) {
        [[maybe_unused]] const int ignored = ::fchown(file_, static_cast<uid_t>(-1), status.st_gid);
    }
    if (::fchmod(file_, status.st_mode & 07777U) != 0) return false;
    copyAttributes(source, file_);
    if (!times) return true;
    const std::array<timespec, 2> stamps{status.st_atim, status.st_mtim};
    return ::futimens(file_, stamps.data()) == 0;
}

bool AtomicFile::commit(Existing existing) {
    // Where nothing is replaced nothing can be lost, and the disk need not be waited for.
    if (existing == Existing::replaced && ::fsync(file_) != 0) return false;
    if (existing == Existing::kept && temporary_.empty()) {
        if (::linkat(AT_FDCWD, descriptorPath(file_).c_str(), folder_, name_.c_str(), AT_SYMLINK_FOLLOW) != 0)
            return false;
    } else {
        if (temporary_.empty() && !takeTemporaryName()) return false;
        const unsigned flags = existing == Existing::kept ? RENAME_NOREPLACE : 0;
        if (::renameat2(folder_, temporary_.c_str(), folder_, name_.c_str(), flags) != 0) return false;
    }
    isCommitted_ = true;
    if (existing == Existing::replaced) ::fsync(folder_);  // The old name survives a loss of power, or the new one.
    return true;
}

bool AtomicFile::commitInPlaceOf(const IsExpected& isExpected) {
    if (::fsync(file_) != 0 || (temporary_.empty() && !takeTemporaryName())) return false;
    std::string own = temporaryName(kSwappedSuffix);
    if (::renameat(folder_, temporary_.c_str(), folder_, own.c_str()) != 0) return false;
    temporary_ = std::move(own);
    // From here on the name may be that of another program's file.
    isCommitted_ = true;
    const std::string path = path_ + temporary_;
    if (!replaceExpected(path, path_ + name_, isExpected)) {
        const int error = errno;
        struct stat ours {};
        struct stat there {};
        if (::fstat(file_, &ours) == 0 && ::stat(path.c_str(), &there) == 0 && ours.st_ino == there.st_ino)
            ::unlink(path.c_str());
        errno = error;
        return false;
    }
    ::fsync(folder_);
    return true;
}

namespace {

/// The files in the folder that programs which are not running any more have named so.
std::vector<std::string> abandonedFiles(const std::string& folder, std::string_view suffix) {
    std::vector<std::string> files;
    std::error_code error;
    for (std::filesystem::directory_iterator entry(folder, error);
         !error && entry != std::filesystem::directory_iterator(); entry.increment(error)) {
        const std::string name = entry->path().filename().string();
        if (!name.starts_with(kTemporaryPrefix) || !name.ends_with(suffix)) continue;
        pid_t process = 0;
        const char* digits = name.data() + kTemporaryPrefix.size();
        if (std::from_chars(digits, name.data() + name.size(), process).ec != std::errc() || process <= 0) continue;
        if (::kill(process, 0) != 0 && errno == ESRCH) files.push_back(entry->path().string());
    }
    return files;
}

bool isOlder(const std::string& path, std::chrono::seconds age) {
    struct stat status {};
    // Its own time may be another file's.
    return age.count() == 0 ||
           (::lstat(path.c_str(), &status) == 0 && ::time(nullptr) - status.st_ctim.tv_sec >= age.count());
}

}  // namespace

std::string temporaryNameIn(const std::string& folder, std::string_view suffix) {
    return (std::filesystem::path(folder) / temporaryName(suffix)).string();
}

void removeAbandonedFiles(const std::string& folder, std::chrono::seconds age) {
    for (const std::string& file : abandonedFiles(folder, kTemporarySuffix))
        if (isOlder(file, age)) ::unlink(file.c_str());
}

bool isTemporaryName(std::string_view name) {
    return name.starts_with(kTemporaryPrefix) && name.ends_with(kTemporarySuffix);
}

std::vector<std::string> abandonedSwaps(const std::string& folder) { return abandonedFiles(folder, kSwappedSuffix); }

}  // namespace tessaly
