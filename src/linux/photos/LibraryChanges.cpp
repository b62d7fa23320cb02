#include "linux/photos/LibraryChanges.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <stdexcept>

#include "linux/foundation/AtomicFile.h"
#include "linux/photos/AssetRows.h"
#include "linux/photos/FileChanges.h"
#include "linux/photos/Originals.h"
#include "platform/Foundation/Log.h"
#include "platform/Foundation/NSFileManager.h"

namespace tessaly::photos {
namespace {

namespace fs = std::filesystem;

/// A wish that cannot be granted, in words.
class ChangeError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

std::int64_t assetId(const Database& database, const std::string& identifier) {
    const auto id = database.integer("SELECT id FROM assets WHERE local_identifier = ?", identifier);
    if (!id) throw ChangeError("there is no such photo: " + identifier);
    return *id;
}

std::int64_t albumId(const Database& database, const std::string& identifier) {
    const auto id = database.integer("SELECT id FROM albums WHERE local_identifier = ?", identifier);
    if (!id) throw ChangeError("there is no such album: " + identifier);
    return *id;
}

std::vector<KnownFile> knownFiles(const Database& database, const std::string& identifier) {
    auto files = filesOf(database, identifier);
    if (files.empty()) throw ChangeError("there is no such photo: " + identifier);
    return files;
}

/// Nobody's photo is changed for another's.
void demand(const KnownFile& file) {
    if (const std::string why = checkFile(file); !why.empty()) throw ChangeError(why);
}

/// What is kept of an edited photo.
struct Edit {
    std::string original;
    std::string digest;  ///< Of the edited file as the library wrote it.
};

std::optional<Edit> editOf(const Database& database, const std::string& identifier) {
    Statement row = database.prepare(
        "SELECT original, COALESCE(digest, '') FROM edits JOIN assets ON assets.id = asset WHERE local_identifier = ?");
    row.bind(identifier);
    if (!row.step()) return std::nullopt;
    return Edit{row.text(0), row.text(1)};
}

bool isPhotoOrVideo(const std::string& path) {
    const auto stamp = FileStamp::of(path);
    return stamp && AssetFacts::read(path, *stamp).mediaType != 0;
}

/// What is to be done, found out before anything is.
struct Plan {
    std::vector<FileChange> files;
    std::vector<std::function<void(const Database&)>> rows;  ///< After the files, in order.
    bool isUnfinished = false;  ///< It failed, and could not be undone: the journal is played at the next open.
};

/// Turns wishes into a plan, with the connection that writes held.
class Planner {
public:
    Planner(const LibraryStore& store, const Database& database, Plan& plan)
        : store_(store), database_(database), plan_(plan) {}

    void operator()(const change::CreateAsset& wish) {
        const auto folder = database_.text("SELECT path FROM folders WHERE base_url IS NULL ORDER BY id LIMIT 1");
        if (!folder) throw ChangeError("the library has no folder to put a photo into");
        FileChange file;
        file.kind = FileChange::Kind::create;
        file.asset = wish.identifier;
        std::string name = fs::path(wish.data ? wish.fileName : wish.file.path()).filename().string();
        // A hidden file would not be found again.
        if (name.empty() || name.starts_with('.')) name = "photo" + (name.empty() ? std::string(".jpg") : name);
        file.result = freePath(*folder, name, plan_.files);
        file.content = store_.newPendingName(fs::path(name).extension().string());
        const std::string why =
            wish.data ? writeDataAtomically(wish.data, file.content) : copyFile(wish.file.path(), file.content);
        if (!why.empty()) throw ChangeError(why);
        if (!isPhotoOrVideo(file.content)) {
            ::unlink(file.content.c_str());
            throw ChangeError(name + ": is not a photo or video");
        }
        plan_.files.push_back(file);
        set({wish.identifier, wish.favorite, wish.creationDate, wish.location, false});
    }

    void operator()(const change::EditAsset& wish) {
        const KnownFile own = editable(wish.identifier);
        FileChange file;
        file.kind = FileChange::Kind::edit;
        file.asset = wish.identifier;
        file.current = own.path;
        file.content = wish.output.renderedContentURL.path();
        file.adjustment = wish.output.adjustmentData;
        if (!NSFileManager::fileExistsAtPath(file.content)) throw ChangeError("the editor has not written its result");
        if (!isPhotoOrVideo(file.content)) throw ChangeError("the editor's result is not a photo or video");
        file.result = resultPath(own.path, file.content);
        const auto edit = editOf(database_, wish.identifier);
        file.original = edit ? ownOriginal(store_, edit->original) : originalPath(wish.identifier, own.path);
        if (edit && !NSFileManager::fileExistsAtPath(file.original))
            throw ChangeError(own.path + ": its kept original is missing: " + file.original);
        if (edit) file.own = edit->digest;
        plan_.files.push_back(std::move(file));
    }

