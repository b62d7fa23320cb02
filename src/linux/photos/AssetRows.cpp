#include "linux/photos/AssetRows.h"

#include <algorithm>
#include <array>
#include <random>

#include "linux/photos/PredicateSql.h"
#include "platform/Foundation/Log.h"
#include "platform/Foundation/PropertyList.h"

namespace tessaly::photos {
namespace {

using enum SqlColumn::Kind;

constexpr std::array kAssetColumns{
    SqlColumn{"localIdentifier", "local_identifier", text},
    SqlColumn{"mediaType", "media_type", number},
    SqlColumn{"mediaSubtypes", "subtypes", number},
    SqlColumn{"mediaSubtype", "subtypes", number},
    SqlColumn{"creationDate", "created", date},
    SqlColumn{"modificationDate", "modified", date},
    SqlColumn{"location", "latitude", existence},
    SqlColumn{"pixelWidth", "width", number},
    SqlColumn{"pixelHeight", "height", number},
    SqlColumn{"duration", "duration", number},
    SqlColumn{"favorite", "favorite", number},
    SqlColumn{"isFavorite", "favorite", number},
    SqlColumn{"hasAdjustments", "EXISTS (SELECT 1 FROM edits WHERE asset = assets.id)", number},
    SqlColumn{"presence", "presence", number},
    SqlColumn{"isAway", "(presence = 1)", number},
    SqlColumn{"isGone", "(presence = 2)", number},
};

/// As the indexes have it: what is gone is remembered, but not shown.
constexpr std::string_view kIsShown = "presence < 2";

constexpr std::string_view kAssetFields =
    "local_identifier, media_type, subtypes, created, modified, latitude, longitude, altitude, course, speed, width, "
    "height, duration, favorite, EXISTS (SELECT 1 FROM edits WHERE asset = assets.id), presence";

std::optional<NSDate> dateAt(const Statement& row, int column) {
    return row.isNull(column) ? std::nullopt : std::optional(NSDate{row.real(column)});
}

PHAssetRef assetOf(const Statement& row) {
    auto asset = std::make_shared<PHAsset>();
    asset->localIdentifier = row.text(0);
    asset->mediaType = row.integer(1);
    asset->mediaSubtypes = static_cast<std::uint64_t>(row.integer(2));
    asset->creationDate = dateAt(row, 3);
    asset->modificationDate = dateAt(row, 4);
    if (!row.isNull(5)) {
        CLLocation place;
        place.coordinate = {row.real(5), row.real(6)};
        place.altitude = row.real(7);
        if (!row.isNull(8)) place.course = row.real(8);
        if (!row.isNull(9)) place.speed = row.real(9);
        asset->location = place;
    }
    asset->pixelWidth = static_cast<std::uint64_t>(row.integer(10));
    asset->pixelHeight = static_cast<std::uint64_t>(row.integer(11));
    asset->duration = row.real(12);
    asset->favorite = row.integer(13) != 0;
    asset->hasAdjustments = row.integer(14) != 0;
    asset->presence = static_cast<PHAssetPresence>(row.integer(15));
    return asset;
}

Value valueOf(const PHAsset& asset, std::string_view key) {
    const auto date = [](const std::optional<NSDate>& value) { return value ? Value(*value) : Value(); };
    if (key == "localIdentifier") return asset.localIdentifier;
    if (key == "mediaType") return asset.mediaType;
    if (key == "mediaSubtypes" || key == "mediaSubtype") return asset.mediaSubtypes;
    if (key == "creationDate") return date(asset.creationDate);
    if (key == "modificationDate") return date(asset.modificationDate);
    if (key == "location") return asset.location ? Value(true) : Value();
    if (key == "pixelWidth") return asset.pixelWidth;
    if (key == "pixelHeight") return asset.pixelHeight;
    if (key == "duration") return asset.duration;
    if (key == "favorite" || key == "isFavorite") return asset.favorite;
    if (key == "hasAdjustments") return asset.hasAdjustments;
    if (key == "presence") return static_cast<std::int64_t>(asset.presence);
    if (key == "isAway") return asset.presence == PHAssetPresence::away;
    if (key == "isGone") return asset.presence == PHAssetPresence::gone;
    return {};
}

/// Eight bytes an asset, however many there are; the objects are made when they are asked for.
class AssetRows final : public PHFetchResult<PHAsset>::Rows {
public:
    AssetRows(std::shared_ptr<LibraryStore> store, std::vector<std::int64_t> ids)
        : store_(std::move(store)), ids_(std::move(ids)) {}
    [[nodiscard]] std::size_t count() const override { return ids_.size(); }
    [[nodiscard]] PHAssetRef at(std::size_t index) const override {
        try {
            return store_->read([&](const Database& database) -> PHAssetRef {
                Statement row = database.prepare("SELECT " + std::string(kAssetFields) + " FROM assets WHERE id = ?");
                row.bind(ids_[index]);
                return row.step() ? assetOf(row) : nullptr;
            });
        } catch (const DatabaseError& error) {
            log("library: %@", error.what());
            return nullptr;
        }
    }

private:
    std::shared_ptr<LibraryStore> store_;
    std::vector<std::int64_t> ids_;
};

/// A fetch in SQL: conditions are joined, values stand in their order.
struct Query {
    std::string from = "assets";
    std::string where = "1";
    std::string order;
    std::vector<Value> values;

