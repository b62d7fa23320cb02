#pragma once
#include <cstdint>
#include <string>
#include <vector>

#include "linux/photos/AssetFacts.h"
#include "linux/photos/Database.h"
#include "linux/photos/Digest.h"

/// The rows of files, and of those that are gone.
namespace tessaly::photos {

/// Where a file is: a folder of the library, and the path below it.
struct FilePlace {
    std::int64_t folder = 0;
    std::string path;
};

/// What a row says of a file.
struct FileFacts {
    FileStamp stamp;
    std::string etag;  ///< Of a file on a server.
    Prints prints;
    std::string typeIdentifier;
    std::optional<std::uint64_t> embeddedVideoAt;
};

/// Writes the row of the file at that place, new or not. `asset` 0 for what is no photo or video.
void putFile(const Database& database, const FilePlace& place, std::int64_t asset, std::int64_t type,
             const FileFacts& facts);

/// Takes the file of an asset for gone. What is remembered of the asset (marks, albums, edits, dates and places of its
/// own) waits for the same content to come back; where nothing is, the asset goes. Its video is left without one, to be
/// read again.
/// @return whether a video was left.
bool bury(const Database& database, std::int64_t asset);

/// Has the asset, whose file is gone, known by a copy of its unedited file, too. Nothing for one that is not
/// remembered, or for no print.
void rememberOriginal(const Database& database, std::int64_t asset, const std::string& print);

/// Brings an asset back whose file was gone: the file is at that place now.
void revive(const Database& database, std::int64_t goneFile, const FilePlace& place);

/// A file as the library knows it.
struct KnownFile {
    std::string path;  ///< Absolute.
    bool isRemote = false;
    FileStamp stamp;
    Prints prints;
};

/// The files of an asset, its own first.
[[nodiscard]] std::vector<KnownFile> filesOf(const Database& database, const std::string& identifier);

/// "" when the file at the path is the one that the library knows, else why not. A stamp that differs leaves a doubt,
/// and what is in the file settles it.
[[nodiscard]] std::string checkFile(const KnownFile& known);

}  // namespace tessaly::photos
