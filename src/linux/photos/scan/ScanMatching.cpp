#include <array>
#include <filesystem>

#include "linux/photos/AssetRows.h"
#include "linux/photos/RemoteFolder.h"
#include "linux/photos/scan/ScanParts.h"
#include "platform/Photos/PHAssetResource.h"

namespace tessaly::photos {
namespace {

namespace fs = std::filesystem;

/// One answer to "which known file is this?", the surest first: what has the same values in `keys`. Each pairs what
/// earlier ones have left.
struct Rule {
    std::string_view keys;           ///< Columns of known and loose, with commas between.
    std::string_view ofKnown = "1";  ///< What the known file has to be besides,
    std::string_view ofLoose = "1";  ///< and the loose one.
    /// Only files that are alone with their values in these columns. What a server tells may be the same of several
    /// files: then it tells nothing.
    std::string_view aloneIn = {};
};

constexpr std::array kRules{
    // The same place and marks.
    Rule{.keys = "folder, path, size, changed, inode, born, etag", .aloneIn = "folder, path"},
    // The same file.
    Rule{"inode, device, born", "inode <> 0 AND born <> 0"},
    // The same content.
    Rule{"print, size", "print IS NOT NULL"},
    // The same beginning, all that an earlier version noted.
    Rule{"head, size", "head <> 0 AND print IS NULL"},
    Rule{.keys = "folder, etag, size", .ofKnown = "remote AND etag <> ''", .aloneIn = "folder, etag"},
    Rule{.keys = "folder, size, changed",
         .ofKnown = "remote AND changed <> 0 AND etag = ''",
         .aloneIn = "folder, size, changed"},
    Rule{.keys = "folder, size, changed",
         .ofKnown = "remote AND changed <> 0",
         .ofLoose = "etag = ''",
         .aloneIn = "folder, size, changed"},
};

/// Where several pairs are possible, a file stays where it is rather than move, and is the same file or as old as
/// before; at last the older row comes first. By turns, as what is one by one is quick among any number of equals.
constexpr std::array<std::string_view, 5> kPreferences{", folder, path", ", inode, changed", ", inode", ", changed",
                                                       ""};

/// A program that saves a copy of the old file beside the new one ("a.jpg_original", "a.jpg~") has not moved the photo.
constexpr std::string_view kIsNoBackup =
    "NOT (k.folder = s.folder AND k.path <> s.path AND substr(s.path, 1, length(k.path)) = k.path AND EXISTS (SELECT 1 "
    "FROM seen WHERE seen.folder = k.folder AND seen.path = k.path))";

/// What was fetched of a file on a server that has another name by now.
struct CopyMove {
    FilePlace from;
    FileStamp stamp;  ///< Of the file when it was known under the old name.
    fs::path old, target;
    fs::path aside;  ///< Where it waits for others to make way; a scan that was killed may have left it there.

    static std::optional<CopyMove> of(const Database& database, std::int64_t file, const FilePlace& from,
                                      const FilePlace& to) {
        if (from.folder != to.folder || from.path == to.path) return std::nullopt;
        Statement row = database.prepare(
            "SELECT folders.path, size, changed FROM files JOIN folders ON folders.id = files.folder WHERE files.id = "
            "? AND base_url IS NOT NULL");
        row.bind(file);
        if (!row.step()) return std::nullopt;
        const fs::path root(row.text(0));
        CopyMove move{from,
                      {static_cast<std::uint64_t>(row.integer(1)), row.integer(2)},
                      root / from.path,
                      root / to.path,
                      root / (".tessaly-copy-" + std::to_string(file))};
        std::error_code ignored;
        const bool isThere = fs::exists(move.old, ignored) || fs::exists(move.aside, ignored);
        return isThere ? std::optional(std::move(move)) : std::nullopt;
    }