    void operator()(const change::RevertAsset& wish) {
        const KnownFile own = editable(wish.identifier);
        const auto edit = editOf(database_, wish.identifier);
        if (!edit) throw ChangeError(own.path + ": was not edited");
        FileChange file;
        file.kind = FileChange::Kind::revert;
        file.asset = wish.identifier;
        file.current = own.path;
        file.original = ownOriginal(store_, edit->original);
        file.own = edit->digest;
        const fs::path name = fs::path(file.original).filename();
        file.result = name.extension() == fs::path(own.path).extension()
                          ? own.path
                          : freePath(fs::path(own.path).parent_path().string(), name.string(), plan_.files);
        file.content = store_.newPendingName(name.extension().string());
        if (const std::string why = holdFile(file.original, file.content); !why.empty()) throw ChangeError(why);
        plan_.files.push_back(std::move(file));
    }

    void operator()(const change::SetAsset& wish) {
        if (!isPlanned(wish.identifier)) static_cast<void>(assetId(database_, wish.identifier));
        set(wish);
    }

    void operator()(const change::DeleteAssets& wish) {
        for (const std::string& identifier : wish.identifiers) {
            for (const KnownFile& own : knownFiles(database_, identifier)) {
                if (isPlanned(identifier, FileChange::Kind::trash))
                    throw ChangeError(own.path + ": is changed and deleted at once");
                if (own.isRemote)
                    throw ChangeError(own.path + ": its original is on a server, and cannot be deleted from here");
                demandFinished(identifier, own);
                demand(own);
                trash(identifier, own.path);
            }
            if (const auto edit = editOf(database_, identifier)) trash(identifier, ownOriginal(store_, edit->original));
        }
    }

    void operator()(const change::CreateAlbum& wish) {
        plan_.rows.emplace_back([wish](const Database& database) {
            database.run("INSERT INTO albums (local_identifier, title, created) VALUES (?,?,?)", wish.identifier,
                         wish.title, NSDate::date());
        });
    }
    void operator()(const change::RenameAlbum& wish) {
        plan_.rows.emplace_back([wish](const Database& database) {
            database.run("UPDATE albums SET title = ? WHERE id = ?", wish.title, albumId(database, wish.identifier));
        });
    }
    void operator()(const change::DeleteAlbum& wish) {
        plan_.rows.emplace_back([wish](const Database& database) {
            database.run("DELETE FROM albums WHERE id = ?", albumId(database, wish.identifier));
        });
    }
    void operator()(const change::AddToAlbum& wish) {
        plan_.rows.emplace_back([wish](const Database& database) {
            const std::int64_t album = albumId(database, wish.album);
            for (const std::string& asset : wish.assets)
                database.run(
                    "INSERT OR IGNORE INTO album_assets (album, asset, position) VALUES (?1, ?2, (SELECT "
                    "COALESCE(MAX(position), 0) + 1 FROM album_assets WHERE album = ?1))",
                    album, assetId(database, asset));
        });
    }
    void operator()(const change::RemoveFromAlbum& wish) {
        plan_.rows.emplace_back([wish](const Database& database) {
            const std::int64_t album = albumId(database, wish.album);
            for (const std::string& asset : wish.assets)
                database.run("DELETE FROM album_assets WHERE album = ? AND asset = ?", album, assetId(database, asset));
        });
    }

private:
    /// Whether an earlier wish changes the asset's file, in another way than that.
    [[nodiscard]] bool isPlanned(const std::string& identifier,
                                 std::optional<FileChange::Kind> except = std::nullopt) const {
        return std::ranges::any_of(
            plan_.files, [&](const FileChange& change) { return change.asset == identifier && change.kind != except; });
    }

    /// Where the unedited file will be kept: never where there is one from an earlier time.
    [[nodiscard]] std::string originalPath(const std::string& identifier, const std::string& current) const {
        const std::string folder = store_.originalsFolder() + "/" + identifier.substr(0, identifier.find('/'));
        for (int number = 1;; ++number) {
            const std::string path = folder + (number == 1 ? std::string() : "-" + std::to_string(number)) + "/" +
                                     fs::path(current).filename().string();
            if (!NSFileManager::fileExistsAtPath(path)) return path;
        }
    }

    /// What the journal is yet to do would undo what is wished for now.
    void demandFinished(const std::string& identifier, const KnownFile& own) const {
        if (const std::string why = unfinishedChange(database_, identifier); !why.empty())
            throw ChangeError(own.path + ": " + why);
    }

    KnownFile editable(const std::string& identifier) {
        KnownFile own = knownFiles(database_, identifier).front();
        if (own.isRemote) throw ChangeError(own.path + ": its original is on a server, and cannot be edited from here");
        if (isPlanned(identifier)) throw ChangeError(own.path + ": is changed twice at once");
        demandFinished(identifier, own);
        demand(own);
        return own;
    }

    /// The file keeps its name, unless what it is now has another extension.
    std::string resultPath(const std::string& current, const std::string& content) const {
        const fs::path own(current);
        const fs::path extension = fs::path(content).extension();
        if (extension.empty() || extension == own.extension()) return current;
        return freePath(own.parent_path().string(), own.stem().string() + extension.string(), plan_.files);
    }

