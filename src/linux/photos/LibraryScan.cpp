#include "linux/photos/LibraryScan.h"

#include "linux/photos/FileChanges.h"
#include "linux/photos/Renditions.h"
#include "linux/photos/scan/ScanParts.h"
#include "linux/photos/scan/ScanReading.h"

namespace tessaly::photos {

ScanResult scanLibrary(LibraryStore& store, const std::function<bool(const ScanProgress&)>& progress) {
    // What another program was killed in is not taken for the work of strangers.
    playJournal(store);
    ScanResult result;
    const std::vector<ScanFolder> folders = scanFolders(store);
    walkFolders(store, folders, result, [&](std::size_t seen) {
        if (progress) static_cast<void>(progress({.seen = seen}));
    });
    if (!matchFiles(store, result)) return result;
    ScanReader reader(store, folders, result, progress);
    if (reader.run()) {
        const bool leavesVideos = settleVanished(store, result);
        // The videos that lost their photos.
        if (leavesVideos || reader.hasOrphans()) static_cast<void>(reader.run());
    }
    if (result.changedAnything()) sweepRenditions(store);
    return result;
}

}  // namespace tessaly::photos
