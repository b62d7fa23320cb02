#pragma once
#include <mutex>
#include <string>
#include <utility>

#include "linux/photos/Database.h"

namespace tessaly::photos {

/// The library's own files: its database, the unedited files of edited assets, and what is being made.
class LibraryStore {
public:
    /// Throws DatabaseError.
    explicit LibraryStore(std::string folder);

    [[nodiscard]] const std::string& folder() const noexcept { return folder_; }
    [[nodiscard]] std::string originalsFolder() const { return folder_ + "/originals"; }
    [[nodiscard]] std::string pendingFolder() const { return folder_ + "/pending"; }
    [[nodiscard]] std::string renditionsFolder() const { return folder_ + "/renditions"; }

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
    std::mutex writing_;
    mutable std::mutex reading_;
    Database writer_;
    Database reader_;
};

}  // namespace tessaly::photos
