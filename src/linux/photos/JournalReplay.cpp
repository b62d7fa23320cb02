#include <unistd.h>

#include <algorithm>
#include <filesystem>

#include "linux/foundation/AtomicFile.h"
#include "linux/photos/AssetRows.h"
#include "linux/photos/Digest.h"
#include "linux/photos/FileChanges.h"
#include "platform/Foundation/Log.h"

// What a program that was killed has left is finished, and swept.
namespace tessaly::photos {
namespace {

namespace fs = std::filesystem;

bool exists(const std::string& path) {
    std::error_code ignored;
    return fs::exists(path, ignored);
}

bool hasAsset(const LibraryStore& store, const std::string& identifier) {
    return store.read([&](const Database& database) {
        return database.integer("SELECT 1 FROM assets WHERE local_identifier = ?", identifier).has_value();
    });
}

/// Whether the asset has another file by now: what is at the place of the one to be replaced is a copy.
bool isElsewhere(const LibraryStore& store, const FileChange& change) {
    if (change.kind != FileChange::Kind::edit && change.kind != FileChange::Kind::revert) return false;
    const std::string own = store.read([&](const Database& database) { return ownFile(database, change.asset); });
    return !own.empty() && own != change.current && own != change.result;
}

struct JournalEntry {
    std::int64_t number = 0;
    FileChange change;
};

std::vector<JournalEntry> journalOf(const Database& database) {
    std::vector<JournalEntry> entries;
    Statement rows = database.prepare(
        "SELECT change, kind, asset, current, result, content, original, format_identifier, format_version, data, "
        "before, after, COALESCE((SELECT digest FROM edits JOIN assets ON assets.id = edits.asset WHERE "
        "local_identifier = journal.asset), '') FROM journal ORDER BY id");
    while (rows.step())
        entries.push_back({rows.integer(0),
                           {static_cast<FileChange::Kind>(rows.integer(1)),
                            rows.text(2),
                            rows.text(3),
                            rows.text(4),
                            rows.text(5),
                            rows.text(6),
                            {rows.text(7), rows.text(8), rows.data(9)},
                            rows.text(10),
                            std::nullopt,
                            rows.text(11),
                            rows.text(12)}});
    return entries;
}

std::vector<JournalEntry> journalOf(const LibraryStore& store) {
    return store.read([](const Database& database) { return journalOf(database); });
}

/// Whether the change is not played on: somebody has removed or replaced the file since, or forgotten its asset. The
/// bytes it would have replaced are where they were, an original that was kept for it stays among the originals.
bool isMoot(const LibraryStore& store, const std::vector<FileChange>& all, const FileChange& change) {
    // A deletion that had not begun is not played on: the person can ask again, a file that is gone cannot.
    if (change.kind == FileChange::Kind::trash && replayOf(change) != Replay::done)
        return replayOf(change) == Replay::moot || std::ranges::all_of(all, [&](const FileChange& other) {
                   return other.kind != FileChange::Kind::trash || other.asset != change.asset || exists(other.current);
               });
    if (change.kind != FileChange::Kind::create && !hasAsset(store, change.asset)) return true;
    return isElsewhere(store, change) || replayOf(change) == Replay::moot;
}

bool isContentMissing(const FileChange& change) {
    return change.kind != FileChange::Kind::trash && !exists(change.content);
}

/// Whether anything is in the folder, or below it, that people see.
bool holdsFiles(const std::string& folder) {
    std::error_code error;
    for (fs::recursive_directory_iterator entry(folder, error); !error && entry != fs::recursive_directory_iterator();
         entry.increment(error)) {
        std::error_code ignored;
        if (!entry->path().filename().string().starts_with('.') && !entry->is_directory(ignored)) return true;
    }
    return false;
}

/// The folder of the library that the change waits for: one that is missing, or empty where photos are known, may be a
/// card that was taken out, and nothing is made in its place. "" when it need not wait.
std::string awaitedFolder(const Database& database, const FileChange& change) {
    const std::string path = change.current.empty() ? change.result : change.current;
    const FilePlace place = folderOf(database, path);
    // A kept original's folder may have gone with it.
    if (place.folder == 0) return {};
    const std::string parent = fs::path(path).parent_path().string();
    if (!exists(parent)) return parent;
    // A deletion may be what has emptied it.
    if (change.kind == FileChange::Kind::trash || holdsFiles(parent)) return {};
    const std::string below = fs::path(place.path).parent_path().string();
    const bool isKnown = database
                             .integer(
                                 "SELECT 1 FROM files WHERE folder = ?1 AND asset IS NOT NULL AND (?2 = '' OR (path > "
                                 "?2 || '/' AND path < ?2 || '0')) LIMIT 1",
                                 place.folder, below)
                             .has_value();
    return isKnown ? parent : std::string();
}

/// What was changing places when its program was killed. The journal's own bytes are elsewhere, too, when files change
/// places; any others are somebody's who came in between, and get a name that people see.
void settleSwaps(const std::vector<FileChange>& all) {
    for (const FileChange& change : all)
        for (const std::string& path : {change.current, change.result}) {
            if (path.empty()) continue;
            for (const std::string& file : abandonedSwaps(fs::path(path).parent_path().string())) {
                const std::string digest = digestOf(file);
                const bool isOurs = !digest.empty() && std::ranges::any_of(all, [&](const FileChange& each) {
                    return digest == each.before || digest == each.after;
                });
                if (isOurs)
                    ::unlink(file.c_str());
                else
                    moveToFreeName(file, path);
            }
        }
}

/// The folder that the change waits for, all of it; "" when it can be played.
std::string awaitedFolder(const LibraryStore& store, const std::vector<FileChange>& all) {
    const bool isGivenUp = std::ranges::any_of(all, isContentMissing);
    for (const FileChange& change : all) {
        if (change.kind != FileChange::Kind::trash && isGivenUp) continue;
        if (change.kind != FileChange::Kind::create && !hasAsset(store, change.asset)) continue;
        if (isElsewhere(store, change)) continue;
        std::string folder = store.read([&](const Database& database) { return awaitedFolder(database, change); });
        if (!folder.empty()) return folder;
    }
    return {};
}

/// Plays one change of the journal, all of it. What cannot be finished now, for want of space or of the disk, waits for
/// a later open.
void play(LibraryStore& store, std::int64_t number, const std::vector<FileChange>& all) {
    if (const std::string folder = awaitedFolder(store, all); !folder.empty())
        return log("library: a change waits for %@", folder);
    const bool isGivenUp = std::ranges::any_of(all, isContentMissing);
    settleSwaps(all);
    std::vector<FileChange> changes = all;
    // A new photo finds another name.
    for (FileChange& change : changes)
        if (change.kind == FileChange::Kind::create && replayOf(change) == Replay::moot) {
            const fs::path wanted(change.result);
            change.result = freePath(wanted.parent_path().string(), wanted.filename().string(), changes);
        }
    std::erase_if(changes, [&](const FileChange& change) {
        return isMoot(store, all, change) || (isGivenUp && change.kind != FileChange::Kind::trash);
    });
    FileChangeRun files(store, true);
    if (const std::string why = files.run(changes); !why.empty()) return log("library: %@", why);
    // While the journal still names the folders: whoever is killed here comes back to them.
    for (const FileChange& change : all)
        for (const std::string& path : {change.current, change.result})
            if (!path.empty()) removeAbandonedFiles(fs::path(path).parent_path().string());
    store.write([&](const Database& database) {
        Transaction transaction(database);
        for (const FileChange& change : changes) applyToDatabase(database, change);
        database.run("DELETE FROM journal WHERE change = ?", number);
        transaction.commit();
    });
    files.finish();
    for (const FileChange& change : changes) removeContent(store, change, true);
}

}  // namespace

std::string unfinishedChange(const Database& database, const std::string& identifier) {
    const auto number = database.integer("SELECT change FROM journal WHERE asset = ?", identifier);
    if (!number) return {};
    std::string why = "belongs to a change that could not be finished yet; the library tries again";
    for (const JournalEntry& entry : journalOf(database))
        if (const std::string folder = awaitedFolder(database, entry.change);
            entry.number == *number && !folder.empty())
            why =
                "belongs to a change that waits for the files of this folder, to be there again or to be forgotten: " +
                folder;
    return why;
}

void playJournal(LibraryStore& store) {
    if (journalOf(store).empty()) return;
    // Another program may be at it, which is then not killed, but merely not ready.
    const FileLock lock = store.lockFiles();
    const std::vector<JournalEntry> entries = journalOf(store);
    for (auto entry = entries.begin(); entry != entries.end();) {
        const std::int64_t number = entry->number;
        std::vector<FileChange> changes;
        for (; entry != entries.end() && entry->number == number; ++entry) changes.push_back(entry->change);
        play(store, number, changes);
    }
}

namespace {

/// Names below the library's folder: it may have been opened by another path at that time.
std::vector<std::string> namedFiles(const LibraryStore& store) {
    return store.read([](const Database& database) {
        std::vector<std::string> names;
        Statement rows = database.prepare("SELECT original FROM edits UNION SELECT original FROM journal");
        while (rows.step()) {
            const fs::path path(rows.text(0));
            names.push_back((path.parent_path().filename() / path.filename()).string());
        }
        rows = database.prepare("SELECT content FROM journal");
        while (rows.step()) names.push_back(fs::path(rows.text(0)).filename().string());
        return names;
    });
}

std::vector<fs::path> entriesOf(const fs::path& folder) {
    std::vector<fs::path> entries;
    std::error_code error;
    for (fs::directory_iterator entry(folder, error); !error && entry != fs::directory_iterator();
         entry.increment(error))
        entries.push_back(entry->path());
    return entries;
}

bool isNamed(const std::vector<std::string>& named, const std::string& name) {
    return std::ranges::find(named, name) != named.end();
}

/// What editors, downloads and changes of programs that were killed have left in their folders.
void sweepPending(const LibraryStore& store) {
    for (const fs::path& folder : entriesOf(store.pendingFolder())) {
        std::error_code ignored;
        if (!fs::is_directory(folder, ignored)) continue;
        const auto lock = OwnedFolder::takeAbandoned(folder.string());
        if (!lock) continue;
        // Only now nobody can name any more of it.
        const std::vector<std::string> named = namedFiles(store);
        for (const fs::path& file : entriesOf(folder))
            if (!isNamed(named, file.filename().string())) fs::remove_all(file, ignored);
        ::rmdir(folder.c_str());
    }
}

/// The digests of an asset's files as they are now.
std::vector<std::string> currentDigests(const LibraryStore& store, const std::string& identifier) {
    const auto files = store.read([&](const Database& database) { return filesOf(database, identifier); });
    std::vector<std::string> digests;
    for (const KnownFile& file : files) digests.push_back(digestOf(file.path));
    return digests;
}

/// An original that no edit names goes only where its photo is there with the very same bytes, and so was reverted. All
/// others stay until a person discards them. Files beside the programs' folders are of an earlier version.
void sweepWhenAlone(const LibraryStore& store) {
    const std::vector<std::string> named = namedFiles(store);
    std::error_code ignored;
    for (const fs::path& file : entriesOf(store.pendingFolder()))
        if (!fs::is_directory(file, ignored) && !isNamed(named, file.filename().string())) fs::remove(file, ignored);
    constexpr std::size_t kIdentifierLength = 36;
    for (const fs::path& folder : entriesOf(store.originalsFolder())) {
        const std::string name = folder.filename().string();
        for (const fs::path& file : entriesOf(folder)) {
            if (isNamed(named, name + "/" + file.filename().string())) continue;
            const auto digests = currentDigests(store, name.substr(0, kIdentifierLength).append(kAssetSuffix));
            const std::string digest = digestOf(file.string());
            // What cannot be read is not known to be the same.
            if (!digest.empty() && std::ranges::find(digests, digest) != digests.end()) fs::remove(file, ignored);
        }
        ::rmdir(folder.c_str());
    }
}

}  // namespace

void recover(LibraryStore& store) {
    try {
        playJournal(store);
        sweepPending(store);
        store.whenAlone([&] { sweepWhenAlone(store); });
    } catch (const DatabaseError& error) {
        // A library on a full disk can still be looked at.
        log("library: %@", error.what());
    }
}

}  // namespace tessaly::photos
