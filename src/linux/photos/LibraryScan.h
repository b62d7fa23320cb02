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
    std::size_t away = 0;      ///< Since this scan, with their folders.
    std::size_t returned = 0;  ///< Back from where they were away, or gone and remembered.
    struct Problem {
        std::string path;
        std::string why;
    };
    std::vector<Problem> problems;

    [[nodiscard]] bool changedAnything() const noexcept {
        return added + changed + moved + removed + away + returned > 0;
    }
};

/// How far a scan is.
struct ScanProgress {
    std::size_t seen = 0;  ///< Files that were met so far; all of them once any is read.
    std::size_t read = 0;
    std::size_t toRead = 0;  ///< That are new or were changed; 0 as long as that is not known.
};

/// Brings the library up to what is in its folders: reads what is new or changed, follows what was moved, swapped or
/// replaced, takes leave of what is gone, and joins live photos with their videos. Memory does not grow with the number
/// of files. What was in a folder that is missing or suddenly empty, as one of an unmounted disk is, is away.
/// @param progress  is told now and then; false while files are read stops early, and what was done so far is kept.
[[nodiscard]] ScanResult scanLibrary(LibraryStore& store, const std::function<bool(const ScanProgress&)>& progress);

/// Joins the asset, when it is a video, with the photo that it belongs to.
void joinLivePhoto(const Database& database, std::int64_t asset);

}  // namespace tessaly::photos
