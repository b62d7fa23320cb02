#pragma once
#include <cstdint>
#include <mutex>
#include <string>
#include <utility>

#include "linux/photos/Database.h"

namespace tessaly::photos {

/// A lock between programs, held as long as the object. The system takes it back from whoever is killed.
class FileLock {
public:
    enum class Kind : std::uint8_t { shared, exclusive };

    /// Waits for the lock; where the file system knows no locks there is none. Throws DatabaseError where the file
    /// cannot be made.
    FileLock(const std::string& path, Kind kind);
    FileLock(FileLock&& other) noexcept : file_(std::exchange(other.file_, -1)) {}
    FileLock& operator=(FileLock&&) = delete;
    FileLock(const FileLock&) = delete;
    FileLock& operator=(const FileLock&) = delete;
    ~FileLock();

    /// Makes a shared lock an exclusive one if nobody else holds it, and says whether it is.
    bool makeExclusive();
    void makeShared();

private:
    int file_;
};

/// The library's own files: its database, the unedited files of edited assets, and what is being made.
class LibraryStore {
public:
    /// Throws DatabaseError.
    explicit LibraryStore(std::string folder);

    [[nodiscard]] const std::string& folder() const noexcept { return folder_; }
    [[nodiscard]] std::string originalsFolder() const { return folder_ + "/originals"; }
    [[nodiscard]] std::string pendingFolder() const { return folder_ + "/pending"; }
    [[nodiscard]] std::string renditionsFolder() const { return folder_ + "/renditions"; }

    /// Whoever changes files and rows together holds this, so that no other program sees the one without the other.
    /// Taken before `write`.
    [[nodiscard]] FileLock lockFiles() const { return {folder_ + "/changes.lock", FileLock::Kind::exclusive}; }
    /// Calls `work` if no other program, and nobody else in this one, has the library open; others wait until it ends.
    template <class Work>
    void whenAlone(Work&& work) {
        if (presence_.makeExclusive()) std::forward<Work>(work)();
        presence_.makeShared();
    }

    /// Calls `work` with the connection that writes; one caller at a time.
    template <class Work>
    decltype(auto) write(Work&& work) {
        const std::lock_guard lock(writing_);
        return std::forward<Work>(work)(static_cast<const Database&>(writer_));
    }
    /// The same with the connection that only reads, which no writer keeps waiting.
    template <class Work>
    decltype(auto) read(Work&& work) const {
        const std::lock_guard lock(reading_);
        return std::forward<Work>(work)(static_cast<const Database&>(reader_));
    }

private:
    std::string folder_;
    FileLock presence_;
    std::mutex writing_;
    mutable std::mutex reading_;
    Database writer_;
    Database reader_;
};

}  // namespace tessaly::photos
