#include "linux/photos/LibraryScan.h"

#include <algorithm>
#include <filesystem>
#include <set>

#include "linux/imageio/Text.h"
#include "linux/photos/AssetRows.h"
#include "linux/photos/RemoteFolder.h"
#include "linux/photos/Renditions.h"
#include "platform/Foundation/NSFileManager.h"
#include "platform/Photos/PHAssetResource.h"

namespace tessaly::photos {
namespace {

namespace fs = std::filesystem;

/// So many files a transaction: enough to be quick, few enough that another writer gets its turn.
constexpr std::size_t kBatch = 256;
/// The video of a live photo that is known by its name alone is not longer.
constexpr double kLongestPairedVideo = 10;

struct Folder {
    std::int64_t id = 0;
    std::string path;
    std::string baseURL;
};

/// A file whose row has to be written.
struct Task {
    std::int64_t folder = 0;
    std::string path;  ///< Below the folder.
    FileStamp stamp;
    std::int64_t file = 0;   ///< The row it has already.
    std::int64_t asset = 0;  ///< And its asset.
};

/// What was read of it.
struct Reading {
    Task task;
    AssetFacts facts;
    std::int64_t head = 0;
};

class Scan {
public:
    Scan(LibraryStore& store, const std::function<bool(std::size_t)>& progress) : store_(store), progress_(progress) {}

    ScanResult run() {
        store_.write([](const Database& database) {
            database.execute(
                "CREATE TEMP TABLE IF NOT EXISTS seen (folder INTEGER, path TEXT, size INTEGER, changed INTEGER, "
                "inode INTEGER, PRIMARY KEY (folder, path)) WITHOUT ROWID; DELETE FROM seen; "
                "CREATE TEMP TABLE IF NOT EXISTS walked (folder INTEGER PRIMARY KEY); DELETE FROM walked");
        });
        for (const Folder& folder : folders()) walk(folder);
        followMoves();
        if (readTasks()) {
            forgetVanished();
            // The videos that lost their photos.
            if (hasOrphans_) static_cast<void>(readTasks());
        }
        if (result_.changedAnything()) sweepRenditions(store_);
        return std::move(result_);
    }

private:
    std::vector<Folder> folders() {
        return store_.write([](const Database& database) {
            std::vector<Folder> folders;
            Statement rows = database.prepare("SELECT id, path, COALESCE(base_url, '') FROM folders ORDER BY id");
            while (rows.step()) folders.push_back({rows.integer(0), rows.text(1), rows.text(2)});
            return folders;
        });
    }

    /// What one transaction of the walk puts down.
    struct Seen {
        std::string path;
        FileStamp stamp;
    };

    void walk(const Folder& folder) {
        if (!folder.baseURL.empty()) return walkRemote(folder);
        std::vector<Seen> batch;
        std::size_t count = 0;
        if (!walkLocal(folder, folder.path, batch, count)) return;
        note(folder, batch);
        result_.seen += count;
        finishWalk(folder, count);
    }

    /// False when the folder cannot be read. One below it that cannot keeps no other from being walked.
    bool walkLocal(const Folder& folder, const std::string& at, std::vector<Seen>& batch, std::size_t& count) {
        std::error_code error;
        fs::directory_iterator entry(at, error);
        for (; !error && entry != fs::directory_iterator(); entry.increment(error)) {
            // Hidden folders hold thumbnails, caches and trash, not the user's photos.
            const std::string path = entry->path().string();
            if (entry->path().filename().string().starts_with('.')) continue;
            std::error_code ignored;
            if (entry->is_directory(ignored)) {
                if (!entry->is_symlink(ignored) && !fs::equivalent(path, store_.folder(), ignored))
                    walkLocal(folder, path, batch, count);
                continue;
            }
            const auto stamp = FileStamp::of(path);
            if (!stamp) continue;
            batch.push_back({path.substr(folder.path.size() + 1), *stamp});
            ++count;
            if (batch.size() == kBatch) note(folder, batch);
        }
        const bool isGone = error == std::errc::no_such_file_or_directory && at != folder.path;
        if (error && !isGone) result_.problems.push_back({at, error.message()});
        return !error;
    }

