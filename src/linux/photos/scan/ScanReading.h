#pragma once
#include <functional>
#include <set>
#include <string>
#include <vector>

#include "linux/photos/scan/ScanParts.h"
#include "platform/Foundation/Value.h"

namespace tessaly::photos {

/// Reads the files that are new or were changed, and writes what they say.
class ScanReader {
public:
    ScanReader(LibraryStore& store, const std::vector<ScanFolder>& folders, ScanResult& result,
               const std::function<bool(const ScanProgress&)>& progress)
        : store_(store), folders_(folders), result_(result), progress_(progress) {}

    /// False when it was stopped.
    bool run();
    /// Videos whose photo is gone, or another one now: they are to be read again.
    [[nodiscard]] bool hasOrphans() const noexcept { return hasOrphans_; }

private:
    /// A file whose row has to be written.
    struct Task {
        FilePlace place;
        FileStamp stamp;
        std::string etag;
        std::int64_t file = 0;   ///< The row it has already.
        std::int64_t asset = 0;  ///< And its asset.
    };
    /// What was read of it.
    struct Reading {
        Task task;
        AssetFacts facts;
        Prints prints;
        Data rendition;
        [[nodiscard]] FileFacts row() const;
    };

    [[nodiscard]] std::size_t countTasks();
    [[nodiscard]] std::vector<Task> nextTasks(const FilePlace& after);
    void read(Task& task, std::vector<Reading>& readings);
    void readRemote(const ScanFolder& folder, const Task& task, std::vector<Reading>& readings);
    void dropOldCopy(const ScanFolder& folder, const Task& task);
    void put(const std::vector<Reading>& readings);
    void putOne(const Database& database, const Reading& reading);
    void putMedia(const Database& database, const Reading& reading, std::int64_t asset);

    LibraryStore& store_;
    const std::vector<ScanFolder>& folders_;
    ScanResult& result_;
    const std::function<bool(const ScanProgress&)>& progress_;
    std::size_t read_ = 0;
    std::size_t toRead_ = 0;
    bool hasOrphans_ = false;
    std::set<std::int64_t> away_;  ///< Folders whose server cannot be reached.
};

}  // namespace tessaly::photos
