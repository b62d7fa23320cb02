#pragma once
#include <cstdint>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "linux/foundation/FileExchange.h"
#include "linux/foundation/Trash.h"
#include "linux/photos/FileRows.h"
#include "linux/photos/LibraryStore.h"
#include "platform/Photos/PHContentEditing.h"

/// Changes to the user's files that go together with changes of the database.
///
/// What is going to be done is written into the journal first, then done to the files, each in one step of the file
/// system, then the database follows in the transaction that empties the journal. Whoever is killed on the way leaves
/// a journal: at the next open it is played to its end, so that files and database agree. A change whose content is not
/// there any more was given up, or done, and is not played; nor is one that would touch another file than the one it
/// was made for. Nothing is replaced whose bytes are not the library's own, among the kept originals, or in the trash.
namespace tessaly::photos {

struct FileChange {
    enum class Kind : std::uint8_t {
        create = 1,  ///< `content` becomes the new file `result`.
        edit = 2,  ///< `content` takes the place of `current`, which is kept as `original` where that is not there yet.
        revert = 3,  ///< `content`, the original's, takes the place of `current` again, and `original` goes.
        trash = 4,   ///< `current` goes to the trash.
    };

    Kind kind = Kind::create;
    std::string asset;    ///< Local identifier.
    std::string current;  ///< The user's file before;
    std::string result;   ///< and after.
    std::string content;
    std::string original;
    PHAdjustmentData adjustment;
    /// What `current` is before the change: its digest, of what is deleted its stamp as text. Found out when the
    /// journal is written where it is "".
    std::string before;
    std::optional<FileStamp> stamp;  ///< Of `current` when `before` was found out; not in the journal.
    std::string after;               ///< The digest of `content`. Likewise.
    /// The digest of what the library itself has written at the place of an edited photo; "" where it is not known.
    /// Whatever else is there goes to the trash before it is replaced, unless it is kept as the original.
    std::string own;
};

/// A stamp in words, to compare.
[[nodiscard]] std::string stampText(const FileStamp& stamp);

/// Puts the changes into the journal. @return the number of this change.
std::int64_t writeJournal(const Database& database, std::vector<FileChange>& changes);

/// Does them to the files, one after the other; each can be done again. When one fails, those before are undone.
///
/// No other program's bytes are lost on the way, whenever it writes them: a file that takes another's place is looked
/// at once more when it has been taken away from its name.
class FileChangeRun {
public:
    /// `replays` what an earlier program may have done in part.
    explicit FileChangeRun(const LibraryStore& store, bool replays = false) : store_(store), replays_(replays) {}
    /// "" or what went wrong, naming the file.
    [[nodiscard]] std::string run(const std::vector<FileChange>& changes);
    /// False when not all of it could be undone: the journal is then to be played to its end.
    [[nodiscard]] bool undo();
    /// Removes what only an undo would have needed.
    void finish();

private:
    [[nodiscard]] std::string apply(const FileChange& change);
    [[nodiscard]] std::string create(const FileChange& change);
    [[nodiscard]] std::string replace(const FileChange& change);
    /// The file that a change found, under a second name or copied, and what it was when it was looked at.
    struct Held {
        std::string path;  ///< "" where there was none.
        std::optional<FileStamp> stamp;
        std::string digest;
    };
    [[nodiscard]] std::string hold(const FileChange& change, Held& held);
    [[nodiscard]] std::string makeWay(const FileChange& change, const Held& held);
    [[nodiscard]] std::string put(const FileChange& change, const Held& held) const;
    [[nodiscard]] std::string keepOriginal(const FileChange& change);
    [[nodiscard]] std::string trash(const FileChange& change, const IsExpected& isExpected);
    [[nodiscard]] static IsExpected is(const Held& held);

    const LibraryStore& store_;
    bool replays_;
    std::vector<std::function<bool()>> undos_;
    std::set<std::string> kept_;  ///< Originals that this run has copied.
    bool isUndone_ = true;
    std::vector<Held> leftovers_;
};

/// Brings the database up to what was done to the files. In the caller's transaction, which also empties the journal.
void applyToDatabase(const Database& database, const FileChange& change);

/// Removes what a change needed: its content, if that is the library's own, and after a revert the original.
void removeContent(const LibraryStore& store, const FileChange& change, bool isDone);

/// How far a change had come that is found in the journal; moot where another file is at its place by now, or none.
enum class Replay : std::uint8_t { begin, done, moot };
[[nodiscard]] Replay replayOf(const FileChange& change);

/// "" when no change of the journal names the asset; else why it is not to be changed before that one is finished.
[[nodiscard]] std::string unfinishedChange(const Database& database, const std::string& identifier);

/// Plays what programs left in the journal that were killed. Throws DatabaseError.
void playJournal(LibraryStore& store);
/// The same, and removes what they were making.
void recover(LibraryStore& store);

/// Copies a file to where there is none, atomically; "" or what went wrong. Times and mode come from the source.
[[nodiscard]] std::string copyFile(const std::string& from, const std::string& to);
/// The same for a new file that nobody writes to: a second name of it where the file system can.
[[nodiscard]] std::string holdFile(const std::string& from, const std::string& to);

/// "name.jpg", else "name 2.jpg", "name 3.jpg", ... in the folder, which is not there and not planned by `changes`.
[[nodiscard]] std::string freePath(const std::string& folder, const std::string& name,
                                   const std::vector<FileChange>& changes);

/// Where the asset's own file is as the library knows it; "" for none.
[[nodiscard]] std::string ownFile(const Database& database, const std::string& identifier);

/// The folder that holds the path, and the path below it; 0 when none does.
[[nodiscard]] FilePlace folderOf(const Database& database, const std::string& path);

}  // namespace tessaly::photos