    void walkRemote(const Folder& folder) {
        std::vector<Seen> batch;
        std::size_t count = 0;
        const std::string fault = listRemoteFolder(folder.baseURL, [&](const RemoteFile& file) {
            // A server tells no inode; its own time stamps stand for ours.
            batch.push_back({file.path, {file.size, file.changed, 0}});
            ++count;
            if (batch.size() == kBatch) note(folder, batch);
        });
        note(folder, batch);
        result_.seen += count;
        if (fault.empty()) return finishWalk(folder, count);
        result_.problems.push_back({shownURL(folder.baseURL), fault});
    }

    void note(const Folder& folder, std::vector<Seen>& batch) {
        store_.write([&](const Database& database) {
            Transaction transaction(database);
            Statement insert = database.prepare("INSERT OR REPLACE INTO seen VALUES (?,?,?,?,?)");
            for (const Seen& seen : batch)
                insert
                    .bind(folder.id, seen.path, static_cast<std::int64_t>(seen.stamp.size), seen.stamp.changed,
                          static_cast<std::int64_t>(seen.stamp.inode))
                    .run();
            transaction.commit();
        });
        batch.clear();
    }

    /// Only a folder that was walked to its end can miss files; one that lost all of them at once is not mounted.
    void finishWalk(const Folder& folder, std::size_t count) {
        store_.write([&](const Database& database) {
            const bool hadFiles =
                database.integer("SELECT 1 FROM files WHERE folder = ? AND asset IS NOT NULL LIMIT 1", folder.id)
                    .has_value();
            if (count > 0 || !hadFiles) return database.run("INSERT OR IGNORE INTO walked VALUES (?)", folder.id);
            result_.problems.push_back(
                {folder.path, "is empty now; its photos are kept in the library until it is removed"});
        });
    }

    /// The same inode, size and time under another name is the same file.
    void followMoves() {
        const FileLock lock = store_.lockFiles();
        store_.write([&](const Database& database) {
            Transaction transaction(database);
            Statement moved = database.prepare(
                "SELECT files.id, seen.folder, seen.path FROM seen JOIN files ON files.inode = seen.inode AND "
                "files.size = seen.size AND files.changed = seen.changed WHERE seen.inode <> 0 AND "
                "NOT EXISTS (SELECT 1 FROM files AS known WHERE known.folder = seen.folder AND known.path = seen.path) "
                "AND "
                "NOT EXISTS (SELECT 1 FROM seen AS still WHERE still.folder = files.folder AND still.path = "
                "files.path) AND seen.folder IN (SELECT id FROM folders)");
            struct Move {
                std::int64_t file, folder;
                std::string path;
            };
            std::vector<Move> moves;
            while (moved.step()) moves.push_back({moved.integer(0), moved.integer(1), moved.text(2)});
            moved.reset();
            // Several names of one file (hard links) follow one move each.
            std::set<std::int64_t> followed;
            std::set<std::pair<std::int64_t, std::string>> taken;
            Statement update = database.prepare("UPDATE files SET folder = ?, path = ? WHERE id = ?");
            for (const Move& move : moves) {
                if (followed.contains(move.file) || !taken.emplace(move.folder, move.path).second) continue;
                followed.insert(move.file);
                update.bind(move.folder, move.path, move.file).run();
            }
            result_.moved += followed.size();
            transaction.commit();
        });
    }

