#pragma once
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
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
    friend class OwnedFolder;
    explicit FileLock(int file) : file_(file) {}
    int file_;
};

/// A folder that belongs to the program that made it, as long as that lives: it holds a lock on the folder itself.
class OwnedFolder {
public:
    /// Makes a new folder in `parent`. Throws DatabaseError.
    explicit OwnedFolder(const std::string& parent);
    OwnedFolder(OwnedFolder&&) = delete;
    OwnedFolder& operator=(OwnedFolder&&) = delete;
    OwnedFolder(const OwnedFolder&) = delete;
    OwnedFolder& operator=(const OwnedFolder&) = delete;
    /// Removes the folder if it is empty.
    ~OwnedFolder();
    [[nodiscard]] const std::string& path() const noexcept { return path_; }

    /// The lock of a folder whose program is gone, held while it is cleared; nullopt while somebody owns it, or where
    /// the file system knows no locks.
    [[nodiscard]] static std::optional<FileLock> takeAbandoned(const std::string& folder);

private:
    std::string path_;
    int file_ = -1;
};

/// The library's own files: its database, the unedited files of edited assets, and what is being made.
class LibraryStore {
public:
    /// Throws DatabaseError.
    explicit LibraryStore(std::string folder);

    [[nodiscard]] const std::string& folder() const noexcept { return folder_; }
    [[nodiscard]] std::string originalsFolder() const { return folder_ + "/originals"; }
    [[nodiscard]] std::string pendingFolder() const { return folder_ + "/pending"; }
    /// A name for something that is being made or fetched, in a folder below `pendingFolder` that is this program's
    /// own: it goes with the program, and whoever finds it without its program may remove it.
    [[nodiscard]] std::string newPendingName(std::string_view extension = {}) const;
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
    mutable std::mutex pending_;
    mutable std::optional<OwnedFolder> ownPending_;  ///< Made when something is first put into it.
    std::mutex writing_;
    mutable std::mutex reading_;
    Database writer_;
    Database reader_;
};

}  // namespace tessaly::photos
