#include "linux/photos/scan/ScanReading.h"

#include <algorithm>
#include <cmath>
#include <filesystem>

#include "linux/photos/AssetRows.h"
#include "linux/photos/Originals.h"
#include "linux/photos/RemoteFolder.h"
#include "linux/photos/Renditions.h"
#include "platform/Foundation/NSFileManager.h"
#include "platform/Photos/PHAssetResource.h"

namespace tessaly::photos {
namespace {

/// By which two contents are told to be one photo.
struct Likeness {
    std::int64_t mediaType = 0;
    std::optional<double> created;  ///< By the file's own words.
    std::uint64_t width = 0;
    std::uint64_t height = 0;
    std::string contentIdentifier;

    static Likeness of(const AssetFacts& facts) {
        return {facts.mediaType, facts.isDated ? std::optional(facts.created->timeIntervalSince1970) : std::nullopt,
                facts.width, facts.height, facts.contentIdentifier};
    }

    /// Whether `later` may be this one, as an editor leaves it: taken at the same moment or, when that was removed, of
    /// the same shape. No editor finds out when a photo was taken.
    [[nodiscard]] bool mayBecome(const Likeness& later) const {
        if (later.mediaType != mediaType) return false;
        if (!contentIdentifier.empty() && !later.contentIdentifier.empty())
            return contentIdentifier == later.contentIdentifier;
        if (later.created) return created && std::abs(*created - *later.created) < 1;
        return (width == later.width && height == later.height) || (width == later.height && height == later.width);
    }
};

/// What stands in the rows of the photo that was at a place.
struct OldPhoto {
    FileStamp stamp;
    Likeness likeness;
    bool hasOwnDate = false;  ///< What the file said is not known any more.
    double created = 0;       ///< As the library shows it.
    std::string original;     ///< The unedited file of an edited one.
    std::string print;

    static std::optional<OldPhoto> of(const Database& database, std::int64_t file) {
        Statement row = database.prepare(
            "SELECT size, changed, inode, device, born, media_type, created, modified, own_created, width, height, "
            "COALESCE(content_identifier, ''), COALESCE((SELECT original FROM edits WHERE asset = assets.id), ''), "
            "COALESCE(print, '') FROM files JOIN assets ON assets.id = asset WHERE files.id = ?");
        row.bind(file);
        if (!row.step()) return std::nullopt;
        OldPhoto old;
        old.stamp = {static_cast<std::uint64_t>(row.integer(0)), row.integer(1),
                     static_cast<std::uint64_t>(row.integer(2)), static_cast<std::uint64_t>(row.integer(3)),
                     row.integer(4)};
        old.hasOwnDate = row.integer(8) != 0;
        // Without a date of its own it had that of its file.
        const bool isDated = !old.hasOwnDate && !row.isNull(6) && std::abs(row.real(6) - row.real(7)) > 0.001;
        old.likeness = {row.integer(5), isDated ? std::optional(row.real(6)) : std::nullopt,
                        static_cast<std::uint64_t>(row.integer(9)), static_cast<std::uint64_t>(row.integer(10)),
                        row.text(11)};
        old.created = row.real(6);
        old.original = row.text(12);
        old.print = row.text(13);
        return old;
    }

    /// Whether the photo at the place is still that one. A file that was written into is the same photo, as far as one
    /// can tell that it is the same file; but what was edited is not another photo.
    [[nodiscard]] bool isStill(const FileStamp& now, const AssetFacts& facts, const LibraryStore& store) const {
        const bool isSameFile = stamp.inode != 0 && stamp.isSameFile(now) && stamp.born != 0 && now.born != 0;
        if (isSameFile && original.empty()) return true;
        Likeness later = Likeness::of(facts);
        // Of a file on a server the name is all there is.
        if (stamp.inode == 0 && !likeness.created) return likeness.mediaType == later.mediaType;
        // An edit may have removed what tells photos apart, and a date of its own hides it: the unedited file says it.
        const auto kept = keptLikeness(store);
        if (kept && later.created && kept->mayBecome(later)) return true;
        Likeness before = likeness;
        if (kept && hasOwnDate) before.created = created;
        if (!kept && hasOwnDate) later.created.reset();
        return before.mayBecome(later);
    }

