#pragma once
#include <functional>
#include <string>
#include <vector>

#include "linux/photos/LibraryStore.h"

namespace tessaly::photos {

/// What a scan found.
struct ScanResult {
    std::size_t seen = 0;  ///< Files.
    std::size_t added = 0;
    std::size_t changed = 0;
    std::size_t moved = 0;
    std::size_t removed = 0;
    struct Problem {
        std::string path;
        std::string why;
    };
    std::vector<Problem> problems;

    [[nodiscard]] bool changedAnything() const noexcept { return added + changed + moved + removed > 0; }
};

/// Brings the library up to what is in its folders: reads what is new or changed by size and time, follows what
/// was moved, forgets what is gone, and joins live photos with their videos. Memory does not grow with the number of
/// files. A folder that is missing or suddenly empty, as an unmounted disk is, keeps its rows.
/// @param progress  gets the number of files read so far; false stops early, and what was done so far is kept.
[[nodiscard]] ScanResult scanLibrary(LibraryStore& store, const std::function<bool(std::size_t read)>& progress);

/// Joins the asset, when it is a video, with the photo that it belongs to.
void joinLivePhoto(const Database& database, std::int64_t asset);

}  // namespace tessaly::photos
