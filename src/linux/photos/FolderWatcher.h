#pragma once
#include <functional>
#include <map>
#include <string>
#include <thread>
#include <vector>

namespace tessaly::photos {

/// Tells when something changes in folders and the folders below them, through inotify. Changes that follow each other
/// closely are told once, when they have ended.
class FolderWatcher {
public:
    /// `changed` comes on the watcher's own thread.
    FolderWatcher(std::vector<std::string> folders, std::function<void()> changed);
    FolderWatcher(const FolderWatcher&) = delete;
    FolderWatcher& operator=(const FolderWatcher&) = delete;
    ~FolderWatcher();

private:
    void watch(const std::string& folder);
    void run(const std::stop_token& stop);
    /// Reads what waits; true when any of it matters.
    bool takeEvents();

    std::vector<std::string> folders_;
    std::function<void()> changed_;
    int events_;
    int wake_;
    std::map<int, std::string> watched_;
    std::jthread thread_;
};

}  // namespace tessaly::photos