    /// Whether nothing but the shape tells that it is: the photo had a date, the file has none.
    [[nodiscard]] bool isGuess(const FileStamp& now, const AssetFacts& facts) const {
        return stamp.inode != 0 && !stamp.isSameFile(now) && likeness.created && !facts.isDated &&
               likeness.contentIdentifier.empty();
    }

private:
    [[nodiscard]] std::optional<Likeness> keptLikeness(const LibraryStore& store) const {
        const std::string path = original.empty() ? original : ownOriginal(store, original);
        const auto keptStamp = path.empty() ? std::nullopt : FileStamp::of(path);
        return keptStamp ? std::optional(Likeness::of(AssetFacts::read(path, *keptStamp))) : std::nullopt;
    }
};

/// Photos that their files give no date, of a shape.
constexpr std::string_view kIsUndated =
    "media_type = ?2 AND (own_created OR abs(created - modified) <= 0.001) AND ((width = ?3 AND height = ?4) OR (width "
    "= ?4 AND height = ?3))";

/// Whether another photo of the library says the same of itself, as those of a burst do, or those without a date.
bool hasTwin(const Database& database, std::int64_t asset, const Likeness& likeness) {
    if (likeness.created)
        return database
            .integer("SELECT 1 FROM assets WHERE id <> ? AND media_type = ? AND created > ? AND created < ? LIMIT 1",
                     asset, likeness.mediaType, *likeness.created - 1, *likeness.created + 1)
            .has_value();
    return database
        .integer("SELECT 1 FROM assets WHERE id <> ?1 AND " + std::string(kIsUndated) + " LIMIT 1", asset,
                 likeness.mediaType, static_cast<std::int64_t>(likeness.width),
                 static_cast<std::int64_t>(likeness.height))
        .has_value();
}

/// Whether one of those is missing, and so may be the file as well.
bool hasMissingTwin(const Database& database, std::int64_t asset, const Likeness& likeness) {
    return database
        .integer(
            "SELECT 1 FROM known AS k JOIN files ON files.id = k.id JOIN assets ON assets.id = files.asset WHERE "
            "assets.id <> ?1 AND " +
                std::string(kIsUndated) + " LIMIT 1",
            asset, likeness.mediaType, static_cast<std::int64_t>(likeness.width),
            static_cast<std::int64_t>(likeness.height))
        .has_value();
}

/// Whether the library still has the unedited file, by whatever path it was opened when that was kept.
bool isKept(const LibraryStore& store, const std::string& original) {
    const std::filesystem::path path(original);
    std::error_code ignored;
    return std::filesystem::exists(
        std::filesystem::path(store.originalsFolder()) / path.parent_path().filename() / path.filename(), ignored);
}

/// That it was edited here is said of no file that may as well be another photo. Its original is kept, and listed.
/// Where the original is gone, too, a deletion was killed after it, and the file is what somebody put there since.
void settleEdit(const LibraryStore& store, const Database& database, std::int64_t asset, const OldPhoto& old,
                const AssetFacts& facts, const Prints& prints) {
    const bool isUnchanged = !prints.print.empty() && prints.print == old.print;
    if (old.original.empty() || isUnchanged) return;
    if (isKept(store, old.original) && !hasTwin(database, asset, Likeness::of(facts))) return;
    database.run("DELETE FROM edits WHERE asset = ?", asset);
}

std::string fileText(const ScanFolder& folder, const FilePlace& place) { return folder.path + "/" + place.path; }

}  // namespace

FileFacts ScanReader::Reading::row() const {
    return {task.stamp, task.etag, prints, facts.typeIdentifier, facts.embeddedVideoAt};
}

bool ScanReader::run() {
    FilePlace last;
    if (progress_) toRead_ = read_ + countTasks();
    while (true) {
        std::vector<Task> tasks = nextTasks(last);
        if (tasks.empty()) return true;
        last = tasks.back().place;
        std::vector<Reading> readings;
        readings.reserve(tasks.size());
        for (Task& task : tasks) read(task, readings);
        put(readings);
        read_ += tasks.size();
        if (progress_ && !progress_({result_.seen, read_, toRead_})) return false;
    }
}

constexpr std::string_view kTasks =
    "FROM seen AS s LEFT JOIN files AS f ON f.folder = s.folder AND f.path = s.path WHERE (s.folder, s.path) > (?, ?) "
    "AND (f.id IS NULL OR NOT ";

std::size_t ScanReader::countTasks() {
    return store_.write([](const Database& database) {
        const auto count = database.integer("SELECT COUNT(*) " + std::string(kTasks) + std::string(kIsSettled) + ")",
                                            std::int64_t{0}, std::string());
        return static_cast<std::size_t>(count.value_or(0));
    });
}

/// The next files whose row is missing or says something else, in the order of their names.
std::vector<ScanReader::Task> ScanReader::nextTasks(const FilePlace& after) {
    return store_.write([&](const Database& database) {
        Statement rows = database.prepare(
            "SELECT s.folder, s.path, s.size, s.changed, s.inode, s.device, s.born, s.etag, COALESCE(f.id, 0), "
            "COALESCE(f.asset, 0) " +
            std::string(kTasks) + std::string(kIsSettled) + ") ORDER BY s.folder, s.path LIMIT ?");
        rows.bind(after.folder, after.path, kScanBatch);
        std::vector<Task> tasks;
        while (rows.step())
            tasks.push_back({{rows.integer(0), rows.text(1)},
                             {static_cast<std::uint64_t>(rows.integer(2)), rows.integer(3),
                              static_cast<std::uint64_t>(rows.integer(4)), static_cast<std::uint64_t>(rows.integer(5)),
                              rows.integer(6)},
                             rows.text(7),
                             rows.integer(8),
                             rows.integer(9)});
        return tasks;
    });
}

void ScanReader::read(Task& task, std::vector<Reading>& readings) {
    const auto folder = std::ranges::find(folders_, task.place.folder, &ScanFolder::id);
    if (folder == folders_.end()) return;
    if (!folder->baseURL.empty()) return readRemote(*folder, task, readings);
    const std::string path = fileText(*folder, task.place);
    const Prints prints = Prints::of(path, task.stamp.size);
    // A photo that nobody may read now is still one, and may be read another time.
    if (prints.head == 0) {
        if (FileStamp::of(path)) result_.problems.push_back({path, "cannot be read"});
        return;
    }
    readings.push_back({task, AssetFacts::read(path, task.stamp), prints, nullptr});
}

/// A server that went away is not asked for every one of its files: the next scan does that.
void ScanReader::readRemote(const ScanFolder& folder, const Task& task, std::vector<Reading>& readings) {
    if (away_.contains(folder.id)) return;
    RemoteReading reading = readRemoteFile(folder.baseURL, task.place.path, task.stamp, store_.newPendingName());
    if (!reading.facts) {
        if (reading.isServerAway) away_.insert(folder.id);
        return result_.problems.push_back({shownURL(folder.baseURL) + "/" + task.place.path, reading.fault});
    }
    dropOldCopy(folder, task);
    readings.push_back({task, std::move(*reading.facts), reading.prints, std::move(reading.rendition)});
}

/// What was fetched before the file changed on the server is not the photo any more. What was changed here stays.
void ScanReader::dropOldCopy(const ScanFolder& folder, const Task& task) {
    if (task.file == 0) return;
    FileStamp old;
    store_.read([&](const Database& database) {
        Statement row = database.prepare("SELECT size, changed FROM files WHERE id = ?");
        row.bind(task.file);
        if (row.step()) old = {static_cast<std::uint64_t>(row.integer(0)), row.integer(1)};
    });
    const std::string local = fileText(folder, task.place);
    if (isFetchedCopy(local, old)) NSFileManager::removeItemAtPath(local);
}

void ScanReader::put(const std::vector<Reading>& readings) {
    const FileLock lock = store_.lockFiles();
    store_.write([&](const Database& database) {
        Transaction transaction(database);
        for (const Reading& reading : readings) putOne(database, reading);
        transaction.commit();
    });
    for (const Reading& each : readings)
        if (std::ranges::any_of(folders_, [&](const ScanFolder& folder) {
                return folder.id == each.task.place.folder && !folder.baseURL.empty();
            }))
            keepRendition(store_, each.task.place.folder, each.task.place.path, each.rendition);
}

namespace {

/// Whether the row is still what it was when the file was chosen to be read. Another program that was quicker has read
/// the file, or changed it: the next scan sees to that.
bool isCurrent(const Database& database, const FilePlace& place, std::int64_t file, std::int64_t asset) {
    Statement row = database.prepare(
        "SELECT COALESCE(files.id, 0), COALESCE(asset, 0) FROM folders LEFT JOIN files ON files.folder = folders.id "
        "AND "
        "files.path = ? WHERE folders.id = ?");
    row.bind(place.path, place.folder);
    return row.step() && row.integer(0) == file && row.integer(1) == asset;
}

}  // namespace

void ScanReader::putOne(const Database& database, const Reading& reading) {
    const auto& [task, facts, prints, rendition] = reading;
    if (!isCurrent(database, task.place, task.file, task.asset)) return;
    std::int64_t asset = task.asset;
    if (asset == 0 && facts.mediaType != 0 && followContent(database, task.place, reading.row())) {
        ++result_.moved;
        Statement row = database.prepare("SELECT asset, type FROM files WHERE folder = ? AND path = ?");
        row.bind(task.place.folder, task.place.path);
        if (!row.step()) return;
        const std::int64_t type = row.integer(1);
        asset = row.integer(0);
        row.reset();
        putFile(database, task.place, asset, type, reading.row());
        if (type != PHAssetResourceTypePairedVideo) updateAsset(database, asset, facts, task.stamp);
        return updateLiveness(database, asset);
    }
    const bool isPaired = asset != 0 && database.integer("SELECT type FROM files WHERE id = ?", task.file) ==
                                            PHAssetResourceTypePairedVideo;
    if (isPaired && facts.mediaType == PHAssetMediaTypeVideo) {
        ++result_.changed;
        return putFile(database, task.place, asset, PHAssetResourceTypePairedVideo, reading.row());
    }
    if (asset != 0 && !isPaired) {
        const auto old = OldPhoto::of(database, task.file);
        const bool isAnother =
            old && (!old->isStill(task.stamp, facts, store_) ||
                    (old->isGuess(task.stamp, facts) && hasMissingTwin(database, asset, Likeness::of(facts))));
        // Another photo has taken the name, or none.
        if (facts.mediaType == 0 || isAnother) {
            if (bury(database, asset)) hasOrphans_ = true;
            ++result_.removed;
            asset = 0;
        } else if (old) {
            settleEdit(store_, database, asset, *old, facts, prints);
        }
    }
    if (facts.mediaType == 0)
        putFile(database, task.place, 0, 0, reading.row());
    else
        putMedia(database, reading, isPaired ? 0 : asset);
    if (!isPaired) return;
    updateLiveness(database, task.asset);
    ++result_.changed;
}

void ScanReader::putMedia(const Database& database, const Reading& reading, std::int64_t asset) {
    const auto& [task, facts, prints, rendition] = reading;
    if (asset == 0) {
        asset = insertAsset(database, newIdentifier(kAssetSuffix), facts, task.stamp);
        ++result_.added;
    } else {
        updateAsset(database, asset, facts, task.stamp);
        ++result_.changed;
    }
    putFile(database, task.place, asset, facts.mediaType, reading.row());
    updateLiveness(database, asset);
    joinLivePhoto(database, asset);
}

}  // namespace tessaly::photos