    /// The next files whose row is missing or says something else, in the order of their names.
    std::vector<Task> nextTasks(const Task& after) {
        return store_.write([&](const Database& database) {
            Statement rows = database.prepare(
                "SELECT seen.folder, seen.path, seen.size, seen.changed, seen.inode, COALESCE(files.id, 0), "
                "COALESCE(files.asset, 0) FROM seen LEFT JOIN files ON files.folder = seen.folder AND "
                "files.path = seen.path WHERE (seen.folder, seen.path) > (?, ?) AND (files.id IS NULL OR "
                "files.size <> seen.size OR files.changed <> seen.changed) ORDER BY seen.folder, seen.path LIMIT ?");
            rows.bind(after.folder, after.path, kBatch);
            std::vector<Task> tasks;
            while (rows.step())
                tasks.push_back({rows.integer(0),
                                 rows.text(1),
                                 {static_cast<std::uint64_t>(rows.integer(2)), rows.integer(3),
                                  static_cast<std::uint64_t>(rows.integer(4))},
                                 rows.integer(5),
                                 rows.integer(6)});
            return tasks;
        });
    }

    /// False when it was stopped.
    bool readTasks() {
        Task last;
        const std::vector<Folder> all = folders();
        while (true) {
            const std::vector<Task> tasks = nextTasks(last);
            if (tasks.empty()) return true;
            last = tasks.back();
            std::vector<Reading> readings;
            readings.reserve(tasks.size());
            for (const Task& task : tasks) {
                const auto folder = std::ranges::find(all, task.folder, &Folder::id);
                if (folder != all.end()) read(*folder, task, readings);
            }
            put(readings);
            read_ += tasks.size();
            if (progress_ && !progress_(read_)) return false;
        }
    }

    void read(const Folder& folder, const Task& task, std::vector<Reading>& readings) {
        if (folder.baseURL.empty()) {
            const std::string path = folder.path + "/" + task.path;
            const std::int64_t head = headHash(path, task.stamp.size);
            // A photo that nobody may read now is still one, and may be read another time.
            if (head == 0 && task.stamp.size > 0) {
                if (FileStamp::of(path)) result_.problems.push_back({path, "cannot be read"});
                return;
            }
            readings.push_back({task, AssetFacts::read(path, task.stamp), head});
            return;
        }
        readRemote(folder, task, readings);
    }

    /// A server that went away is not asked for every one of its files: the next scan does that.
    void readRemote(const Folder& folder, const Task& task, std::vector<Reading>& readings) {
        if (away_.contains(folder.id)) return;
        RemoteReading reading = readRemoteFile(folder.baseURL, task.path, task.stamp, store_.pendingFolder());
        if (!reading.facts) {
            if (reading.isServerAway) away_.insert(folder.id);
            return result_.problems.push_back({shownURL(folder.baseURL) + "/" + task.path, reading.fault});
        }
        dropOldCopy(folder, task);
        readings.push_back({task, std::move(*reading.facts), 0});
        renditions_.push_back({task.folder, task.path, std::move(reading.rendition)});
    }

    /// What was fetched before the file changed on the server is not the photo any more. What was changed here stays.
    void dropOldCopy(const Folder& folder, const Task& task) {
        if (task.file == 0) return;
        FileStamp old;
        store_.read([&](const Database& database) {
            Statement row = database.prepare("SELECT size, changed FROM files WHERE id = ?");
            row.bind(task.file);
            if (row.step()) old = {static_cast<std::uint64_t>(row.integer(0)), row.integer(1), 0};
        });
        const std::string local = folder.path + "/" + task.path;
        if (isFetchedCopy(local, old)) NSFileManager::removeItemAtPath(local);
    }

    void put(const std::vector<Reading>& readings) {
        const FileLock lock = store_.lockFiles();
        store_.write([&](const Database& database) {
            Transaction transaction(database);
            for (const Reading& reading : readings) putOne(database, reading);
            transaction.commit();
        });
        for (const Rendition& each : renditions_) keepRendition(store_, each.folder, each.path, each.data);
        renditions_.clear();
    }