    /// Whether what has the old name is the copy of the file that has that name now: a scan that was killed before its
    /// rows were written has moved it already.
    [[nodiscard]] bool isAnothers(const Database& database) const {
        if (isFetchedCopy(old.string(), stamp)) return false;
        Statement row = database.prepare("SELECT size, changed FROM files WHERE folder = ? AND path = ?");
        row.bind(from.folder, from.path);
        return row.step() && isFetchedCopy(old.string(), {static_cast<std::uint64_t>(row.integer(0)), row.integer(1)});
    }
};

/// All of them make way before one takes its place, as names may have been exchanged. Where that fails it is fetched
/// again; what is at a target stays.
void moveCopies(const Database& database, const std::vector<CopyMove>& moves) {
    std::error_code error;
    for (const CopyMove& move : moves)
        if (!fs::exists(move.aside, error) && !move.isAnothers(database)) fs::rename(move.old, move.aside, error);
    for (const CopyMove& move : moves) {
        fs::create_directories(move.target.parent_path(), error);
        fs::create_hard_link(move.aside, move.target, error);
        std::error_code ignored;
        // A scan that was killed has got so far already; and what was changed here is let go of for nobody.
        const bool isDone = !error || fs::equivalent(move.aside, move.target, ignored);
        if (isDone || isFetchedCopy(move.aside.string(), move.stamp)) fs::remove(move.aside, ignored);
    }
}

class Matching {
public:
    Matching(const Database& database, ScanResult& result) : database_(database), result_(result) {}

    void run() {
        makeTables();
        refreshMarks();
        if (!gatherKnown()) return;
        gatherLoose();
        for (const Rule& rule : kRules) pair(rule);
        follow();
        // What is left may still be what the reader finds.
        database_.run(
            "DELETE FROM known WHERE id IN (SELECT known FROM matches) OR (id > 0 AND EXISTS (SELECT 1 FROM seen WHERE "
            "seen.folder = known.folder AND seen.path = known.path))");
    }

private:
    void makeTables() const {
        database_.execute(
            "CREATE TEMP TABLE IF NOT EXISTS known (id INTEGER PRIMARY KEY, folder INTEGER, path TEXT, size INTEGER, "
            "changed INTEGER, inode INTEGER, device INTEGER, born INTEGER, etag TEXT, head INTEGER, print TEXT, remote "
            "INTEGER); "
            "CREATE INDEX IF NOT EXISTS temp.known_by_size ON known (size); "
            "CREATE INDEX IF NOT EXISTS temp.known_by_print ON known (print, size < 0, id < 0, abs(id)); "
            "CREATE INDEX IF NOT EXISTS temp.known_by_inode ON known (inode); "
            "CREATE INDEX IF NOT EXISTS temp.known_by_path ON known (folder, path); "
            "CREATE TEMP TABLE IF NOT EXISTS loose (id INTEGER PRIMARY KEY, folder INTEGER, path TEXT, size INTEGER, "
            "changed INTEGER, inode INTEGER, device INTEGER, born INTEGER, etag TEXT, head INTEGER, print TEXT); "
            "CREATE TEMP TABLE IF NOT EXISTS matches (known INTEGER PRIMARY KEY, loose INTEGER UNIQUE); "
            "DELETE FROM known; DELETE FROM loose; DELETE FROM matches");
    }

    /// The device of a disk is another one each time; a library of an earlier version knew less.
    void refreshMarks() const {
        database_.run(
            "UPDATE files AS f SET inode = s.inode, device = s.device, born = s.born, etag = s.etag FROM seen AS s "
            "WHERE "
            "s.folder = f.folder AND s.path = f.path AND (f.device <> s.device OR f.born <> s.born OR f.etag <> "
            "s.etag) "
            "AND " +
            std::string(kIsSettled));
    }

