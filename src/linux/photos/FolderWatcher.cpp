#include "linux/photos/FolderWatcher.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <array>
#include <filesystem>

namespace tessaly::photos {
namespace {

/// A camera's card is copied file by file: wait until it has been quiet for so long.
constexpr int kQuietMilliseconds = 400;
constexpr std::uint32_t kInteresting =
    IN_CLOSE_WRITE | IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO | IN_ONLYDIR | IN_EXCL_UNLINK;

}  // namespace

FolderWatcher::FolderWatcher(std::vector<std::string> folders, std::function<void()> changed)
    : folders_(std::move(folders)),
      changed_(std::move(changed)),
      events_(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC)),
      wake_(::eventfd(0, EFD_CLOEXEC)) {
    for (const std::string& folder : folders_) watch(folder);
    thread_ = std::jthread([this](const std::stop_token& stop) { run(stop); });
}

FolderWatcher::~FolderWatcher() {
    thread_.request_stop();
    const std::uint64_t one = 1;
    if (::write(wake_, &one, sizeof one) < 0) {
    }
    thread_.join();
    ::close(events_);
    ::close(wake_);
}

void FolderWatcher::watch(const std::string& folder) {
    const int number = ::inotify_add_watch(events_, folder.c_str(), kInteresting);
    if (number < 0) return;  // Gone again, or more folders than the system watches: the next scan sees them.
    watched_[number] = folder;
    std::error_code error;
    for (std::filesystem::directory_iterator entry(folder, error);
         !error && entry != std::filesystem::directory_iterator(); entry.increment(error))
        if (entry->is_directory(error) && !entry->is_symlink(error) &&
            !entry->path().filename().string().starts_with('.'))
            watch(entry->path().string());
}

bool FolderWatcher::takeEvents() {
    alignas(inotify_event) std::array<char, 16 * 1024> buffer;
    bool matters = false;
    for (ssize_t count = 0; (count = ::read(events_, buffer.data(), buffer.size())) > 0;)
        for (ssize_t at = 0; at < count;) {
            const auto* event = reinterpret_cast<const inotify_event*>(buffer.data() + at);
            at += static_cast<ssize_t>(sizeof(inotify_event)) + event->len;
            const std::string name = event->len > 0 ? event->name : "";
            if ((event->mask & IN_IGNORED) != 0) watched_.erase(event->wd);
            // New folders may be among what was not told.
            if ((event->mask & IN_Q_OVERFLOW) != 0)
                for (const std::string& folder : folders_) watch(folder);
            if (name.starts_with('.')) continue;
            const auto folder = watched_.find(event->wd);
            if ((event->mask & IN_ISDIR) != 0 && folder != watched_.end() &&
                (event->mask & (IN_CREATE | IN_MOVED_TO)) != 0)
                watch(std::string(folder->second) + "/" + name);
            matters = true;
        }
    return matters;
}

void FolderWatcher::run(const std::stop_token& stop) {
    bool isPending = false;
    while (!stop.stop_requested()) {
        std::array<pollfd, 2> waits{pollfd{events_, POLLIN, 0}, pollfd{wake_, POLLIN, 0}};
        const int ready = ::poll(waits.data(), waits.size(), isPending ? kQuietMilliseconds : -1);
        if (stop.stop_requested()) return;
        if (ready > 0) {
            isPending |= takeEvents();
        } else if (isPending) {
            isPending = false;
            changed_();
        }
    }
}

}  // namespace tessaly::photos
