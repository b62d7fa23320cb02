#pragma once
#include <mutex>
#include <span>
#include <string>
#include <vector>

#include "platform/UIKit/UIActivityViewController.h"

namespace tessaly::desktop {

/// Something to share as a file: its bytes, and the name it should have.
struct SharedFile {
    Data data;
    std::string name;
};

/// The name without what a file system, or a list of files, cannot have: one component of at most 255 bytes that is
/// not hidden. It keeps its ending. "" becomes "Image" with the ending of its type.
[[nodiscard]] std::string safeFileName(std::string_view name, std::string_view mimeType);
/// "name.jpg" for 1, "name 2.jpg" for 2.
[[nodiscard]] std::string numberedName(const std::string& name, int number);
/// The files among the items; without any, their texts as one file of text.
[[nodiscard]] std::vector<SharedFile> filesOf(std::span<const UIActivityItem> items);
/// The texts among the items, an empty line between two.
[[nodiscard]] std::string textOf(std::span<const UIActivityItem> items);

struct WrittenFiles {
    std::vector<std::string> paths;  ///< In the order of the files; empty on failure.
    int error = 0;                   ///< errno.
};

/// Writes the files into a folder. Nothing there is replaced: a name that is taken gets a number. Each file is there
/// whole or not at all; when one cannot be written, those before it are taken back.
[[nodiscard]] WrittenFiles saveInFolder(std::span<const SharedFile> files, const std::string& folder);
/// Writes each to the path that the user chose, and agreed to replace what is there.
[[nodiscard]] WrittenFiles saveToPaths(std::span<const SharedFile> files, std::span<const std::string> paths);

/// Files that other programs are given to open. They lie in a folder of this process that only the user can enter
/// ($XDG_RUNTIME_DIR, else the temporary folder), read-only so that an editor asks where to save. The folder goes with
/// the object, unless files were handed out a moment ago: a program that just starts may not have read them. What is
/// left, also by programs that were killed, is removed by the next one. Any thread.
class SharedFiles {
public:
    SharedFiles() = default;
    SharedFiles(const SharedFiles&) = delete;
    SharedFiles& operator=(const SharedFiles&) = delete;
    ~SharedFiles();
    /// The program's.
    [[nodiscard]] static SharedFiles& shared();

    /// Each call's files have a folder of their own, so that they keep their names.
    [[nodiscard]] WrittenFiles write(std::span<const SharedFile> files);
    /// Removes the folders of programs that run no more and whose files were handed out longer ago than `age` seconds.
    static void removeAbandoned(double age = kTimeToRead);
    /// Seconds that another program gets to read a file after this one is gone.
    static constexpr double kTimeToRead = 120;

private:
    struct Folder {
        std::string path;
        int lock;
    };
    [[nodiscard]] WrittenFiles writeBelow(const std::string& base, std::span<const SharedFile> files);

    std::mutex mutex_;
    std::vector<Folder> folders_;  ///< One below each base that was needed.
    int nextCall_ = 1;
};

}  // namespace tessaly::desktop