    /// The files that are not what was seen at their place. @return false when there are none.
    bool gatherKnown() const {
        database_.run(
            "INSERT INTO known SELECT f.id, f.folder, f.path, f.size, f.changed, f.inode, f.device, f.born, f.etag, "
            "f.head, f.print, base_url IS NOT NULL FROM files AS f JOIN folders ON folders.id = f.folder LEFT JOIN "
            "seen "
            "AS s ON s.folder = f.folder AND s.path = f.path WHERE f.asset IS NOT NULL AND f.changed >= 0 AND (s.path "
            "IS NULL OR NOT " +
            std::string(kIsSettled) + ")");
        // Not seen, but there: it stays what it is.
        Statement unseen = database_.prepare(
            "SELECT k.id, folders.path || '/' || k.path FROM known AS k JOIN folders ON folders.id = k.folder WHERE "
            "NOT "
            "k.remote AND NOT EXISTS (SELECT 1 FROM seen WHERE seen.folder = k.folder AND seen.path = k.path)");
        std::vector<std::int64_t> there;
        while (unseen.step())
            if (!isGone(unseen.text(1))) there.push_back(unseen.integer(0));
        unseen.reset();
        for (const std::int64_t id : there) database_.run("DELETE FROM known WHERE id = ?", id);
        database_.run(
            "INSERT INTO known SELECT -id, COALESCE(folder, 0), '', size, changed, inode, device, born, etag, head, "
            "print, (SELECT base_url IS NOT NULL FROM folders WHERE folders.id = folder) FROM gone_files WHERE type <> "
            "?",
            PHAssetResourceTypePairedVideo);
        return database_.integer("SELECT 1 FROM known LIMIT 1").has_value();
    }

    /// The files that may be one of those. Another program may have changed them after the walk.
    void gatherLoose() const {
        database_.run(
            "INSERT INTO loose SELECT NULL, s.folder, s.path, s.size, s.changed, s.inode, s.device, s.born, s.etag, 0, "
            "NULL FROM seen AS s LEFT JOIN files AS f ON f.folder = s.folder AND f.path = s.path WHERE (f.id IS NULL "
            "OR "
            "NOT " +
            std::string(kIsSettled) +
            ") AND (s.size IN (SELECT size FROM known) OR (s.inode <> 0 AND s.inode IN (SELECT inode FROM known)) OR "
            "EXISTS (SELECT 1 FROM known WHERE known.folder = s.folder AND known.path = s.path))");
        Statement rows = database_.prepare(
            "SELECT loose.id, loose.folder, loose.path, folders.path || '/' || loose.path FROM loose JOIN folders ON "
            "folders.id = loose.folder WHERE base_url IS NULL");
        Statement update = database_.prepare(
            "UPDATE loose SET size = ?, changed = ?, inode = ?, device = ?, born = ?, head = ?, print = ? WHERE id = "
            "?");
        Statement seen = database_.prepare(
            "UPDATE seen SET size = ?, changed = ?, inode = ?, device = ?, born = ? WHERE folder = ? AND path = ?");
        while (rows.step()) {
            const auto stamp = FileStamp::of(rows.text(3));
            if (!stamp) continue;
            const auto size = static_cast<std::int64_t>(stamp->size);
            const auto inode = static_cast<std::int64_t>(stamp->inode);
            const auto device = static_cast<std::int64_t>(stamp->device);
            Prints prints;
            if (isLikely(size)) prints = Prints::of(rows.text(3), stamp->size);
            update
                .bind(size, stamp->changed, inode, device, stamp->born, prints.head,
                      prints.print.empty() ? Value() : Value(prints.print), rows.integer(0))
                .run();
            seen.bind(size, stamp->changed, inode, device, stamp->born, rows.integer(1), rows.text(2)).run();
        }
    }

    [[nodiscard]] bool isLikely(std::int64_t size) const {
        return database_.integer("SELECT 1 FROM known WHERE size = ? LIMIT 1", size).has_value();
    }

    void pair(const Rule& rule) const {
        if (!rule.aloneIn.empty()) return pair(rule, "", "ASC");
        for (const std::string_view preference : kPreferences) pair(rule, preference, "ASC");
        // Once more from the other end: a pair that would be a photo and its backup has kept two others apart.
        pair(rule, "", "DESC");
    }

