#include <filesystem>
#include <optional>

#include "linux/photos/AssetRows.h"
#include "linux/photos/LibraryScan.h"
#include "platform/Photos/PHAsset.h"
#include "platform/Photos/PHAssetResource.h"

namespace tessaly::photos {
namespace {

namespace fs = std::filesystem;

/// The video of a live photo that is known by its name alone is not longer.
constexpr double kLongestPairedVideo = 10;

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

}  // namespace tessaly::photos
