#pragma once
#include <cstddef>
#include <cstdint>
#include <string>

namespace tessaly::test {

/// What a library that runs in a child is asked to do.
struct LibraryTask {
    enum class Kind : std::uint8_t {
        open,
        scan,
        strip,
        stripPlace,
        setArtist,
        revert,
        favorite,
        unfavorite,
        intoAlbum,
        outOfAlbum,
        trash,
        create,
        editTwo,  ///< And the favorite, in one change.
        discard,  ///< A kept original.
        forget,   ///< A photo that is away or gone.
        revertAll,
    };
    Kind kind = Kind::open;
    std::size_t choice = 0;  ///< Which of the assets that are there, by their paths.
    int number = 0;          ///< Makes the artist.
    bool closes = false;     ///< Whether the library is closed in the end, or only left.
    std::string content;     ///< Of a photo that is created.
};
[[nodiscard]] const char* nameOf(LibraryTask::Kind kind);

/// What the child tells, in memory that both see: telling is no system call, and so no place to be killed at.
struct LibraryReport {
    struct Asset {
        char id[64];
        char path[256];  ///< "" while there is no file.
        char original[320];
        bool favorite, edited, inAlbum;
    };
    static constexpr std::size_t kMost = 64;
    struct Target {
        char id[64];
        char before[256];     ///< Where it was,
        char after[256];      ///< and is.
        int photo;            ///< That was there; 0 for none,
        std::size_t content;  ///< and the hash of its file.
        bool isDone;
        char error[320];
    };

    char opening[320];  ///< Why the library could not be opened.
    Target targets[kMost];
    std::size_t targetCount;
    bool isDone;
    char error[320];  ///< Of the task.
    bool isWhole;     ///< The database holds together.
    Asset assets[kMost];
    std::size_t assetCount;
    bool isScanned, hasProblems;
    std::size_t changes;  ///< That the scan found.
};

/// Opens the library in `library`, does the task, and tells. To be run in a child.
void work(const std::string& library, const LibraryTask& task, LibraryReport& report);

}  // namespace tessaly::test