    /// The first of the known with the first of the loose, the second with the second, among those that have the same
    /// keys: as many steps as there are files, where trying each with each would be their square.
    void pair(const Rule& rule, std::string_view preference, std::string_view direction) const {
        const std::string keys = std::string(rule.keys) + std::string(preference);
        const auto numbered = [&](std::string_view table, std::string_view order, std::string_view condition) {
            return "(SELECT *, ROW_NUMBER() OVER (PARTITION BY " + keys + " ORDER BY " + std::string(order) +
                   ") AS number FROM " + std::string(table) + " WHERE " + std::string(condition) +
                   " AND id NOT IN (SELECT " + std::string(table) + " FROM matches))";
        };
        // Counted among all there are, whether they have found each other before or not.
        const auto alone = [&](std::string_view table) {
            if (rule.aloneIn.empty()) return std::string();
            const std::string columns(rule.aloneIn);
            return " AND (" + columns + ") IN (SELECT " + columns + " FROM " + std::string(table) + " GROUP BY " +
                   columns + " HAVING COUNT(*) = 1)";
        };
        database_.run("INSERT OR IGNORE INTO matches SELECT k.id, s.id FROM " +
                      numbered("known", "id < 0, abs(id)", std::string(rule.ofKnown) + alone("known")) + " AS k JOIN " +
                      numbered("loose", "folder " + std::string(direction) + ", path " + std::string(direction),
                               std::string(rule.ofLoose) + alone("loose")) +
                      " AS s USING (" + keys + ", number) WHERE " + std::string(kIsNoBackup));
    }

    /// Rows make way for each other by names that no file has, so that they may change places.
    void follow() {
        database_.run(
            "UPDATE files SET path = '/' || id WHERE id IN (SELECT known.id FROM matches JOIN known ON known.id = "
            "matches.known JOIN loose ON loose.id = matches.loose WHERE known.id > 0 AND (known.folder <> loose.folder "
            "OR known.path <> loose.path))");
        for (std::vector<Match> matches = nextMatches(0); !matches.empty(); matches = nextMatches(matches.back().loose))
            for (const Match& match : matches) follow(match);
        moveCopies(database_, copies_);
    }

    struct Match {
        std::int64_t known = 0;
        std::int64_t loose = 0;
        FilePlace from;
        FilePlace place;
    };

    [[nodiscard]] std::vector<Match> nextMatches(std::int64_t after) const {
        Statement rows = database_.prepare(
            "SELECT known.id, loose.id, known.folder, known.path, loose.folder, loose.path FROM loose JOIN matches ON "
            "matches.loose = loose.id JOIN known ON known.id = matches.known WHERE loose.id > ? ORDER BY loose.id "
            "LIMIT "
            "?");
        rows.bind(after, kScanBatch);
        std::vector<Match> matches;
        while (rows.step())
            matches.push_back({rows.integer(0), rows.integer(1), FilePlace{rows.integer(2), rows.text(3)},
                               FilePlace{rows.integer(4), rows.text(5)}});
        return matches;
    }

    void follow(const Match& match) {
        const bool isMove = match.from.folder != match.place.folder || match.from.path != match.place.path;
        if (isMove) clear(match.place);
        if (match.known < 0)
            revive(database_, -match.known, match.place);
        else
            database_.run("UPDATE files SET folder = ?, path = ? WHERE id = ?", match.place.folder, match.place.path,
                          match.known);
        // What has another name and another content as well is to show by its content that it is the same photo.
        database_.run(
            "UPDATE files SET inode = s.inode, device = s.device, born = iif(?1 AND (files.size <> s.size OR "
            "files.changed <> s.changed), 0, s.born), etag = s.etag FROM loose AS s WHERE s.id = ?2 AND "
            "files.folder "
            "= s.folder AND files.path = s.path",
            isMove, match.loose);
        if (match.known < 0)
            greet(match.place);
        else if (isMove)
            ++result_.moved;
        if (match.known < 0) return;
        if (auto copy = CopyMove::of(database_, match.known, match.from, match.place))
            copies_.push_back(std::move(*copy));
    }

    /// A photo that was gone and is back looks for its video.
    void greet(const FilePlace& place) {
        ++result_.returned;
        if (const auto asset =
                database_.integer("SELECT asset FROM files WHERE folder = ? AND path = ?", place.folder, place.path))
            joinLivePhoto(database_, *asset);
    }