    /// Whether the row is still what it was when the file was chosen to be read. Another program that was quicker has
    /// read the file, or changed it: the next scan sees to that.
    static bool isCurrent(const Database& database, const Task& task) {
        Statement row = database.prepare(
            "SELECT COALESCE(files.id, 0), COALESCE(asset, 0) FROM folders LEFT JOIN files ON files.folder = "
            "folders.id AND files.path = ? WHERE folders.id = ?");
        row.bind(task.path, task.folder);
        return row.step() && row.integer(0) == task.file && row.integer(1) == task.asset;
    }

    void putOne(const Database& database, const Reading& reading) {
        const auto& [task, facts, head] = reading;
        if (!isCurrent(database, task)) return;
        if (task.asset == 0 && facts.mediaType != 0 && followCopy(database, reading)) {
            ++result_.moved;
            return;
        }
        std::int64_t asset = task.asset;
        const bool isPaired = asset != 0 && database.integer("SELECT type FROM files WHERE id = ?", task.file) ==
                                                PHAssetResourceTypePairedVideo;
        if (isPaired && facts.mediaType == PHAssetMediaTypeVideo) {
            ++result_.changed;
            return putFile(database, reading, asset, PHAssetResourceTypePairedVideo);
        }
        if (facts.mediaType == 0) {
            if (asset != 0 && !isPaired) forgetAsset(database, asset);
            putFile(database, reading, 0, 0);
        } else {
            if (asset == 0 || isPaired) {
                asset = insertAsset(database, newIdentifier(kAssetSuffix), facts, task.stamp);
                ++result_.added;
            } else {
                updateAsset(database, asset, facts, task.stamp);
                ++result_.changed;
            }
            putFile(database, reading, asset, facts.mediaType);
            updateLiveness(database, asset);
            joinLivePhoto(database, asset);
        }
        if (!isPaired) return;
        updateLiveness(database, task.asset);
        ++result_.changed;
    }

    /// With its row go its albums; a video that is left behind is read again, as a video of its own.
    void forgetAsset(const Database& database, std::int64_t asset) {
        if (database.integer("SELECT 1 FROM files WHERE asset = ? AND type = 9", asset)) hasOrphans_ = true;
        database.run("UPDATE files SET asset = NULL, changed = -1 WHERE asset = ?", asset);
        database.run("DELETE FROM assets WHERE id = ?", asset);
        ++result_.removed;
    }

    /// Whether the file is really not there, rather than not seen: in a folder that may not be read now, or made by
    /// another program after the walk.
    static bool isGone(const std::string& folder, const std::string& path, bool isRemote) {
        if (isRemote) return true;
        std::error_code error;
        const fs::file_status status = fs::status(folder + "/" + path, error);
        if (fs::status_known(status)) return !fs::is_regular_file(status);
        return error == std::errc::too_many_symbolic_link_levels;
    }

    /// A file that vanished elsewhere and has the same size and first bytes was moved across file systems.
    bool followCopy(const Database& database, const Reading& reading) {
        const auto& [task, facts, head] = reading;
        if (head == 0) return false;
        Statement rows = database.prepare(
            "SELECT files.id, asset, type, folders.path, files.path, base_url IS NOT NULL FROM files JOIN folders ON "
            "folders.id = folder WHERE head = ? AND size = ? AND asset IS NOT NULL AND folder IN (SELECT folder FROM "
            "walked) AND NOT EXISTS (SELECT 1 FROM seen WHERE seen.folder = files.folder AND seen.path = files.path)");
        rows.bind(head, static_cast<std::int64_t>(task.stamp.size));
        bool isFound = false;
        while (!isFound && rows.step()) isFound = isGone(rows.text(3), rows.text(4), rows.integer(5) != 0);
        if (!isFound) return false;
        const std::int64_t file = rows.integer(0);
        const std::int64_t asset = rows.integer(1);
        const std::int64_t type = rows.integer(2);
        rows.reset();
        database.run("DELETE FROM files WHERE folder = ? AND path = ?", task.folder, task.path);
        database.run("UPDATE files SET folder = ?, path = ? WHERE id = ?", task.folder, task.path, file);
        putFile(database, reading, asset, type);
        if (type == PHAssetResourceTypePairedVideo) return true;
        updateAsset(database, asset, facts, task.stamp);
        updateLiveness(database, asset);
        return true;
    }

