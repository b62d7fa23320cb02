#include "linux/foundation/Trash.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <memory>
#include <string_view>
#include <utility>

#include "linux/foundation/HomeFolder.h"
#include "platform/Foundation/NSURL.h"

namespace tessaly {
namespace {

constexpr std::string_view kInfoExtension = ".trashinfo";
constexpr std::size_t kLongestExtension = 32;  // What is longer is no extension, but a name with a dot.
constexpr int kAttempts = 100000;
constexpr mode_t kPrivate = 0700;

class Descriptor {
public:
    explicit Descriptor(int descriptor = -1) noexcept : descriptor_(descriptor) {}
    Descriptor(Descriptor&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(descriptor_, other.descriptor_);
        return *this;
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() {
        const int error = errno;
        if (descriptor_ >= 0) ::close(descriptor_);
        errno = error;
    }
    [[nodiscard]] int get() const noexcept { return descriptor_; }
    explicit operator bool() const noexcept { return descriptor_ >= 0; }

private:
    int descriptor_;
};

/// What can be renamed into one another. The device alone does not tell: it can be mounted twice, and one mount can
/// have several.
struct Place {
    std::uint32_t major = 0;
    std::uint32_t minor = 0;
    std::uint64_t mount = 0;
    friend bool operator==(const Place&, const Place&) = default;
};

std::optional<Place> placeOf(const std::string& path) {
    struct statx status {};
    if (::statx(AT_FDCWD, path.c_str(), 0, STATX_BASIC_STATS | STATX_MNT_ID, &status) != 0) return std::nullopt;
    const bool knowsMount = (status.stx_mask & STATX_MNT_ID) != 0;
    return Place{status.stx_dev_major, status.stx_dev_minor, knowsMount ? status.stx_mnt_id : 0};
}

std::string parentOf(const std::string& path) { return std::filesystem::path(path).parent_path(); }

/// Of the nearest folder that is there.
std::optional<Place> placeToBe(std::string path) {
    std::optional<Place> place = placeOf(path);
    while (!place && errno == ENOENT && path.size() > 1) {
        path = parentOf(path);
        place = placeOf(path);
    }
    return place;
}

/// The folder that the file system of `folder` is mounted at.
std::string topOf(std::string folder, const Place& place) {
    while (folder != "/" && placeOf(parentOf(folder)) == place) folder = parentOf(folder);
    return folder;
}

/// The file to be trashed, by its folder without links and its own name.
struct Victim {
    std::string folder;
    std::string name;
    [[nodiscard]] std::string path() const { return folder == "/" ? folder + name : folder + "/" + name; }
};

std::optional<Victim> victimAt(std::string path) {
    while (path.size() > 1 && path.ends_with('/')) path.pop_back();
    const auto slash = path.rfind('/');
    const std::string folder = slash == std::string::npos ? "." : path.substr(0, slash + 1);
    Victim victim;
    victim.name = slash == std::string::npos ? path : path.substr(slash + 1);
    if (victim.name.empty() || victim.name == "." || victim.name == "..") {
        errno = EINVAL;
        return std::nullopt;
    }
    const std::unique_ptr<char, decltype(&std::free)> real(::realpath(folder.c_str(), nullptr), &std::free);
    if (!real) return std::nullopt;
    victim.folder = real.get();
    struct stat status {};
    if (::lstat(victim.path().c_str(), &status) != 0) return std::nullopt;
    return victim;
}

struct Trash {
    std::string path;
    std::string top;  ///< What the paths in it are relative to; "" where they are not.
    Descriptor files;
    Descriptor info;
};

/// Opens a folder of our own, made if need be. One that another user has put there, or leads elsewhere, is not used.
Descriptor openOwn(int parent, const char* name) {
    if (::mkdirat(parent, name, kPrivate) != 0 && errno != EEXIST) return Descriptor();
    Descriptor folder(::openat(parent, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    struct stat status {};
    if (!folder || ::fstat(folder.get(), &status) != 0) return Descriptor();
    if (status.st_uid == ::getuid()) return folder;
    errno = EPERM;
    return Descriptor();
}

std::optional<Trash> openTrash(const Descriptor& folder, std::string path, std::string top) {
    if (!folder) return std::nullopt;
    Trash trash{std::move(path), std::move(top), openOwn(folder.get(), "files"), Descriptor()};
    if (trash.files) trash.info = openOwn(folder.get(), "info");
    if (!trash.info) return std::nullopt;
    return trash;
}

/// "" when nobody says where the user's data are.
std::string homeTrashPath() {
    const std::string data = baseFolder("XDG_DATA_HOME", ".local/share");
    return data.empty() ? data : data + "/Trash";
}

/// The user's own trash folder may be a link: who could have set it is the user.
std::optional<Trash> openHomeTrash(const std::string& path) {
    for (auto slash = path.find('/', 1); slash != std::string::npos; slash = path.find('/', slash + 1))
        if (::mkdir(path.substr(0, slash).c_str(), kPrivate) != 0 && errno != EEXIST) return std::nullopt;
    if (::mkdir(path.c_str(), kPrivate) != 0 && errno != EEXIST) return std::nullopt;
    return openTrash(Descriptor(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)), path, {});
}

/// The one that an administrator has made for all users; it is only safe where they cannot remove each other's.
std::optional<Trash> openSharedTrash(const std::string& top, const std::string& user) {
    const std::string path = (std::filesystem::path(top) / ".Trash").string();
    const Descriptor shared(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    struct stat status {};
    if (!shared || ::fstat(shared.get(), &status) != 0 || (status.st_mode & S_ISVTX) == 0) return std::nullopt;
    return openTrash(openOwn(shared.get(), user.c_str()), path + "/" + user, top);
}

std::optional<Trash> openTopTrash(const std::string& top) {
    const std::string user = std::to_string(::getuid());
    if (std::optional<Trash> shared = openSharedTrash(top, user)) return shared;
    const std::string path = (std::filesystem::path(top) / (".Trash-" + user)).string();
    return openTrash(openOwn(AT_FDCWD, path.c_str()), path, top);
}

std::optional<Trash> trashFor(const Victim& victim) {
    const std::optional<Place> place = placeOf(victim.folder);
    if (!place) return std::nullopt;
    const std::string home = homeTrashPath();
    if (!home.empty() && placeToBe(home) == place) return openHomeTrash(home);
    return openTopTrash(topOf(victim.folder, *place));
}

/// "lake.jpg", "lake 2.jpg" and so on, shortened to what a file system and the name of the info file leave room for.
std::string nameInTrash(const std::string& name, int number) {
    const auto dot = name.rfind('.');
    const bool hasExtension = dot != std::string::npos && dot > 0 && name.size() - dot <= kLongestExtension;
    std::string end = number > 1 ? " " + std::to_string(number) : std::string();
    if (hasExtension) end += name.substr(dot);
    std::string stem = hasExtension ? name.substr(0, dot) : name;
    const std::size_t room = NAME_MAX - kInfoExtension.size() - end.size();
    if (stem.size() > room) {
        auto length = room;
        while (length > 0 && (static_cast<unsigned char>(stem[length]) & 0xC0U) == 0x80U)
            --length;  // Whole characters.
        stem.resize(length);
    }
    return stem + end;
}

std::string now() {
    const std::time_t seconds = std::time(nullptr);
    std::tm local{};
    ::localtime_r(&seconds, &local);
    std::array<char, 32> text{};
    return {text.data(), std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%S", &local)};
}

std::string encoded(const std::string& path) {
    return NSURL::fileURLWithPath(path).absoluteString().substr(std::string_view("file://").size());
}

std::string infoOf(const Victim& victim, const std::string& top) {
    std::string path = victim.path();
    if (!top.empty()) path.erase(0, top == "/" ? 1 : top.size() + 1);
    return "[Trash Info]\nPath=" + encoded(path) + "\nDeletionDate=" + now() + "\n";
}

/// Makes the info file, and with it takes the name. Its bytes are on the disk before the file can be: a trashed file
/// that nobody knows the place of cannot be restored.
bool writeInfo(int folder, const std::string& name, const std::string& content) {
    const Descriptor file(::openat(folder, name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
    if (!file) return false;
    const auto written = ::write(file.get(), content.data(), content.size());
    if (written == static_cast<ssize_t>(content.size()) && ::fsync(file.get()) == 0) return true;
    const int error = written < 0 || written == static_cast<ssize_t>(content.size()) ? errno : ENOSPC;
    ::unlinkat(folder, name.c_str(), 0);
    errno = error;
    return false;
}

/// Where the file system knows no such renaming, a second name does, which is never given to two files either.
bool renameToFree(int folder, const std::string& name, int newFolder, const std::string& newName) {
    if (::renameat2(folder, name.c_str(), newFolder, newName.c_str(), RENAME_NOREPLACE) == 0) return true;
    if (errno != EINVAL && errno != ENOSYS && errno != EOPNOTSUPP) return false;
    if (::linkat(folder, name.c_str(), newFolder, newName.c_str(), 0) != 0) return false;
    if (::unlinkat(folder, name.c_str(), 0) == 0) return true;
    const int error = errno;
    ::unlinkat(newFolder, newName.c_str(), 0);
    errno = error;
    return false;
}

std::optional<TrashedFile> moveInto(const Trash& trash, const Victim& victim) {
    const Descriptor folder(::open(victim.folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!folder) return std::nullopt;
    const std::string content = infoOf(victim, trash.top);
    errno = EEXIST;
    for (int number = 1; number <= kAttempts && errno == EEXIST; ++number) {
        const std::string name = nameInTrash(victim.name, number);
        const std::string info = name + std::string(kInfoExtension);
        if (!writeInfo(trash.info.get(), info, content)) continue;
        if (renameToFree(folder.get(), victim.name, trash.files.get(), name))
            return TrashedFile{trash.path + "/files/" + name, trash.path + "/info/" + info};
        const int error = errno;
        ::unlinkat(trash.info.get(), info.c_str(), 0);
        errno = error;
    }
    return std::nullopt;
}

}  // namespace

std::optional<TrashedFile> moveToTrash(const std::string& path, int& error) {
    std::optional<TrashedFile> trashed;
    if (const std::optional<Victim> victim = victimAt(path))
        if (const std::optional<Trash> trash = trashFor(*victim)) trashed = moveInto(*trash, *victim);
    error = trashed ? 0 : errno;
    return trashed;
}

bool restoreFromTrash(const TrashedFile& file, const std::string& originalPath, int& error) {
    const bool isRestored = renameToFree(AT_FDCWD, file.path, AT_FDCWD, originalPath);
    error = isRestored ? 0 : errno;
    if (isRestored) ::unlink(file.info.c_str());
    return isRestored;
}

}  // namespace tessaly