    void trash(const std::string& identifier, const std::string& path) {
        FileChange file;
        file.kind = FileChange::Kind::trash;
        file.asset = identifier;
        file.current = path;
        plan_.files.push_back(std::move(file));
    }

    void set(const change::SetAsset& wish) {
        plan_.rows.emplace_back([wish](const Database& database) {
            const std::int64_t asset = assetId(database, wish.identifier);
            if (wish.favorite) database.run("UPDATE assets SET favorite = ? WHERE id = ?", *wish.favorite, asset);
            if (wish.creationDate)
                database.run("UPDATE assets SET created = ?, own_created = 1 WHERE id = ?", *wish.creationDate, asset);
            if (wish.location)
                database.run("UPDATE assets SET latitude = ?, longitude = ?, altitude = ?, own_place = 1 WHERE id = ?",
                             wish.location->coordinate.latitude, wish.location->coordinate.longitude,
                             wish.location->altitude, asset);
            else if (wish.removesLocation)
                database.run(
                    "UPDATE assets SET latitude = NULL, longitude = NULL, altitude = NULL, course = NULL, speed = "
                    "NULL, "
                    "own_place = 1 WHERE id = ?",
                    asset);
        });
    }

    const LibraryStore& store_;
    const Database& database_;
    Plan& plan_;
};

std::vector<PHAssetRef> deletedBy(LibraryStore& store, const std::vector<PHChange>& changes) {
    std::vector<PHAssetRef> assets;
    const std::shared_ptr<LibraryStore> view(&store, [](LibraryStore*) {});
    for (const PHChange& change : changes)
        if (const auto* wish = std::get_if<change::DeleteAssets>(&change)) {
            const auto found = fetchAssets(view, std::span(wish->identifiers), {});
            for (std::size_t i = 0; i < found.count(); ++i) assets.push_back(found.objectAtIndex(i));
        }
    return assets;
}

/// What was made for changes that are not going to be.
void removePending(const LibraryStore& store, const Plan& plan, const std::vector<PHChange>& changes) {
    for (const FileChange& change : plan.files) removeContent(store, change, false);
    for (const PHChange& change : changes)
        if (const auto* wish = std::get_if<change::EditAsset>(&change)) {
            FileChange file;
            file.content = wish->output.renderedContentURL.path();
            removeContent(store, file, false);
        }
}

/// Files first, for only the database can be rolled back for sure; both under the journal.
std::string carryOut(const LibraryStore& store, const Database& database, Plan& plan) {
    FileChangeRun files(store);
    const std::int64_t number = plan.files.empty() ? 0 : writeJournal(database, plan.files);
    const auto abandon = [&](const std::string& why) {
        plan.isUnfinished = !files.undo();
        if (plan.isUnfinished) return why + "; this is finished when the library is opened again";
        // Before the journal, which a full disk may refuse to change: without its content nothing in it is played.
        for (const FileChange& change : plan.files) removeContent(store, change, false);
        try {
            if (number != 0) database.run("DELETE FROM journal WHERE change = ?", number);
        } catch (const DatabaseError& error) {
            log("library: %@", error.what());
        }
        return why;
    };
    if (const std::string why = files.run(plan.files); !why.empty()) return abandon(why);
    try {
        Transaction transaction(database);
        for (const FileChange& change : plan.files) applyToDatabase(database, change);
        for (const auto& row : plan.rows) row(database);
        if (number != 0) database.run("DELETE FROM journal WHERE change = ?", number);
        transaction.commit();
    } catch (const std::runtime_error& error) {
        return abandon(error.what());
    }
    files.finish();
    for (const FileChange& change : plan.files) removeContent(store, change, true);
    return {};
}

std::string planAndCarryOut(LibraryStore& store, const std::vector<PHChange>& changes, Plan& plan) {
    // A change that waited for a folder may find it there by now.
    playJournal(store);
    const FileLock lock = store.lockFiles();
    return store.write([&](const Database& database) -> std::string {
        Planner planner(store, database, plan);
        for (const PHChange& change : changes) std::visit(planner, change);
        // What deletes comes last: it is the only thing that a failure of the rest must not have begun.
        std::ranges::stable_partition(plan.files,
                                      [](const FileChange& file) { return file.kind != FileChange::Kind::trash; });
        return carryOut(store, database, plan);
    });
}

}  // namespace

std::string performChanges(LibraryStore& store, const std::vector<PHChange>& changes,
                           const std::function<bool(const std::vector<PHAssetRef>&)>& confirms) {
    Plan plan;
    std::string why;
    try {
        if (const auto deleted = deletedBy(store, changes); !deleted.empty() && (!confirms || !confirms(deleted)))
            why = "the deletion was not confirmed";
        else
            why = planAndCarryOut(store, changes, plan);
    } catch (const std::runtime_error& error) {
        why = error.what();
    }
    if (!why.empty() && !plan.isUnfinished) removePending(store, plan, changes);
    return why;
}

}  // namespace tessaly::photos