    static void putFile(const Database& database, const Reading& reading, std::int64_t asset, std::int64_t type) {
        const auto& [task, facts, head] = reading;
        database.run(
            "INSERT INTO files (folder, path, asset, type, type_identifier, size, changed, inode, head, embedded_at) "
            "VALUES (?,?,?,?,?,?,?,?,?,?) ON CONFLICT (folder, path) DO UPDATE SET asset = excluded.asset, "
            "type = excluded.type, type_identifier = excluded.type_identifier, size = excluded.size, "
            "changed = excluded.changed, inode = excluded.inode, head = excluded.head, embedded_at = "
            "excluded.embedded_at",
            task.folder, task.path, asset == 0 ? Value() : Value(asset), type, facts.typeIdentifier,
            static_cast<std::int64_t>(task.stamp.size), task.stamp.changed, static_cast<std::int64_t>(task.stamp.inode),
            head, facts.embeddedVideoAt ? Value(static_cast<std::int64_t>(*facts.embeddedVideoAt)) : Value());
    }

    /// An asset goes with its photo or video; a live photo that lost its moving part is a photo.
    void forgetVanished() {
        const FileLock lock = store_.lockFiles();
        store_.write([&](const Database& database) {
            Transaction transaction(database);
            Statement rows = database.prepare(
                "SELECT files.id, COALESCE(asset, 0), type, folders.path, files.path, base_url IS NOT NULL FROM files "
                "JOIN folders ON folders.id = folder WHERE folder IN (SELECT folder FROM walked) AND NOT EXISTS "
                "(SELECT 1 FROM seen WHERE seen.folder = files.folder AND seen.path = files.path)");
            struct Gone {
                std::int64_t file, asset, type;
            };
            std::vector<Gone> gone;
            while (rows.step())
                if (isGone(rows.text(3), rows.text(4), rows.integer(5) != 0))
                    gone.push_back({rows.integer(0), rows.integer(1), rows.integer(2)});
            rows.reset();
            for (const Gone& file : gone) {
                database.run("DELETE FROM files WHERE id = ?", file.file);
                if (file.asset == 0) continue;
                if (file.type != PHAssetResourceTypePairedVideo) {
                    forgetAsset(database, file.asset);
                } else {
                    updateLiveness(database, file.asset);
                    ++result_.changed;
                }
            }
            transaction.commit();
        });
    }

    LibraryStore& store_;
    const std::function<bool(std::size_t)>& progress_;
    ScanResult result_;
    std::size_t read_ = 0;
    bool hasOrphans_ = false;      ///< Videos whose photo is gone.
    std::set<std::int64_t> away_;  ///< Folders whose server cannot be reached.
    struct Rendition {
        std::int64_t folder;
        std::string path;
        Data data;
    };
    std::vector<Rendition> renditions_;  ///< Of files that are not put down yet.
};

/// A photo has one moving part; a copy of a live photo is one of its own.
constexpr std::string_view kIsAlone =
    " AND NOT EXISTS (SELECT 1 FROM files AS part WHERE part.asset = assets.id AND part.type = 9)";

/// Where an asset's own file is.
struct OwnPlace {
    std::int64_t folder = 0;
    fs::path parent;
    std::string stem;