    void require(std::string_view condition) { where += " AND (" + std::string(condition) + ")"; }
};

std::vector<std::int64_t> idsOf(const LibraryStore& store, const Query& query, std::size_t limit) {
    std::string sql = "SELECT id FROM " + query.from + " WHERE " + query.where;
    if (!query.order.empty()) sql += " ORDER BY " + query.order;
    if (limit > 0) sql += " LIMIT " + std::to_string(limit);
    return store.read([&](const Database& database) {
        std::vector<std::int64_t> ids;
        Statement rows = database.prepare(sql);
        rows.bindAll(query.values);
        while (rows.step()) ids.push_back(rows.integer(0));
        return ids;
    });
}

/// Asks each asset by itself what SQL cannot say.
std::vector<std::int64_t> judged(const LibraryStore& store, const std::vector<std::int64_t>& ids,
                                 const NSPredicate& predicate, std::size_t limit) {
    std::vector<std::int64_t> kept;
    store.read([&](const Database& database) {
        Statement row = database.prepare("SELECT " + std::string(kAssetFields) + " FROM assets WHERE id = ?");
        for (const std::int64_t id : ids) {
            row.bind(id);
            if (!row.step()) continue;
            const PHAssetRef asset = assetOf(row);
            if (predicate.evaluateWithObject([&](std::string_view key) { return valueOf(*asset, key); }))
                kept.push_back(id);
            if (limit > 0 && kept.size() == limit) break;
        }
    });
    return kept;
}

PHFetchResult<PHAsset> fetch(std::shared_ptr<LibraryStore> store, Query query, const PHFetchOptions& options) {
    // Whatever lies in the user's folders is the user's own.
    if (options.includeAssetSourceTypes != 0 && (options.includeAssetSourceTypes & PHAssetSourceTypeUserLibrary) == 0)
        return {};
    if (!options.sortDescriptors.empty() || query.order.empty()) {
        const auto order = sqlOrder(options.sortDescriptors, kAssetColumns);
        if (!order) {
            log("library: no such key to sort by");
            return {};
        }
        query.order = *order;
    }
    if (!options.includesGoneAssets) query.require(kIsShown);
    std::optional<SqlCondition> condition;
    if (options.predicate) {
        if (!knowsKeys(options.predicate->root(), kAssetColumns)) {
            log("library: an asset has no such key: %@", options.predicate->predicateFormat());
            return {};
        }
        condition = sqlCondition(*options.predicate, kAssetColumns);
        if (condition) {
            query.require(condition->sql);
            query.values.insert(query.values.end(), condition->values.begin(), condition->values.end());
        }
    }
    try {
        const bool judges = options.predicate && !condition;
        auto ids = idsOf(*store, query, judges ? 0 : options.fetchLimit);
        if (judges) ids = judged(*store, ids, *options.predicate, options.fetchLimit);
        return PHFetchResult<PHAsset>(std::make_shared<AssetRows>(std::move(store), std::move(ids)));
    } catch (const DatabaseError& error) {
        log("library: %@", error.what());
        return {};
    }
}

struct SmartAlbum {
    std::int64_t subtype;
    std::string_view title;
    std::string_view condition;
};

constexpr std::array kSmartAlbums{
    SmartAlbum{PHAssetCollectionSubtypeSmartAlbumUserLibrary, "Camera Roll", "1"},
    SmartAlbum{PHAssetCollectionSubtypeSmartAlbumFavorites, "Favorites", "favorite"},
    SmartAlbum{PHAssetCollectionSubtypeSmartAlbumVideos, "Videos", "media_type = 2"},
    SmartAlbum{PHAssetCollectionSubtypeSmartAlbumScreenshots, "Screenshots", "subtypes & 4"},
    SmartAlbum{PHAssetCollectionSubtypeSmartAlbumLivePhotos, "Live Photos", "subtypes & 8"},
};

std::string identifierOf(const SmartAlbum& album) {
    return "00000000-0000-0000-0000-000000000" + std::to_string(album.subtype) + std::string(kAlbumSuffix);
}

std::vector<PHAssetCollectionRef> smartAlbums(const Database& database) {
    std::vector<PHAssetCollectionRef> albums;
    for (const SmartAlbum& known : kSmartAlbums) {
        auto album = std::make_shared<PHAssetCollection>();
        album->localIdentifier = identifierOf(known);
        album->localizedTitle = known.title;
        album->assetCollectionType = PHAssetCollectionTypeSmartAlbum;
        album->assetCollectionSubtype = known.subtype;
        album->estimatedAssetCount = static_cast<std::size_t>(
            database.integer("SELECT COUNT(*) FROM assets WHERE presence < 2 AND " + std::string(known.condition))
                .value_or(0));
        albums.push_back(std::move(album));
    }
    return albums;
}

std::vector<PHAssetCollectionRef> userAlbums(const Database& database) {
    std::vector<PHAssetCollectionRef> albums;
    Statement rows = database.prepare(
        "SELECT local_identifier, title, (SELECT COUNT(*) FROM album_assets JOIN assets ON assets.id = asset WHERE "
        "album = albums.id AND presence < 2) FROM albums "
        "ORDER BY created, id");
    while (rows.step()) {
        auto album = std::make_shared<PHAssetCollection>();
        album->localIdentifier = rows.text(0);
        album->localizedTitle = rows.text(1);
        album->estimatedAssetCount = static_cast<std::size_t>(rows.integer(2));
        albums.push_back(std::move(album));
    }
    return albums;
}

/// Their names alone: albums are not asked for by SQL.
constexpr std::array kAlbumKeys{
    SqlColumn{"title", "", text},
    SqlColumn{"localizedTitle", "", text},
    SqlColumn{"localIdentifier", "", text},
    SqlColumn{"estimatedAssetCount", "", number},
    SqlColumn{"assetCollectionType", "", number},
    SqlColumn{"assetCollectionSubtype", "", number},
};

Value valueOf(const PHAssetCollection& album, std::string_view key) {
    if (key == "title" || key == "localizedTitle") return album.localizedTitle;
    if (key == "localIdentifier") return album.localIdentifier;
    if (key == "estimatedAssetCount") return album.estimatedAssetCount;
    if (key == "assetCollectionType") return album.assetCollectionType;
    if (key == "assetCollectionSubtype") return album.assetCollectionSubtype;
    return {};
}

class CollectionRows final : public PHFetchResult<PHAssetCollection>::Rows {
public:
    explicit CollectionRows(std::vector<PHAssetCollectionRef> albums) : albums_(std::move(albums)) {}
    [[nodiscard]] std::size_t count() const override { return albums_.size(); }
    [[nodiscard]] PHAssetCollectionRef at(std::size_t index) const override { return albums_[index]; }

private:
    std::vector<PHAssetCollectionRef> albums_;
};

/// Albums are few: they are filtered and sorted here.
PHFetchResult<PHAssetCollection> chosen(const LibraryStore& store, const PHFetchOptions& options,
                                        const std::function<bool(const PHAssetCollection&)>& isWanted) {
    if ((options.predicate && !knowsKeys(options.predicate->root(), kAlbumKeys)) ||
        !sqlOrder(options.sortDescriptors, kAlbumKeys)) {
        log("library: an album has no such key");
        return {};
    }
    std::vector<PHAssetCollectionRef> albums;
    try {
        albums = store.read([](const Database& database) {
            auto all = userAlbums(database);
            for (auto& album : smartAlbums(database)) all.push_back(std::move(album));
            return all;
        });
    } catch (const DatabaseError& error) {
        log("library: %@", error.what());
    }
    std::erase_if(albums, [&](const PHAssetCollectionRef& album) {
        return !isWanted(*album) ||
               (options.predicate &&
                !options.predicate->evaluateWithObject([&](std::string_view key) { return valueOf(*album, key); }));
    });
    for (auto sort = options.sortDescriptors.rbegin(); sort != options.sortDescriptors.rend(); ++sort)
        std::ranges::stable_sort(albums, [&](const auto& a, const auto& b) {
            const Value first = valueOf(sort->ascending ? *a : *b, sort->key);
            const Value second = valueOf(sort->ascending ? *b : *a, sort->key);
            return first.isString() ? first.string() < second.string() : first.doubleValue() < second.doubleValue();
        });
    if (options.fetchLimit > 0 && albums.size() > options.fetchLimit) albums.resize(options.fetchLimit);
    return PHFetchResult<PHAssetCollection>(std::make_shared<CollectionRows>(std::move(albums)));
}

std::vector<Value> ownValues(const AssetFacts& facts, const FileStamp& stamp) {
    std::vector<Value> values{facts.mediaType,
                              static_cast<std::int64_t>(facts.subtypes),
                              facts.created ? Value(*facts.created) : Value(),
                              static_cast<double>(stamp.changed) / 1e9,
                              static_cast<std::int64_t>(facts.width),
                              static_cast<std::int64_t>(facts.height),
                              facts.duration,
                              facts.contentIdentifier.empty() ? Value() : Value(facts.contentIdentifier)};
    if (const auto& place = facts.location) {
        values.insert(values.end(), {place->coordinate.latitude, place->coordinate.longitude, place->altitude,
                                     place->course < 0 ? Value() : Value(place->course),
                                     place->speed < 0 ? Value() : Value(place->speed)});
    } else {
        values.resize(values.size() + 5);
    }
    return values;
}

}  // namespace

PHFetchResult<PHAsset> fetchAssets(std::shared_ptr<LibraryStore> store, const PHFetchOptions& options) {
    return fetch(std::move(store), {}, options);
}

PHFetchResult<PHAsset> fetchAssets(std::shared_ptr<LibraryStore> store, const PHAssetCollection& collection,
                                   const PHFetchOptions& options) {
    Query query;
    if (collection.assetCollectionType == PHAssetCollectionTypeSmartAlbum) {
        const auto album = std::ranges::find(kSmartAlbums, collection.assetCollectionSubtype, &SmartAlbum::subtype);
        if (album == kSmartAlbums.end()) return {};
        query.require(album->condition);
    } else {
        query.from = "assets JOIN album_assets ON album_assets.asset = assets.id";
        query.require("album = (SELECT albums.id FROM albums WHERE albums.local_identifier = ?)");
        query.values.emplace_back(collection.localIdentifier);
        query.order = "position";
    }
    return fetch(std::move(store), std::move(query), options);
}

PHFetchResult<PHAsset> fetchAssets(std::shared_ptr<LibraryStore> store, std::span<const std::string> identifiers,
                                   const PHFetchOptions& options) {
    // As one value, however many there are; and their places in the list are their order.
    Array list;
    for (const std::string& identifier : identifiers) list.append(identifier);
    Query query;
    query.from =
        "(SELECT assets.*, wanted.key AS place FROM assets JOIN json_each(?) AS wanted "
        "ON wanted.value = local_identifier) AS assets";
    query.values.emplace_back(propertyListText(list));
    query.order = "place";
    return fetch(std::move(store), std::move(query), options);
}

PHFetchResult<PHAssetCollection> fetchCollections(const LibraryStore& store, std::int64_t type, std::int64_t subtype,
                                                  const PHFetchOptions& options) {
    return chosen(store, options, [&](const PHAssetCollection& album) {
        return album.assetCollectionType == type &&
               (subtype == PHAssetCollectionSubtypeAny || album.assetCollectionSubtype == subtype);
    });
}

PHFetchResult<PHAssetCollection> fetchCollections(const LibraryStore& store, std::span<const std::string> identifiers,
                                                  const PHFetchOptions& options) {
    return chosen(store, options, [&](const PHAssetCollection& album) {
        return std::ranges::find(identifiers, album.localIdentifier) != identifiers.end();
    });
}

std::string newIdentifier(std::string_view suffix) {
    std::random_device random;
    constexpr std::string_view kPattern = "xxxxxxxx-xxxx-4xxx-yxxx-xxxxxxxxxxxx";
    std::string identifier;
    std::uint32_t bits = 0;
    int left = 0;
    for (const char c : kPattern) {
        if (c == '-' || c == '4') {
            identifier += c;
            continue;
        }
        if (left-- == 0) {
            bits = random();
            left = 7;
        }
        const std::size_t digit = bits & 0xFU;
        bits >>= 4U;
        identifier += c == 'x' ? "0123456789ABCDEF"[digit] : "89AB"[digit & 3U];
    }
    return identifier.append(suffix);
}

std::int64_t insertAsset(const Database& database, const std::string& identifier, const AssetFacts& facts,
                         const FileStamp& stamp) {
    std::vector<Value> values = ownValues(facts, stamp);
    values.insert(values.begin(), identifier);
    Statement insert = database.prepare(
        "INSERT INTO assets (local_identifier, media_type, subtypes, created, modified, width, height, duration, "
        "content_identifier, latitude, longitude, altitude, course, speed) VALUES (?,?,?,?,?,?,?,?,?,?,?,?,?,?)");
    insert.bindAll(values).run();
    return database.lastRow();
}

void updateAsset(const Database& database, std::int64_t asset, const AssetFacts& facts, const FileStamp& stamp) {
    std::vector<Value> values = ownValues(facts, stamp);
    values.emplace_back(asset);
    Statement update = database.prepare(
        "UPDATE assets SET media_type = ?1, subtypes = ?2, created = iif(own_created, created, ?3), modified = ?4, "
        "width = ?5, height = ?6, duration = ?7, content_identifier = ?8, latitude = iif(own_place, latitude, ?9), "
        "longitude = iif(own_place, longitude, ?10), altitude = iif(own_place, altitude, ?11), "
        "course = iif(own_place, course, ?12), speed = iif(own_place, speed, ?13) WHERE id = ?14");
    update.bindAll(values).run();
}

void updateLiveness(const Database& database, std::int64_t asset) {
    database.run(
        "UPDATE assets SET subtypes = (subtypes & ~8) | iif(EXISTS (SELECT 1 FROM files WHERE asset = ?1 AND "
        "(type = 9 OR embedded_at IS NOT NULL)), 8, 0) WHERE id = ?1",
        asset);
}

}  // namespace tessaly::photos
