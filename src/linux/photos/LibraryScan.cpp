#include "linux/photos/LibraryScan.h"

#include <algorithm>
#include <filesystem>

#include "linux/imageio/Text.h"
#include "linux/photos/AssetRows.h"
#include "linux/photos/RemoteFolder.h"
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
        const bool isComplete = readTasks();
        if (isComplete) forgetVanished();
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
        std::error_code error;
        fs::recursive_directory_iterator entry(folder.path, fs::directory_options::skip_permission_denied, error);
        if (error) {
            result_.problems.push_back({folder.path, error.message()});
            return;
        }
        for (; entry != fs::recursive_directory_iterator(); entry.increment(error)) {
            if (error) {
                result_.problems.push_back({folder.path, error.message()});
                return;
            }
            const std::string name = entry->path().filename().string();
            // Hidden folders hold thumbnails, caches and trash, not the user's photos.
            if (name.starts_with('.')) {
                if (entry->is_directory(error)) entry.disable_recursion_pending();
                continue;
            }
            const std::string path = entry->path().string();
            const auto stamp = FileStamp::of(path);
            if (!stamp) continue;
            batch.push_back({path.substr(folder.path.size() + 1), *stamp});
            ++count;
            if (batch.size() == kBatch) note(folder, batch);
        }
        note(folder, batch);
        result_.seen += count;
        finishWalk(folder, count);
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
        result_.problems.push_back({folder.baseURL, fault});
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
        store_.write([&](const Database& database) {
            Transaction transaction(database);
            Statement moved = database.prepare(
                "SELECT files.id, seen.folder, seen.path FROM seen JOIN files ON files.inode = seen.inode AND "
                "files.size = seen.size AND files.changed = seen.changed WHERE seen.inode <> 0 AND "
                "NOT EXISTS (SELECT 1 FROM files AS known WHERE known.folder = seen.folder AND known.path = seen.path) "
                "AND "
                "NOT EXISTS (SELECT 1 FROM seen AS still WHERE still.folder = files.folder AND still.path = "
                "files.path)");
            struct Move {
                std::int64_t file, folder;
                std::string path;
            };
            std::vector<Move> moves;
            while (moved.step()) moves.push_back({moved.integer(0), moved.integer(1), moved.text(2)});
            moved.reset();
            // Two names of one file (hard links) follow one move only.
            Statement update = database.prepare("UPDATE OR IGNORE files SET folder = ?, path = ? WHERE id = ?");
            for (const Move& move : moves) update.bind(move.folder, move.path, move.file).run();
            result_.moved += moves.size();
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
            readings.push_back({task, AssetFacts::read(path, task.stamp), headHash(path, task.stamp.size)});
            return;
        }
        std::string fault;
        auto facts = readRemoteFile(folder.baseURL, task.path, task.stamp, store_.pendingFolder(), fault);
        if (!facts) return result_.problems.push_back({folder.baseURL + "/" + task.path, fault});
        readings.push_back({task, std::move(*facts), 0});
    }

    void put(const std::vector<Reading>& readings) {
        store_.write([&](const Database& database) {
            Transaction transaction(database);
            for (const Reading& reading : readings) putOne(database, reading);
            transaction.commit();
        });
    }

    void putOne(const Database& database, const Reading& reading) {
        const auto& [task, facts, head] = reading;
        if (task.file == 0 && facts.mediaType != 0 && followCopy(database, reading)) {
            ++result_.moved;
            return;
        }
        std::int64_t asset = task.asset;
        const bool isPaired = asset != 0 && database.integer("SELECT type FROM files WHERE id = ?", task.file) ==
                                                PHAssetResourceTypePairedVideo;
        if (facts.mediaType == 0) {
            if (asset != 0 && !isPaired) database.run("DELETE FROM assets WHERE id = ?", asset);
            return putFile(database, reading, 0, 0);
        }
        if (isPaired && facts.mediaType == PHAssetMediaTypeVideo)
            return putFile(database, reading, asset, PHAssetResourceTypePairedVideo);
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

    /// A file that vanished elsewhere and has the same size and first bytes was moved across file systems.
    bool followCopy(const Database& database, const Reading& reading) {
        const auto& [task, facts, head] = reading;
        if (head == 0) return false;
        const auto file = database.integer(
            "SELECT id FROM files WHERE head = ? AND size = ? AND asset IS NOT NULL AND folder IN (SELECT folder FROM "
            "walked) "
            "AND NOT EXISTS (SELECT 1 FROM seen WHERE seen.folder = files.folder AND seen.path = files.path) LIMIT 1",
            head, static_cast<std::int64_t>(task.stamp.size));
        if (!file) return false;
        database.run("UPDATE files SET folder = ?, path = ?, changed = ?, inode = ? WHERE id = ?", task.folder,
                     task.path, task.stamp.changed, static_cast<std::int64_t>(task.stamp.inode), *file);
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
        store_.write([&](const Database& database) {
            Transaction transaction(database);
            constexpr const char* kVanished =
                "folder IN (SELECT folder FROM walked) AND NOT EXISTS (SELECT 1 FROM seen WHERE "
                "seen.folder = files.folder AND seen.path = files.path)";
            Statement rows =
                database.prepare("SELECT id, COALESCE(asset, 0), type FROM files WHERE " + std::string(kVanished));
            struct Gone {
                std::int64_t file, asset, type;
            };
            std::vector<Gone> gone;
            while (rows.step()) gone.push_back({rows.integer(0), rows.integer(1), rows.integer(2)});
            rows.reset();
            for (const Gone& file : gone) {
                database.run("DELETE FROM files WHERE id = ?", file.file);
                if (file.asset == 0) continue;
                if (file.type == PHAssetResourceTypePairedVideo) {
                    updateLiveness(database, file.asset);
                    ++result_.changed;
                } else {
                    // A video that is left behind is read again, as a video of its own.
                    database.run("UPDATE files SET asset = NULL, changed = -1 WHERE asset = ?", file.asset);
                    database.run("DELETE FROM assets WHERE id = ?", file.asset);
                    ++result_.removed;
                }
            }
            transaction.commit();
        });
    }

    LibraryStore& store_;
    const std::function<bool(std::size_t)>& progress_;
    ScanResult result_;
    std::size_t read_ = 0;
};

