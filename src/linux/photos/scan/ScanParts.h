#pragma once
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "linux/photos/AssetFacts.h"
#include "linux/photos/FileRows.h"
#include "linux/photos/LibraryScan.h"

/// The steps of a scan, in the order in which they are taken. What they know of each other stands in temporary tables
/// of the connection that writes, so that memory does not grow with the number of files:
///
/// - `seen`: the files that were met on the walk.
/// - `walked`: the folders that were walked to their end; only these can miss files.
/// - `known`: the files of photos that are not where, or what, they were (`id`), and the remembered ones that are gone
///   (`-id`). Once they are matched, those that have not been found yet.
/// - `loose`: the files that were met and are not what is known at their place.
/// - `matches`: which of the known is which of the loose.
namespace tessaly::photos {

struct ScanFolder {
    std::int64_t id = 0;
    std::string path;
    std::string baseURL;  ///< Of one on a server.
};

/// So many files a transaction: enough to be quick, few enough that another writer gets its turn.
inline constexpr std::size_t kScanBatch = 256;

/// Whether a file is what a row says, by all that its file system or server tells; `s` and `f` are their names in SQL.
/// Nothing is known of what is 0 or ''.
inline constexpr std::string_view kIsSettled =
    "(f.size = s.size AND f.changed = s.changed AND (f.inode = s.inode OR f.inode = 0 OR s.inode = 0) AND "
    "(f.born = s.born OR f.born = 0 OR s.born = 0) AND (f.etag = s.etag OR f.etag = '' OR s.etag = ''))";

[[nodiscard]] std::vector<ScanFolder> scanFolders(LibraryStore& store);

/// Looks at every file there is: fills `seen` and `walked`. `progress` is told now and then how many there were so far.
void walkFolders(LibraryStore& store, const std::vector<ScanFolder>& folders, ScanResult& result,
                 const std::function<void(std::size_t seen)>& progress);

/// Finds out which file is which, where that is not plain, and lets the rows follow: fills and uses `known`, `loose`
/// and `matches`. Files that the library knows nothing of are left for the reader.
/// @return false when everything is as it was, and nothing is left to do.
bool matchFiles(LibraryStore& store, ScanResult& result);
/// The row of a photo whose file was known elsewhere, or gone, follows to that place. For what is known only after it
/// was read, in the caller's transaction. @return false when there is none.
bool followContent(const Database& database, const FilePlace& place, const FileFacts& facts);

/// Takes what was not seen for gone, or for away where its folder is. In one transaction.
/// @return whether videos are left that were read as parts of live photos.
bool settleVanished(LibraryStore& store, ScanResult& result);

/// Whether a file is really not there, rather than not seen: in a folder that may not be read now, or made by another
/// program after the walk.
[[nodiscard]] bool isGone(const std::string& path);

}  // namespace tessaly::photos
