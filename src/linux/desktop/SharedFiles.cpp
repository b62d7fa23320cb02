#include "linux/desktop/SharedFiles.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <filesystem>

#include "linux/desktop/MimeTypes.h"
#include "platform/Foundation/NSFileManager.h"

namespace tessaly::desktop {

namespace fs = std::filesystem;

namespace {

constexpr int kAttempts = 8;

std::string prefix() { return "tessaly-shared-" + NSFileManager::userName() + '-'; }

/// The best place first: what the system clears at the end of the session, then what has more room.
std::vector<std::string> bases() {
    std::vector<std::string> folders;
    if (const char* runtime = std::getenv("XDG_RUNTIME_DIR"); runtime && *runtime == '/') folders.emplace_back(runtime);
    folders.push_back(NSFileManager::temporaryDirectory());
    return folders;
}

/// Opens a folder of ours and locks it for as long as it stays open, or this process lives; -1 where somebody else has
/// it, or it is not ours.
int lockedFolder(const std::string& path) {
    const int folder = ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (folder < 0) return -1;
    struct stat facts {};
    const bool isOurs = ::fstat(folder, &facts) == 0 && facts.st_uid == ::getuid();
    // A folder that was removed while it waited for its lock has no name any more.
    if (isOurs && ::flock(folder, LOCK_EX | LOCK_NB) == 0 && ::fstat(folder, &facts) == 0 && facts.st_nlink > 0)
        return folder;
    ::close(folder);
    return -1;
}

double secondsSinceChange(const std::string& path) {
    std::error_code error;
    const auto changed = fs::last_write_time(path, error);
    if (error) return 0;
    return std::chrono::duration<double>(fs::file_time_type::clock::now() - changed).count();
}

void removeFolder(const std::string& path) {
    std::error_code ignored;
    fs::remove_all(path, ignored);
}

bool writePrivately(const Data& data, const std::string& path) {
    const int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0400);
    if (file < 0) return false;
    std::span<const std::byte> rest;
    if (data) rest = *data;
    while (!rest.empty()) {
        const ssize_t count = ::write(file, rest.data(), rest.size());
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) break;
        rest = rest.subspan(static_cast<std::size_t>(count));
    }
    const int error = errno;
    const bool isClosed = ::close(file) == 0;
    if (!rest.empty()) errno = error;
    return rest.empty() && isClosed;
}

/// Names that are safe in an argument of a script that makes a mail's address of it, too.
std::string plainName(const SharedFile& file) {
    constexpr std::string_view kSpecial = "&?#%;`$'\"\\<>|*=,";
    std::string name = safeFileName(file.name, mimeTypeOf(file.data));
    for (char& c : name)
        if (kSpecial.find(c) != std::string_view::npos) c = '_';
    return name;
}

}  // namespace

SharedFiles::~SharedFiles() {
    for (const Folder& folder : folders_) {
        if (secondsSinceChange(folder.path) > kTimeToRead) removeFolder(folder.path);
        ::close(folder.lock);
    }
}

SharedFiles& SharedFiles::shared() {
    static SharedFiles files;
    static const bool isSwept = (removeAbandoned(), true);
    static_cast<void>(isSwept);
    return files;
}

WrittenFiles SharedFiles::writeBelow(const std::string& base, std::span<const SharedFile> files) {
    auto mine = std::find_if(folders_.begin(), folders_.end(),
                             [&](const Folder& folder) { return fs::path(folder.path).parent_path() == base; });
    for (int attempt = 0; mine == folders_.end() && attempt < kAttempts; ++attempt) {
        std::string path = base + '/' + prefix() + "XXXXXX";
        if (!::mkdtemp(path.data())) return {{}, errno};
        // Another program's sweep may come between the two steps; then it is gone, and the next one is made.
        if (const int lock = lockedFolder(path); lock >= 0) mine = folders_.insert(folders_.end(), {path, lock});
    }
    if (mine == folders_.end()) return {{}, EAGAIN};
    const std::string folder = mine->path + '/' + std::to_string(nextCall_++);
    if (::mkdir(folder.c_str(), 0700) != 0) return {{}, errno};
    WrittenFiles written;
    for (const SharedFile& file : files) {
        const std::string name = plainName(file);
        std::string path = folder + '/' + name;
        for (int number = 2; NSFileManager::fileExistsAtPath(path); ++number)
            path = folder + '/' + numberedName(name, number);
        if (!writePrivately(file.data, path)) {
            written = {{}, errno ? errno : EIO};
            removeFolder(folder);
            return written;
        }
        written.paths.push_back(std::move(path));
    }
    return written;
}

WrittenFiles SharedFiles::write(std::span<const SharedFile> files) {
    const std::lock_guard lock(mutex_);
    WrittenFiles written{{}, ENOENT};
    // The session's folder is often a small one in memory.
    for (const std::string& base : bases())
        if (written = writeBelow(base, files); written.error == 0) break;
    return written;
}

void SharedFiles::removeAbandoned(double age) {
    for (const std::string& base : bases()) {
        std::error_code error;
        std::vector<std::string> found;
        for (fs::directory_iterator entry(base, error), end; !error && entry != end; entry.increment(error))
            if (entry->path().filename().string().starts_with(prefix())) found.push_back(entry->path().string());
        for (const std::string& path : found) {
            const int lock = lockedFolder(path);
            if (lock < 0) continue;
            if (secondsSinceChange(path) >= age) removeFolder(path);
            ::close(lock);
        }
    }
}

}  // namespace tessaly::desktop
