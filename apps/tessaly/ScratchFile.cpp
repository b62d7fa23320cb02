#include "ScratchFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <vector>

namespace tessaly::cli {
namespace {

constexpr std::size_t kPiece = 256 * 1024;

bool writeAll(int file, const char* bytes, std::size_t count) {
    while (count > 0) {
        const auto written = ::write(file, bytes, count);
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) return false;
        bytes += written;
        count -= static_cast<std::size_t>(written);
    }
    return true;
}

}  // namespace

ScratchFile::ScratchFile() {
    std::error_code error;
    const std::string folder = std::filesystem::temp_directory_path(error).string();
    file_ = ::open(folder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0600);
    if (file_ < 0) {  // Not every file system has files without a name.
        std::string name = folder + "/tessaly-XXXXXX";
        file_ = ::mkostemp(name.data(), O_CLOEXEC);
        if (file_ >= 0) ::unlink(name.c_str());
    }
    if (file_ < 0) fault_ = "no temporary file in " + folder + ": " + std::strerror(errno);
}

ScratchFile::~ScratchFile() {
    if (file_ >= 0) ::close(file_);
}

std::string ScratchFile::path() const { return "/proc/self/fd/" + std::to_string(file_); }

std::string ScratchFile::readFrom(int source) {
    std::vector<char> piece(kPiece);
    while (true) {
        const auto count = ::read(source, piece.data(), piece.size());
        if (count == 0) return {};
        if (count < 0 && errno == EINTR) continue;
        if (count < 0 || !writeAll(file_, piece.data(), static_cast<std::size_t>(count))) return std::strerror(errno);
    }
}

std::string ScratchFile::writeTo(int target) const {
    std::vector<char> piece(kPiece);
    for (off_t at = 0;;) {
        const auto count = ::pread(file_, piece.data(), piece.size(), at);
        if (count == 0) return {};
        if (count < 0 && errno == EINTR) continue;
        if (count < 0 || !writeAll(target, piece.data(), static_cast<std::size_t>(count))) return std::strerror(errno);
        at += count;
    }
}

bool isPiped(const std::string& argument) {
    if (argument == "-" || argument == "/dev/stdin" || argument.starts_with("/dev/fd/") ||
        argument.starts_with("/proc/self/fd/"))
        return true;
    struct stat status {};
    return ::stat(argument.c_str(), &status) == 0 && S_ISFIFO(status.st_mode);
}

std::string readPiped(const std::string& argument, ScratchFile& into) {
    if (!into.fault().empty()) return into.fault();
    const bool isStandard = argument == "-" || argument == "/dev/stdin";
    const int source = isStandard ? STDIN_FILENO : ::open(argument.c_str(), O_RDONLY | O_CLOEXEC);
    if (source < 0) return std::strerror(errno);
    std::string why = ::isatty(source) == 1 ? "is a terminal; give it a file or a pipe" : into.readFrom(source);
    if (!isStandard) ::close(source);
    if (why.empty() && ::lseek(into.descriptor(), 0, SEEK_END) == 0) why = "is empty";
    return why;
}

}  // namespace tessaly::cli