/// The asset of the other half of a live photo: `wanted` media type, in the same folder, under the same name.
std::optional<std::int64_t> partnerByName(const Database& database, std::int64_t asset, std::int64_t wanted) {
    Statement own = database.prepare("SELECT folder, path FROM files WHERE asset = ? AND type <> 9");
    own.bind(asset);
    if (!own.step()) return std::nullopt;
    const std::int64_t folder = own.integer(0);
    const fs::path path(own.text(1));
    const std::string stem = (path.parent_path() / path.stem()).string();
    Statement rows = database.prepare(
        "SELECT asset, path FROM files JOIN assets ON assets.id = asset WHERE folder = ? AND path > ? AND path < ? AND "
        "media_type = ? AND type = media_type AND content_identifier IS NULL AND "
        "type_identifier IN ('public.jpeg', 'public.heic', 'com.apple.quicktime-movie') AND duration <= ?");
    // Between "name." and "name/" are the names that have only another extension, and longer ones with dots.
    rows.bind(folder, stem + ".", stem + "/", wanted, kLongestPairedVideo);
    while (rows.step()) {
        const fs::path other(rows.text(1));
        if ((other.parent_path() / other.stem()).string() == stem) return rows.integer(0);
    }
    return std::nullopt;
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
        "files.asset = assets.id AND files.type <> 9 WHERE assets.id = ?");
    row.bind(asset);
    if (!row.step()) return;
    const bool isVideo = row.integer(0) == PHAssetMediaTypeVideo;
    const std::string content = row.text(1);
    const std::string type = row.text(3);
    const std::int64_t wanted = isVideo ? PHAssetMediaTypeImage : PHAssetMediaTypeVideo;
    std::optional<std::int64_t> partner;
    if (!content.empty())
        partner = database.integer("SELECT id FROM assets WHERE content_identifier = ? AND media_type = ? LIMIT 1",
                                   content, wanted);
    else if (isVideo ? type == "com.apple.quicktime-movie" && row.real(2) <= kLongestPairedVideo
                     : type == "public.jpeg" || type == "public.heic")
        partner = partnerByName(database, asset, wanted);
    row.reset();
    if (partner) join(database, isVideo ? *partner : asset, isVideo ? asset : *partner);
}

ScanResult scanLibrary(LibraryStore& store, const std::function<bool(std::size_t read)>& progress) {
    return Scan(store, progress).run();
}

}  // namespace tessaly::photos