    OwnPlace(std::int64_t folderId, const fs::path& path)
        : folder(folderId), parent(path.parent_path()), stem(path.stem().string()) {}
    static std::optional<OwnPlace> of(const Database& database, std::int64_t asset) {
        Statement own = database.prepare("SELECT folder, path FROM files WHERE asset = ? AND type <> 9");
        own.bind(asset);
        return own.step() ? std::optional<OwnPlace>(std::in_place, own.integer(0), own.text(1)) : std::nullopt;
    }
};

/// The asset of the other half of a live photo: `wanted` media type, in the same folder, under the same name.
std::optional<std::int64_t> partnerByName(const Database& database, const OwnPlace& own, std::int64_t wanted) {
    const std::string stem = (own.parent / own.stem).string();
    Statement rows = database.prepare(
        "SELECT asset, path FROM files JOIN assets ON assets.id = asset WHERE folder = ? AND path > ? AND path < ? AND "
        "media_type = ? AND type = media_type AND content_identifier IS NULL AND "
        "type_identifier IN ('public.jpeg', 'public.heic', 'com.apple.quicktime-movie') AND duration <= ?" +
        std::string(kIsAlone));
    // Between "name." and "name/" are the names that have only another extension, and longer ones with dots.
    rows.bind(own.folder, stem + ".", stem + "/", wanted, kLongestPairedVideo);
    while (rows.step()) {
        const OwnPlace other(own.folder, rows.text(1));
        if (other.parent == own.parent && other.stem == own.stem) return rows.integer(0);
    }
    return std::nullopt;
}

/// The same by the identifier that both carry; of several copies the one that stands next to it.
std::optional<std::int64_t> partnerByContent(const Database& database, const OwnPlace& own, const std::string& content,
                                             std::int64_t wanted) {
    Statement rows = database.prepare(
        "SELECT assets.id, folder, path FROM assets JOIN files ON files.asset = assets.id AND files.type <> 9 WHERE "
        "content_identifier = ? AND media_type = ?" +
        std::string(kIsAlone));
    rows.bind(content, wanted);
    std::optional<std::int64_t> best;
    int nearest = -1;
    while (rows.step()) {
        const OwnPlace other(rows.integer(1), rows.text(2));
        const bool isBeside = other.folder == own.folder && other.parent == own.parent;
        const int nearness = isBeside ? 1 + (other.stem == own.stem) : 0;
        if (nearness <= nearest) continue;
        nearest = nearness;
        best = rows.integer(0);
    }
    return best;
}

void join(const Database& database, std::int64_t photo, std::int64_t video) {
    database.run("UPDATE files SET asset = ?, type = 9 WHERE asset = ?", photo, video);
    database.run("DELETE FROM assets WHERE id = ?", video);
    updateLiveness(database, photo);
}

}  // namespace

void joinLivePhoto(const Database& database, std::int64_t asset) {
    Statement row = database.prepare(
        "SELECT media_type, COALESCE(content_identifier, ''), duration, type_identifier FROM assets JOIN files ON "
        "files.asset = assets.id AND files.type <> 9 WHERE assets.id = ?" +
        std::string(kIsAlone));
    row.bind(asset);
    const auto own = OwnPlace::of(database, asset);
    if (!own || !row.step()) return;
    const bool isVideo = row.integer(0) == PHAssetMediaTypeVideo;
    const std::string content = row.text(1);
    const std::string type = row.text(3);
    const std::int64_t wanted = isVideo ? PHAssetMediaTypeImage : PHAssetMediaTypeVideo;
    std::optional<std::int64_t> partner;
    if (!content.empty())
        partner = partnerByContent(database, *own, content, wanted);
    else if (isVideo ? type == "com.apple.quicktime-movie" && row.real(2) <= kLongestPairedVideo
                     : type == "public.jpeg" || type == "public.heic")
        partner = partnerByName(database, *own, wanted);
    row.reset();
    if (partner) join(database, isVideo ? *partner : asset, isVideo ? asset : *partner);
}

ScanResult scanLibrary(LibraryStore& store, const std::function<bool(std::size_t read)>& progress) {
    return Scan(store, progress).run();
}

}  // namespace tessaly::photos
