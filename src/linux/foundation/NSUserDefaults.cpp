#include "platform/Foundation/NSUserDefaults.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <map>
#include <mutex>
#include <optional>

#include "linux/foundation/HomeFolder.h"
#include "platform/Foundation/PropertyList.h"

namespace tessaly {
namespace {

constexpr off_t kMaximumFile = 16 * 1024 * 1024;

/// "" without a home: then nothing can be written, rather than at the root of the system.
std::string configFolder() {
    const std::string config = baseFolder("XDG_CONFIG_HOME", ".config");
    return config.empty() ? config : config + "/tessaly";
}

void makeFolders(const std::string& path) {
    for (auto slash = path.find('/', 1); slash != std::string::npos; slash = path.find('/', slash + 1))
        ::mkdir(path.substr(0, slash).c_str(), 0700);
}

/// Closes what it holds.
class Descriptor {
public:
    explicit Descriptor(int number) : number_(number) {}
    ~Descriptor() {
        if (number_ >= 0) ::close(number_);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    [[nodiscard]] int number() const { return number_; }
    explicit operator bool() const { return number_ >= 0; }

private:
    int number_;
};

bool writeAll(int file, std::string_view text) {
    while (!text.empty()) {
        const auto written = ::write(file, text.data(), text.size());
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) return false;
        text.remove_prefix(static_cast<std::size_t>(written));
    }
    return true;
}

std::optional<std::string> readAll(const std::string& path) {
    const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    struct stat status {};
    if (!file || ::fstat(file.number(), &status) != 0 || status.st_size > kMaximumFile) return std::nullopt;
    std::string text(static_cast<std::size_t>(status.st_size), '\0');
    std::size_t done = 0;
    while (done < text.size()) {
        const auto got = ::read(file.number(), text.data() + done, text.size() - done);
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) break;
        done += static_cast<std::size_t>(got);
    }
    text.resize(done);
    return text;
}

/// The new text under a name of its own, on the disk, then in the old one's place: whoever is killed or loses power on
/// the way leaves the old file or the new one, whole.
bool replaceFile(const std::string& path, std::string_view text) {
    const std::string temporary = path + ".new";  // The lock is held: nobody else writes it.
    {
        const Descriptor file(::open(temporary.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
        if (!file) return false;
        if (!writeAll(file.number(), text) || ::fsync(file.number()) != 0) {
            const int error = errno;
            ::unlink(temporary.c_str());
            errno = error;
            return false;
        }
    }
    if (::rename(temporary.c_str(), path.c_str()) != 0) return false;
    const Descriptor folder(::open(path.substr(0, path.rfind('/')).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (folder) ::fsync(folder.number());
    return true;
}

/// What tells that a file was replaced.
struct Identity {
    ino_t inode = 0;
    off_t size = -1;
    timespec time{};
    bool operator==(const Identity& other) const {
        return inode == other.inode && size == other.size && time.tv_sec == other.time.tv_sec &&
               time.tv_nsec == other.time.tv_nsec;
    }
};

Identity identityOf(const std::string& path) {
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0) return {};
    return {status.st_ino, status.st_size, status.st_mtim};
}

}  // namespace

struct NSUserDefaults::State {
    std::string path;
    mutable std::mutex mutex;
    Dictionary stored;                                  // As the file was last seen.
    std::map<std::string, Value, std::less<>> pending;  // Set here, not yet written; null removes.
    Identity seen;
    bool read = false;
    std::string error;

    void refresh() {
        const Identity now = identityOf(path);
        if (read && now == seen) return;
        read = true;
        seen = now;
        stored = {};
        if (now.size < 0) return;
        const auto text = readAll(path);
        if (!text) return;
        const auto value = valueFromPropertyList(*text);
        if (value && value->isDictionary())
            stored = value->dictionary();
        else
            setAside();
    }

    void setAside() {
        for (int number = 1; number < 1000; ++number) {
            const std::string kept = path + ".corrupt-" + std::to_string(number);
            if (::access(kept.c_str(), F_OK) == 0) continue;
            const bool moved = ::rename(path.c_str(), kept.c_str()) == 0;
            std::fprintf(stderr, "tessaly: %s: the settings cannot be read%s%s\n", path.c_str(),
                         moved ? "; they are kept as " : "", moved ? kept.c_str() : "");
            seen = {};
            return;
        }
    }

    Value valueFor(std::string_view key) {
        if (const auto found = pending.find(key); found != pending.end()) return found->second;
        refresh();
        return stored[key];
    }

    bool write() {
        if (path.empty()) {
            error = "there is no home folder for the settings; set HOME or XDG_CONFIG_HOME";
            return false;
        }
        makeFolders(path);
        const Descriptor lock(::open((path + ".lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
        if (!lock) return failed();
        while (::flock(lock.number(), LOCK_EX) != 0)
            if (errno != EINTR) return failed();
        refresh();
        Dictionary merged = stored;
        for (const auto& [key, value] : pending) merged.set(key, value);
        // The same again is not written: a program that only shows photos leaves the disk alone.
        if (!(merged == stored) || seen.size < 0) {
            if (!replaceFile(path, propertyListText(merged, true) + "\n")) return failed();
            seen = identityOf(path);
        }
        stored = std::move(merged);
        pending.clear();
        error.clear();
        return true;
    }

    bool failed() {
        error = std::strerror(errno);
        return false;
    }
};

NSUserDefaults::NSUserDefaults(std::string_view suiteName) : state_(std::make_unique<State>()) {
    const std::string folder = configFolder();
    if (!folder.empty()) state_->path = folder + "/" + std::string(suiteName) + ".json";
}

NSUserDefaults::~NSUserDefaults() = default;

std::shared_ptr<NSUserDefaults> NSUserDefaults::standardUserDefaults() {
    static const auto standard = std::make_shared<NSUserDefaults>("standard");
    return standard;
}

Value NSUserDefaults::objectForKey(std::string_view key) const {
    const std::lock_guard lock(state_->mutex);
    return state_->valueFor(key);
}

void NSUserDefaults::setObject(Value value, std::string_view key) {
    const std::lock_guard lock(state_->mutex);
    state_->pending.insert_or_assign(std::string(key), std::move(value));
}

Dictionary NSUserDefaults::dictionaryRepresentation() const {
    const std::lock_guard lock(state_->mutex);
    state_->refresh();
    Dictionary all = state_->stored;
    for (const auto& [key, value] : state_->pending) all.set(key, value);
    return all;
}

bool NSUserDefaults::synchronize() {
    const std::lock_guard lock(state_->mutex);
    if (state_->pending.empty()) {
        state_->refresh();
        return true;
    }
    return state_->write();
}

std::string NSUserDefaults::lastError() const {
    const std::lock_guard lock(state_->mutex);
    return state_->error;
}

const std::string& NSUserDefaults::path() const noexcept { return state_->path; }

}  // namespace tessaly
