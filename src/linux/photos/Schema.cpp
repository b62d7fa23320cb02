#include <algorithm>
#include <array>

#include "linux/photos/Database.h"

namespace tessaly::photos {
namespace {

/// How a library of version n becomes one of version n + 1. Never changed once released, only added to.
constexpr std::array kMigrations{
    R"sql(
CREATE TABLE folders (
    id INTEGER PRIMARY KEY,
    path TEXT NOT NULL UNIQUE,   -- Absolute, of a local folder; where downloads are kept of a remote one.
    base_url TEXT                -- Of a remote folder.
);
CREATE TABLE assets (
    id INTEGER PRIMARY KEY,
    local_identifier TEXT NOT NULL UNIQUE,
    media_type INTEGER NOT NULL,
    subtypes INTEGER NOT NULL DEFAULT 0,
    created REAL,                -- Seconds since 1970.
    modified REAL,
    latitude REAL, longitude REAL, altitude REAL, course REAL, speed REAL,
    width INTEGER NOT NULL DEFAULT 0,
    height INTEGER NOT NULL DEFAULT 0,
    duration REAL NOT NULL DEFAULT 0,
    favorite INTEGER NOT NULL DEFAULT 0,
    source_type INTEGER NOT NULL DEFAULT 1,
    content_identifier TEXT,
    -- What the user set in the library: a rescan does not overwrite it.
    own_created INTEGER NOT NULL DEFAULT 0,
    own_place INTEGER NOT NULL DEFAULT 0
);
CREATE INDEX assets_by_creation ON assets (created, modified, id);
CREATE INDEX assets_by_modification ON assets (modified, created, id);
CREATE INDEX assets_favorite ON assets (created, modified) WHERE favorite;
CREATE INDEX assets_by_content ON assets (content_identifier) WHERE content_identifier IS NOT NULL;
-- Every file that was looked at. One that is no photo or video has no asset, and is not read again.
CREATE TABLE files (
    id INTEGER PRIMARY KEY,
    folder INTEGER NOT NULL REFERENCES folders (id) ON DELETE CASCADE,
    path TEXT NOT NULL,          -- Below the folder.
    asset INTEGER REFERENCES assets (id) ON DELETE CASCADE,
    type INTEGER NOT NULL DEFAULT 0,   -- Of the resource: 1 photo, 2 video, 9 the video of a live photo.
    type_identifier TEXT NOT NULL DEFAULT '',
    size INTEGER NOT NULL DEFAULT 0,
    changed INTEGER NOT NULL DEFAULT 0,   -- Nanoseconds since 1970.
    inode INTEGER NOT NULL DEFAULT 0,
    head INTEGER NOT NULL DEFAULT 0,   -- Hash of the first bytes, to know the file again elsewhere.
    embedded_at INTEGER,         -- Where the video of a motion photo begins, to the end of the file.
    UNIQUE (folder, path)
);
CREATE INDEX files_by_asset ON files (asset);
CREATE INDEX files_by_inode ON files (inode);
CREATE INDEX files_by_head ON files (head, size);
CREATE TABLE albums (
    id INTEGER PRIMARY KEY,
    local_identifier TEXT NOT NULL UNIQUE,
    title TEXT NOT NULL,
    created REAL NOT NULL
);
CREATE TABLE album_assets (
    album INTEGER NOT NULL REFERENCES albums (id) ON DELETE CASCADE,
    asset INTEGER NOT NULL REFERENCES assets (id) ON DELETE CASCADE,
    position INTEGER NOT NULL,
    PRIMARY KEY (album, asset)
) WITHOUT ROWID;
CREATE INDEX album_assets_by_asset ON album_assets (asset);
CREATE TABLE edits (
    asset INTEGER PRIMARY KEY REFERENCES assets (id) ON DELETE CASCADE,
    original TEXT NOT NULL,      -- The unedited file, kept in the library.
    format_identifier TEXT NOT NULL,
    format_version TEXT NOT NULL,
    data BLOB
);
-- What is being done to files: written before, removed after, and looked at when the library is opened.
CREATE TABLE journal (
    id INTEGER PRIMARY KEY,
    change INTEGER NOT NULL,
    kind INTEGER NOT NULL,
    asset TEXT NOT NULL,
    current TEXT NOT NULL,       -- The user's file as it is before,
    result TEXT NOT NULL,        -- and what will be the user's file.
    content TEXT NOT NULL,       -- Where its bytes come from.
    original TEXT NOT NULL,      -- Where the unedited file is kept.
    format_identifier TEXT NOT NULL,
    format_version TEXT NOT NULL,
    data BLOB
);
CREATE TABLE facts (name TEXT PRIMARY KEY, value TEXT) WITHOUT ROWID;
)sql",
    R"sql(
-- 0 here, 1 away with its folder, 2 gone: what is remembered of it waits for the same content to come back.
ALTER TABLE assets ADD COLUMN presence INTEGER NOT NULL DEFAULT 0;
DROP INDEX assets_by_creation;
DROP INDEX assets_by_modification;
CREATE INDEX assets_by_creation ON assets (created, modified, id) WHERE presence < 2;
CREATE INDEX assets_by_modification ON assets (modified, created, id) WHERE presence < 2;
CREATE INDEX assets_elsewhere ON assets (presence) WHERE presence > 0;
-- By which a file is known again. 0, '' and NULL where it is not known.
ALTER TABLE files ADD COLUMN device INTEGER NOT NULL DEFAULT 0;
ALTER TABLE files ADD COLUMN born INTEGER NOT NULL DEFAULT 0;   -- Nanoseconds since 1970; an inode is used again.
ALTER TABLE files ADD COLUMN print TEXT;   -- Digest of size, beginning and end.
ALTER TABLE files ADD COLUMN etag TEXT NOT NULL DEFAULT '';   -- Of a file on a server.
CREATE INDEX files_by_print ON files (print) WHERE print IS NOT NULL;
-- The files of assets that are gone, as they were.
CREATE TABLE gone_files (
    id INTEGER PRIMARY KEY,
    folder INTEGER REFERENCES folders (id) ON DELETE SET NULL,
    place TEXT NOT NULL,         -- Absolute.
    asset INTEGER NOT NULL REFERENCES assets (id) ON DELETE CASCADE,
    type INTEGER NOT NULL,
    type_identifier TEXT NOT NULL,
    size INTEGER NOT NULL,
    changed INTEGER NOT NULL,
    inode INTEGER NOT NULL,
    device INTEGER NOT NULL,
    born INTEGER NOT NULL,
    head INTEGER NOT NULL,
    print TEXT,
    etag TEXT NOT NULL,
    embedded_at INTEGER
);
CREATE INDEX gone_files_by_asset ON gone_files (asset);
-- What the library itself wrote: whatever else is at the place of an edited photo is not the library's to throw away.
ALTER TABLE edits ADD COLUMN digest TEXT;
ALTER TABLE edits ADD COLUMN original_print TEXT;   -- By which a copy of the unedited file is known.
-- What is replaced, and what takes its place, by digest: who plays the journal touches no other file.
ALTER TABLE journal ADD COLUMN before TEXT NOT NULL DEFAULT '';
ALTER TABLE journal ADD COLUMN after TEXT NOT NULL DEFAULT '';
)sql",
};

}  // namespace

void checkWholeness(const Database& database) {
    Statement check = database.prepare("PRAGMA quick_check(1)");
    if (check.step() && check.text(0) != "ok") throw DatabaseError("the library is damaged: " + check.text(0));
}

void prepareSchema(const Database& database, std::size_t wanted) {
    const auto version = static_cast<std::size_t>(database.integer("PRAGMA user_version").value_or(0));
    if (version > kMigrations.size()) throw DatabaseError("the library was made by a newer version of this program");
    for (std::size_t from = version; from < std::min(wanted, kMigrations.size()); ++from) {
        Transaction transaction(database);
        // Another program may have done it while we waited for its lock.
        if (static_cast<std::size_t>(database.integer("PRAGMA user_version").value_or(0)) > from) continue;
        database.execute(kMigrations[from]);
        database.execute(("PRAGMA user_version = " + std::to_string(from + 1)).c_str());
        transaction.commit();
    }
}

}  // namespace tessaly::photos
