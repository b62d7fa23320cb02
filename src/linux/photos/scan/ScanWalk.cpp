#include <filesystem>
#include <set>

#include "linux/foundation/AtomicFile.h"
#include "linux/photos/RemoteFolder.h"
#include "linux/photos/scan/ScanParts.h"

namespace tessaly::photos {
namespace {

namespace fs = std::filesystem;

/// What nobody has touched for so long, and whose program is not there, was left by one that was killed.
constexpr std::chrono::hours kAbandonedAge{1};

class Walk {
public:
    Walk(LibraryStore& store, const ScanFolder& folder, ScanResult& result,
         const std::function<void(std::size_t)>& progress)
        : store_(store), folder_(folder), result_(result), progress_(progress) {}

    void run() {
        const bool isWhole = folder_.baseURL.empty() ? walkLocal(folder_.path) : walkRemote();
        note();
        result_.seen += count_;
        if (isWhole) finish();
    }

private:
    struct Seen {
        std::string path;
        FileStamp stamp;
        std::string etag;
    };

    void meet(Seen seen) {
        batch_.push_back(std::move(seen));
        ++count_;
        if (batch_.size() == kScanBatch) note();
    }

    /// False when the folder cannot be read. One below it that cannot keeps no other from being walked.
    bool walkLocal(const std::string& at) {
        std::error_code error;
        fs::directory_iterator entry(at, error);
        bool hasTemporaries = false;
        for (; !error && entry != fs::directory_iterator(); entry.increment(error)) {
            // Hidden folders hold thumbnails, caches and trash, not the user's photos.
            const std::string path = entry->path().string();
            if (const std::string name = entry->path().filename().string(); name.starts_with('.')) {
                hasTemporaries |= isTemporaryName(name);
                continue;
            }
            std::error_code ignored;
            if (entry->is_directory(ignored)) {
                if (!entry->is_symlink(ignored) && !fs::equivalent(path, store_.folder(), ignored)) walkLocal(path);
                continue;
            }
            if (const auto stamp = FileStamp::of(path)) meet({path.substr(folder_.path.size() + 1), *stamp, {}});
        }
        if (hasTemporaries) removeAbandonedFiles(at, kAbandonedAge);
        const bool isGone = error == std::errc::no_such_file_or_directory && at != folder_.path;
        if (error && !isGone) result_.problems.push_back({at, error.message()});
        return !error;
    }

    bool walkRemote() {
        const std::string fault = listRemoteFolder(folder_.baseURL, [&](const RemoteFile& file) {
            // A server tells no inode; its own marks stand for ours.
            meet({file.path, {file.size, file.changed}, file.etag});
        });
        if (!fault.empty()) result_.problems.push_back({shownURL(folder_.baseURL), fault});
        sweepCopies();
        return fault.empty();
    }

    /// Downloads of programs that were killed stand beside what was fetched. Of another machine's, which look the same,
    /// nothing is lost: the server has it.
    void sweepCopies() const {
        std::error_code error;
        std::set<std::string> folders;
        for (fs::recursive_directory_iterator entry(folder_.path, error), end; !error && entry != end;
             entry.increment(error))
            if (isTemporaryName(entry->path().filename().string()))
                folders.insert(entry->path().parent_path().string());
        for (const std::string& at : folders) removeAbandonedFiles(at);
    }

    void note() {
        store_.write([&](const Database& database) {
            Transaction transaction(database);
            Statement insert = database.prepare("INSERT OR REPLACE INTO seen VALUES (?,?,?,?,?,?,?,?)");
            for (const Seen& seen : batch_)
                insert
                    .bind(folder_.id, seen.path, static_cast<std::int64_t>(seen.stamp.size), seen.stamp.changed,
                          static_cast<std::int64_t>(seen.stamp.inode), static_cast<std::int64_t>(seen.stamp.device),
                          seen.stamp.born, seen.etag)
                    .run();
            transaction.commit();
        });
        batch_.clear();
        progress_(result_.seen + count_);
    }

    /// Only a folder that was walked to its end can miss files; one that lost all of them at once is not mounted.
    void finish() {
        store_.write([&](const Database& database) {
            const bool hadFiles =
                database.integer("SELECT 1 FROM files WHERE folder = ? AND asset IS NOT NULL LIMIT 1", folder_.id)
                    .has_value();
            if (count_ > 0 || !hadFiles) return database.run("INSERT OR IGNORE INTO walked VALUES (?)", folder_.id);
            result_.problems.push_back(
                {folder_.path, "is empty now; its photos are away, and kept in the library until they are forgotten"});
        });
    }

    LibraryStore& store_;
    const ScanFolder& folder_;
    ScanResult& result_;
    const std::function<void(std::size_t)>& progress_;
    std::vector<Seen> batch_;  ///< What one transaction puts down.
    std::size_t count_ = 0;
};

}  // namespace

std::vector<ScanFolder> scanFolders(LibraryStore& store) {
    return store.write([](const Database& database) {
        std::vector<ScanFolder> folders;
        Statement rows = database.prepare("SELECT id, path, COALESCE(base_url, '') FROM folders ORDER BY id");
        while (rows.step()) folders.push_back({rows.integer(0), rows.text(1), rows.text(2)});
        return folders;
    });
}

void walkFolders(LibraryStore& store, const std::vector<ScanFolder>& folders, ScanResult& result,
                 const std::function<void(std::size_t)>& progress) {
    store.write([](const Database& database) {
        database.execute(
            "CREATE TEMP TABLE IF NOT EXISTS seen (folder INTEGER, path TEXT, size INTEGER, changed INTEGER, inode "
            "INTEGER, device INTEGER, born INTEGER, etag TEXT, PRIMARY KEY (folder, path)) WITHOUT ROWID; "
            "DELETE FROM seen; "
            "CREATE TEMP TABLE IF NOT EXISTS walked (folder INTEGER PRIMARY KEY); DELETE FROM walked");
    });
    for (const ScanFolder& folder : folders) Walk(store, folder, result, progress).run();
}

bool isGone(const std::string& path) {
    std::error_code error;
    const fs::file_status status = fs::status(path, error);
    if (fs::status_known(status)) return !fs::is_regular_file(status);
    return error == std::errc::too_many_symbolic_link_levels;
}

}  // namespace tessaly::photos