    /// Whoever has the place of another one has taken it.
    void clear(const FilePlace& place) {
        Statement row =
            database_.prepare("SELECT id, COALESCE(asset, 0), type FROM files WHERE folder = ? AND path = ?");
        row.bind(place.folder, place.path);
        if (!row.step()) return;
        const std::int64_t file = row.integer(0);
        const std::int64_t asset = row.integer(1);
        const bool isPaired = row.integer(2) == PHAssetResourceTypePairedVideo;
        row.reset();
        if (asset != 0 && !isPaired) {
            bury(database_, asset);
            ++result_.removed;
        }
        database_.run("DELETE FROM files WHERE id = ?", file);
        if (asset != 0 && isPaired) updateLiveness(database_, asset);
    }

    const Database& database_;
    ScanResult& result_;
    std::vector<CopyMove> copies_;
};

}  // namespace

namespace {

/// Whether every file that was seen is what its row says, and every row's file was seen: most scans find just that.
bool isSettled(const Database& database) {
    const bool differs =
        database
            .integer(
                "SELECT 1 FROM seen AS s LEFT JOIN files AS f ON f.folder = s.folder AND f.path = s.path WHERE "
                "f.id IS NULL OR f.device <> s.device OR f.born <> s.born OR f.etag <> s.etag OR NOT " +
                std::string(kIsSettled) + " LIMIT 1")
            .has_value();
    return !differs &&
           !database
                .integer(
                    "SELECT 1 FROM files AS f WHERE NOT EXISTS (SELECT 1 FROM seen WHERE seen.folder = f.folder "
                    "AND seen.path = f.path) LIMIT 1")
                .has_value() &&
           !database.integer("SELECT 1 FROM assets WHERE presence = 1 LIMIT 1").has_value();
}

}  // namespace

bool matchFiles(LibraryStore& store, ScanResult& result) {
    if (store.write(isSettled)) return false;
    const FileLock lock = store.lockFiles();
    store.write([&](const Database& database) {
        Transaction transaction(database);
        Matching(database, result).run();
        transaction.commit();
    });
    return true;
}

namespace {

/// The known file that has this content, or had it before it was edited.
std::optional<std::int64_t> knownByContent(const Database& database, const std::string& print, bool& isUnedited) {
    isUnedited = false;
    const auto known =
        database.integer("SELECT id FROM known WHERE print = ? ORDER BY size < 0, id < 0, abs(id) LIMIT 1", print);
    if (known) return known;
    isUnedited = true;
    // In this order: edits are few, and files are all there are.
    return database.integer(
        "SELECT k.id FROM edits CROSS JOIN files ON files.asset = edits.asset AND files.type <> 9 CROSS JOIN known AS "
        "k "
        "ON k.id = files.id WHERE original_print = ? LIMIT 1",
        print);
}

}  // namespace

bool followContent(const Database& database, const FilePlace& place, const FileFacts& facts) {
    if (facts.prints.print.empty()) return false;
    bool isUnedited = false;
    const auto known = knownByContent(database, facts.prints.print, isUnedited);
    if (!known) return false;
    database.run("DELETE FROM known WHERE id = ?", *known);
    if (*known < 0) {
        if (!database.integer("SELECT 1 FROM gone_files WHERE id = ?", -*known)) return false;
        database.run("DELETE FROM files WHERE folder = ? AND path = ?", place.folder, place.path);
        revive(database, -*known, place);
        return true;
    }
    Statement old = database.prepare("SELECT folder, path FROM files WHERE id = ? AND asset IS NOT NULL");
    old.bind(*known);
    if (!old.step()) return false;
    const FilePlace from{old.integer(0), old.text(1)};
    old.reset();
    if (isUnedited) database.run("DELETE FROM edits WHERE asset = (SELECT asset FROM files WHERE id = ?)", *known);
    database.run("DELETE FROM files WHERE folder = ? AND path = ? AND id <> ?", place.folder, place.path, *known);
    database.run("UPDATE files SET folder = ?, path = ? WHERE id = ?", place.folder, place.path, *known);
    if (const auto copy = CopyMove::of(database, *known, from, place)) moveCopies(database, {*copy});
    return true;
}

}  // namespace tessaly::photos
