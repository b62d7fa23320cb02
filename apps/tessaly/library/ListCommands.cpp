#include <array>

#include "../CommandLine.h"
#include "../Condition.h"
#include "../Json.h"
#include "../Output.h"
#include "../RecordJson.h"
#include "../Utf8.h"
#include "LibraryAlbums.h"
#include "LibraryAssets.h"

namespace tessaly::cli {
namespace {

using photos::PhotoLibrary;

const char* nameOf(PHAssetPresence presence) {
    switch (presence) {
        case PHAssetPresence::away:
            return "away";
        case PHAssetPresence::gone:
            return "gone";
        case PHAssetPresence::here:
            break;
    }
    return "here";
}

std::string kindOf(const PHAsset& asset) {
    std::string kind = asset.mediaType == PHAssetMediaTypeVideo ? "video" : "photo";
    if ((asset.mediaSubtypes & PHAssetMediaSubtypePhotoLive) != 0) kind = "live photo";
    if ((asset.mediaSubtypes & PHAssetMediaSubtypePhotoScreenshot) != 0) kind = "screenshot";
    return kind;
}

void appendAsset(std::string& out, const PhotoLibrary& library, const PHAsset& asset) {
    const PHAssetContent content = library.content(asset.localIdentifier, ownResource(asset), false, {});
    Dictionary row;
    row.set("id", asset.localIdentifier);
    row.set("name", fileNameOf(library, asset));
    if (!content.path.empty()) row.set("path", content.path);
    row.set("kind", kindOf(asset));
    if (asset.creationDate) row.set("created", iso8601(*asset.creationDate));
    if (asset.modificationDate) row.set("modified", iso8601(*asset.modificationDate));
    row.set("width", asset.pixelWidth);
    row.set("height", asset.pixelHeight);
    if (asset.duration > 0) row.set("duration", asset.duration);
    if (asset.location) {
        row.set("latitude", asset.location->coordinate.latitude);
        row.set("longitude", asset.location->coordinate.longitude);
    }
    row.set("favorite", asset.favorite);
    row.set("edited", asset.hasAdjustments);
    row.set("inCloud", content.isInCloud);
    row.set("presence", nameOf(asset.presence));
    JsonWriter(out).value(Value(row));
}

std::string lineOf(const PhotoLibrary& library, const PHAsset& asset) {
    std::string marks;
    marks += asset.favorite ? '*' : ' ';
    marks += asset.hasAdjustments ? 'e' : ' ';
    marks += asset.location ? '@' : ' ';
    const std::string date = asset.creationDate ? iso8601(*asset.creationDate).substr(0, 16) : std::string(16, ' ');
    const std::string presence =
        asset.presence == PHAssetPresence::here ? "" : std::string("  (") + nameOf(asset.presence) + ")";
    return asset.localIdentifier.substr(0, 8) + "  " + date + "  " + marks + "  " +
           escaped(fileNameOf(library, asset)) + presence + "\n";
}

constexpr std::array kConditionNames = std::to_array<ConditionName>({{"localIdentifier", ConditionKind::text},
                                                                     {"mediaType", ConditionKind::number},
                                                                     {"mediaSubtypes", ConditionKind::number},
                                                                     {"creationDate", ConditionKind::date},
                                                                     {"modificationDate", ConditionKind::date},
                                                                     {"location", ConditionKind::place},
                                                                     {"pixelWidth", ConditionKind::number},
                                                                     {"pixelHeight", ConditionKind::number},
                                                                     {"duration", ConditionKind::number},
                                                                     {"favorite", ConditionKind::truth},
                                                                     {"hasAdjustments", ConditionKind::truth},
                                                                     {"isAway", ConditionKind::truth},
                                                                     {"isGone", ConditionKind::truth},
                                                                     {"presence", ConditionKind::number}});

PHFetchOptions fetchOptionsOf(const LibraryOptions& options) {
    PHFetchOptions fetch;
    fetch.fetchLimit = options.limit;
    fetch.includesGoneAssets = options.gone;
    const bool byModification = options.sort == "modified";
    fetch.sortDescriptors = {{byModification ? "modificationDate" : "creationDate", !options.descending},
                             {byModification ? "creationDate" : "modificationDate", !options.descending}};
    if (options.predicate.empty() && !options.favorites) return fetch;
    // The condition is understood by itself: places of its faults are counted in it alone.
    std::optional<NSPredicate> where;
    if (!options.predicate.empty()) where = parsedCondition("--where", options.predicate, kConditionNames);
    const auto favorites = NSPredicate::predicateWithFormat("favorite = YES");
    fetch.predicate =
        where && options.favorites
            ? NSPredicate::predicateWithRoot({PredicateNode::Kind::conjunction, {}, {favorites->root(), where->root()}})
            : (where ? where : favorites);
    return fetch;
}

int list(const LibraryOptions& options) {
    const PHFetchOptions fetch = fetchOptionsOf(options);
    const auto library = openedLibrary();
    if (!library) return kFailure;
    PHFetchResult<PHAsset> found;
    if (options.album.empty()) {
        found = library->assets(fetch);
    } else {
        const auto album = albumNamed(*library, options.album);
        if (!album) {
            complain(options.album, "there is no such album");
            return kFailure;
        }
        found = library->assets(*album, fetch);
    }
    if (options.json) Output::standard() << "[";
    for (std::size_t i = 0; i < found.count(); ++i) {
        const PHAssetRef asset = found.objectAtIndex(i);
        if (!asset) continue;
        std::string out;
        if (options.json) {
            out = i > 0 ? ",\n" : "";
            appendAsset(out, *library, *asset);
        } else {
            out = lineOf(*library, *asset);
        }
        Output::standard() << out;
    }
    if (options.json) Output::standard() << "]\n";
    return kSuccess;
}

int albums() {
    const auto library = openedLibrary();
    if (!library) return kFailure;
    for (const std::int64_t type : {PHAssetCollectionTypeAlbum, PHAssetCollectionTypeSmartAlbum})
        library->collections(type, PHAssetCollectionSubtypeAny, {})
            .enumerateObjectsInRange({0, SIZE_MAX}, [](const PHAssetCollectionRef& album, std::size_t) {
                Output::standard() << escaped(album->localizedTitle) + "  (" +
                                          std::to_string(album->estimatedAssetCount) + ")\n";
            });
    return kSuccess;
}

int info(const LibraryOptions& options) {
    const auto library = openedLibrary();
    if (!library) return kFailure;
    std::vector<PHAssetRef> assets;
    bool failed = !findAll(*library, options.names, assets);
    for (const PHAssetRef& asset : assets) {
        std::string out;
        if (options.fetch) {
            const auto content = library->content(asset->localIdentifier, ownResource(*asset), true, {});
            if (!content.error.empty()) {
                complain(content.error);
                failed = true;
            }
        }
        appendAsset(out, *library, *asset);
        Output::standard() << out + "\n";
    }
    return failed ? kFailure : kSuccess;
}

int evict(const LibraryOptions& options) {
    const auto library = openedLibrary();
    if (!library) return kFailure;
    std::vector<PHAssetRef> assets;
    bool failed = !findAll(*library, options.names, assets);
    for (const PHAssetRef& asset : assets)
        if (const std::string why = library->evict(asset->localIdentifier); !why.empty()) {
            complain(fileNameOf(*library, *asset), why);
            failed = true;
        }
    return failed ? kFailure : kSuccess;
}

}  // namespace

void addListCommands(CLI::App& library, const SharedLibraryOptions& options, int& status) {
    CLI::App* listing = addLibrarySubcommand(library, "list", "List photos and videos", options, status, list);
    listing->add_option("--album", options->album, "Only what is in this album")->type_name("TITLE");
    listing->add_flag("--favorites", options->favorites, "Only favorites");
    listing
        ->add_option("--where", options->predicate,
                     "Only what a condition holds for: 'duration > 10', 'creationDate >= 2024-05-01'")
        ->type_name("CONDITION");
    listing->add_option("--sort", options->sort, "By created (default) or modified date")
        ->check(CLI::IsMember({"created", "modified"}))
        ->type_name("DATE");
    listing->add_flag("--newest", options->descending, "Newest first");
    listing->add_option("--limit", options->limit, "At most so many")
        ->check(CLI::Range(std::int64_t{1}, std::int64_t{1} << 40))
        ->type_name("N");
    listing->add_flag("--gone", options->gone, "Also photos whose files are gone and that are still remembered");
    listing->add_flag("--json", options->json, "As JSON");
    listing->footer(
        "Keys of a condition: localIdentifier mediaType mediaSubtypes creationDate modificationDate location\n"
        "pixelWidth pixelHeight duration favorite hasAdjustments isAway isGone presence (0 here, 1 away, 2 gone).\n"
        "Marks of a row: * favorite, e edited, @ has a place.");
    CLI::App* showing =
        addLibrarySubcommand(library, "info", "Show what the library knows of photos, as JSON", options, status, info);
    addAssetNames(*showing, options);
    showing->add_flag("--fetch", options->fetch, "Fetch what is on a server");
    addAssetNames(
        *addLibrarySubcommand(library, "evict", "Remove the local copies of photos that are on a server as well",
                              options, status, evict),
        options);
    CLI::App* titles = library.add_subcommand("albums", "List the albums");
    titles->callback([&status] { status = albums(); });
}

}  // namespace tessaly::cli
