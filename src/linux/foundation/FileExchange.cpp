#include "linux/foundation/FileExchange.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>

#include "linux/foundation/AtomicFile.h"

namespace tessaly {
namespace {

namespace fs = std::filesystem;

constexpr int kAttempts = 100;

bool renameWith(const std::string& from, const std::string& to, unsigned flags) {
    return ::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), flags) == 0;
}

/// Older file systems, and some of a network, know no such steps.
bool isUnknownStep(int error) { return error == EINVAL || error == ENOSYS || error == EOPNOTSUPP; }

/// As it was a moment ago is the best there is where files cannot change places.
bool replaceAtOnce(const std::string& own, const std::string& path, const IsExpected& isExpected) {
    if (isExpected(path)) return ::rename(own.c_str(), path.c_str()) == 0;
    errno = EBUSY;
    return false;
}

bool isSame(const std::string& path, const struct stat& other) {
    struct stat status {};
    return ::stat(path.c_str(), &status) == 0 && status.st_ino == other.st_ino && status.st_dev == other.st_dev;
}

/// What came out is put back. Whoever replaced our file meanwhile meant to have the name: theirs gets it, and what was
/// there before them stays under a name beside it.
void takeBack(const std::string& own, const std::string& path, const struct stat& ours) {
    if (!renameWith(own, path, RENAME_EXCHANGE)) {
        // The name was removed meanwhile; nothing in its place is ours to keep.
        static_cast<void>(renameWith(own, path, RENAME_NOREPLACE));
        return;
    }
    if (isSame(own, ours)) return;
    static_cast<void>(renameWith(own, path, RENAME_EXCHANGE));
    moveToFreeName(own, path);
}

std::string resolved(const std::string& path) {
    std::error_code error;
    const fs::path real = fs::canonical(path, error);
    return error ? path : real.string();
}

}  // namespace

std::string moveToFreeName(const std::string& file, const std::string& wanted) {
    const fs::path name(wanted);
    for (int number = 1; number <= kAttempts; ++number) {
        const std::string suffix = number == 1 ? std::string() : " " + std::to_string(number);
        std::string free = (name.parent_path() / (name.stem().string() + suffix + name.extension().string())).string();
        if (renameWith(file, free, RENAME_NOREPLACE)) return free;
        if (isUnknownStep(errno) && ::link(file.c_str(), free.c_str()) == 0) {
            ::unlink(file.c_str());
            return free;
        }
        if (errno != EEXIST) return {};
    }
    return {};
}

bool replaceExpected(const std::string& own, const std::string& path, const IsExpected& isExpected) {
    const std::string target = resolved(path);
    struct stat ours {};
    if (::stat(own.c_str(), &ours) != 0) return false;
    if (!renameWith(own, target, RENAME_EXCHANGE))
        return isUnknownStep(errno) && replaceAtOnce(own, target, isExpected);
    if (isExpected(own)) {
        ::unlink(own.c_str());
        return true;
    }
    takeBack(own, target, ours);
    errno = EBUSY;
    return false;
}

bool removeExpected(const std::string& path, const IsExpected& isExpected) {
    const std::string aside = temporaryNameIn(fs::path(path).parent_path().string(), kSwappedSuffix);
    if (!renameWith(path, aside, RENAME_NOREPLACE)) {
        if (!isUnknownStep(errno)) return false;
        if (isExpected(path)) return ::unlink(path.c_str()) == 0;
    } else {
        if (isExpected(aside)) return ::unlink(aside.c_str()) == 0;
        moveToFreeName(aside, path);
    }
    errno = EBUSY;
    return false;
}

}  // namespace tessaly
